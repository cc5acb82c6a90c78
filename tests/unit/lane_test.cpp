// Leaves of compounds, copied between elements and columns.
#include "runtime/lane.hpp"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace zembra {
namespace {

using Bytes = std::vector<std::byte>;

Bytes counted(std::size_t count) {
  Bytes bytes(count);
  for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<std::byte>(i * 7 + i / 256);
  return bytes;
}

/// Where the pieces of a leaf begin in an element.
struct Tried {
  LanePlace place;
  std::size_t size;
  std::vector<std::size_t> pieces;
};

constexpr std::size_t kStride = 61;

std::vector<Tried> tried() {
  std::vector<Tried> all;
  for (const std::size_t size : {1U, 2U, 3U, 4U, 5U, 8U, 17U}) {
    all.push_back({LanePlace().at(4).ofPieces(size), size, {4}});
  }
  // Two of {x, y, y, y}, whose y have three bytes each.
  const LanePlace y = LanePlace().at(1).split(2, 20).at(2).split(3, 3).ofPieces(3);
  all.push_back({y, 3, {3, 6, 9, 23, 26, 29}});
  // Two of two of two bytes in every five.
  const LanePlace sparse = LanePlace().at(7).split(2, 11).split(2, 5).ofPieces(2);
  all.push_back({sparse, 2, {7, 12, 18, 23}});
  return all;
}

Bytes gathered(const Tried& one, const Bytes& elements, std::size_t count) {
  Bytes column;
  for (std::size_t i = 0; i < count; ++i) {
    for (const std::size_t piece : one.pieces) {
      const auto at = elements.begin() + static_cast<std::ptrdiff_t>(i * kStride + piece);
      column.insert(column.end(), at, at + static_cast<std::ptrdiff_t>(one.size));
    }
  }
  return column;
}

TEST(Lane, PiecesThatContinueEachOtherAreOne) {
  const LanePlace whole = LanePlace().split(4, 6).split(2, 3).ofPieces(3);
  EXPECT_EQ(whole.size, 24U);
  EXPECT_EQ(whole.bytes, 24U);
  EXPECT_TRUE(whole.levels.empty());
}

TEST(Lane, ColumnsHaveTheBytesOfTheElements) {
  for (const std::size_t count : {0U, 1U, 3U, 4U, 5U, 133U, 134U, 135U, 1000U}) {
    const Bytes elements = counted(count * kStride);
    for (const Tried& one : tried()) {
      const Bytes expected = gathered(one, elements, count);
      Bytes column(expected.size());
      const std::array lanes = {Lane<Gathering>(one.place, column.data())};
      copyLanes(std::span<const Lane<Gathering>>(lanes),
                Strided<const std::byte>(elements.data(), count, kStride), 0);
      EXPECT_EQ(column, expected) << one.size << " bytes, " << count << " elements";
    }
  }
}

TEST(Lane, ElementsGetTheBytesOfTheColumnsAndNoOthers) {
  constexpr std::size_t kCount = 300;
  constexpr std::size_t kFirst = 17;  // of a part
  for (const Tried& one : tried()) {
    const Bytes column = counted(kCount * one.place.bytes);
    const std::array lanes = {Lane<Scattering>(one.place, column.data())};
    Bytes elements((kCount - kFirst) * kStride, std::byte{0xAA});
    Bytes rest = elements;
    copyLanes(std::span<const Lane<Scattering>>(lanes),
              Strided<std::byte>(elements.data(), kCount - kFirst, kStride), kFirst);
    const auto part = column.begin() + static_cast<std::ptrdiff_t>(kFirst * one.place.bytes);
    EXPECT_EQ(gathered(one, elements, kCount - kFirst), Bytes(part, column.end()));
    for (std::size_t i = 0; i < kCount - kFirst; ++i) {
      for (const std::size_t piece : one.pieces) {
        for (std::size_t k = 0; k < one.size; ++k) {
          rest[i * kStride + piece + k] = elements[i * kStride + piece + k];
        }
      }
    }
    EXPECT_EQ(elements, rest);
  }
}

}  // namespace
}  // namespace zembra
