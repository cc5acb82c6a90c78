// The classes that arrays have: what each is called, and how big its elements are.
#pragma once

#include <cstddef>

#include "host/array.hpp"

namespace zembra {

/// "double", "int32", ...; for objects see zbGetClassName.
const char* className(zbClass type);

/// Bytes of one element of a numeric, logical or char class; 0 for the others.
std::size_t elementSize(zbClass type);

}  // namespace zembra
