#include "hdf5/family_shields.hpp"

#include <algorithm>
#include <atomic>
#include <string_view>
#include <vector>

#include "hdf5/error_stack.hpp"
#include "hdf5/handle.hpp"

namespace hdf5 {
namespace {

std::atomic<bool> expecting = false;
std::atomic<bool> lacksMember = false;

herr_t lookForFamily(unsigned /*position*/, const H5E_error2_t* record, void* /*nothing*/) {
  const std::string_view function = record->func_name;
  if (function == "H5FD_family_set_eoa" || function == "H5FD__family_set_eoa") lacksMember = true;
  return 0;
}

herr_t observeFailure(hid_t stack, void* /*nothing*/) {
  return H5Ewalk2(stack, H5E_WALK_UPWARD, lookForFamily, nullptr);
}

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

void expectFamilies() { expecting = true; }

H5E_auto2_t failureObserver() { return expecting ? observeFailure : nullptr; }

const char* troubleWithFamilies() {
  if (!lacksMember) return nullptr;
  lacksMember = isAnyOpen();
  return lacksMember
             ? "a member of a family of files could not be made, and the family is still open"
             : nullptr;
}

herr_t getFileSize(hid_t file, hsize_t* size) {
  const char* trouble = lacksMember && isInFamily(file) ? troubleWithFamilies() : nullptr;
  return trouble == nullptr ? H5Fget_filesize(file, size) : refuse("H5Fget_filesize", trouble);
}

}  // namespace hdf5
