// Chunks in the portions that threads take.
#pragma once

#include <algorithm>
#include <cstddef>

namespace chunks {

/// Small chunks go to threads several at a time: handing one over costs as much as they do.
class Batches {
 public:
  Batches(std::size_t chunks, std::size_t chunkBytes)
      : chunks_(chunks), size_(std::max<std::size_t>(1, kBytes / chunkBytes)) {}

  [[nodiscard]] std::size_t count() const { return (chunks_ + size_ - 1) / size_; }
  /// Of the n-th: its first chunk, and the one after its last.
  [[nodiscard]] std::size_t begin(std::size_t n) const { return n * size_; }
  [[nodiscard]] std::size_t end(std::size_t n) const { return std::min(chunks_, (n + 1) * size_); }
  /// How many a crew has in hand: one a member to work on, one to follow.
  [[nodiscard]] static std::size_t inHand(unsigned members) {
    return members == 1 ? 1 : 2 * std::size_t{members};
  }

 private:
  static constexpr std::size_t kBytes = std::size_t{256} << 10;

  std::size_t chunks_;
  std::size_t size_;
};

}  // namespace chunks
