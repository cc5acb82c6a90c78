// A file for tests that need one and do not care which.
#pragma once

#include <string>

#include "hdf5/handle.hpp"
#include "tests/unit/owned.hpp"

namespace h5test {

/// An HDF5 file of the core driver, without a file on disk.
class MemoryFile : public Owned {
 public:
  MemoryFile() : Owned(create()) {}

 private:
  static hid_t create() {
    const hdf5::PropertyList access(H5Pcreate(H5P_FILE_ACCESS));
    H5Pset_fapl_core(access.get(), 1 << 16, 0);
    static int count = 0;
    const std::string name = "memory-" + std::to_string(++count) + ".h5";
    hdf5::trustUnusualNumbers(access.get());
    return H5Fcreate(name.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, access.get());
  }
};

}  // namespace h5test
