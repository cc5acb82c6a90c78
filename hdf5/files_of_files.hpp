// Files that consist of files: of the family driver and of the multi driver, which the split
// driver is one of.
//
// HDF5 prints names with names for a format: the family driver a member's number into the
// file's name, the multi driver the file's name into a member's, and these again where the
// member is of such a driver itself. It looks at no format, and writes beyond the 1024 bytes
// that the multi driver of 1.8 and 1.10 has for a name and the 4096 that the family driver of
// 1.8 has: such names are refused. So is a member of the multi driver that is of that driver
// itself, unless all that is kept there begins at its address 0: later releases then cannot
// write the file, and 1.8 and 1.10 do not survive to close it. The same is true of blocks and
// an alignment of more than 2^50 bytes.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// A list of another class is HDF5's to refuse.
bool isFileAccess(hid_t list);

/// Why HDF5 would not survive to open a file of this name; null where it does.
const char* troubleWith(const char* name, hid_t accessList);

}  // namespace hdf5
