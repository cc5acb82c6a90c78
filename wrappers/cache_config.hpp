// The metadata cache configuration between HDF5's record and a host structure.
#pragma once

#include "gateway/failure.hpp"
#include "hdf5/compat.hpp"
#include "host/array.hpp"

namespace h5gate {

/// A record that carries only the version, which HDF5 wants to see before it fills it.
H5AC_cache_config_t emptyCacheConfig();

zbArray* makeCacheConfig(const H5AC_cache_config_t& config);

/// Every member from the field of its name; the version is never taken from a script.
H5AC_cache_config_t getCacheConfigArg(const zbArray* structure);

/// The handlers of whatever has a configuration: an open file, a file access list.
template <auto Get, class Owner>
void getCacheConfig(zbArray** outs, const zbArray** ins) {
  H5AC_cache_config_t config = emptyCacheConfig();
  checked(Get(Owner::from(ins[0]), &config));
  outs[0] = makeCacheConfig(config);
}
template <auto Set, class Owner>
void setCacheConfig(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t owner = Owner::from(ins[0]);
  H5AC_cache_config_t config = getCacheConfigArg(ins[1]);
  checked(Set(owner, &config));
}

}  // namespace h5gate
