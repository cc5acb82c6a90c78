// Room on the disk for datasets. HDF5 keeps chunks in memory until it needs their place or
// the file is flushed. A chunk that cannot be written then has an address and is in no index:
// it is not found again, however much room there is later; and so is a block that could not
// be filled. So where little room is left, a dataset is written to only where what that takes
// is certain to fit, and chunks go to the disk at once.
#pragma once

#include <cstdint>

#include "hdf5/compat.hpp"

namespace hdf5 {

/// What a write to a dataset may take.
enum class DiskRoom {
  kPlenty,
  kEnough,     ///< for this write, if its chunks go to the disk at once
  kTooLittle,  ///< refused: the error stack says why
};
DiskRoom roomForWriting(hid_t dataset, hid_t fileSpace);

/// Whether there is room for what a dataset takes before anything is written to it, if the list
/// is a creation list; else the error stack says why.
bool hasRoomToBegin(hid_t location, hid_t type, hid_t extent, hid_t list);

/// H5Dcreate, whichever `Create` is. Storage that is allocated early is filled at once, and where
/// that fails it stays in the file: nothing can be written behind it, not even what the file had
/// to keep. What does not fit is not begun.
template <auto Create>
struct OfDiskRoom;
template <class... Lists, hid_t (*Create)(hid_t, const char*, hid_t, hid_t, Lists...)>
struct OfDiskRoom<Create> {
  static hid_t create(hid_t location, const char* name, hid_t type, hid_t extent, Lists... lists) {
    const bool fits = (hasRoomToBegin(location, type, extent, lists) && ...);
    return fits ? Create(location, name, type, extent, lists...) : H5I_INVALID_HID;
  }
};

/// The same of an extent that a dataset is given.
bool hasRoomToGrow(const char* function, hid_t dataset, const hsize_t* size);

/// Whether there is room for the names of links that H5Gcreate1 takes a block for at once.
/// Where that cannot be written HDF5 goes on with a group that is half there (1.10).
bool hasRoomForNames(hid_t location, std::uint64_t bytes);

/// Whether a copy fits, where little room is left; else the error stack says why. 1.8 to 1.12
/// close a datatype twice where they cannot write all data of a copy.
bool hasRoomForCopy(hid_t source, const char* name, hid_t destination, hid_t copyList);

herr_t flushDataset(hid_t dataset);

/// `write()`, which is to write to a file space that is not H5S_ALL and returns HDF5's status.
template <class Write>
herr_t writeWhereItFits(hid_t dataset, hid_t fileSpace, Write write) {
  const DiskRoom room = roomForWriting(dataset, fileSpace);
  if (room == DiskRoom::kTooLittle || write() < 0) return -1;
  return room == DiskRoom::kEnough ? flushDataset(dataset) : 0;
}

}  // namespace hdf5
