#include "hdf5/dataset_storage.hpp"

#include <cstddef>

#include "hdf5/handle.hpp"
#include "hdf5/shields.hpp"
#include "hdf5/trial_file.hpp"

namespace hdf5 {
namespace {

std::uint64_t product(std::uint64_t one, std::uint64_t other) {
  std::uint64_t both = 0;
  return __builtin_mul_overflow(one, other, &both) ? kAnyBytes : both;
}

std::uint64_t sum(std::uint64_t one, std::uint64_t other) {
  std::uint64_t both = 0;
  return __builtin_add_overflow(one, other, &both) ? kAnyBytes : both;
}

}  // namespace

bool isAllocated(hid_t list, H5D_alloc_time_t when) {
  H5D_alloc_time_t time = H5D_ALLOC_TIME_DEFAULT;
  return H5Pget_alloc_time(list, &time) >= 0 && time == when;
}

DatasetStorage::DatasetStorage(hid_t list, hid_t type, hid_t extent)
    : list_(list), type_(type), extent_(extent), layout_(H5Pget_layout(list)) {
  if (isChunked()) rank_ = H5Pget_chunk(list, H5S_MAX_RANK, chunk_.data());
}

std::uint64_t DatasetStorage::bytesToWrite(hid_t fileSpace, std::uint64_t stored) const {
  Corner low{};
  Corner high{};
  if (H5Sget_select_npoints(fileSpace) <= 0) return 0;
  if (layout_ == H5D_CONTIGUOUS) return isFilled() ? bytesOfBlock() : 0;
  if (!isChunked() || H5Sget_select_bounds(fileSpace, low.data(), high.data()) < 0) return 0;
  const std::uint64_t all = bytesOfChunks(Corner{}, lastElement());
  if (stored >= all && !isFiltered()) return 0;  // each has its place, and keeps it
  return stored == 0 && isAllocated(list_, H5D_ALLOC_TIME_LATE) ? all : bytesOfChunks(low, high);
}

std::uint64_t DatasetStorage::bytesAtOnce() const {
  if (!isAllocated(list_, H5D_ALLOC_TIME_EARLY) || !isFilled() || elements() == 0) return 0;
  if (isChunked()) return sum(bytesOfChunks(Corner{}, lastElement()), bytesInIndex());
  const bool isBlock = layout_ == H5D_CONTIGUOUS && H5Pget_external_count(list_) == 0;
  return isBlock ? bytesOfBlock() : 0;
}

std::uint64_t DatasetStorage::filteredBytesAtOnce() const {
  return sum(product(chunks(Corner{}, lastElement()), filteredBytesOfChunk()), bytesInIndex());
}

bool DatasetStorage::isFiltered() const { return H5Pget_nfilters(list_) > 0; }

/// Whether storage is filled before anything is written to it. Where that fails, it has an
/// address that the file never gets to know. Zeros are written to chunks only: a block of the
/// file is zeros where nothing was written.
bool DatasetStorage::isFilled() const {
  H5D_fill_time_t time = H5D_FILL_TIME_IFSET;
  H5D_fill_value_t value = H5D_FILL_VALUE_DEFAULT;
  H5Pget_fill_time(list_, &time);
  H5Pfill_value_defined(list_, &value);
  const bool isSet =
      value == H5D_FILL_VALUE_USER_DEFINED || (isChunked() && value == H5D_FILL_VALUE_DEFAULT);
  return time == H5D_FILL_TIME_ALLOC || holdsPointers(type_) ||
         (time == H5D_FILL_TIME_IFSET && isSet);
}

std::uint64_t DatasetStorage::elements() const {
  const hssize_t count = H5Sget_simple_extent_npoints(extent_);
  return count > 0 ? static_cast<std::uint64_t>(count) : 0;
}

std::uint64_t DatasetStorage::bytesOfBlock() const {
  return product(elements(), H5Tget_size(type_));
}

DatasetStorage::Corner DatasetStorage::lastElement() const {
  Corner last{};
  H5Sget_simple_extent_dims(extent_, last.data(), nullptr);
  for (hsize_t& size : last) size -= size > 0 ? 1 : 0;
  return last;
}

/// Those that have a part in a box, both ends included.
std::uint64_t DatasetStorage::chunks(const Corner& low, const Corner& high) const {
  std::uint64_t count = 1;
  for (std::size_t i = 0; i < static_cast<std::size_t>(rank_); ++i) {
    count = product(count, high[i] / chunk_[i] - low[i] / chunk_[i] + 1);
  }
  return count;
}

std::uint64_t DatasetStorage::bytesOfChunks(const Corner& low, const Corner& high) const {
  const std::uint64_t bytes = product(chunks(low, high), bytesOfChunk());
  // A filter that finds nothing to gain adds a little.
  return isFiltered() ? sum(bytes, bytes / 64 + 4096) : bytes;
}

std::uint64_t DatasetStorage::bytesOfChunk() const {
  std::uint64_t bytes = H5Tget_size(type_);
  for (std::size_t i = 0; i < static_cast<std::size_t>(rank_); ++i) {
    bytes = product(bytes, chunk_[i]);
  }
  return bytes;
}

/// Tried with one of fill values, in memory; 0 where it cannot be.
std::uint64_t DatasetStorage::filteredBytesOfChunk() const {
  const KeepErrorStack keep;
  const Handle<H5Fclose> file = trialFile(PropertyList(H5Pcreate(H5P_FILE_ACCESS)));
  const Space one(H5Screate_simple(rank_, chunk_.data(), nullptr));
  const Type type(H5Tcopy(type_));  // which no other file has
  const Handle<H5Dclose> dataset(
      H5Dcreate2(file.get(), "d", type.get(), one.get(), H5P_DEFAULT, list_, H5P_DEFAULT));
  return dataset.valid() ? H5Dget_storage_size(dataset.get()) : 0;
}

/// Of the chunks: nodes of a B-tree, half full, with an address, a size and a place for each.
std::uint64_t DatasetStorage::bytesInIndex() const {
  const std::uint64_t entry = 2 * (24 + 8 * static_cast<std::uint64_t>(rank_));
  return product(chunks(Corner{}, lastElement()), entry);
}

}  // namespace hdf5
