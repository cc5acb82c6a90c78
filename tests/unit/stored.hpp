// Doubles that are stored in a dataset of a file and read back.
#pragma once

#include <cmath>
#include <string>

#include "tests/unit/objects.hpp"

namespace h5test {

/// Numbers that follow one another smoothly, so that there is something to compress.
inline Numbers ramp(std::size_t count) {
  Numbers values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = std::floor(static_cast<double>(i) / 4);
  return values;
}

/// A one-dimensional dataset with the values, closed again.
inline void writeDoubles(const Argument& location, const std::string& name, const Numbers& values,
                         const Argument& creationList = kDefault,
                         const Argument& type = "H5T_IEEE_F64LE") {
  const Owned space = makeSpace({static_cast<double>(values.size())});
  const Owned dataset = makeDataset(location, name, type, space, creationList);
  call("H5Dwrite", dataset, "H5T_NATIVE_DOUBLE", kAll, kAll, kDefault, row(values));
}

inline Numbers readDoubles(const Argument& location, const std::string& name) {
  const Owned dataset = make("H5Dopen", location, name);
  return numbersOf(result("H5Dread", dataset, "H5T_NATIVE_DOUBLE", kAll, kAll, kDefault));
}

}  // namespace h5test
