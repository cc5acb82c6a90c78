// Structures, taken apart by their fields and changed in one.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tests/unit/values.hpp"

namespace h5test {

/// The names of a structure's fields in order.
inline std::vector<std::string> fieldNames(const Value& structure) {
  if (classOf(structure) != zbClass::Struct) {
    ADD_FAILURE() << zembra::describe(structure.get()) << " is no structure";
    return {};
  }
  return structure.get()->composite->names;
}

inline double fieldNumber(const Value& structure, const char* name) {
  const Value value = field(structure, name);
  EXPECT_EQ(classOf(value), zbClass::Double) << name;
  EXPECT_EQ(shapeOf(value), Shape({1, 1})) << name;
  return numberOf(value);
}

inline Value withField(const Value& structure, const char* name, Value value) {
  Value copy(zbDuplicateArray(structure.get()));
  zbSetField(copy.get(), 0, name, value.release());
  return copy;
}

inline Value withoutField(const Value& structure, const std::string& name) {
  std::vector<std::pair<std::string, Value>> fields;
  for (const std::string& each : fieldNames(structure)) {
    if (each != name) fields.emplace_back(each, field(structure, each.c_str()));
  }
  return zembra::makeStruct(std::move(fields));
}

}  // namespace h5test
