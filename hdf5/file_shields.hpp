// Files and their drivers where a release does something else than the others: functions
// of HDF5's own form that stand for those of the same purpose.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// H5Fcreate and H5Fopen, with files of every release's taken for sound.
hid_t createFile(const char* name, unsigned flags, hid_t creationList, hid_t accessList);
hid_t openFile(const char* name, unsigned flags, hid_t accessList);

/// H5Pset_fapl_multi with nothing but lists. In 1.8 the sums of the default addresses
/// overflow, the members overlap, and what is written to one destroys another.
herr_t setMultiLists(hid_t list, const hid_t* members, hbool_t relax);

/// H5Pset_fapl_split. Later releases make lists for the members that there are not, and
/// never close them.
herr_t setSplit(hid_t list, const char* metaName, hid_t metaList, const char* rawName,
                hid_t rawList);

/// The flags of the log driver without the tables of what was done to each byte of the
/// file: HDF5 writes to them at the file's own addresses, past their end where the file
/// comes to be larger than a table, and nobody knows before how large that will be.
unsigned withoutLogTables(unsigned flags);

}  // namespace hdf5
