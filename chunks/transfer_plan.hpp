// Whether a transfer's chunks are ours to handle, and what there is to know about them.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "chunks/chunk_parts.hpp"
#include "chunks/chunked_transfer.hpp"
#include "chunks/filter_pipeline.hpp"
#include "hdf5/handle.hpp"

namespace chunks {

struct Plan {
  FilterPipeline filters;
  ChunkParts parts;
  hdf5::Type fileType;
  std::size_t fileSize;         // of an element
  std::size_t memorySize;       // likewise
  bool converts;                // between the two types, which HDF5 does
  std::vector<std::byte> fill;  // an element of what was never written; empty: HDF5 knows
  unsigned threads;

  [[nodiscard]] std::size_t chunkBytes() const { return parts.pointsPerChunk() * fileSize; }
};

/// None where HDF5 is to do it all.
std::optional<Plan> planReading(const Transfer& transfer);
std::optional<Plan> planWriting(const Transfer& transfer);

}  // namespace chunks
