// HDF5's shuffle filter: of all elements the first bytes, then the second ones, and so on.
#pragma once

#include <cstddef>
#include <span>

namespace chunks {

/// `to` is as long as `from`, and elsewhere. Bytes after the last whole element stay last.
void shuffle(std::span<const std::byte> from, std::size_t elementSize, std::byte* to);
void unshuffle(std::span<const std::byte> from, std::size_t elementSize, std::byte* to);

}  // namespace chunks
