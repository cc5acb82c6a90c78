// Reading and writing datasets: all of one, or through dataspaces.
#pragma once

#include <gtest/gtest.h>

#include "tests/unit/defaults.hpp"
#include "tests/unit/owned.hpp"

namespace h5test {

inline Value readAll(const Argument& dataset, const Argument& type = kChosen) {
  return result("H5Dread", dataset, type, kAll, kAll, kDefault);
}
inline Value readFrom(const Argument& dataset, const Argument& memory, const Argument& file) {
  return result("H5Dread", dataset, kChosen, memory, file, kDefault);
}
inline void writeAll(const Argument& dataset, const Value& data, const Argument& type = kChosen) {
  EXPECT_TRUE(call("H5Dwrite", dataset, type, kAll, kAll, kDefault, data).empty());
}
inline void writeTo(const Argument& dataset, const Argument& memory, const Argument& file,
                    const Value& data) {
  call("H5Dwrite", dataset, kChosen, memory, file, kDefault, data);
}

}  // namespace h5test
