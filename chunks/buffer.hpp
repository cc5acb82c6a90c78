// Memory that one batch of chunks after another works in.
#pragma once

#include <cstddef>
#include <memory>

namespace chunks {

/// Uninitialised bytes, which are kept until more of them are needed.
class Buffer {
 public:
  std::byte* ofSize(std::size_t bytes) {
    if (bytes > capacity_) {
      bytes_.reset();
      capacity_ = 0;
      bytes_ = std::make_unique_for_overwrite<std::byte[]>(bytes);
      capacity_ = bytes;
    }
    return bytes_.get();
  }
  [[nodiscard]] std::byte* data() const { return bytes_.get(); }

 private:
  std::unique_ptr<std::byte[]> bytes_;
  std::size_t capacity_ = 0;
};

}  // namespace chunks
