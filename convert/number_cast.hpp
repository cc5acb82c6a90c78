// From the doubles of scripts to C's integers: toward zero; NaN is out of every range.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "convert/failure.hpp"
#include "hdf5/compat.hpp"
#include "hdf5/identifier_codec.hpp"

namespace h5gate {

/// Out of range raises `Message`, about the input that the value comes from.
template <class Target, class Message>
Target castOrRaise(double value, const zbArray* input = nullptr) {
  static_assert(std::is_unsigned_v<Target> || sizeof(Target) < sizeof(double),
                "both bounds must be exact in doubles");
  constexpr auto kLowest = static_cast<double>(std::numeric_limits<Target>::lowest());
  const double kEnd = std::ldexp(1.0, std::numeric_limits<Target>::digits);
  if (!(value > kLowest - 1 && value < kEnd)) raiseAbout<Message>(input);
  return static_cast<Target>(value);
}

/// Out of range raises `numericCastError`.
inline hsize_t castToSize(double value, const zbArray* input = nullptr) {
  return castOrRaise<hsize_t, msg::numericCastError>(value, input);
}
inline std::int32_t castToInt(double value) {
  return castOrRaise<std::int32_t, msg::numericCastError>(value);
}
inline std::uint32_t castToUInt(double value) {
  return castOrRaise<std::uint32_t, msg::numericCastError>(value);
}

using hdf5::truncateToInt32;
/// The same in 64 bits, without complaint: out of range gives -2^63.
constexpr std::int64_t truncateToInt64(double value) {
  constexpr double kEnd = 9223372036854775808.0;
  return value >= -kEnd && value < kEnd ? static_cast<std::int64_t>(value)
                                        : std::numeric_limits<std::int64_t>::min();
}

/// Modulo 2^64, without complaint; NaN gives 0.
inline std::uint64_t wrapToSize(double value) {
  constexpr double kModulus = 18446744073709551616.0;
  if (!std::isfinite(value)) return 0;
  const double rest = std::fmod(std::trunc(value), kModulus);
  // -1 cannot be brought up by adding 2^64 in doubles: the integers wrap instead.
  return rest < 0 ? -static_cast<std::uint64_t>(-rest) : static_cast<std::uint64_t>(rest);
}

}  // namespace h5gate
