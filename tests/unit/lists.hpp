// Property lists that tests make.
#pragma once

#include <initializer_list>

#include "tests/unit/defaults.hpp"
#include "tests/unit/owned.hpp"

namespace h5test {

inline Owned makeList(const char* listClass) { return make("H5Pcreate", listClass); }

/// What a dataset in chunks is created with.
inline Owned chunked(std::initializer_list<double> chunk) {
  Owned list = makeList("H5P_DATASET_CREATE");
  call("H5Pset_chunk", list, row(chunk));
  return list;
}

/// What a file in members of so many bytes is made and opened with.
inline Owned familyOf(int memberSize, const Argument& member = kDefault) {
  Owned list = makeList("H5P_FILE_ACCESS");
  call("H5Pset_fapl_family", list, memberSize, member);
  return list;
}

}  // namespace h5test
