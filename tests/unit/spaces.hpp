// Dataspaces that tests make.
#pragma once

#include <initializer_list>
#include <utility>

#include "tests/unit/owned.hpp"

namespace h5test {

/// A simple dataspace of fixed or given maximum extents.
inline Owned makeSpace(std::initializer_list<double> dims, Value maxDims = empty()) {
  return make("H5Screate_simple", static_cast<double>(dims.size()), row(dims), std::move(maxDims));
}
inline Owned scalarSpace() { return make("H5Screate", "H5S_SCALAR"); }
inline Owned nullSpace() { return make("H5Screate", "H5S_NULL"); }

}  // namespace h5test
