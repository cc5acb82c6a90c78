// Host arrays of exactly one class: made of vectors of the C++ type that belongs to the
// class, and taken apart into them.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/unit/values.hpp"

namespace h5test {

/// The class of the numbers that have the C++ type.
template <class T>
constexpr zbClass kClassOf = [] {
  if (std::is_floating_point_v<T>) return sizeof(T) == 4 ? zbClass::Single : zbClass::Double;
  const zbClass classes[2][4] = {
      {zbClass::UInt8, zbClass::UInt16, zbClass::UInt32, zbClass::UInt64},
      {zbClass::Int8, zbClass::Int16, zbClass::Int32, zbClass::Int64}};
  return classes[std::is_signed_v<T>][std::bit_width(sizeof(T)) - 1];
}();

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
