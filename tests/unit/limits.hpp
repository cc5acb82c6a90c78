// Numbers at which conversions change their mind.
#pragma once

#include <cstddef>
#include <limits>

namespace h5test {

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInfinity = std::numeric_limits<double>::infinity();
inline constexpr double kTwo31 = 2147483648.0;
inline constexpr double kTwo32 = 4294967296.0;
inline constexpr double kTwo63 = 9223372036854775808.0;
inline constexpr double kTwo64 = 18446744073709551616.0;
/// The largest double below 2^64.
inline constexpr double kBelowTwo64 = 18446744073709549568.0;
inline constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();

}  // namespace h5test
