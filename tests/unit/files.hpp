// Files on disk: where tests put them, as HDF5's and as bytes.
#pragma once

#include <string>
#include <string_view>

#include "tests/unit/defaults.hpp"
#include "tests/unit/owned.hpp"

namespace h5test {

/// A path of the running test's own, in a folder that the test program removes.
std::string temporaryPath(std::string_view name = "file.h5");

Owned createFile(const std::string& path, const Argument& flags = "H5F_ACC_TRUNC",
                 const Argument& accessList = kDefault);
Owned openFile(const std::string& path, const Argument& flags = "H5F_ACC_RDONLY",
               const Argument& accessList = kDefault);

std::string readBytes(const std::string& path);
void writeBytes(const std::string& path, const std::string& bytes);
/// Turns a bit over, `offset` bytes into bytes that the file holds just once.
void damage(const std::string& path, const std::string& bytes, std::size_t offset = 0);

}  // namespace h5test
