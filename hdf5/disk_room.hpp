// Room on the disk for datasets. HDF5 keeps chunks in memory until it needs their place or
// the file is flushed. A chunk that cannot be written then has an address and is in no index:
// it is not found again, however much room there is later; and so is a block that could not
// be filled. So where little room is left, a dataset is written to only where what that takes
// is certain to fit, and chunks go to the disk at once.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// H5Dwrite to a file space that is not H5S_ALL.
herr_t writeDataset(hid_t dataset, hid_t memoryType, hid_t memorySpace, hid_t fileSpace,
                    hid_t transferList, const void* data);

}  // namespace hdf5
