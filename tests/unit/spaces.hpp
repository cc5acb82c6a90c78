// Dataspaces that tests make.
#pragma once

#include <initializer_list>
#include <utility>
#include <vector>

#include "tests/unit/owned.hpp"

namespace h5test {

/// A simple dataspace of fixed or given maximum extents.
inline Owned makeSpace(std::initializer_list<double> dims, Value maxDims = empty()) {
  return make("H5Screate_simple", static_cast<double>(dims.size()), row(dims), std::move(maxDims));
}
inline Owned scalarSpace() { return make("H5Screate", "H5S_SCALAR"); }
inline Owned nullSpace() { return make("H5Screate", "H5S_NULL"); }

/// A dataspace without points: simple where a dataset can have such a one.
inline Owned emptySpace() { return hdf5::kSince187 ? makeSpace({0}) : nullSpace(); }
/// One of each shape that a dataset can have.
inline std::vector<Owned> emptySpaces() {
  std::vector<Owned> spaces;
  spaces.push_back(nullSpace());
  if (!hdf5::kSince187) return spaces;
  spaces.push_back(makeSpace({0}));
  spaces.push_back(makeSpace({3, 0}));
  spaces.push_back(makeSpace({0, 4, 2}));
  return spaces;
}

}  // namespace h5test
