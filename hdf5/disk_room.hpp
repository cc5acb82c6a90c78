// Room on the disk for datasets. HDF5 keeps chunks in memory until it needs their place or
// the file is flushed. A chunk that cannot be written then has an address and is in no index:
// it is not found again, however much room there is later; and so is a block that could not
// be filled. So where little room is left, a dataset is written to only where what that takes
// is certain to fit, and chunks go to the disk at once.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// What a write to a dataset may take.
enum class DiskRoom {
  kPlenty,
  kEnough,     ///< for this write, if its chunks go to the disk at once
  kTooLittle,  ///< refused: the error stack says why
};
DiskRoom roomForWriting(hid_t dataset, hid_t fileSpace);

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
