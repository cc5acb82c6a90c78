// The metadata cache configuration between HDF5's record and a host structure.
#pragma once

#include <tuple>

#include "hdf5/compat.hpp"
#include "host/array.hpp"

namespace h5gate {

/// Given as an out-parameter and taken as an argument.
struct CacheConfig {
  using Value = H5AC_cache_config_t;

  /// Only the version, which HDF5 wants to see before it fills the record.
  static Value initially();
  static zbArray* make(const Value& config);

  struct Taken {
    Value config;
    [[nodiscard]] auto arguments() { return std::tuple(&config); }
  };
  /// Every member from the field of its name; the version is never taken from a script.
  static Taken from(const zbArray* structure);
};

}  // namespace h5gate
