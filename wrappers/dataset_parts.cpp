#include "wrappers/dataset_parts.hpp"

#include <algorithm>
#include <array>

#include "chunks/buffer.hpp"
#include "chunks/crew.hpp"
#include "chunks/thread_count.hpp"
#include "convert/failure.hpp"

namespace h5gate {
namespace {

constexpr hsize_t kPart = hsize_t{512} << 10;
constexpr hsize_t kLargestPart = hsize_t{4} << 20;
/// What takes so long to copy that a second thread has begun long before the end.
constexpr hsize_t kWorthAThread = hsize_t{2} << 20;

/// How the dataset's data are put into parts.
struct Parting {
  hsize_t together = 0;  // rows, 0 where that is unknown
  hsize_t bytes = kPart;
  hsize_t most = kLargestPart;
};

Parting partingOf(hid_t dataset) {
  const hdf5::PropertyList list(H5Dget_create_plist(dataset));
  switch (H5Pget_layout(list.get())) {
    case H5D_CONTIGUOUS: return {1};
    case H5D_CHUNKED: {
      std::array<hsize_t, H5S_MAX_RANK> chunk{};
      if (H5Pget_chunk(list.get(), H5S_MAX_RANK, chunk.data()) <= 0) return {};
      if (H5Pget_nfilters(list.get()) == 0) return {chunk[0]};
      // Filters take longer than copying, and several threads take them on together.
      const hsize_t bytes = std::max<hsize_t>(chunks::bytesForThreads(dataset), kPart);
      return {chunk[0], bytes, 4 * bytes};
    }
    default: return {};
  }
}

}  // namespace

/// What parts are in until they are done, in turns.
struct DatasetParts::Buffers {
  explicit Buffers(const DatasetParts& parts)
      : members(parts.count() * parts.length() * parts.size_ < kWorthAThread
                    ? 1
                    : std::min(chunks::threadCount().threads, 2U)),
        // One that is being copied, one in HDF5's hands, one that is ready.
        buffers(members == 1 ? 1 : 3) {
    for (chunks::Buffer& buffer : buffers) buffer.ofSize(parts.length() * parts.size_);
  }
  [[nodiscard]] std::byte* operator[](std::size_t job) const { return buffers[job].data(); }

  unsigned members;
  std::vector<chunks::Buffer> buffers;
};

DatasetParts::DatasetParts(const chunks::Transfer& whole)
    : whole_(whole), size_(H5Tget_size(whole.memoryType)) {
  const int rank = H5Sget_simple_extent_ndims(whole.fileSpace);
  const hssize_t points = H5Sget_simple_extent_npoints(whole.fileSpace);
  // Twice as much as a part, and no count that wraps around.
  if (rank < 1 || size_ == 0 || points < 1) return;
  const auto elements = static_cast<hsize_t>(points);
  if (elements <= 2 * kPart / size_ || elements > (hsize_t{1} << 62) / size_) return;

  extent_.resize(static_cast<std::size_t>(rank));
  H5Sget_simple_extent_dims(whole.fileSpace, extent_.data(), nullptr);
  rowLength_ = elements / extent_[0];
  const Parting parting = partingOf(whole.dataset);
  if (parting.together == 0 || parting.together > extent_[0]) return;
  const hsize_t units = parting.bytes / (rowLength_ * size_ * parting.together);
  const hsize_t rows = std::max<hsize_t>(units, 1) * parting.together;
  if (rows >= extent_[0] || rows * rowLength_ * size_ > parting.most) return;
  rows_ = rows;
  file_ = hdf5::Space(H5Scopy(whole.fileSpace));
}

bool DatasetParts::possibleToWrite() const {
  if (!possible()) return false;
  H5D_space_status_t status = H5D_SPACE_STATUS_NOT_ALLOCATED;
  H5Dget_space_status(whole_.dataset, &status);
  if (status == H5D_SPACE_STATUS_ALLOCATED) return true;
  const hdf5::PropertyList list(H5Dget_create_plist(whole_.dataset));
  H5D_fill_time_t time = H5D_FILL_TIME_ALLOC;
  H5D_fill_value_t value = H5D_FILL_VALUE_USER_DEFINED;
  H5Pget_fill_time(list.get(), &time);
  H5Pfill_value_defined(list.get(), &value);
  return time == H5D_FILL_TIME_NEVER ||
         (time == H5D_FILL_TIME_IFSET && value != H5D_FILL_VALUE_USER_DEFINED);
}

std::size_t DatasetParts::count() const {
  return static_cast<std::size_t>((extent_[0] + rows_ - 1) / rows_);
}

std::size_t DatasetParts::lengthOf(std::size_t part) const {
  return static_cast<std::size_t>(std::min(rows_, extent_[0] - part * rows_) * rowLength_);
}

zbArray* DatasetParts::read(HDF5Dataset& host) const {
  host.beginReading();
  const Buffers buffers(*this);
  const auto read = [](const chunks::Transfer& part, std::byte* buffer) {
    return chunks::read(part, buffer);
  };
  std::array<std::size_t, 3> parts{};  // of each job
  const auto prepare = [&](std::size_t job, std::size_t part) {
    parts[job] = part;
    return transfer(part, buffers[job], read) >= 0;
  };
  const auto work = [&](std::size_t job, std::size_t /*member*/) {
    host.putPart(buffers[job], parts[job] * length(), lengthOf(parts[job]));
  };
  const auto finish = [](std::size_t /*job*/, std::size_t /*part*/) { return true; };
  if (!chunks::runInOrder(buffers.members, buffers.buffers.size(), count(), prepare, work,
                          finish)) {
    KVH5libraryError();
  }
  return host.endReading();
}

herr_t DatasetParts::write(const HDF5Dataset& host) const {
  const Buffers buffers(*this);
  const auto write = [](const chunks::Transfer& part, std::byte* buffer) {
    return chunks::write(part, buffer);
  };
  std::array<std::size_t, 3> parts{};
  const auto prepare = [&](std::size_t job, std::size_t part) {
    parts[job] = part;
    return true;
  };
  const auto work = [&](std::size_t job, std::size_t /*member*/) {
    host.layPart(buffers[job], parts[job] * length(), lengthOf(parts[job]));
  };
  const auto finish = [&](std::size_t job, std::size_t part) {
    return transfer(part, buffers[job], write) >= 0;
  };
  const bool written =
      chunks::runInOrder(buffers.members, buffers.buffers.size(), count(), prepare, work, finish);
  return written ? 0 : -1;
}

herr_t DatasetParts::transfer(std::size_t part, std::byte* buffer, TransferPart one) const {
  std::array<hsize_t, H5S_MAX_RANK> start{};
  std::array<hsize_t, H5S_MAX_RANK> size{};
  const hsize_t elements = lengthOf(part);
  std::copy(extent_.begin(), extent_.end(), size.begin());
  start[0] = part * rows_;
  size[0] = elements / rowLength_;
  hdf5::Space memory(H5Screate_simple(1, &elements, nullptr));
  if (H5Sselect_hyperslab(file_.get(), H5S_SELECT_SET, start.data(), nullptr, size.data(),
                          nullptr) < 0) {
    return -1;
  }
  chunks::Transfer transfer = whole_;
  transfer.memorySpace = memory.get();
  transfer.fileSpace = file_.get();
  const herr_t status = one(transfer, buffer);
  if (status < 0) {
    const hdf5::KeepErrorStack keep;
    memory.close();
  }
  return status;
}

}  // namespace h5gate
