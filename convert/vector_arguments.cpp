#include "convert/vector_arguments.hpp"

#include <cstring>
#include <limits>

#include "convert/number_cast.hpp"
#include "convert/scalar_arguments.hpp"
#include "host/numeric_class.hpp"

namespace h5gate {
namespace {

template <class Value, class Cast>
PaddedVector<Value> convertEach(const zbArray* array, Cast castElement) {
  PaddedVector<Value> values(zbGetNumberOfElements(array));
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = static_cast<Value>(castElement(elementAsDouble(array, i), array));
  }
  return values;
}

}  // namespace

PaddedSizes getDimsArg(const zbArray* array, const char* description) {
  requireDouble(array, description);
  return convertEach<hsize_t>(array, castToSize);
}

PaddedSizes getMaxDimsArg(const zbArray* array) {
  requireDouble(array, "MAXDIMS");
  return convertEach<hsize_t>(array, [](double value, const zbArray* input) {
    return value == -1.0 ? H5S_UNLIMITED : castToSize(value, input);
  });
}

PaddedOffsets getOffsetsArg(const zbArray* array, const char* description) {
  requireDouble(array, description);
  return convertEach<hssize_t>(array, castToSize);
}

PaddedSizes getExtentArg(const zbArray* array) { return convertEach<hsize_t>(array, castToSize); }

std::vector<std::uint32_t> getUIntsArg(const zbArray* array) {
  std::vector<std::uint32_t> values(zbGetNumberOfElements(array));
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i] = castOrRaise<std::uint32_t, msg::scalarValueInputOutOfRange>(
        elementAsDouble(array, i), array);
  }
  return values;
}

double elementAsDouble(const zbArray* array, std::size_t index) {
  return Zembra::withNumericType(
      zbGetClass(array),
      [&](auto value) {
        const auto* data = static_cast<const std::byte*>(zbGetData(array));
        std::memcpy(&value, data + index * sizeof value, sizeof value);
        return static_cast<double>(value);
      },
      [] { return std::numeric_limits<double>::quiet_NaN(); });
}

}  // namespace h5gate
