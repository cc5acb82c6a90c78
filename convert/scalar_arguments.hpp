// Scalar arguments: the host's scalar value of an array, whatever its class and count.
#pragma once

#include <cstdint>

#include "convert/number_cast.hpp"
#include "host/array.hpp"

namespace h5gate {

/// Out of range raises `scalarValueInputOutOfRange`, or another message.
template <class Target, class Message = msg::scalarValueInputOutOfRange>
Target getScalarArg(const zbArray* array) {
  return castOrRaise<Target, Message>(zbGetScalar(array), array);
}
inline std::int32_t getIntArg(const zbArray* array) { return getScalarArg<std::int32_t>(array); }
inline std::uint32_t getUIntArg(const zbArray* array) { return getScalarArg<std::uint32_t>(array); }
inline hsize_t getSizeArg(const zbArray* array) { return getScalarArg<hsize_t>(array); }

/// The scalars of configuration records: out of range raises `inputOutOfRange`.
inline std::int32_t getConfigIntArg(const zbArray* array) {
  return getScalarArg<std::int32_t, msg::inputOutOfRange>(array);
}
inline hsize_t getConfigSizeArg(const zbArray* array) {
  return getScalarArg<hsize_t, msg::inputOutOfRange>(array);
}

/// A double array of any size, or `notDoublePrecision` with the description.
inline void requireDouble(const zbArray* array, const char* description) {
  if (zbGetClass(array) != zbClass::Double) raiseAbout<msg::notDoublePrecision>(array, description);
}

/// A double of exactly one element, or `notDoublePrecision` with the description;
/// then as getSizeArg.
inline hsize_t getStrictSizeArg(const zbArray* array, const char* description) {
  if (zbGetNumberOfElements(array) != 1) raiseAbout<msg::notDoublePrecision>(array, description);
  requireDouble(array, description);
  return getSizeArg(array);
}

}  // namespace h5gate
