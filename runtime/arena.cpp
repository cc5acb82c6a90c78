#include "runtime/arena.hpp"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "runtime/memory_block.hpp"

namespace zembra {
namespace {

constexpr std::size_t kLargestBlock = std::size_t{1} << 20;

/// What remains after that many bytes of the alignment that the next ones need: an element
/// of n bytes needs no more than the largest power of two in n, and neither do many.
std::size_t paddingFor(std::size_t bytes, const std::byte* at) {
  const std::size_t largestPower = bytes & (~bytes + 1);
  const std::size_t alignment = std::min(largestPower, alignof(std::max_align_t));
  const auto place = reinterpret_cast<std::uintptr_t>(at);
  return (alignment - place % alignment) % alignment;
}

}  // namespace

std::byte* Arena::take(std::size_t bytes) {
  bytes = std::max<std::size_t>(bytes, 1);
  const std::size_t padding = paddingFor(bytes, free_);
  if (bytes <= freeBytes_ && padding <= freeBytes_ - bytes) {
    freeBytes_ -= padding + bytes;
    return std::exchange(free_, free_ + padding + bytes) + padding;
  }
  if (bytes >= nextBlock_ / 4) {  // a block to itself; the one in use stays in use
    keep(allocateBlock(bytes));
    return static_cast<std::byte*>(blocks_.back().get());
  }
  keep(allocateBlock(nextBlock_));
  auto* const memory = static_cast<std::byte*>(blocks_.back().get());
  free_ = memory + bytes;
  freeBytes_ = nextBlock_ - bytes;
  nextBlock_ = std::min(2 * nextBlock_, kLargestBlock);
  return memory;
}

}  // namespace zembra
