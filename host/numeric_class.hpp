// Which C++ type the data of a numeric class are, and which class holds an integer.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/array.hpp"

namespace Zembra {

/// Calls `use` with a zero of the type that the class's elements are; logical is bytes.
/// Any other class calls `otherwise`, which gives what `use` gives.
// NOLINTBEGIN(bugprone-branch-clone): the branches differ in type
template <class Use, class Otherwise>
decltype(auto) withNumericType(zbClass type, Use use, Otherwise otherwise) {
  switch (type) {
    case zbClass::Double: return use(double());
    case zbClass::Single: return use(float());
    case zbClass::Logical:
    case zbClass::UInt8: return use(std::uint8_t());
    case zbClass::Int8: return use(std::int8_t());
    case zbClass::Int16: return use(std::int16_t());
    case zbClass::UInt16: return use(std::uint16_t());
    case zbClass::Int32: return use(std::int32_t());
    case zbClass::UInt32: return use(std::uint32_t());
    case zbClass::Int64: return use(std::int64_t());
    case zbClass::UInt64: return use(std::uint64_t());
    default: return otherwise();
  }
}
// NOLINTEND(bugprone-branch-clone)

/// The class whose elements hold integers of so many bytes; Unknown, which no array is
/// of and the host refuses to make, above 8.
constexpr zbClass integerClass(std::size_t size, bool isSigned) {
  if (size <= 1) return isSigned ? zbClass::Int8 : zbClass::UInt8;
  if (size <= 2) return isSigned ? zbClass::Int16 : zbClass::UInt16;
  if (size <= 4) return isSigned ? zbClass::Int32 : zbClass::UInt32;
  if (size <= 8) return isSigned ? zbClass::Int64 : zbClass::UInt64;
  return zbClass::Unknown;
}

}  // namespace Zembra
