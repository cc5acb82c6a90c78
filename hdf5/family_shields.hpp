// Families of files of which a member could not be made, because the process may open no more
// files, or the disk takes none. HDF5 counts the member all the same, and when it asks for the
// end of the family it follows a null pointer (all releases).
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// Why no file that may be of families can be opened or measured now; null where it can. It can
/// again when those that are open have been closed.
const char* troubleWithFamilies();

/// H5Fget_filesize.
herr_t getFileSize(hid_t file, hsize_t* size);

/// Whether the driver of the list is one of families, or of files that may be of families.
bool mayBeFamily(hid_t accessList);

}  // namespace hdf5
