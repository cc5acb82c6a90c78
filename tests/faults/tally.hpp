// What several processes count together, in memory that they share.
#pragma once

#include <sys/mman.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <new>

#include "tests/faults/fault_shim.hpp"

namespace faults {

/// Nobody gives it back before the process ends.
template <class T>
T& shared() {
  void* const memory =
      mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return *new (memory) T();
}

using Count = std::atomic<std::size_t>;

struct Outcomes {
  Count tried{0};
  Count succeeded{0};
  Count failed{0};
  Count known{0};
  Count found{0};
};

struct Tally {
  Count begun{0};  // of the tasks, each with each operation
  std::array<Outcomes, kOperations> outcomes;
  std::array<Count, 100> known{};  // in the order of the known weaknesses
};

}  // namespace faults
