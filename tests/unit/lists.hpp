// Property lists that tests make.
#pragma once

#include <initializer_list>

#include "tests/unit/owned.hpp"

namespace h5test {

inline Owned makeList(const char* listClass) { return make("H5Pcreate", listClass); }

/// What a dataset in chunks is created with.
inline Owned chunked(std::initializer_list<double> chunk) {
  Owned list = makeList("H5P_DATASET_CREATE");
  call("H5Pset_chunk", list, row(chunk));
  return list;
}

}  // namespace h5test
