// Closing the library while files and lists are open. HDF5 does not survive that where a
// file consists of files (the multi, split and family drivers): it closes the members, and
// the lists that they were opened with, by functions that find the library closed already,
// and what was written is lost. So these are closed while it is still open.
#pragma once

#include <algorithm>
#include <vector>

#include "hdf5/handle.hpp"

namespace hdf5 {

/// Of all files.
inline std::vector<hid_t> openIdentifiers(unsigned kinds) {
  const ssize_t count = std::max<ssize_t>(H5Fget_obj_count(H5F_OBJ_ALL, kinds), 0);
  const auto size = static_cast<std::size_t>(count);
  std::vector<hid_t> ids(size + kObjectIdsBeyond);
  const ssize_t given = H5Fget_obj_ids(H5F_OBJ_ALL, kinds, size, ids.data());
  ids.resize(std::min(size, static_cast<std::size_t>(std::max<ssize_t>(given, 0))));
  return ids;
}

inline void closeOpenIdentifiers(unsigned kinds) {
  for (const hid_t id : openIdentifiers(kinds)) {
    while (H5Iget_ref(id) > 0 && H5Idec_ref(id) >= 0) {
    }
  }
}

inline bool namesMembers(hid_t list) {
  if (H5Pisa_class(list, H5P_FILE_ACCESS) <= 0) return false;
  const hid_t driver = H5Pget_driver(list);
  return driver == H5FD_MULTI || driver == H5FD_FAMILY;
}

/// HDF5 does not tell which lists are open. A fresh one has the highest serial number.
inline void forgetMembers() {
  constexpr int kSerialBits = kWideIdentifiers ? 56 : 24;
  const PropertyList newest(H5Pcreate(H5P_FILE_ACCESS));
  if (!newest.valid()) return;  // somebody has closed the class
  for (hid_t id = newest.get() >> kSerialBits << kSerialBits; id < newest.get(); ++id) {
    if (H5Iis_valid(id) > 0 && namesMembers(id)) H5Pset_fapl_sec2(id);
  }
}

/// To be called before H5close.
inline void closeFiles() {
  closeOpenIdentifiers(H5F_OBJ_ALL & ~H5F_OBJ_FILE);
  closeOpenIdentifiers(H5F_OBJ_FILE);
  forgetMembers();
}

}  // namespace hdf5
