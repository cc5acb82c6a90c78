// Whether a host array is what a memory datatype asks for. All of it is found out
// before anything is allocated or copied: the conversion itself then need not look.
#pragma once

#include "runtime/array.hpp"
#include "runtime/datatype_plan.hpp"
#include "runtime/value_path.hpp"

namespace zembra {

/// Raises a host error unless the array makes exactly `count` elements of the
/// datatype. Items of sequences are looked at when their turn comes: each has a
/// count of its own, lengthOf().
void requireFit(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                const ValuePath& path);

/// Elements of the datatype that the array makes; rounded up, so that a remainder
/// does not fit.
std::size_t lengthOf(const DatatypePlan& plan, const zbArray* data);

/// A numeric array that is of the class as it stands: logical bytes are uint8 ones.
bool isOfClass(const zbArray* data, zbClass type);

}  // namespace zembra
