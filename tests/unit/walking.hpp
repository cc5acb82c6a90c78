// What tests of iterations share: files to walk through, host functions that note
// what they are called with, and records taken apart.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "convert/identifier_codec.hpp"
#include "hdf5/compat.hpp"
#include "tests/unit/call.hpp"

namespace h5test {

using Names = std::vector<std::string>;

inline hid_t hdf5Id(double number) { return h5gate::identifierFromHost(number); }

/// A group, open only while it is made.
inline void makeGroup(const MemoryFile& file, const std::string& path) {
  call("H5Gclose",
       callNumber("H5Gcreate", file, path, "H5P_DEFAULT", "H5P_DEFAULT", "H5P_DEFAULT"));
}
/// A scalar dataset, likewise.
inline void makeDataset(const MemoryFile& file, const std::string& path) {
  const double space = callNumber("H5Screate", "H5S_SCALAR");
  call("H5Dclose", callNumber("H5Dcreate", file, path, "H5T_NATIVE_INT", space, "H5P_DEFAULT"));
  call("H5Sclose", space);
}
inline void makeSoftLink(const MemoryFile& file, const std::string& target,
                         const std::string& path) {
  call("H5Lcreate_soft", target, file, path, "H5P_DEFAULT", "H5P_DEFAULT");
}

/// The names of a structure's fields in order.
inline Names fieldNames(const Value& structure) {
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

inline Value borrowed(zbArray* array) { return zembra::share(array); }

/// A host function that notes the name of each member, answers `status`, and hands
/// the user data on where there are any.
inline Value noteNames(Names& names, double status = 0) {
  return function([&names, status](int /*outputs*/, std::span<zbArray* const> inputs) {
    names.push_back(textOf(borrowed(inputs[1])));
    if (inputs.size() == 2) return Results{number(status)};
    return Results{number(status), borrowed(inputs[2])};
  });
}

/// A host function that must not be called.
inline Value neverCalled() {
  return function([](int /*outputs*/, std::span<zbArray* const> /*inputs*/) -> Results {
    ADD_FAILURE() << "there was nothing to call the function for";
    return {number(0), empty()};
  });
}

/// A host function that throws when it is called for the n-th time, counted from 1.
inline Value throwAtCall(int n, std::string report, int* calls = nullptr) {
  return function([n, report = std::move(report), calls, called = 0](
                      int /*outputs*/, std::span<zbArray* const> inputs) mutable -> Results {
    ++called;
    if (calls != nullptr) *calls = called;
    if (called == n) throw std::runtime_error(report);
    if (inputs.size() == 2) return {number(0)};
    return {number(0), borrowed(inputs[2])};
  });
}

/// What is reported where no host function had its turn; H5Literate reports nothing.
inline const std::string kNoneRan = "Failed before callback function could be called";

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
    if (byName) all.emplace_back("H5P_DEFAULT");
    return all;
  }
  [[nodiscard]] Results run(const Argument& location, const Value& f, const Value& data = empty(),
                            int nOut = 5) const {
    return callWith(nOut, name, arguments(location, "/", f, data));
  }
  void expectFailure(const Argument& location, const char* group, const Value& f,
                     const std::string& report) const {
    const auto error = failureOf(name, arguments(location, group, f, empty()));
    if (!error) return;
    EXPECT_EQ((*error)->key, key);
    EXPECT_EQ((*error)->parameters, std::vector<Parameter>{report});
    EXPECT_FALSE((*error)->libraryFailure);
  }
};

}  // namespace h5test
