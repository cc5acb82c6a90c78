// What arrays that are made of HDF5's data have in common: the extent that they remember,
// and texts that end where they end.
#pragma once

#include "runtime/array.hpp"
#include "runtime/datatype_plan.hpp"

namespace zembra {

/// The extent of the base elements of arrays: each array's own dimensions vary fastest.
Shape within(const Shape& dimensions, Shape extent);

/// The array, which from now on remembers the rank of the extent that it came from.
Value withNaturalRank(Value array, const Shape& extent);

/// Null-terminated texts end at their NUL: what a writer left behind it is nobody's data.
void endTexts(const DatatypePlan& plan, zbArray* array);

}  // namespace zembra
