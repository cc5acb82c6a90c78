// Elements between chunks and the array, a part of a chunk at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>

#include "chunks/chunk_parts.hpp"

namespace chunks {

/// Copies of a size that the compiler knows are instructions, not calls.
inline void copyElements(std::byte* to, const std::byte* from, std::size_t bytes) {
  switch (bytes) {
    case 1: std::memcpy(to, from, 1); break;
    case 2: std::memcpy(to, from, 2); break;
    case 4: std::memcpy(to, from, 4); break;
    case 8: std::memcpy(to, from, 8); break;
    default: std::memcpy(to, from, bytes);
  }
}

/// From the chunk to the array.
inline void scatter(const ChunkParts& parts, const ChunkPart& part, std::size_t elementSize,
                    const std::byte* chunk, std::byte* array) {
  parts.eachRun(part, [=](std::size_t inChunk, std::size_t inArray, std::size_t elements) {
    copyElements(array + inArray * elementSize, chunk + inChunk * elementSize,
                 elements * elementSize);
  });
}

/// From the array to the chunk.
inline void gather(const ChunkParts& parts, const ChunkPart& part, std::size_t elementSize,
                   const std::byte* array, std::byte* chunk) {
  parts.eachRun(part, [=](std::size_t inChunk, std::size_t inArray, std::size_t elements) {
    copyElements(chunk + inChunk * elementSize, array + inArray * elementSize,
                 elements * elementSize);
  });
}

/// The part's elements one after the other, as conversions take them: from and to the
/// chunk, from and to the array.
inline void packFromChunk(const ChunkParts& parts, const ChunkPart& part, std::size_t elementSize,
                          const std::byte* chunk, std::byte* packed) {
  parts.eachRun(part, [&](std::size_t inChunk, std::size_t, std::size_t elements) {
    copyElements(packed, chunk + inChunk * elementSize, elements * elementSize);
    packed += elements * elementSize;
  });
}
inline void unpackToChunk(const ChunkParts& parts, const ChunkPart& part, std::size_t elementSize,
                          const std::byte* packed, std::byte* chunk) {
  parts.eachRun(part, [&](std::size_t inChunk, std::size_t, std::size_t elements) {
    copyElements(chunk + inChunk * elementSize, packed, elements * elementSize);
    packed += elements * elementSize;
  });
}
inline void packFromArray(const ChunkParts& parts, const ChunkPart& part, std::size_t elementSize,
                          const std::byte* array, std::byte* packed) {
  parts.eachRun(part, [&](std::size_t, std::size_t inArray, std::size_t elements) {
    copyElements(packed, array + inArray * elementSize, elements * elementSize);
    packed += elements * elementSize;
  });
}
inline void unpackToArray(const ChunkParts& parts, const ChunkPart& part, std::size_t elementSize,
                          const std::byte* packed, std::byte* array) {
  parts.eachRun(part, [&](std::size_t, std::size_t inArray, std::size_t elements) {
    copyElements(array + inArray * elementSize, packed, elements * elementSize);
    packed += elements * elementSize;
  });
}

/// Fills the room with copies of the element.
inline void replicate(std::span<const std::byte> element, std::span<std::byte> room) {
  std::memcpy(room.data(), element.data(), element.size());
  for (std::size_t done = element.size(); done < room.size();) {
    const std::size_t more = std::min(done, room.size() - done);
    std::memcpy(room.data() + done, room.data(), more);
    done += more;
  }
}

}  // namespace chunks
