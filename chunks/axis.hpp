// What a regular selection takes along one dimension.
#pragma once

#include <algorithm>

#include "hdf5/compat.hpp"

namespace chunks {

/// Indices in order: blocks of `block` of them, `stride` apart, `points` altogether.
struct Axis {
  hsize_t start = 0;
  hsize_t stride = 1;
  hsize_t block = 1;
  hsize_t points = 1;

  /// The n-th index.
  [[nodiscard]] hsize_t at(hsize_t n) const { return start + n / block * stride + n % block; }
  [[nodiscard]] hsize_t last() const { return at(points - 1); }
  /// How many follow one another without a gap, from the n-th on.
  [[nodiscard]] hsize_t runFrom(hsize_t n) const { return std::min(block - n % block, points - n); }
  /// How many are smaller than the index.
  [[nodiscard]] hsize_t before(hsize_t index) const {
    if (index <= start) return 0;
    const hsize_t blocks = (index - start) / stride;
    if (blocks >= (points + block - 1) / block) return points;
    return std::min(points, blocks * block + std::min((index - start) % stride, block));
  }
  [[nodiscard]] bool isSolid() const { return block == points; }
};

}  // namespace chunks
