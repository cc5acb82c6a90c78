// What HDF5 does wrong where something fails and nobody outside of it can prevent it: seen
// with 1.10.8, by the innermost function that was running. They tell kinds of ends apart, not
// causes: each covers whatever else ends in the same way.
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
