// Host arrays of exactly one class: made of vectors of the C++ type that belongs to the
// class, and taken apart into them.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/unit/values.hpp"

namespace h5test {

template <class T>
constexpr zbClass kClassOf = zbClass::Unknown;
template <>
inline constexpr zbClass kClassOf<double> = zbClass::Double;
template <>
inline constexpr zbClass kClassOf<float> = zbClass::Single;
template <>
inline constexpr zbClass kClassOf<std::int8_t> = zbClass::Int8;
template <>
inline constexpr zbClass kClassOf<std::uint8_t> = zbClass::UInt8;
template <>
inline constexpr zbClass kClassOf<std::int16_t> = zbClass::Int16;
template <>
inline constexpr zbClass kClassOf<std::uint16_t> = zbClass::UInt16;
template <>
inline constexpr zbClass kClassOf<std::int32_t> = zbClass::Int32;
template <>
inline constexpr zbClass kClassOf<std::uint32_t> = zbClass::UInt32;
template <>
inline constexpr zbClass kClassOf<std::int64_t> = zbClass::Int64;
template <>
inline constexpr zbClass kClassOf<std::uint64_t> = zbClass::UInt64;

template <class T>
Value numbers(const Shape& shape, const std::vector<T>& values) {
  return zembra::makeNumeric(kClassOf<T>, shape, values.data());
}

/// n-by-1, as everything of one dimension is in HDF5's order.
template <class T>
Value column(const std::vector<T>& values) {
  return numbers<T>({values.size()}, values);
}
inline Value logicals(const std::vector<std::uint8_t>& values) {
  return zembra::makeNumeric(zbClass::Logical, {values.size()}, values.data());
}
template <class... Items>
Value cells(Items... items) {
  return zembra::makeCell({sizeof...(items)}, std::vector<Value>{std::move(items)...});
}
inline Value texts(const std::vector<std::string_view>& values) {
  std::vector<Value> items;
  for (const std::string_view value : values) items.push_back(text(value));
  return zembra::makeCell({values.size()}, std::move(items));
}

/// Several texts of one length, one beside the other.
inline Value chars(const Shape& shape, std::string_view bytes) {
  return zembra::makeNumeric(zbClass::Char, shape, bytes.data());
}

template <class T>
std::vector<T> valuesOf(const Value& value) {
  const zbArray* array = value.get();
  EXPECT_EQ(array->type, kClassOf<T>) << zembra::describe(array);
  if (array->type != kClassOf<T>) return {};
  const auto* data = static_cast<const T*>(array->data);
  return {data, data + array->elements};
}

inline std::vector<std::string> textsOf(const Value& cell) {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < zbGetNumberOfElements(cell.get()); ++i) {
    texts.push_back(textOf(element(cell, i)));
  }
  return texts;
}

}  // namespace h5test
