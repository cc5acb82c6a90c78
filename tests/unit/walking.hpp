// Iterating over links and objects, and visiting them.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/unit/defaults.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/host_functions.hpp"
#include "tests/unit/owned.hpp"

namespace h5test {

/// What is reported where no host function had its turn; H5Literate reports nothing.
inline const std::string kNoneRan = "Failed before callback function could be called";

/// A host function that notes the name of each link or object that it gets with its
/// group, and counts them in the user data.
inline Value noteAndCount(Names& names) {
  return function([&names](int outputs, std::span<zbArray* const> inputs) {
    EXPECT_EQ(outputs, 2);
    EXPECT_EQ(inputs.size(), 3U);
    EXPECT_EQ(zbGetClass(inputs[0]), zbClass::Double);
    EXPECT_EQ(H5Iget_type(hdf5Id(zbGetScalar(inputs[0]))), H5I_GROUP);
    names.push_back(textOf(borrowed(inputs[1])));
    return Results{number(0), number(zbGetScalar(inputs[2]) + 1)};
  });
}

/// One of the functions that iterate over or visit links or objects: how it is called
/// on a file's root, and what it raises.
struct Walk {
  const char* name;
  const char* key;
  std::string reportWithoutCallback;
  bool hasPosition;
  bool byName;

  /// The inputs of the call, with the name only where one is asked for.
  [[nodiscard]] Arguments arguments(const Argument& location, const char* group, const Value& f,
                                    const Value& data) const {
    Arguments all = {location};
    if (byName) all.emplace_back(group);
    all.insert(all.end(), {"H5_INDEX_NAME", "H5_ITER_INC"});
    if (hasPosition) all.emplace_back(0);
    all.insert(all.end(), {f, data});
    if (byName) all.emplace_back(kDefault);
    return all;
  }
  [[nodiscard]] Results run(const Argument& location, const Value& f, const Value& data = empty(),
                            int nOut = 5) const {
    return callWith(nOut, name, arguments(location, "/", f, data));
  }
  void expectFailure(const Argument& location, const char* group, const Value& f,
                     const std::string& report) const {
    const Failure error = failureOf(name, arguments(location, group, f, empty()));
    if (!error) return;
    EXPECT_EQ((*error)->key, key);
    EXPECT_EQ((*error)->parameters, Parameters{report});
    EXPECT_FALSE((*error)->libraryFailure);
  }
};

}  // namespace h5test
