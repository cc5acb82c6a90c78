// HDF5's Fletcher-32 filter: a checksum of four bytes behind the data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace chunks {

inline constexpr std::size_t kChecksumBytes = 4;

std::uint32_t fletcher32(std::span<const std::byte> data);

/// Whether the bytes end with the checksum of those before it. HDF5 before 1.6.3 wrote the
/// bytes of both halves in the other order, which counts as well.
bool endsWithChecksum(std::span<const std::byte> bytes);

/// Writes the checksum behind the data, where there has to be room.
void appendChecksum(std::byte* data, std::size_t bytes);

}  // namespace chunks
