// HDF5's error stack as a call left it.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "hdf5/compat.hpp"
#include "tests/unit/failures.hpp"

namespace h5test {

/// A record of the stack, as far as tests compare it.
struct StackRecord {
  std::string function;
  std::string description;
  bool operator==(const StackRecord&) const = default;
};

/// Outermost function last.
inline std::vector<StackRecord> errorStack() {
  std::vector<StackRecord> records;
  H5Ewalk2(
      H5E_DEFAULT, H5E_WALK_UPWARD,
      [](unsigned /*position*/, const H5E_error2_t* record, void* list) {
        static_cast<std::vector<StackRecord>*>(list)->push_back({record->func_name, record->desc});
        return herr_t{0};
      },
      &records);
  return records;
}

/// The stack that the error carries still stands.
inline void expectCarriedStack(const Failure& error) {
  const std::vector<StackRecord> standing = errorStack();
  ASSERT_TRUE(error);
  EXPECT_FALSE((*error)->stack.empty()) << error->what();
  std::vector<StackRecord> carried;
  for (const zembra::ErrorRecord& record : (*error)->stack) {
    carried.push_back({record.function, record.description});
  }
  EXPECT_EQ(standing, carried);
}

/// The same, and the error is HDF5's.
inline void expectStack(const Failure& error) {
  expectCarriedStack(error);
  ASSERT_TRUE(error);
  EXPECT_TRUE((*error)->libraryFailure) << error->what();
}

}  // namespace h5test
