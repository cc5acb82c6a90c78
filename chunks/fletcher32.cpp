#include "chunks/fletcher32.hpp"

#include <algorithm>

namespace chunks {
namespace {

std::uint32_t bigEndianWord(const std::byte* bytes) {
  return std::to_integer<std::uint32_t>(bytes[0]) << 8 | std::to_integer<std::uint32_t>(bytes[1]);
}

struct Sums {
  std::uint32_t simple = 0;
  std::uint32_t weighted = 0;

  void fold() {
    simple = (simple & 0xffff) + (simple >> 16);
    weighted = (weighted & 0xffff) + (weighted >> 16);
  }
};

}  // namespace

std::uint32_t fletcher32(std::span<const std::byte> data) {
  constexpr std::size_t kUntilOverflow = 360;  // words that 32 bits have room for
  Sums sums;
  const std::byte* next = data.data();
  for (std::size_t words = data.size() / 2; words > 0;) {
    const std::size_t some = std::min(words, kUntilOverflow);
    for (std::size_t i = 0; i < some; ++i, next += 2) {
      sums.simple += bigEndianWord(next);
      sums.weighted += sums.simple;
    }
    sums.fold();
    words -= some;
  }
  if (data.size() % 2 != 0) {
    sums.simple += std::to_integer<std::uint32_t>(*next) << 8;
    sums.weighted += sums.simple;
    sums.fold();
  }
  sums.fold();
  return sums.weighted << 16 | sums.simple;
}

bool endsWithChecksum(std::span<const std::byte> bytes) {
  if (bytes.size() < kChecksumBytes) return false;
  const std::span<const std::byte> stored = bytes.last(kChecksumBytes);
  std::uint32_t expected = 0;
  for (std::size_t i = 0; i < kChecksumBytes; ++i) {
    expected |= std::to_integer<std::uint32_t>(stored[i]) << (8 * i);
  }
  const std::uint32_t sum = fletcher32(bytes.first(bytes.size() - kChecksumBytes));
  const std::uint32_t swapped = (sum & 0x00ff00ff) << 8 | (sum >> 8 & 0x00ff00ff);
  return expected == sum || expected == swapped;
}

void appendChecksum(std::byte* data, std::size_t bytes) {
  const std::uint32_t sum = fletcher32({data, bytes});
  for (std::size_t i = 0; i < kChecksumBytes; ++i) {
    data[bytes + i] = static_cast<std::byte>(sum >> (8 * i));
  }
}

}  // namespace chunks
