// Selections that HDF5 does not survive: functions of its own form that stand for those of
// the same purpose.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// H5Sselect_hyperslab. Where all of an extent without points is selected, every release
/// makes a hyperslab of that selection for XOR and NOTB, gets none, and follows the null
/// pointer.
herr_t selectHyperslab(hid_t space, H5S_seloper_t op, const hsize_t* start, const hsize_t* stride,
                       const hsize_t* count, const hsize_t* block);

}  // namespace hdf5
