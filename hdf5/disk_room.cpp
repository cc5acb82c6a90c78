#include "hdf5/disk_room.hpp"

#include <sys/resource.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "hdf5/error_stack.hpp"
#include "hdf5/handle.hpp"
#include "hdf5/shields.hpp"

namespace hdf5 {
namespace {

/// With more than this, other processes have to write a lot before HDF5 next does.
constexpr std::uint64_t kPlenty = std::uint64_t{64} << 20;
constexpr std::uint64_t kAny = std::numeric_limits<std::uint64_t>::max();

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
  if (folder.empty() || statvfs(folder.c_str(), &disk) != 0) return kAny;
  return std::uint64_t{disk.f_bavail} * disk.f_frsize;
}

hid_t driverOf(hid_t file) {
  const PropertyList access(H5Fget_access_plist(file));
  return H5Pget_driver(access.get());
}

/// Bytes that the file may grow by before the process's limit of file sizes. One of several
/// parts has a size that none of them has.
std::uint64_t roomBelowLimit(hid_t object) {
  struct rlimit limit {};
  if (getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return kAny;
  const Handle<H5Fclose> file(H5Iget_file_id(object));
  const hid_t driver = driverOf(file.get());
  if (driver == H5FD_FAMILY || driver == H5FD_MULTI) return kAny;
  hsize_t size = 0;
  if (H5Fget_filesize(file.get(), &size) < 0) return kAny;
  return limit.rlim_cur > size ? limit.rlim_cur - size : 0;
}

std::uint64_t roomFor(hid_t object) {
  return std::min(roomIn(folderOf(object)), roomBelowLimit(object));
}

bool isInMemory(hid_t object) {
  const Handle<H5Fclose> file(H5Iget_file_id(object));
  return driverOf(file.get()) == H5FD_CORE;
}

using Corner = std::array<hsize_t, H5S_MAX_RANK>;

/// How a dataset that is not one block in the file is stored, or will be.
class Storage {
 public:
  explicit Storage(hid_t dataset)
      : dataset_(dataset),
        list_(H5Dget_create_plist(dataset)),
        type_(H5Dget_type(dataset)),
        extent_(H5Dget_space(dataset)),
        layout_(H5Pget_layout(list_.get())) {
    if (layout_ == H5D_CHUNKED) rank_ = H5Pget_chunk(list_.get(), H5S_MAX_RANK, chunk_.data());
  }

  [[nodiscard]] bool isChunked() const { return layout_ == H5D_CHUNKED; }

  /// At most, what a write to the selection adds to the file.
  [[nodiscard]] std::uint64_t bytesNeeded(hid_t fileSpace) const {
    Corner low{};
    Corner high{};
    if (H5Sget_select_npoints(fileSpace) <= 0) return 0;
    if (layout_ == H5D_CONTIGUOUS) return isFilled() ? bytesOf(extent_.get()) : 0;
    if (!isChunked() || H5Sget_select_bounds(fileSpace, low.data(), high.data()) < 0) return 0;
    const std::uint64_t all = bytesOfChunks(Corner{}, lastOf(extent_.get()));
    const hsize_t stored = H5Dget_storage_size(dataset_);
    if (stored >= all && !isFiltered()) return 0;  // each has its place, and keeps it
    return stored == 0 && isAllocatedAtOnce() ? all : bytesOfChunks(low, high);
  }

 private:
  [[nodiscard]] bool isFiltered() const { return H5Pget_nfilters(list_.get()) > 0; }

  [[nodiscard]] bool isAllocatedAtOnce() const {
    H5D_alloc_time_t time = H5D_ALLOC_TIME_DEFAULT;
    return H5Pget_alloc_time(list_.get(), &time) >= 0 && time == H5D_ALLOC_TIME_LATE;
  }

  /// Whether one block is filled before anything is written to it. Where that fails, the
  /// block has an address that the file never gets to know.
  [[nodiscard]] bool isFilled() const {
    H5D_fill_time_t time = H5D_FILL_TIME_IFSET;
    H5D_fill_value_t value = H5D_FILL_VALUE_DEFAULT;
    H5Pget_fill_time(list_.get(), &time);
    H5Pfill_value_defined(list_.get(), &value);
    return time == H5D_FILL_TIME_ALLOC || holdsPointers(type_.get()) ||
           (time == H5D_FILL_TIME_IFSET && value == H5D_FILL_VALUE_USER_DEFINED);
  }

  [[nodiscard]] std::uint64_t bytesOf(hid_t space) const {
    return static_cast<std::uint64_t>(H5Sget_simple_extent_npoints(space)) *
           H5Tget_size(type_.get());
  }

  [[nodiscard]] static Corner lastOf(hid_t space) {
    Corner last{};
    H5Sget_simple_extent_dims(space, last.data(), nullptr);
    for (hsize_t& size : last) size -= size > 0 ? 1 : 0;
    return last;
  }

  /// Of those that have a part in a box, both ends included.
  [[nodiscard]] std::uint64_t bytesOfChunks(const Corner& low, const Corner& high) const {
    std::uint64_t bytes = H5Tget_size(type_.get());
    for (std::size_t i = 0; i < static_cast<std::size_t>(rank_); ++i) {
      const std::uint64_t count = high[i] / chunk_[i] - low[i] / chunk_[i] + 1;
      if (__builtin_mul_overflow(bytes, count * chunk_[i], &bytes)) return kAny;
    }
    // A filter that finds nothing to gain adds a little.
    return isFiltered() ? bytes + bytes / 64 + 4096 : bytes;
  }

  hid_t dataset_;
  PropertyList list_;
  Type type_;
  Space extent_;
  H5D_layout_t layout_;
  int rank_ = 0;
  Corner chunk_{};
};

/// Bytes that a write adds at most, and whether to chunks.
std::pair<std::uint64_t, bool> needsOf(hid_t dataset, hid_t fileSpace) {
  const Storage storage(dataset);
  return {storage.bytesNeeded(fileSpace), storage.isChunked()};
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
  if (const std::uint64_t room = roomFor(dataset); needed > room) {
    const std::string reason = "the disk has room for " + std::to_string(room) +
                               " bytes, and the dataset may need " + std::to_string(needed);
    refuse("H5Dwrite", reason.c_str());
    return DiskRoom::kTooLittle;
  }
  return chunked ? DiskRoom::kEnough : DiskRoom::kPlenty;
}

herr_t flushDataset(hid_t dataset) {
#if H5_VERSION_GE(1, 10, 0)
  return H5Dflush(dataset);
#else
  return H5Fflush(dataset, H5F_SCOPE_LOCAL);
#endif
}

}  // namespace hdf5
