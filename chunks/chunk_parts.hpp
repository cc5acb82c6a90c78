// How a selection falls into chunks, and where each part of it is in memory.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "chunks/regular_selection.hpp"

namespace chunks {

using Corner = std::array<hsize_t, H5S_MAX_RANK>;

/// What the selection takes of one chunk: along each dimension the points `from` to `to`.
struct ChunkPart {
  Corner corner{};  // of the chunk, in the file
  Corner from{};
  Corner to{};
  std::size_t points = 1;
  bool inside = true;  // the extent goes on beyond the chunk, or ends with it
  bool whole = true;   // all there is of the chunk within the extent is selected
};

class ChunkParts {
 public:
  /// None where the two selections are of different shapes, or the numbers too large.
  static std::optional<ChunkParts> of(const RegularSelection& file, const RegularSelection& memory,
                                      std::span<const hsize_t> chunk);

  [[nodiscard]] std::size_t rank() const { return dimensions_.size(); }
  [[nodiscard]] std::size_t count() const { return count_; }
  /// Of these, those of which everything within the extent is selected.
  [[nodiscard]] std::size_t wholes() const { return wholes_; }
  [[nodiscard]] std::size_t pointsPerChunk() const { return pointsPerChunk_; }
  [[nodiscard]] std::size_t points() const { return points_; }

  /// The n-th in the order of the file's dimensions.
  [[nodiscard]] ChunkPart part(std::size_t n) const;

  /// The chunk's box in the file, and the least one in memory that holds the part.
  struct Box {
    Corner start{};
    Corner size{};
  };
  [[nodiscard]] Box fileBox(const ChunkPart& part) const;
  [[nodiscard]] Box memoryBox(const ChunkPart& part) const;

  /// Calls `copy(in the chunk, in the array, elements)` for each run of elements that
  /// follow one another in both, in order.
  template <class Copy>
  void eachRun(const ChunkPart& part, Copy copy) const;

  /// Where all of the chunk is to be found, one element after the other, in the array.
  [[nodiscard]] std::optional<std::size_t> solidPlace(const ChunkPart& part) const;

 private:
  struct Dimension {
    Axis file;
    Axis memory;
    hsize_t extent = 0;
    hsize_t chunk = 1;
    std::size_t chunkStep = 1;   // elements from one index to the next
    std::size_t memoryStep = 0;  // 0 where the memory has no such dimension
    std::size_t memoryDimension = 0;
    std::vector<hsize_t> chunks = {};  // those touched
  };

  /// The dimension that runs go along: of those behind it, all is copied with each step.
  [[nodiscard]] std::size_t runDimension(const ChunkPart& part) const;
  [[nodiscard]] bool coversInOneRun(const ChunkPart& part, std::size_t dimension) const;

  std::vector<Dimension> dimensions_;
  RegularSelection memory_;
  std::size_t memoryBase_ = 0;  // of the dimensions that only memory has
  std::size_t count_ = 1;
  std::size_t wholes_ = 1;
  std::size_t pointsPerChunk_ = 1;
  std::size_t points_ = 1;
};

template <class Copy>
void ChunkParts::eachRun(const ChunkPart& part, Copy copy) const {
  const std::size_t inner = runDimension(part);
  const Dimension& line = dimensions_[inner];
  const bool joined = line.memoryStep == line.chunkStep;
  Corner now = part.from;
  std::size_t base = memoryBase_;
  for (std::size_t d = inner + 1; d < rank(); ++d) {
    base += dimensions_[d].memory.at(part.from[d]) * dimensions_[d].memoryStep;
  }
  for (;;) {
    std::size_t inChunk = 0;
    std::size_t inArray = base;
    for (std::size_t d = 0; d < inner; ++d) {
      const Dimension& dimension = dimensions_[d];
      inChunk += (dimension.file.at(now[d]) - part.corner[d]) * dimension.chunkStep;
      inArray += dimension.memory.at(now[d]) * dimension.memoryStep;
    }
    for (hsize_t n = part.from[inner]; n < part.to[inner];) {
      hsize_t run = 1;
      if (joined) {
        run = std::min({line.file.runFrom(n), line.memory.runFrom(n), part.to[inner] - n});
      }
      copy(inChunk + (line.file.at(n) - part.corner[inner]) * line.chunkStep,
           inArray + line.memory.at(n) * line.memoryStep, run * line.chunkStep);
      n += run;
    }
    std::size_t d = inner;
    while (d > 0 && ++now[d - 1] == part.to[d - 1]) {
      now[d - 1] = part.from[d - 1];
      --d;
    }
    if (d == 0) return;
  }
}

}  // namespace chunks
