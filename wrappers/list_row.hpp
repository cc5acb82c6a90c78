// Rows of functions that change a property list: SET(H5Pset_chunk, Nothing, List, ...) is
// a ROW whose list is not one of the library's own, SHIELDED(H5Pset_cache, hdf5::setCache,
// Nothing, List, ...) a CALL.
#pragma once

#include "hdf5/identifier_shields.hpp"
#include "wrappers/row.hpp"

namespace h5gate {

/// For handlers with rules of their own.
inline void requireOwnList(hid_t list) {
  if (hdf5::isLibrarys(list)) {
    raiseRefusal("H5Pset", "a default list of HDF5's cannot be changed");
  }
}

}  // namespace h5gate

// clang-format off
#define SET(Function, ...) SHIELDED(Function, Function, __VA_ARGS__)
#define SHIELDED(Name, Function, ...) CALL(Name, hdf5::OfOwnList<Function>::change, __VA_ARGS__)
// clang-format on
