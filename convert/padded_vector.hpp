// Values for HDF5, one a dimension.
#pragma once

#include <cstddef>
#include <vector>

#include "hdf5/compat.hpp"

namespace h5gate {

/// HDF5 reads as many values as a dataspace has dimensions, whatever was given to it:
/// behind the values stand zeros up to the largest rank that there is.
template <class Value>
class PaddedVector {
 public:
  PaddedVector() : PaddedVector(0) {}
  explicit PaddedVector(std::size_t count)
      : count_(count), slots_(count < H5S_MAX_RANK ? H5S_MAX_RANK : count) {}
  PaddedVector(std::size_t count, Value value) : PaddedVector(count) {
    for (std::size_t i = 0; i < count; ++i) slots_[i] = value;
  }
  /// Without the padding.
  [[nodiscard]] std::size_t size() const { return count_; }
  [[nodiscard]] bool empty() const { return count_ == 0; }
  [[nodiscard]] int rank() const { return static_cast<int>(count_); }
  [[nodiscard]] Value* data() { return slots_.data(); }
  [[nodiscard]] const Value* data() const { return slots_.data(); }
  Value& operator[](std::size_t index) { return slots_[index]; }
  const Value& operator[](std::size_t index) const { return slots_[index]; }

 private:
  std::size_t count_ = 0;
  std::vector<Value> slots_;
};

using PaddedSizes = PaddedVector<hsize_t>;
using PaddedOffsets = PaddedVector<hssize_t>;

}  // namespace h5gate
