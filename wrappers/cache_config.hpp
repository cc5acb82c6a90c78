// The metadata cache configuration between HDF5's record and a host structure.
#pragma once

#include "convert/failure.hpp"
#include "hdf5/compat.hpp"
#include "host/array.hpp"
#include "wrappers/takes.hpp"

namespace h5gate {

/// A record that carries only the version, which HDF5 wants to see before it fills it.
H5AC_cache_config_t emptyCacheConfig();

zbArray* makeCacheConfig(const H5AC_cache_config_t& config);

/// Every member from the field of its name; the version is never taken from a script.
H5AC_cache_config_t getCacheConfigArg(const zbArray* structure);

/// The handlers of whatever has a configuration: an open file, a file access list.
template <auto Get, class Owner>
void getCacheConfig(Inputs ins, Results& outs) {
  const auto [owner] = take<Owner>(ins);
  H5AC_cache_config_t config = emptyCacheConfig();
  checked(Get(owner, &config));
  outs.give(makeCacheConfig(config));
}
template <auto Set, class Owner>
void setCacheConfig(Inputs ins, Results& /*outs*/) {
  const auto [owner, structure] = take<Owner, Any>(ins);
  H5AC_cache_config_t config = getCacheConfigArg(structure);
  checked(Set(owner, &config));
}

}  // namespace h5gate
