// The elements of a leaf of a datatype (numbers, codes, fixed texts, bytes) next to each
// other, as the buffer has them.
#pragma once

#include <cstddef>
#include <memory>

#include "runtime/array.hpp"
#include "runtime/datatype_plan.hpp"
#include "runtime/value_path.hpp"

namespace zembra {

struct PackedLeaf {
  const std::byte* first = nullptr;  // null when there are no elements
  std::shared_ptr<void> owner;       // none where the elements are the array's own
};

/// The `count` elements that the array is known to make. Raises a host error for a number
/// that is no code and for a text that is too long.
PackedLeaf packLeaf(const DatatypePlan& plan, std::size_t count, const zbArray* data,
                    const ValuePath& path);

}  // namespace zembra
