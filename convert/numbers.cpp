#include "convert/numbers.hpp"

#include <boost/numeric/conversion/cast.hpp>

#include <cmath>
#include <cstring>
#include <limits>

#include "gateway/failure.hpp"

namespace h5gate {
namespace {

/// The range check of the cast, with the key of the converter that asked for it.
template <class Target, class Message>
Target cast(double value) {
  try {
    // NaN compares with no bound, so the cast would let it through.
    if (std::isnan(value)) throw boost::numeric::bad_numeric_cast();
    return boost::numeric_cast<Target>(value);
  } catch (const boost::numeric::bad_numeric_cast&) {
    raise<Message>();
  }
}

template <class Number>
double elementOf(const zbArray* array, std::size_t index) {
  Number value;
  std::memcpy(&value, static_cast<const std::byte*>(zbGetData(array)) + index * sizeof value,
              sizeof value);
  return static_cast<double>(value);
}

template <class Value, class Cast>
Vector<Value> convertEach(const zbArray* array, Cast castElement) {
  Vector<Value> values(zbGetNumberOfElements(array));
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<Value>(castElement(elementAsDouble(array, i)));
  }
  return values;
}

}  // namespace

std::int32_t truncateToInt32(double value) {
  constexpr double kEnd = 2147483648.0;
  return value > -kEnd - 1 && value < kEnd ? static_cast<std::int32_t>(value)
                                           : std::numeric_limits<std::int32_t>::min();
}

std::int64_t truncateToInt64(double value) {
  constexpr double kEnd = 9223372036854775808.0;
  return value >= -kEnd && value < kEnd ? static_cast<std::int64_t>(value)
                                        : std::numeric_limits<std::int64_t>::min();
}

hsize_t castToSize(double value) { return cast<hsize_t, msg::numericCastError>(value); }
std::int32_t castToInt(double value) { return cast<std::int32_t, msg::numericCastError>(value); }
std::uint32_t castToUInt(double value) { return cast<std::uint32_t, msg::numericCastError>(value); }

std::uint64_t wrapToSize(double value) {
  constexpr double kModulus = 18446744073709551616.0;
  if (!std::isfinite(value)) return 0;
  const double rest = std::fmod(std::trunc(value), kModulus);
  // -1 cannot be brought up by adding 2^64 in doubles: the integers wrap instead.
  return rest < 0 ? -static_cast<std::uint64_t>(-rest) : static_cast<std::uint64_t>(rest);
}

std::int32_t getIntArg(const zbArray* array) {
  return cast<std::int32_t, msg::scalarValueInputOutOfRange>(zbGetScalar(array));
}

std::uint32_t getUIntArg(const zbArray* array) {
  return cast<std::uint32_t, msg::scalarValueInputOutOfRange>(zbGetScalar(array));
}

hsize_t getSizeArg(const zbArray* array) {
  return cast<hsize_t, msg::scalarValueInputOutOfRange>(zbGetScalar(array));
}

std::vector<std::uint32_t> getUIntsArg(const zbArray* array) {
  std::vector<std::uint32_t> values(zbGetNumberOfElements(array));
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = cast<std::uint32_t, msg::scalarValueInputOutOfRange>(elementAsDouble(array, i));
  }
  return values;
}

hsize_t getStrictSizeArg(const zbArray* array, const char* description) {
  if (zbGetNumberOfElements(array) != 1) raise<msg::notDoublePrecision>(description);
  requireDouble(array, description);
  return getSizeArg(array);
}

std::int32_t getConfigIntArg(const zbArray* array) {
  return cast<std::int32_t, msg::inputOutOfRange>(zbGetScalar(array));
}

hsize_t getConfigSizeArg(const zbArray* array) {
  return cast<hsize_t, msg::inputOutOfRange>(zbGetScalar(array));
}

void requireDouble(const zbArray* array, const char* description) {
  if (zbGetClass(array) != zbClass::Double) raise<msg::notDoublePrecision>(description);
}

Dims getDimsArg(const zbArray* array, const char* description) {
  requireDouble(array, description);
  return convertEach<hsize_t>(array, castToSize);
}

Dims getMaxDimsArg(const zbArray* array) {
  requireDouble(array, "MAXDIMS");
  return convertEach<hsize_t>(
      array, [](double value) { return value == -1.0 ? H5S_UNLIMITED : castToSize(value); });
}

Offsets getOffsetsArg(const zbArray* array, const char* description) {
  requireDouble(array, description);
  return convertEach<hssize_t>(array, castToSize);
}

Dims getExtentArg(const zbArray* array) { return convertEach<hsize_t>(array, castToSize); }

double elementAsDouble(const zbArray* array, std::size_t index) {
  switch (zbGetClass(array)) {
    case zbClass::Double: return elementOf<double>(array, index);
    case zbClass::Single: return elementOf<float>(array, index);
    case zbClass::Logical:
    case zbClass::UInt8: return elementOf<std::uint8_t>(array, index);
    case zbClass::Int8: return elementOf<std::int8_t>(array, index);
    case zbClass::Int16: return elementOf<std::int16_t>(array, index);
    case zbClass::UInt16: return elementOf<std::uint16_t>(array, index);
    case zbClass::Int32: return elementOf<std::int32_t>(array, index);
    case zbClass::UInt32: return elementOf<std::uint32_t>(array, index);
    case zbClass::Int64: return elementOf<std::int64_t>(array, index);
    case zbClass::UInt64: return elementOf<std::uint64_t>(array, index);
    default: return std::numeric_limits<double>::quiet_NaN();  // not a number, so out of range
  }
}

zbArray* makeSizes(std::size_t rows, std::size_t columns, const hsize_t* values) {
  const std::size_t shape[] = {rows, columns};
  zbArray* array = zbCreateUninitNumericArray(2, shape, zbClass::Double);
  auto* data = static_cast<double*>(zbGetWritableData(array));
  for (std::size_t i = 0; i < rows * columns; ++i) data[i] = sizeToDouble(values[i]);
  return array;
}

zbArray* makeMaxDims(std::size_t count, const hsize_t* values) {
  zbArray* array = makeSizes(1, count, values);
  auto* data = static_cast<double*>(zbGetWritableData(array));
  for (std::size_t i = 0; i < count; ++i) {
    if (values[i] == H5S_UNLIMITED) data[i] = -1.0;
  }
  return array;
}

zbArray* makeEmpty() {
  const std::size_t shape[] = {0, 0};
  return zbCreateNumericArray(2, shape, zbClass::Double);
}

}  // namespace h5gate
