// Host arrays, as tests make them and take them apart.
#pragma once

#include <array>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/array.hpp"

namespace h5test {

using zembra::Shape;
using zembra::Value;
using Numbers = std::vector<double>;

/// Logical among them, which is as good as a number to every converter of numbers.
inline constexpr std::array kNumericClasses = {zbClass::Double, zbClass::Single, zbClass::Logical,
                                               zbClass::Int8,   zbClass::UInt8,  zbClass::Int16,
                                               zbClass::UInt16, zbClass::Int32,  zbClass::UInt32,
                                               zbClass::Int64,  zbClass::UInt64};

// --- Making --------------------------------------------------------------------------

Value text(std::string_view words);
Value number(double value);
Value logical(bool value);
Value empty();
/// 1-by-n doubles, n-by-1 doubles, a column-major matrix.
Value row(std::initializer_list<double> values);
Value row(const Numbers& values);
Value column(std::initializer_list<double> values);
Value matrix(std::size_t rows, std::size_t columns, std::initializer_list<double> values);
/// 1-by-n of any numeric class, from doubles.
Value numeric(zbClass type, std::initializer_list<double> values);
Value cell(std::initializer_list<Value> values);  // 1-by-n
Value structure(std::initializer_list<std::pair<std::string, Value>> fields);
/// An H5ZB.id object.
Value identifier(double value);

// --- Taking apart --------------------------------------------------------------------

double numberOf(const Value& value);
std::string textOf(const Value& value);
Numbers numbersOf(const Value& value);
Shape shapeOf(const Value& value);
zbClass classOf(const Value& value);
/// A borrowed field or element as a value of its own; fails when absent.
Value field(const Value& structure, const char* name);
Value element(const Value& cell, std::size_t index);

}  // namespace h5test
