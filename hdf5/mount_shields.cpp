#include "hdf5/mount_shields.hpp"

#include <algorithm>
#include <mutex>
#include <optional>
#include <vector>

#include "hdf5/error_stack.hpp"
#include "hdf5/handle.hpp"
#include "hdf5/link_shields.hpp"

namespace hdf5 {
namespace {

/// Of a file for as long as it is open, by however many identifiers; no other gets it again.
using FileNumber = unsigned long;

struct Mount {
  FileNumber parent = 0;
  FileNumber child = 0;
};

/// Those of files that were closed since lead nowhere.
std::vector<Mount>& mounts() {
  static std::vector<Mount> all;
  return all;
}
std::mutex& mutex() {
  static std::mutex one;
  return one;
}

std::optional<FileNumber> numberOf(hid_t object) {
  ObjectInfo info{};
  if (getObjectInfo(object, &info) < 0) return std::nullopt;
  return info.fileno;
}

std::optional<FileNumber> numberAt(hid_t location, const char* name) {
  const Handle<H5Oclose> object(H5Oopen(location, name, H5P_DEFAULT));
  return object.valid() ? numberOf(object.get()) : std::nullopt;
}

bool lies(FileNumber inner, FileNumber outer) {
  return inner == outer || std::ranges::any_of(mounts(), [&](const Mount& mount) {
           return mount.parent == outer && lies(inner, mount.child);
         });
}

}  // namespace

herr_t mount(hid_t location, const char* name, hid_t child, hid_t mountList) {
  if (!leadsToGroup("H5Fmount", location, name, H5P_DEFAULT)) return -1;
  const std::optional<FileNumber> parentNumber = numberAt(location, name);
  const std::optional<FileNumber> childNumber = numberOf(child);
  const bool known = parentNumber && childNumber;
  const std::lock_guard lock(mutex());
  if (known && lies(*parentNumber, *childNumber)) {
    return refuse("H5Fmount", "mount would introduce a cycle");
  }
  const herr_t status = H5Fmount(location, name, child, mountList);
  if (status >= 0 && known) mounts().push_back({*parentNumber, *childNumber});
  return status;
}

herr_t unmount(hid_t location, const char* name) {
  const std::optional<FileNumber> child = numberAt(location, name);
  const herr_t status = H5Funmount(location, name);
  const std::lock_guard lock(mutex());
  if (status >= 0 && child) {
    const auto found = std::ranges::find(mounts(), *child, &Mount::child);
    if (found != mounts().end()) mounts().erase(found);
  }
  return status;
}

}  // namespace hdf5
