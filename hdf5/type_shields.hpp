// Datatypes, attributes and labels where a release does not survive what another one
// refuses or does: functions of HDF5's own form that stand for those of the same purpose.
#pragma once

#include "hdf5/error_stack.hpp"

namespace hdf5 {

/// H5Tset_size. 1.8 looks at the last member of a compound that has none.
herr_t setTypeSize(hid_t type, size_t size);

/// H5Tpack. It looks at the last member of a compound, and of each within, that has none.
herr_t packType(hid_t type);

/// H5Tlock. Later releases lock a committed datatype, which can then not be closed, and
/// its file with it.
herr_t lockType(hid_t type);

/// `Change`, called `name`. Later releases change a committed datatype, which then says
/// something else than the file.
template <auto Change, class... Arguments>
herr_t changeTransient(const char* name, hid_t type, Arguments... arguments) {
  if (kSince112 && H5Tcommitted(type) > 0) {
    return refuse(name, "a committed datatype cannot be changed");
  }
  return Change(type, arguments...);
}

/// H5Acreate2. Up to 1.10 the access list is never read; later releases refuse one of
/// another class.
hid_t createAttribute(hid_t object, const char* name, hid_t type, hid_t space, hid_t creationList,
                      hid_t accessList);

/// H5DSget_label. 1.8 follows a null pointer where the dimension has no label and another
/// one has.
ssize_t getDimensionLabel(hid_t dataset, unsigned index, char* label, size_t size);

}  // namespace hdf5
