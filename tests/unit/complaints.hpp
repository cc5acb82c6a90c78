// What the inputs of a function are called when they are wrong, and in which order
// they are looked at.
#pragma once

#include <string>
#include <vector>

#include "tests/unit/defaults.hpp"
#include "tests/unit/failures.hpp"

namespace h5test {

/// An input that is wrong, and what is said about it.
struct Wrong {
  Argument input;
  std::string key;
  Parameters parameters;
};

/// One input of a function: what it takes, and what it does not take.
struct Input {
  Argument good;
  std::vector<Wrong> wrong;
};

inline Input identifierInput(const Argument& good, const std::string& description) {
  return {good,
          {{"nonsense", "unmatchedHidtString", {std::string("nonsense"), description}},
           {numeric(zbClass::Int32, {1}), "doubleHidtMismatch", {description}}}};
}
inline Input listInput(const std::string& description) {
  return identifierInput(kDefault, description);
}
inline Input textInput(const std::string& description) {
  return {"text", {{1, "notString", {description}}, {empty(), "notString", {description}}}};
}
inline Input enumInput() {
  return {0, {{cell({}), "badEnumInputType", {}}, {row({0, 1}), "badEnumInputType", {}}}};
}
inline Input scalarInput(const Argument& good = 0) {
  return {good, {{-1, "scalarValueInputOutOfRange", {}}, {1e20, "scalarValueInputOutOfRange", {}}}};
}
/// A list or a class, which may be named.
inline Input classInput(const std::string& description) {
  return {kDefault,
          {{"nonsense", "unmatchedString", {std::string("nonsense"), description}},
           {"h5p_default", "unmatchedString", {std::string("h5p_default"), description}},
           {"H5P_FILE_ACCESS_DEFAULT",
            "unmatchedString",
            {std::string("H5P_FILE_ACCESS_DEFAULT"), description}},
           {numeric(zbClass::Int32, {1}), "badPropertyListDatatype", {description, "int32"}},
           {cell({}), "badPropertyListDatatype", {description, "cell"}}}};
}
inline Input intInput() {
  return {0,
          {{2147483648.0, "scalarValueInputOutOfRange", {}},
           {-1e20, "scalarValueInputOutOfRange", {}},
           {"H5P_DEFAULT", "scalarValueInputOutOfRange", {}}}};
}
/// One of `count` enumerators.
inline Input enumInputOf(std::int64_t count) {
  return {0,
          {{static_cast<double>(count), "badEnumNumericInput", {count, count}},
           {-1, "badEnumNumericInput", {std::int64_t{-1}, count}},
           {"nonsense", "unmatchedStringNoParam", {std::string("nonsense")}},
           {row({0, 1}), "badEnumInputType", {}}}};
}
/// What is taken whatever it is.
inline Input anyInput() { return {empty(), {}}; }

/// Each input is complained about in `order` (from left to right without one): with
/// every one before it right, and every one after it wrong.
inline void expectComplaints(std::string_view name, const std::vector<Input>& inputs,
                             std::vector<std::size_t> order = {}) {
  if (order.empty()) {
    for (std::size_t i = 0; i < inputs.size(); ++i) order.push_back(i);
  }
  for (std::size_t turn = 0; turn < order.size(); ++turn) {
    Arguments arguments;
    for (const Input& input : inputs) arguments.push_back(input.good);
    for (std::size_t later = turn; later < order.size(); ++later) {
      const Input& input = inputs[order[later]];
      if (!input.wrong.empty()) arguments[order[later]] = input.wrong.front().input;
    }
    for (const Wrong& wrong : inputs[order[turn]].wrong) {
      arguments[order[turn]] = wrong.input;
      const Failure error = failureOf(name, arguments);
      if (!error) continue;
      EXPECT_EQ((*error)->key, wrong.key) << name << ", input " << order[turn];
      EXPECT_EQ((*error)->parameters, wrong.parameters) << name << ", input " << order[turn];
    }
  }
}

}  // namespace h5test
