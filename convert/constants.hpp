// Named constants: HDF5's macros and enumerators, which scripts cannot see.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "host/array.hpp"

namespace h5gate {

/// As scripts see it: signed, identifiers as the numbers that stand for them.
std::optional<std::int64_t> findConstant(std::string_view name);

/// The same; an absent name raises `constantNotFound`, about the input that it stands in.
std::int64_t constantValue(std::string_view name, const zbArray* input = nullptr);

/// All names, byte by byte ascending.
std::span<const std::string_view> constantNames();

}  // namespace h5gate
