#include "hdf5/disk_room.hpp"

#include <sys/resource.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "hdf5/dataset_storage.hpp"
#include "hdf5/error_stack.hpp"
#include "hdf5/family_shields.hpp"
#include "hdf5/handle.hpp"
#include "hdf5/shields.hpp"

namespace hdf5 {
namespace {

/// With more than this, other processes have to write a lot before HDF5 next does.
constexpr std::uint64_t kPlenty = std::uint64_t{64} << 20;

/// The folder of the object's file; empty where HDF5 does not say.
std::string folderOf(hid_t object) {
  std::array<char, 4096> name{};
  if (H5Fget_name(object, name.data(), name.size()) <= 0) return {};
  const std::string path = name.data();
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

/// Bytes that the process may add to files, as far as anybody can tell.
std::uint64_t roomIn(const std::string& folder) {
  struct statvfs disk {};
  if (folder.empty() || statvfs(folder.c_str(), &disk) != 0) return kAnyBytes;
  return std::uint64_t{disk.f_bavail} * disk.f_frsize;
}

hid_t driverOf(hid_t file) {
  const PropertyList access(H5Fget_access_plist(file));
  return H5Pget_driver(access.get());
}

/// Bytes that the file may grow by before the process's limit of file sizes, at most: of one of
/// several parts HDF5 tells no size. A family has another part for what one has no room for.
std::uint64_t roomBelowLimit(hid_t object) {
  struct rlimit limit {};
  if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return kAnyBytes;
  const Handle<H5Fclose> file(H5Iget_file_id(object));
  const hid_t driver = driverOf(file.get());
  if (driver == H5FD_FAMILY) return kAnyBytes;
  if (driver == H5FD_MULTI) return limit.rlim_cur;
  hsize_t size = 0;
  if (H5Fget_filesize(file.get(), &size) < 0) return kAnyBytes;
  return limit.rlim_cur > size ? limit.rlim_cur - size : 0;
}

std::uint64_t roomFor(hid_t object) {
  return std::min(roomIn(folderOf(object)), roomBelowLimit(object));
}

bool isInMemory(hid_t object) {
  const Handle<H5Fclose> file(H5Iget_file_id(object));
  return driverOf(file.get()) == H5FD_CORE;
}

/// Bytes that a write adds at most, and whether to chunks.
std::pair<std::uint64_t, bool> needsOf(hid_t dataset, hid_t fileSpace) {
  const PropertyList list(H5Dget_create_plist(dataset));
  const Type type(H5Dget_type(dataset));
  const Space extent(H5Dget_space(dataset));
  const DatasetStorage storage(list.get(), type.get(), extent.get());
  return {storage.bytesToWrite(fileSpace, H5Dget_storage_size(dataset)), storage.isChunked()};
}

struct Shortage {
  std::uint64_t room;
  std::uint64_t needed;
};

std::optional<Shortage> shortageOf(hid_t object, std::uint64_t needed) {
  if (needed == 0) return std::nullopt;
  const std::uint64_t room = roomFor(object);
  if (needed <= room || isInMemory(object)) return std::nullopt;
  return Shortage{room, needed};
}

/// Whether there is none; else the error stack says it.
bool fits(const char* function, const char* what, const std::optional<Shortage>& shortage) {
  if (!shortage) return true;
  const std::string reason = "the disk has room for " + std::to_string(shortage->room) +
                             " bytes, and the " + what + " may need " +
                             std::to_string(shortage->needed);
  refuse(function, reason.c_str());
  return false;
}

// --- New datasets --------------------------------------------------------------------------

/// For what a dataset takes at once that has so many bytes in the object's file.
std::optional<Shortage> shortageAtOnce(hid_t object, const DatasetStorage& storage,
                                       std::uint64_t stored) {
  const auto more = [&](std::uint64_t bytes) { return bytes - std::min(bytes, stored); };
  const auto shortage = shortageOf(object, more(storage.bytesAtOnce()));
  if (!shortage || !storage.isFiltered()) return shortage;
  return shortageOf(object, more(storage.filteredBytesAtOnce()));
}

std::optional<Shortage> shortageOfGrown(hid_t dataset, const hsize_t* size) {
  const PropertyList list(H5Dget_create_plist(dataset));
  if (!isAllocated(list.get(), H5D_ALLOC_TIME_EARLY)) return std::nullopt;  // most are not
  const Type type(H5Dget_type(dataset));
  const Space now(H5Dget_space(dataset));
  const Space grown(H5Screate_simple(H5Sget_simple_extent_ndims(now.get()), size, nullptr));
  const DatasetStorage storage(list.get(), type.get(), grown.get());
  return shortageAtOnce(dataset, storage, H5Dget_storage_size(dataset));
}

// --- Copies --------------------------------------------------------------------------------

/// What an object holds in its file. Of data that lead to others HDF5 does not tell how many
/// these are: all that is in the file, at most.
std::uint64_t bytesIn(hid_t object) {
  if (H5Iget_type(object) != H5I_DATASET) return 0;
  if (!holdsPointers(Type(H5Dget_type(object)).get())) return H5Dget_storage_size(object);
  return kAnyBytes;
}

struct Copied {
  std::uint64_t bytes = 0;
  bool isAll = false;
};

herr_t addObject(hid_t object, const char* name, const ObjectInfo* /*info*/, void* data) {
  auto& copied = *static_cast<Copied*>(data);
  const Handle<H5Oclose> one(H5Oopen(object, name, H5P_DEFAULT));
  const std::uint64_t bytes = bytesIn(one.get());
  copied.isAll = bytes == kAnyBytes;
  copied.bytes += bytes;
  return copied.isAll ? 1 : 0;
}

std::uint64_t sizeOfFile(hid_t object) {
  const Handle<H5Fclose> file(H5Iget_file_id(object));
  hsize_t size = 0;
  return getFileSize(file.get(), &size) < 0 ? kAnyBytes : size;
}

/// Whether the copy is of more than what has the name and what is in it.
bool followsLinks(hid_t copyList) {
  constexpr unsigned kFollows = H5O_COPY_EXPAND_SOFT_LINK_FLAG | H5O_COPY_EXPAND_EXT_LINK_FLAG |
                                H5O_COPY_EXPAND_REFERENCE_FLAG;
  unsigned options = 0;
  return copyList != H5P_DEFAULT && H5Pget_copy_object(copyList, &options) >= 0 &&
         (options & kFollows) != 0;
}

/// At most, but for what stands around the data.
std::uint64_t bytesToCopy(hid_t source, const char* name, hid_t copyList) {
  if (followsLinks(copyList)) return sizeOfFile(source);
  Copied copied;
  // What cannot be visited cannot be copied either, which is HDF5's to say.
  visitObjectsByName(source, name, H5_INDEX_NAME, H5_ITER_NATIVE, addObject, &copied, H5P_DEFAULT);
  return copied.isAll ? sizeOfFile(source) : copied.bytes + copied.bytes / 16;
}

// --- When to look --------------------------------------------------------------------------

using Clock = std::chrono::steady_clock;

/// Asking the system takes as long as a small write. Who has just found plenty of room does
/// not ask again before a disk could have filled up.
constexpr std::chrono::milliseconds kGood{20};
struct Found {
  hid_t dataset = H5I_INVALID_HID;
  Clock::time_point goodUntil;
};
thread_local Found found;

bool hasPlenty(hid_t dataset) {
  // What has an address is one block that is all there.
  return H5Dget_offset(dataset) != HADDR_UNDEF || roomFor(dataset) >= kPlenty ||
         isInMemory(dataset);
}

}  // namespace

DiskRoom roomForWriting(hid_t dataset, hid_t fileSpace) {
  const Clock::time_point now = Clock::now();
  if (found.dataset == dataset && now < found.goodUntil) return DiskRoom::kPlenty;
  if (hasPlenty(dataset)) {
    found = {dataset, now + kGood};
    return DiskRoom::kPlenty;
  }
  const auto [needed, chunked] = needsOf(dataset, fileSpace);
  if (!fits("H5Dwrite", "dataset", shortageOf(dataset, needed))) return DiskRoom::kTooLittle;
  return chunked ? DiskRoom::kEnough : DiskRoom::kPlenty;
}

bool hasRoomToBegin(hid_t location, hid_t type, hid_t extent, hid_t list) {
  if (!isDatasetCreationList(list)) return true;
  return fits("H5Dcreate", "dataset",
              shortageAtOnce(location, DatasetStorage(list, type, extent), 0));
}

bool hasRoomToGrow(const char* function, hid_t dataset, const hsize_t* size) {
  return size == nullptr || fits(function, "dataset", shortageOfGrown(dataset, size));
}

bool hasRoomForNames(hid_t location, std::uint64_t bytes) {
  return fits("H5Gcreate1", "group", shortageOf(location, bytes));
}

bool hasRoomForCopy(hid_t source, const char* name, hid_t destination, hid_t copyList) {
  if (roomFor(destination) >= kPlenty || isInMemory(destination)) return true;
  return fits("H5Ocopy", "copy", shortageOf(destination, bytesToCopy(source, name, copyList)));
}

herr_t flushDataset(hid_t dataset) {
#if H5_VERSION_GE(1, 10, 0)
  return H5Dflush(dataset);
#else
  return H5Fflush(dataset, H5F_SCOPE_LOCAL);
#endif
}

}  // namespace hdf5
