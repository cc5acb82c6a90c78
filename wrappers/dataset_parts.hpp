// Datasets that are read and written whole, but one part after the other.
#pragma once

#include <cstddef>
#include <vector>

#include "chunks/chunked_transfer.hpp"
#include "hdf5/handle.hpp"
#include "host/hdf5_dataset.hpp"

namespace h5gate {

class DatasetParts {
 public:
  /// Of a transfer of everything, whose memory datatype must have a size of its own.
  explicit DatasetParts(const chunks::Transfer& whole);

  /// Whether it is worth while: the data are larger than a cache, and parts of them are
  /// rows of whole chunks, so that none is looked for twice.
  [[nodiscard]] bool possible() const { return rows_ > 0; }
  /// The same for writing. HDF5 fills a new dataset before a part of it is written, but not
  /// before all of it is.
  [[nodiscard]] bool possibleToWrite() const;

  /// The array that the host makes of all parts.
  zbArray* read(HDF5Dataset& host) const;
  /// All parts of the array that the host is to write; a negative status where one fails.
  [[nodiscard]] herr_t write(const HDF5Dataset& host) const;

 private:
  struct Buffers;
  using TransferPart = herr_t (*)(const chunks::Transfer& part, std::byte* buffer);

  [[nodiscard]] std::size_t length() const { return static_cast<std::size_t>(rows_ * rowLength_); }
  [[nodiscard]] std::size_t count() const;
  [[nodiscard]] std::size_t lengthOf(std::size_t part) const;
  [[nodiscard]] herr_t transfer(std::size_t part, std::byte* buffer, TransferPart one) const;

  chunks::Transfer whole_;
  std::size_t size_;  // of an element
  std::vector<hsize_t> extent_;
  hsize_t rowLength_ = 1;  // elements in an index of the slowest dimension
  hsize_t rows_ = 0;       // of a part
  hdf5::Space file_;
};

}  // namespace h5gate
