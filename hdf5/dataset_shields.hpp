// Datasets where HDF5 looks beyond their data, or for ever: functions of its own form that stand
// for those of the same purpose.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// H5Dvlen_get_buf_size. HDF5 reads the selected elements one by one, as points of the
/// dataset's own space. It selects a point of a space without dimensions by following a
/// null pointer (1.10 and later; 1.8 fails), takes coordinates of another rank as they
/// come, and adds up what lies beyond the extent. Scalars are answered, the rest is
/// refused.
herr_t variableLengthSize(hid_t dataset, hid_t type, hid_t space, hsize_t* size);

/// Why the file space of a transfer selects what is not the dataset's; null where it does not.
/// HDF5 holds the selection against the extent of that space only, and takes it that the dataset
/// has the same one. Among chunks it looks by the dataset's rank, and finds no end in a space of
/// another one; chunks beyond the extent it makes. Elsewhere it counts on from the first element,
/// into what comes behind the data: other parts of the file, or of the memory of the process.
const char* whyNotSelected(hid_t dataset, hid_t fileSpace);

/// H5Dset_extent. Of a chunked dataset that shrinks HDF5 looks for every chunk that what is cut
/// off has room for, one after the other, whether it was ever written or not (all). Where these
/// are more than 2^32, for which it takes three minutes at least, it is refused. So is growing
/// where there is no room for what is allocated early.
herr_t setExtent(hid_t dataset, const hsize_t* size);

/// H5Dextend, where there is room for it.
herr_t extend(hid_t dataset, const hsize_t* size);

}  // namespace hdf5
