#include "wrappers/dataset_parts.hpp"

#include <algorithm>
#include <array>

#include "chunks/chunked_transfer.hpp"
#include "convert/failure.hpp"

namespace h5gate {
namespace {

constexpr hsize_t kPart = hsize_t{256} << 10;
constexpr hsize_t kLargestPart = hsize_t{4} << 20;

/// Rows that are read together, 0 where that is unknown.
hsize_t rowsTogether(hid_t dataset) {
  const hdf5::PropertyList list(H5Dget_create_plist(dataset));
  switch (H5Pget_layout(list.get())) {
    case H5D_CONTIGUOUS: return 1;
    case H5D_CHUNKED: {
      std::array<hsize_t, H5S_MAX_RANK> chunk{};
      return H5Pget_chunk(list.get(), H5S_MAX_RANK, chunk.data()) > 0 ? chunk[0] : 0;
    }
    default: return 0;
  }
}

}  // namespace

DatasetParts::DatasetParts(hid_t dataset, hid_t fileSpace, hid_t memoryType, hid_t transferList)
    : dataset_(dataset), memoryType_(memoryType), list_(transferList) {
  const int rank = H5Sget_simple_extent_ndims(fileSpace);
  const hssize_t points = H5Sget_simple_extent_npoints(fileSpace);
  const hsize_t size = H5Tget_size(memoryType);
  // Twice as much as a part, and no count that wraps around.
  if (rank < 1 || size == 0 || points < 1) return;
  const auto elements = static_cast<hsize_t>(points);
  if (elements <= 2 * kPart / size || elements > (hsize_t{1} << 62) / size) return;

  extent_.resize(static_cast<std::size_t>(rank));
  H5Sget_simple_extent_dims(fileSpace, extent_.data(), nullptr);
  rowLength_ = elements / extent_[0];
  const hsize_t together = rowsTogether(dataset);
  if (together == 0) return;
  const hsize_t units = kPart / (rowLength_ * size * together);
  const hsize_t rows = std::max<hsize_t>(units, 1) * together;
  if (rows >= extent_[0] || rows * rowLength_ * size > kLargestPart) return;
  rows_ = rows;
  file_ = hdf5::Space(H5Scopy(fileSpace));
}

zbArray* DatasetParts::readInto(HDF5Dataset& host) {
  const auto part = [](void* buffer, std::size_t first, std::size_t count, void* self) {
    return static_cast<const DatasetParts*>(self)->fill(buffer, first, count);
  };
  zbArray* array = host.readInParts(static_cast<std::size_t>(rows_ * rowLength_), part, this);
  if (array == nullptr) KVH5libraryError();
  return array;
}

herr_t DatasetParts::fill(void* buffer, std::size_t first, std::size_t count) const {
  std::array<hsize_t, H5S_MAX_RANK> start{};
  std::array<hsize_t, H5S_MAX_RANK> size{};
  std::copy(extent_.begin(), extent_.end(), size.begin());
  start[0] = first / rowLength_;
  size[0] = count / rowLength_;
  const hsize_t elements = count;
  hdf5::Space memory(H5Screate_simple(1, &elements, nullptr));
  if (H5Sselect_hyperslab(file_.get(), H5S_SELECT_SET, start.data(), nullptr, size.data(),
                          nullptr) < 0) {
    return -1;
  }
  const herr_t status =
      chunks::read({dataset_, memoryType_, memory.get(), file_.get(), list_, list_}, buffer);
  if (status < 0) {
    const hdf5::KeepErrorStack keep;
    memory.close();
  }
  return status;
}

}  // namespace h5gate
