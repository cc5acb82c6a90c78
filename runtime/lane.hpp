// The bytes of a compound's leaf: one column of all elements in the host, one after the
// other in the buffer's elements. Copying to or from columns takes a few elements at a time
// through all leaves, so that the elements stay in the nearest cache.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "runtime/strided.hpp"

namespace zembra {

/// Where a leaf lies in an element: `size` bytes in a piece, which each of the levels
/// repeats, the slowest first.
class LanePlace {
 public:
  /// The part that starts `distance` bytes into this one.
  [[nodiscard]] LanePlace at(std::size_t distance) const;
  /// `count` parts of `stride` bytes in place of this one.
  [[nodiscard]] LanePlace split(std::size_t count, std::size_t stride) const;
  /// Pieces of that size; those that continue each other are one.
  [[nodiscard]] LanePlace ofPieces(std::size_t pieceSize) const;

  struct Level {
    std::size_t count = 0;
    std::size_t stride = 0;
  };
  std::size_t offset = 0;
  std::size_t size = 0;
  std::size_t bytes = 0;  // of all pieces
  std::vector<Level> levels;
};

/// From elements into columns.
struct Gathering {
  using Elements = const std::byte*;
  using Column = std::byte*;
  static void copy(Elements elements, std::size_t stride, Column column, std::size_t size,
                   std::size_t count);
};
/// From columns into elements.
struct Scattering {
  using Elements = std::byte*;
  using Column = const std::byte*;
  static void copy(Elements elements, std::size_t stride, Column column, std::size_t size,
                   std::size_t count);
};

template <class Direction>
class Lane {
 public:
  using Elements = typename Direction::Elements;
  using Column = typename Direction::Column;

  Lane(LanePlace place, Column column) : place_(std::move(place)), column_(column) {}

  /// Elements of `stride` bytes, the first of which is the column's `first`.
  void copy(Elements elements, std::size_t stride, std::size_t first, std::size_t count) const {
    Column column = column_ + first * place_.bytes;
    elements += place_.offset;
    if (place_.levels.empty()) return Direction::copy(elements, stride, column, place_.size, count);
    for (std::size_t i = 0; i < count; ++i, elements += stride) {
      column = copyLevel(elements, 0, column);
    }
  }

 private:
  /// Returns where the column goes on.
  Column copyLevel(Elements at, std::size_t level, Column column) const {
    const auto [count, stride] = place_.levels[level];
    if (level + 1 == place_.levels.size()) {
      Direction::copy(at, stride, column, place_.size, count);
      return column + count * place_.size;
    }
    for (std::size_t i = 0; i < count; ++i, at += stride) column = copyLevel(at, level + 1, column);
    return column;
  }

  LanePlace place_;
  Column column_;
};

/// All lanes' leaves of elements that lie one behind the other.
template <class Direction>
void copyLanes(std::span<const Lane<Direction>> lanes, typename Direction::Elements elements,
               std::size_t stride, std::size_t first, std::size_t count) {
  constexpr std::size_t kInCache = std::size_t{8} << 10;
  const std::size_t together = std::max<std::size_t>(kInCache / stride, 1);
  while (count > 0) {
    const std::size_t now = std::min(together, count);
    for (const Lane<Direction>& lane : lanes) lane.copy(elements, stride, first, now);
    elements += now * stride;
    first += now;
    count -= now;
  }
}

/// The same where they lie as they may.
template <class Direction, class Byte>
void copyLanes(std::span<const Lane<Direction>> lanes, const Strided<Byte>& elements,
               std::size_t first) {
  elements.forEachRun([&](Byte* run, std::size_t count, std::size_t stride) {
    copyLanes(lanes, run, stride, first, count);
    first += count;
  });
}

}  // namespace zembra
