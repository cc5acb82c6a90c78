// Sequences of variable length as host arrays hold them: a cell with one in each item, a
// matrix with one in each column, or a vector, which is a single one.
#pragma once

#include <cstddef>

#include "runtime/array.hpp"
#include "runtime/value_path.hpp"

namespace zembra {

/// How many the array holds, if not one.
std::size_t sequencesIn(const zbArray* data);
/// Whether the array can be taken for so many.
bool holdsSequences(const zbArray* data, std::size_t count);

/// One of the `count` that the array is known to hold; a column shares its memory.
Value sequenceIn(const zbArray* data, std::size_t index, std::size_t count, const ValuePath& path);

}  // namespace zembra
