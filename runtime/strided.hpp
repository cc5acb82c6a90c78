// Where the elements of one part of an HDF5 buffer lie: a member of a compound, of
// an array of compounds, and so on, each level a count and a stride. Copying a part
// to or from packed memory is one pass over it.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "runtime/datatype.hpp"

namespace zembra {

/// `Byte` is std::byte or const std::byte.
template <class Byte>
class Strided {
 public:
  Strided(Byte* first, std::size_t count, std::size_t stride)
      : first_(first), levels_{{{count, stride}}} {}

  /// The part that starts `offset` bytes into each element.
  [[nodiscard]] Strided at(std::size_t offset) const {
    Strided part = *this;
    part.first_ += offset;
    return part;
  }

  /// `count` elements of `stride` bytes in place of each one. Levels that continue
  /// each other become one.
  [[nodiscard]] Strided split(std::size_t count, std::size_t stride) const {
    Strided part = *this;
    Level& inner = part.levels_[depth_ - 1];
    if (inner.stride == count * stride || inner.count == 1) {
      inner = {inner.count * count, stride};
    } else {
      part.levels_[part.depth_++] = {count, stride};
    }
    return part;
  }

  [[nodiscard]] Byte* first() const { return first_; }

  [[nodiscard]] std::size_t count() const {
    std::size_t count = 1;
    for (std::size_t i = 0; i < depth_; ++i) count *= levels_[i].count;
    return count;
  }

  /// Nothing lies between the elements of this size.
  [[nodiscard]] bool packed(std::size_t size) const {
    return depth_ == 1 && (levels_[0].stride == size || levels_[0].count <= 1);
  }

  /// Calls `visit` with each element's address, slowest level first.
  template <class Visit>
  void forEach(Visit visit) const {
    forEachRun([&](Byte* at, std::size_t count, std::size_t stride) {
      for (std::size_t i = 0; i < count; ++i, at += stride) visit(at);
    });
  }

  /// The same for the elements of the fastest level at a time: the first one's address,
  /// their count and stride.
  template <class Visit>
  void forEachRun(Visit visit) const {
    walk(first_, 0, visit);
  }

 private:
  struct Level {
    std::size_t count = 0;
    std::size_t stride = 0;
  };

  template <class Visit>
  void walk(Byte* at, std::size_t level, Visit& visit) const {
    const auto [count, stride] = levels_[level];
    if (level + 1 == depth_) {
      visit(at, count, stride);
    } else {
      for (std::size_t i = 0; i < count; ++i, at += stride) walk(at, level + 1, visit);
    }
  }

  Byte* first_;
  std::size_t depth_ = 1;
  std::array<Level, kMaxNesting + 1> levels_;
};

/// Calls `copy` with the size, as a constant where it is a common one.
template <class Copy>
void withConstantSize(std::size_t size, Copy copy) {
  switch (size) {
    case 1: return copy(std::integral_constant<std::size_t, 1>());
    case 2: return copy(std::integral_constant<std::size_t, 2>());
    case 4: return copy(std::integral_constant<std::size_t, 4>());
    case 8: return copy(std::integral_constant<std::size_t, 8>());
    default: return copy(size);
  }
}

/// Copies `count` elements. Four at a time: the loop's own instructions would take as long as
/// the copying. The strides and the size may be constants.
template <class FromStride, class ToStride, class Size>
void copyEach(const std::byte* from, FromStride fromStride, std::byte* to, ToStride toStride,
              std::size_t count, Size size) {
  for (; count >= 4; count -= 4, from += 4 * fromStride, to += 4 * toStride) {
    std::memcpy(to, from, size);
    std::memcpy(to + toStride, from + fromStride, size);
    std::memcpy(to + 2 * toStride, from + 2 * fromStride, size);
    std::memcpy(to + 3 * toStride, from + 3 * fromStride, size);
  }
  for (; count > 0; --count, from += fromStride, to += toStride) std::memcpy(to, from, size);
}

inline void pack(const Strided<const std::byte>& from, std::size_t size, std::byte* to) {
  if (from.packed(size)) {
    const std::size_t bytes = from.count() * size;
    if (bytes > 0) std::memcpy(to, from.first(), bytes);
    return;
  }
  withConstantSize(size, [&](auto bytes) {
    from.forEachRun([&](const std::byte* elements, std::size_t count, std::size_t stride) {
      copyEach(elements, stride, to, bytes, count, bytes);
      to += count * bytes;
    });
  });
}

inline void unpack(const std::byte* from, std::size_t size, const Strided<std::byte>& to) {
  if (to.packed(size)) {
    const std::size_t bytes = to.count() * size;
    if (bytes > 0) std::memcpy(to.first(), from, bytes);
    return;
  }
  withConstantSize(size, [&](auto bytes) {
    to.forEachRun([&](std::byte* elements, std::size_t count, std::size_t stride) {
      copyEach(from, bytes, elements, stride, count, bytes);
      from += count * bytes;
    });
  });
}

}  // namespace zembra
