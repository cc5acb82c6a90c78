// Selections of hyperslabs that tests make.
#pragma once

#include "tests/unit/spaces.hpp"

namespace h5test {

inline void select(const Owned& space, const char* op, const Value& start, const Value& stride,
                   const Value& count, const Value& block) {
  call("H5Sselect_hyperslab", space, op, start, stride, count, block);
}

/// Of six columns, with every other element of the first one selected.
inline Owned spaceOfBlocks(double blocks) {
  Owned space = makeSpace({2 * blocks, 6});
  select(space, "H5S_SELECT_SET", row({0, 0}), row({2, 1}), row({blocks, 1}), empty());
  return space;
}

}  // namespace h5test
