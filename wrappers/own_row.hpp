// Rows of functions that change a property list or a datatype: SET(H5Pset_chunk, Nothing, List,
// ...) is a ROW of what is not the library's own, SHIELDED(H5Pset_cache, hdf5::setCache, Nothing,
// List, ...) a CALL.
#pragma once

#include "hdf5/identifier_shields.hpp"
#include "wrappers/row.hpp"

namespace h5gate {

/// For handlers with rules of their own.
inline void requireOwn(hid_t id) {
  if (hdf5::isLibrarys(id)) checked(hdf5::refuseToChange(id));
}

}  // namespace h5gate

// clang-format off
#define SET(Function, ...) SHIELDED(Function, Function, __VA_ARGS__)
#define SHIELDED(Name, Function, ...) CALL(Name, hdf5::OfOwn<Function>::change, __VA_ARGS__)
// clang-format on
