#include "chunks/chunk_parts.hpp"

#include <algorithm>

namespace chunks {
namespace {

/// More chunks than this are so small that HDF5 may as well walk through them.
constexpr std::size_t kMostChunks = std::size_t{1} << 22;

/// The chunks along one dimension that the selection has points in.
std::vector<hsize_t> chunksAlong(const Axis& axis, hsize_t chunk) {
  std::vector<hsize_t> chunks;
  for (hsize_t n = 0; n < axis.points && chunks.size() <= kMostChunks;) {
    const hsize_t touched = axis.at(n) / chunk;
    chunks.push_back(touched);
    n = axis.before((touched + 1) * chunk);
  }
  return chunks;
}

bool multiply(std::size_t& product, hsize_t factor) {
  return !__builtin_mul_overflow(product, factor, &product);
}

}  // namespace

std::optional<ChunkParts> ChunkParts::of(const RegularSelection& file,
                                         const RegularSelection& memory,
                                         std::span<const hsize_t> chunk) {
  ChunkParts parts;
  parts.memory_ = memory;
  for (std::size_t d = 0; d < file.rank(); ++d) {
    Dimension& dimension = parts.dimensions_.emplace_back();
    dimension.file = file.axes[d];
    dimension.extent = file.extent[d];
    dimension.chunk = chunk[d];
    dimension.chunks = chunksAlong(file.axes[d], chunk[d]);
  }
  // Dimensions of one point say nothing about the order of elements: the others have to
  // agree. From the fastest on, because that one has the smallest steps.
  std::size_t inChunk = 1;
  std::size_t inArray = 1;
  std::size_t m = memory.rank();
  const auto skipSinglePoints = [&] {
    for (; m > 0 && memory.axes[m - 1].points == 1; --m) {
      parts.memoryBase_ += memory.axes[m - 1].start * inArray;
      if (!multiply(inArray, memory.extent[m - 1])) return false;
    }
    return true;
  };
  for (std::size_t d = file.rank(); d-- > 0;) {
    Dimension& dimension = parts.dimensions_[d];
    dimension.chunkStep = inChunk;
    const auto wholes = std::count_if(
        dimension.chunks.begin(), dimension.chunks.end(), [&dimension](hsize_t index) {
          const hsize_t corner = index * dimension.chunk;
          return dimension.file.before(corner + dimension.chunk) - dimension.file.before(corner) ==
                 std::min(dimension.chunk, dimension.extent - corner);
        });
    parts.wholes_ *= static_cast<std::size_t>(wholes);  // no more than all, which are counted
    if (dimension.file.points > 1) {
      if (!skipSinglePoints() || m == 0) return std::nullopt;
      --m;
      if (memory.axes[m].points != dimension.file.points) return std::nullopt;
      dimension.memory = memory.axes[m];
      dimension.memoryStep = inArray;
      dimension.memoryDimension = m;
      if (!multiply(inArray, memory.extent[m])) return std::nullopt;
    }
    if (!multiply(inChunk, dimension.chunk) || !multiply(parts.count_, dimension.chunks.size()) ||
        !multiply(parts.points_, dimension.file.points)) {
      return std::nullopt;
    }
  }
  if (!skipSinglePoints() || m > 0 || parts.count_ > kMostChunks) return std::nullopt;
  parts.pointsPerChunk_ = inChunk;
  return parts;
}

ChunkPart ChunkParts::part(std::size_t n) const {
  ChunkPart part;
  for (std::size_t d = rank(); d-- > 0;) {
    const Dimension& dimension = dimensions_[d];
    const hsize_t index = dimension.chunks[n % dimension.chunks.size()];
    n /= dimension.chunks.size();
    part.corner[d] = index * dimension.chunk;
    part.from[d] = dimension.file.before(part.corner[d]);
    part.to[d] = dimension.file.before(part.corner[d] + dimension.chunk);
    const hsize_t points = part.to[d] - part.from[d];
    part.points *= points;
    const hsize_t there = std::min(dimension.chunk, dimension.extent - part.corner[d]);
    part.inside = part.inside && there == dimension.chunk;
    part.whole = part.whole && points == there;
  }
  return part;
}

ChunkParts::Box ChunkParts::fileBox(const ChunkPart& part) const {
  Box box;
  for (std::size_t d = 0; d < rank(); ++d) {
    box.start[d] = part.corner[d];
    box.size[d] = std::min(dimensions_[d].chunk, dimensions_[d].extent - part.corner[d]);
  }
  return box;
}

ChunkParts::Box ChunkParts::memoryBox(const ChunkPart& part) const {
  Box box;
  for (std::size_t m = 0; m < memory_.rank(); ++m) {
    box.start[m] = memory_.axes[m].start;
    box.size[m] = 1;
  }
  for (std::size_t d = 0; d < rank(); ++d) {
    const Dimension& dimension = dimensions_[d];
    if (dimension.file.points == 1) continue;
    const hsize_t first = dimension.memory.at(part.from[d]);
    box.start[dimension.memoryDimension] = first;
    box.size[dimension.memoryDimension] = dimension.memory.at(part.to[d] - 1) - first + 1;
  }
  return box;
}

bool ChunkParts::coversInOneRun(const ChunkPart& part, std::size_t d) const {
  const Dimension& dimension = dimensions_[d];
  if (dimension.chunk == 1) return true;
  const hsize_t from = part.from[d];
  return part.to[d] - from == dimension.chunk && dimension.memoryStep == dimension.chunkStep &&
         dimension.file.runFrom(from) >= dimension.chunk &&
         dimension.memory.runFrom(from) >= dimension.chunk;
}

std::size_t ChunkParts::runDimension(const ChunkPart& part) const {
  std::size_t d = rank() - 1;
  while (d > 0 && coversInOneRun(part, d)) --d;
  return d;
}

std::optional<std::size_t> ChunkParts::solidPlace(const ChunkPart& part) const {
  if (runDimension(part) > 0 || !coversInOneRun(part, 0)) return std::nullopt;
  std::size_t place = memoryBase_;
  for (std::size_t d = 0; d < rank(); ++d) {
    place += dimensions_[d].memory.at(part.from[d]) * dimensions_[d].memoryStep;
  }
  return place;
}

}  // namespace chunks
