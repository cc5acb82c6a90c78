// Selections that each dimension has a part in of its own: all of a space, and hyperslabs
// of regular blocks.
#pragma once

#include <optional>
#include <vector>

#include "chunks/axis.hpp"

namespace chunks {

struct RegularSelection {
  std::vector<Axis> axes;
  std::vector<hsize_t> extent;

  /// None where the space selects otherwise, nothing, or beyond its extent.
  static std::optional<RegularSelection> of(hid_t space);

  [[nodiscard]] std::size_t rank() const { return axes.size(); }
};

}  // namespace chunks
