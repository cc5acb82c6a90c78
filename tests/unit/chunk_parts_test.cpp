// How selections fall into chunks, against going through them point by point.
#include "chunks/chunk_parts.hpp"

#include <gtest/gtest.h>

#include <set>
#include <utility>
#include <vector>

namespace {

using chunks::Axis;
using chunks::ChunkPart;
using chunks::ChunkParts;
using chunks::RegularSelection;

TEST(Axis, CountsAsItsPointsDo) {
  for (const Axis axis : {Axis{3, 7, 2, 8}, Axis{0, 5, 5, 5}, Axis{2, 4, 1, 6}, Axis{9, 1, 1, 1}}) {
    for (hsize_t index = 0; index < 60; ++index) {
      hsize_t smaller = 0;
      for (hsize_t n = 0; n < axis.points; ++n) smaller += axis.at(n) < index ? 1 : 0;
      EXPECT_EQ(axis.before(index), smaller) << index;
    }
    for (hsize_t n = 0; n < axis.points; ++n) {
      const hsize_t run = axis.runFrom(n);
      ASSERT_GE(run, 1U);
      EXPECT_EQ(axis.at(n + run - 1), axis.at(n) + run - 1);
      EXPECT_LE(n + run, axis.points);
    }
  }
}

struct Case {
  std::vector<hsize_t> chunk;
  RegularSelection file;
  RegularSelection memory;
};

Axis all(hsize_t points) { return {0, points, points, points}; }
Axis solid(hsize_t start, hsize_t points) { return {start, points, points, points}; }

const std::vector<Case>& cases() {
  static const std::vector<Case> tried = {
      {{4}, {{all(10)}, {10}}, {{all(10)}, {10}}},
      {{4, 3}, {{all(10), all(7)}, {10, 7}}, {{all(10), all(7)}, {10, 7}}},
      {{4, 7}, {{all(10), all(7)}, {10, 7}}, {{all(10), all(7)}, {10, 7}}},
      {{1, 1}, {{all(3), all(4)}, {3, 4}}, {{all(3), all(4)}, {3, 4}}},
      {{4, 3}, {{solid(2, 5), solid(1, 6)}, {10, 7}}, {{all(5), all(6)}, {5, 6}}},
      {{4, 3}, {{Axis{1, 4, 2, 5}, Axis{0, 3, 1, 3}}, {12, 8}}, {{all(5), all(3)}, {5, 3}}},
      {{4, 3}, {{all(5), all(3)}, {5, 3}}, {{Axis{1, 4, 2, 5}, Axis{0, 3, 1, 3}}, {12, 8}}},
      {{2, 5, 3}, {{solid(1, 1), all(9), all(6)}, {4, 9, 6}}, {{all(9), all(6)}, {9, 6}}},
      {{2, 5}, {{solid(1, 1), all(9)}, {4, 9}}, {{solid(3, 1), all(9), solid(2, 1)}, {5, 9, 4}}},
      {{3, 5, 4}, {{all(6), all(10), all(8)}, {6, 10, 8}}, {{all(6), all(10), all(8)}, {6, 10, 8}}},
  };
  return tried;
}

std::vector<std::size_t> placesOf(const RegularSelection& selection) {
  std::vector<std::size_t> places = {0};
  for (std::size_t d = 0; d < selection.rank(); ++d) {
    std::vector<std::size_t> next;
    for (const std::size_t place : places) {
      for (hsize_t n = 0; n < selection.axes[d].points; ++n) {
        next.push_back(place * selection.extent[d] + selection.axes[d].at(n));
      }
    }
    places = next;
  }
  return places;
}

/// Where an element of a chunk is in the file.
std::size_t placeOf(std::size_t inChunk, const ChunkPart& part, const Case& tried) {
  std::size_t place = 0;
  std::size_t size = 1;
  for (std::size_t d = tried.chunk.size(); d-- > 0;) {
    place += (part.corner[d] + inChunk % tried.chunk[d]) * size;
    inChunk /= tried.chunk[d];
    size *= tried.file.extent[d];
  }
  return place;
}

TEST(ChunkParts, PairEveryElementWithItsPlaceInMemory) {
  for (const Case& tried : cases()) {
    const auto parts = ChunkParts::of(tried.file, tried.memory, tried.chunk);
    ASSERT_TRUE(parts);
    std::set<std::pair<std::size_t, std::size_t>> pairs;
    std::size_t wholes = 0;
    for (std::size_t n = 0; n < parts->count(); ++n) {
      const ChunkPart part = parts->part(n);
      std::size_t points = 0;
      wholes += part.whole ? 1 : 0;
      const auto note = [&](std::size_t inChunk, std::size_t inArray, std::size_t run) {
        for (std::size_t i = 0; i < run; ++i) {
          pairs.insert({placeOf(inChunk + i, part, tried), inArray + i});
        }
        points += run;
      };
      parts->eachRun(part, note);
      EXPECT_EQ(points, part.points);
      if (const auto solidPlace = parts->solidPlace(part)) {
        EXPECT_EQ(part.points, parts->pointsPerChunk());
        std::size_t runs = 0;
        parts->eachRun(part, [&](std::size_t inChunk, std::size_t inArray, std::size_t run) {
          EXPECT_EQ(inArray, *solidPlace + inChunk);
          runs += run;
        });
        EXPECT_EQ(runs, parts->pointsPerChunk());
      }
    }
    const std::vector<std::size_t> inFile = placesOf(tried.file);
    const std::vector<std::size_t> inMemory = placesOf(tried.memory);
    ASSERT_EQ(inFile.size(), inMemory.size());
    ASSERT_EQ(pairs.size(), inFile.size());
    for (std::size_t i = 0; i < inFile.size(); ++i) {
      EXPECT_TRUE(pairs.contains({inFile[i], inMemory[i]})) << i;
    }
    EXPECT_EQ(parts->points(), inFile.size());
    EXPECT_EQ(parts->wholes(), wholes);
  }
}

TEST(ChunkParts, ThereAreNoneOfDifferentShapes) {
  const RegularSelection file{{all(6), all(4)}, {6, 4}};
  const std::vector<hsize_t> chunk = {2, 2};
  EXPECT_FALSE(ChunkParts::of(file, {{all(4), all(6)}, {4, 6}}, chunk));
  EXPECT_FALSE(ChunkParts::of(file, {{all(24)}, {24}}, chunk));
  EXPECT_FALSE(ChunkParts::of(file, {{all(6), all(2), all(2)}, {6, 2, 2}}, chunk));
  EXPECT_FALSE(ChunkParts::of({{all(6)}, {6}}, {{all(2), all(6)}, {2, 6}}, {chunk.data(), 1}));
}

TEST(ChunkParts, OfAScatteredChunkHaveNoSolidPlace) {
  const RegularSelection wide{{all(6), all(4)}, {6, 4}};
  const auto parts = ChunkParts::of(wide, wide, std::vector<hsize_t>{2, 2});
  ASSERT_TRUE(parts);
  EXPECT_FALSE(parts->solidPlace(parts->part(0)));
  const auto rows = ChunkParts::of(wide, wide, std::vector<hsize_t>{2, 4});
  ASSERT_TRUE(rows);
  EXPECT_EQ(rows->solidPlace(rows->part(1)), 8U);
}

}  // namespace
