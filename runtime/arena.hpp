// Memory for many small things that end together: texts, sequences.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace zembra {

class Arena {
 public:
  /// Memory for as long as this object lives. Aligned for elements of any kind that so many
  /// bytes can be a number of; never null. Raises a host error when it cannot be had.
  std::byte* take(std::size_t bytes);
  /// The same for memory that somebody else has allocated.
  void keep(std::shared_ptr<void> block) { blocks_.push_back(std::move(block)); }

 private:
  std::vector<std::shared_ptr<void>> blocks_;
  std::byte* free_ = nullptr;
  std::size_t freeBytes_ = 0;
  std::size_t nextBlock_ = std::size_t{16} << 10;
};

}  // namespace zembra
