#include "tests/faults/known_weaknesses.hpp"

namespace faults {

const Weakness* knownWeakness(std::string_view /*operation*/, std::string_view /*task*/,
                              std::string_view /*words*/) {
  return nullptr;
}

}  // namespace faults
