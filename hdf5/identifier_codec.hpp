// Identifiers between HDF5 and scripts. Scripts see HDF5 1.8's numbers on every
// release: type << 24 | serial, which a double holds exactly. From 1.10 on HDF5
// keeps type << 56 | serial, which it does not; serials that outgrow 24 bits (after
// 16.7 million identifiers of one type) move to 2^52 + type * 2^45 + serial.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>

#include "hdf5/compat.hpp"

namespace hdf5 {

namespace codec {

inline constexpr int kTypeShift = 56;       // 1.10 and later
inline constexpr int kShortTypeShift = 24;  // 1.8, and what scripts see
inline constexpr int kLongTypeShift = 45;   // what scripts see of large serials
inline constexpr std::int64_t kLongBase = std::int64_t{1} << 52;
inline constexpr std::int64_t kLongEnd = kLongBase + (std::int64_t{128} << kLongTypeShift);

constexpr std::int64_t low(std::int64_t value, int bits) {
  return value & ((std::int64_t{1} << bits) - 1);
}

// 1.12 put maps before attributes and connectors before property list classes. What 1.8
// has goes by 1.8's numbers, and what it lacks by those that are left over.
inline constexpr std::int64_t kTypesTo18[] = {0, 1, 2, 3, 4, 5, 7, 6, 8, 14, 9, 10, 11, 12, 13};
inline constexpr std::int64_t kTypesFrom18[] = {0, 1, 2, 3, 4, 5, 7, 6, 8, 10, 11, 12, 13, 14, 9};

template <std::size_t N>
constexpr std::int64_t translated(const std::int64_t (&table)[N], std::int64_t type) {
  return kSince112 && type > 0 && type < std::ssize(table) ? table[type] : type;
}
constexpr std::int64_t typeToHost(std::int64_t type) { return translated(kTypesTo18, type); }
constexpr std::int64_t typeFromHost(std::int64_t type) { return translated(kTypesFrom18, type); }

constexpr std::int64_t encode(std::int64_t id) {
  if (id <= 0) return id;
  const std::int64_t type = typeToHost(id >> kTypeShift);
  const std::int64_t serial = low(id, kTypeShift);
  return serial >> kShortTypeShift == 0 ? (type << kShortTypeShift) | serial
                                        : kLongBase + (type << kLongTypeShift) + serial;
}

constexpr std::int64_t decode(std::int64_t number) {
  if (number >= kLongBase) {
    const std::int64_t rest = number - kLongBase;
    return (typeFromHost(rest >> kLongTypeShift) << kTypeShift) | low(rest, kLongTypeShift);
  }
  if (number <= 0) return number;
  return (typeFromHost(number >> kShortTypeShift) << kTypeShift) | low(number, kShortTypeShift);
}

/// Whether a large serial maps to the number; small ones never get that far.
constexpr bool isLong(double number) {
  return number >= static_cast<double>(kLongBase) && number < static_cast<double>(kLongEnd) &&
         low(static_cast<std::int64_t>(number), kLongTypeShift) >> kShortTypeShift != 0;
}

}  // namespace codec

/// Toward zero, without complaint: out of range gives -2147483648.
constexpr std::int32_t truncateToInt32(double value) {
  constexpr double kEnd = 2147483648.0;
  return value > -kEnd - 1 && value < kEnd ? static_cast<std::int32_t>(value)
                                           : std::numeric_limits<std::int32_t>::min();
}

inline double identifierToHost(hid_t id) {
  if constexpr (!kWideIdentifiers) return static_cast<double>(id);
  return static_cast<double>(codec::encode(id));
}

/// The inverse; every double that no identifier maps to is truncated toward zero to
/// 32 bits first, out of range to -2147483648, which HDF5 rejects.
inline hid_t identifierFromHost(double number) {
  if constexpr (!kWideIdentifiers) return static_cast<hid_t>(truncateToInt32(number));
  return static_cast<hid_t>(codec::decode(codec::isLong(number) ? static_cast<std::int64_t>(number)
                                                                : truncateToInt32(number)));
}

}  // namespace hdf5
