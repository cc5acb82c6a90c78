// The metadata cache configuration between HDF5's record and a host structure.
#pragma once

#include "hdf5/compat.hpp"
#include "host/array.hpp"

namespace h5gate {

/// A record that carries only the version, which HDF5 wants to see before it fills it.
H5AC_cache_config_t emptyCacheConfig();

zbArray* makeCacheConfig(const H5AC_cache_config_t& config);

/// Every member from the field of its name; the version is never taken from a script.
H5AC_cache_config_t getCacheConfigArg(const zbArray* structure);

}  // namespace h5gate
