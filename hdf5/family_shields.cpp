#include "hdf5/family_shields.hpp"

#include <algorithm>
#include <vector>

#include "hdf5/error_stack.hpp"
#include "hdf5/handle.hpp"
#include "hdf5/observed_failures.hpp"

namespace hdf5 {
namespace {

bool isInFamily(hid_t object) {
  const Handle<H5Fclose> file(H5Iget_file_id(object));
  if (!file.valid()) return false;
  return mayBeFamily(PropertyList(H5Fget_access_plist(file.get())).get());
}

bool isAnyOpen() {
  const ssize_t count = H5Fget_obj_count(H5F_OBJ_ALL, H5F_OBJ_ALL);
  if (count <= 0) return false;
  std::vector<hid_t> ids(static_cast<std::size_t>(count) + kObjectIdsBeyond, H5I_INVALID_HID);
  H5Fget_obj_ids(H5F_OBJ_ALL, H5F_OBJ_ALL, static_cast<std::size_t>(count), ids.data());
  return std::ranges::any_of(ids, [](hid_t id) { return id > 0 && isInFamily(id); });
}

}  // namespace

bool mayBeFamily(hid_t accessList) {
  const hid_t driver = H5Pget_driver(accessList);
  return driver == H5FD_FAMILY || driver == H5FD_MULTI;
}

const char* troubleWithFamilies() {
  if (!someFamilyLacksMember()) return nullptr;
  if (isAnyOpen()) return "a member of a family of files could not be made, and the family is open";
  forgetLackingMembers();
  return nullptr;
}

herr_t getFileSize(hid_t file, hsize_t* size) {
  const char* trouble =
      someFamilyLacksMember() && isInFamily(file) ? troubleWithFamilies() : nullptr;
  return trouble == nullptr ? H5Fget_filesize(file, size) : refuse("H5Fget_filesize", trouble);
}

}  // namespace hdf5
