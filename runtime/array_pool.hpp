// Where arrays come from and go to. A scalar is one recycled node, no allocation:
// creating and destroying scalars is the hottest path there is.
#pragma once

#include "runtime/array.hpp"

namespace zembra {

/// A fresh 0-by-0 array with one reference, the caller's.
zbArray* newArray(zbClass type);

/// Sets rank, shape and element count; two dimensions at least. Raises a host error
/// when the element count overflows.
void setShape(zbArray* array, std::size_t rank, const std::size_t* dimensions);

/// Gives the array uninitialised memory for its elements.
void allocateData(zbArray* array);

}  // namespace zembra
