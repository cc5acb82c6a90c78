// Calls through the gateway's entry point, as a host makes them.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/unit/host_functions.hpp"
#include "tests/unit/values.hpp"

namespace h5test {

/// Whatever a test writes naturally as an argument.
struct Argument {
  Argument(double value) : array(number(value)) {}
  Argument(int value) : array(number(value)) {}
  Argument(bool value) : array(logical(value)) {}
  Argument(const char* words) : array(text(words)) {}
  Argument(const std::string& words) : array(text(words)) {}
  Argument(Value value) : array(std::move(value)) {}
  Value array;
};
using Arguments = std::vector<Argument>;

/// The function's name is the first input.
Results callWithInputs(int nOut, const std::vector<Value>& inputs);
Results callWith(int nOut, std::string_view name, const Arguments& arguments);

template <class... Inputs>
Results call(std::string_view name, Inputs&&... inputs) {
  return callWith(5, name, {Argument(std::forward<Inputs>(inputs))...});
}

/// The single result of a call.
template <class... Inputs>
Value result(std::string_view name, Inputs&&... inputs) {
  Results results = call(name, std::forward<Inputs>(inputs)...);
  if (results.size() != 1) ADD_FAILURE() << name << " gave " << results.size() << " results";
  return results.empty() ? empty() : results[0];
}
template <class... Inputs>
double callNumber(std::string_view name, Inputs&&... inputs) {
  return numberOf(result(name, std::forward<Inputs>(inputs)...));
}
template <class... Inputs>
std::string callText(std::string_view name, Inputs&&... inputs) {
  return textOf(result(name, std::forward<Inputs>(inputs)...));
}

/// All results of a call as numbers, one after the other.
template <class... Inputs>
Numbers callNumbers(std::string_view name, Inputs&&... inputs) {
  Numbers numbers;
  for (const Value& value : call(name, std::forward<Inputs>(inputs)...)) {
    const Numbers some = numbersOf(value);
    numbers.insert(numbers.end(), some.begin(), some.end());
  }
  return numbers;
}

/// The value that a script sees of a named constant.
inline double constant(const std::string& name) {
  return callNumber("H5ZBget_constant_value", name);
}

}  // namespace h5test
