// The function table: every exposed name with its handler, in byte-wise order.
#pragma once

#include <span>
#include <string_view>

#include "wrappers/handler.hpp"

namespace h5gate {

/// Exact and case-sensitive; null for an unknown name.
GatewayHandler findHandler(std::string_view name);

/// All rows, ascending by name.
std::span<const Row> functionTable();

}  // namespace h5gate
