// What HDF5 does wrong where something fails, and nobody outside of it can prevent.
#pragma once

#include <string_view>

namespace faults {

struct Weakness {
  std::string_view operation;  // that fails
  std::string_view words;      // in what is found
  std::string_view reason;
};

/// Null for what is not known.
const Weakness* knownWeakness(std::string_view operation, std::string_view task,
                              std::string_view words);

}  // namespace faults
