// Datasets that are read whole, but one part after the other.
#pragma once

#include <cstddef>
#include <vector>

#include "hdf5/handle.hpp"
#include "host/hdf5_dataset.hpp"

namespace h5gate {

class DatasetParts {
 public:
  /// Of elements of the memory datatype, which must have a size of its own.
  DatasetParts(hid_t dataset, hid_t fileSpace, hid_t memoryType, hid_t transferList);

  /// Whether it is worth while: the data are larger than a cache, and parts of them are
  /// rows of whole chunks, so that none is looked for twice.
  [[nodiscard]] bool possible() const { return rows_ > 0; }

  /// The array that the host makes of all parts.
  zbArray* readInto(HDF5Dataset& host);

 private:
  [[nodiscard]] herr_t fill(void* buffer, std::size_t first, std::size_t count) const;

  hid_t dataset_;
  hid_t memoryType_;
  hid_t list_;
  std::vector<hsize_t> extent_;
  hsize_t rowLength_ = 1;  // elements in an index of the slowest dimension
  hsize_t rows_ = 0;       // of a part
  hdf5::Space file_;
};

}  // namespace h5gate
