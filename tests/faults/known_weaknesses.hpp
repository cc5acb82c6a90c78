// What HDF5 does wrong where something fails, and nobody outside of it can prevent: seen with
// 1.10.8, and none of it in what this system has written.
#pragma once

#include <span>
#include <string_view>

namespace faults {

struct Weakness {
  std::string_view operation;  // that fails
  std::string_view words;      // in what was found
  std::string_view reason;
};

std::span<const Weakness> knownWeaknesses();

/// Null for what is not known.
const Weakness* knownWeakness(std::string_view operation, std::string_view words);

}  // namespace faults
