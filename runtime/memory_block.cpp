#include "runtime/memory_block.hpp"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

#include "runtime/host_error.hpp"

namespace zembra {
namespace {

constexpr std::size_t kAlignment = 64;
constexpr std::size_t kHugePage = std::size_t{2} << 20;
constexpr std::size_t kHugeBlock = std::size_t{4} << 20;

}  // namespace

std::shared_ptr<void> allocateBlock(std::size_t bytes) {
  const bool huge = bytes >= kHugeBlock;
  const std::size_t alignment = huge ? kHugePage : kAlignment;
  const bool countable = bytes <= std::numeric_limits<std::size_t>::max() - alignment;
  const std::size_t rounded = (std::max<std::size_t>(bytes, 1) + alignment - 1) & ~(alignment - 1);
  void* memory = countable ? std::aligned_alloc(alignment, rounded) : nullptr;
  if (memory == nullptr) {
    raiseHostError("outOfMemory",
                   "An array of " + std::to_string(bytes) + " bytes does not fit in memory.");
  }
#ifdef MADV_HUGEPAGE
  if (huge) madvise(memory, rounded, MADV_HUGEPAGE);  // a wish; failure changes nothing
#endif
  return {memory, std::free};
}

std::size_t checkedProduct(std::size_t a, std::size_t b) {
  std::size_t product = 0;
  if (__builtin_mul_overflow(a, b, &product)) {
    raiseHostError("tooLarge", "A buffer of " + std::to_string(a) + " times " + std::to_string(b) +
                                   " bytes does not fit in memory.");
  }
  return product;
}

std::optional<std::size_t> countElements(std::span<const std::size_t> shape) {
  std::size_t elements = 1;
  for (const std::size_t dimension : shape) {
    if (__builtin_mul_overflow(elements, dimension, &elements)) return std::nullopt;
  }
  return elements;
}

}  // namespace zembra
