// How much of a file a dataset takes, or will take: at most, and without what stands around the
// data of a block.
#pragma once

#include <array>
#include <cstdint>
#include <limits>

#include "hdf5/compat.hpp"

namespace hdf5 {

/// More than any disk has.
inline constexpr std::uint64_t kAnyBytes = std::numeric_limits<std::uint64_t>::max();

/// Whether a creation list says that storage is allocated then.
bool isAllocated(hid_t list, H5D_alloc_time_t when);

class DatasetStorage {
 public:
  /// Of a creation list, a datatype and an extent, which live as long as this does.
  DatasetStorage(hid_t list, hid_t type, hid_t extent);

  [[nodiscard]] bool isChunked() const { return layout_ == H5D_CHUNKED; }
  [[nodiscard]] bool isFiltered() const;

  /// What a write to the selection adds to the file, of which the dataset has so many bytes.
  [[nodiscard]] std::uint64_t bytesToWrite(hid_t fileSpace, std::uint64_t stored) const;

  /// What is written as soon as there is such a dataset, before any data are.
  [[nodiscard]] std::uint64_t bytesAtOnce() const;
  /// The same where filters make less of it.
  [[nodiscard]] std::uint64_t filteredBytesAtOnce() const;

 private:
  using Corner = std::array<hsize_t, H5S_MAX_RANK>;

  [[nodiscard]] bool isFilled() const;
  [[nodiscard]] std::uint64_t elements() const;
  [[nodiscard]] std::uint64_t bytesOfBlock() const;
  [[nodiscard]] Corner lastElement() const;
  [[nodiscard]] std::uint64_t chunks(const Corner& low, const Corner& high) const;
  [[nodiscard]] std::uint64_t bytesOfChunks(const Corner& low, const Corner& high) const;
  [[nodiscard]] std::uint64_t bytesOfChunk() const;
  [[nodiscard]] std::uint64_t filteredBytesOfChunk() const;
  [[nodiscard]] std::uint64_t bytesInIndex() const;

  hid_t list_;
  hid_t type_;
  hid_t extent_;
  H5D_layout_t layout_;
  int rank_ = 0;
  Corner chunk_{};
};

}  // namespace hdf5
