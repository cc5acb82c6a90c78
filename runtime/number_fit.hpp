// Whether numbers of one class are numbers of another, value by value.
#pragma once

#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

#include "runtime/array.hpp"

namespace zembra {

/// Whether the value is one of the other type's.
template <class To, class From>
bool holds(From value) {
  if constexpr (std::is_floating_point_v<To> && std::is_floating_point_v<From>) {
    return static_cast<From>(static_cast<To>(value)) == value || std::isnan(value);
  } else if constexpr (std::is_floating_point_v<To>) {
    const To rounded = static_cast<To>(value);
    return rounded < std::ldexp(To{1}, std::numeric_limits<From>::digits) &&
           static_cast<From>(rounded) == value;
  } else if constexpr (std::is_floating_point_v<From>) {
    const double limit = std::ldexp(1.0, std::numeric_limits<To>::digits);
    const double lowest = std::is_signed_v<To> ? -limit : 0.0;
    const auto wide = static_cast<double>(value);
    return wide >= lowest && wide < limit && wide == std::trunc(wide);
  } else {
    return std::in_range<To>(value);
  }
}

/// Whether every number of the array, or truth value, is one of the class's.
bool allHold(const zbArray* numbers, zbClass type);

/// The numbers as those of the class, which all of them are.
void castNumbers(const zbArray* numbers, zbClass type, void* to);

}  // namespace zembra
