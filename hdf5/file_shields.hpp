// Files and their drivers where a release does something else than the others: functions
// of HDF5's own form that stand for those of the same purpose.
#pragma once

#include "hdf5/handle.hpp"

namespace hdf5 {

/// H5Fcreate and H5Fopen, with files of every release's taken for sound, and none that HDF5 does
/// not survive (troubleWith()). Of addresses of 16 bytes, which H5Pset_sizes takes, every release
/// writes the second half beyond its memory.
hid_t createFile(const char* name, unsigned flags, hid_t creationList, hid_t accessList);
hid_t openFile(const char* name, unsigned flags, hid_t accessList);

/// A copy for HDF5 to keep in a list, closed when HDF5 has it; what is no list stays as it
/// is. After 1.8 the multi driver keeps the list itself, so that one that is
/// its own member, or a member of one of its members, never ends.
class MemberList {
 public:
  explicit MemberList(hid_t given);
  [[nodiscard]] hid_t get() const { return copy_.valid() ? copy_.get() : given_; }

 private:
  hid_t given_;
  PropertyList copy_;
};

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
