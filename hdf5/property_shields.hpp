// Properties that HDF5 takes as they come: functions of its own form that stand for those
// of the same purpose.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// H5Pset. The bytes of a property may be a pointer or an identifier, which every release
/// follows and frees, or a number that its own function would have refused.
herr_t setRawProperty(hid_t list, const char* name, const void* value);

}  // namespace hdf5
