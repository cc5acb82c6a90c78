// The host's integers by size and sign.
#pragma once

#include <cstddef>

#include "host/array.hpp"

namespace h5gate {

/// The class whose elements hold integers of so many bytes; Unknown, which no array is
/// of and the host refuses to make, above 8.
constexpr zbClass integerClass(std::size_t size, bool isSigned) {
  if (size <= 1) return isSigned ? zbClass::Int8 : zbClass::UInt8;
  if (size <= 2) return isSigned ? zbClass::Int16 : zbClass::UInt16;
  if (size <= 4) return isSigned ? zbClass::Int32 : zbClass::UInt32;
  if (size <= 8) return isSigned ? zbClass::Int64 : zbClass::UInt64;
  return zbClass::Unknown;
}

}  // namespace h5gate
