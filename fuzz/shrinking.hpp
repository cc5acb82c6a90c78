// Shorter sequences that end as badly.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace fuzz {

using Bytes = std::vector<std::uint8_t>;

/// Leaves out calls for as long as the rest `fails`.
Bytes shrunk(Bytes bytes, const std::function<bool(const Bytes&)>& fails);

}  // namespace fuzz
