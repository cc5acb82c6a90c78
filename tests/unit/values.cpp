#include "tests/unit/values.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>

#include "host/numeric_class.hpp"

namespace h5test {

namespace {

/// The action done with a zero of the C++ type that elements of the class have.
template <class Action>
auto withZeroOf(zbClass type, Action action) {
  using Result = decltype(action(double()));
  return Zembra::withNumericType(
      type, action, []() -> Result { throw std::invalid_argument("not a numeric class"); });
}

Value borrow(const zbArray* array, std::string_view what) {
  if (array == nullptr) {
    ADD_FAILURE() << "There is no " << what;
    return empty();
  }
  return zembra::share(const_cast<zbArray*>(array));
}

}  // namespace

Value text(std::string_view words) { return zembra::makeText(words); }
Value number(double value) { return zembra::makeDouble(value); }
Value logical(bool value) { return zembra::makeLogical(value); }
Value empty() { return zembra::makeEmpty(); }
Value row(std::initializer_list<double> values) { return numeric(zbClass::Double, values); }
Value row(const Numbers& values) { return zembra::makeRow(values); }
Value column(std::initializer_list<double> values) { return matrix(values.size(), 1, values); }

Value matrix(std::size_t rows, std::size_t columns, std::initializer_list<double> values) {
  return zembra::makeNumeric(zbClass::Double, {rows, columns}, std::data(values));
}

Value numeric(zbClass type, std::initializer_list<double> values) {
  return withZeroOf(type, [&]<class Number>(Number) {
    std::vector<Number> converted;
    for (const double value : values) converted.push_back(static_cast<Number>(value));
    return zembra::makeNumeric(type, {1, values.size()}, converted.data());
  });
}

Value cell(std::initializer_list<Value> values) {
  return zembra::makeCell({1, values.size()}, std::vector<Value>(values));
}

Value structure(std::initializer_list<std::pair<std::string, Value>> fields) {
  return zembra::makeStruct(std::vector<std::pair<std::string, Value>>(fields));
}

Value identifier(double value) {
  return zembra::makeObject("H5ZB.id", {{"identifier", number(value)}});
}

double numberOf(const Value& value) { return zbGetScalar(value.get()); }

std::string textOf(const Value& value) {
  if (classOf(value) != zbClass::Char) {
    ADD_FAILURE() << zembra::describe(value.get()) << " is not text";
    return {};
  }
  const auto* data = static_cast<const char*>(zbGetData(value.get()));
  return {data, zbGetNumberOfElements(value.get())};
}

Numbers numbersOf(const Value& value) {
  return withZeroOf(classOf(value), [&]<class Number>(Number) {
    const auto* data = static_cast<const Number*>(zbGetData(value.get()));
    Numbers numbers;
    for (std::size_t i = 0; i < zbGetNumberOfElements(value.get()); ++i) {
      numbers.push_back(static_cast<double>(data[i]));
    }
    return numbers;
  });
}

Shape shapeOf(const Value& value) {
  const std::size_t* dimensions = zbGetDimensions(value.get());
  return {dimensions, dimensions + zbGetNumberOfDimensions(value.get())};
}

zbClass classOf(const Value& value) { return zbGetClass(value.get()); }

Value field(const Value& structure, const char* name) {
  return borrow(zbGetField(structure.get(), 0, name), std::string("field ") + name);
}

Value element(const Value& cell, std::size_t index) {
  return borrow(zbGetCell(cell.get(), index), "element " + std::to_string(index));
}

}  // namespace h5test
