// What tests of storage share: doubles written to a dataset of a file and read back.
#pragma once

#include <string>
#include <vector>

#include "tests/unit/owned.hpp"

namespace h5test {

/// Numbers that follow one another smoothly, so that there is something to compress.
inline std::vector<double> ramp(std::size_t count) {
  std::vector<double> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = static_cast<double>(i / 4);
  return values;
}

/// A one-dimensional dataset with the values, closed again.
inline void writeDoubles(const Argument& location, const std::string& name,
                         const std::vector<double>& values,
                         const Argument& creationList = "H5P_DEFAULT",
                         const Argument& type = "H5T_IEEE_F64LE") {
  const Owned space = makeSpace({static_cast<double>(values.size())});
  const Owned dataset = make("H5Dcreate", location, name, type, space, creationList);
  call("H5Dwrite", dataset, "H5T_NATIVE_DOUBLE", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT",
       zembra::makeRow(values));
}

inline std::vector<double> readDoubles(const Argument& location, const std::string& name) {
  const Owned dataset = make("H5Dopen", location, name);
  return numbersOf(
      result("H5Dread", dataset, "H5T_NATIVE_DOUBLE", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT"));
}

/// An open file, closed at the end.
class File {
 public:
  explicit File(double id) : id_(id) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { H5Fclose(h5gate::identifierFromHost(id_)); }
  operator Argument() const { return {id_}; }  // NOLINT(google-explicit-constructor)

 private:
  double id_;
};

inline double createFile(const std::string& path, const Argument& accessList = "H5P_DEFAULT") {
  return callNumber("H5Fcreate", path, "H5F_ACC_TRUNC", "H5P_DEFAULT", accessList);
}
inline double openFile(const std::string& path, const char* flags = "H5F_ACC_RDONLY",
                       const Argument& accessList = "H5P_DEFAULT") {
  return callNumber("H5Fopen", path, flags, accessList);
}

}  // namespace h5test
