// The library as a whole: its version, opening and closing it, free lists.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/unit/failures.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/limits.hpp"

namespace {

using namespace h5test;

TEST(LibraryFunctions, GiveTheVersionAsThreeNumbers) {
  unsigned major = 0, minor = 0, release = 0;
  H5get_libversion(&major, &minor, &release);
  const Results results = call("H5get_libversion");
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(numberOf(results[0]), major);
  EXPECT_EQ(numberOf(results[1]), minor);
  EXPECT_EQ(numberOf(results[2]), release);
  for (const Value& value : results) EXPECT_EQ(shapeOf(value), (Shape{1, 1}));
}

TEST(LibraryFunctions, WithoutResultsGiveNone) {
  for (const char* name : {"H5open", "H5open", "H5garbage_collect"}) {
    EXPECT_TRUE(call(name).empty()) << name;
  }
  EXPECT_TRUE(call("H5set_free_list_limits", -1, -1.9, -1, -1, -1, -1).empty());
  EXPECT_TRUE(call("H5set_free_list_limits", 1e6, 65536.9, 4e6, 262144, 16777216, 1048576).empty());
  EXPECT_TRUE(call("H5set_free_list_limits", -1, -1, -1, -1, -1, -1).empty());
}

TEST(LibraryFunctions, TakeLimitsOfThirtyTwoBits) {
  for (std::size_t place = 0; place < 6; ++place) {
    for (const Argument& bad :
         std::vector<Argument>{2147483648.0, -2147483649.0, 1e20, kNaN, "1", empty(), cell({})}) {
      Arguments limits(6, -1);
      limits[place] = bad;
      const auto error = failureOf("H5set_free_list_limits", limits);
      ASSERT_TRUE(error);
      EXPECT_EQ((*error)->key, "scalarValueInputOutOfRange") << place;
    }
  }
}

// In a process of its own: closing the library would change identifiers for all tests.
TEST(LibraryDeathTest, ClosesEverythingAndOpensAgain) {
  const std::string path = temporaryPath();
  const auto closeAndReopen = [&] {
    const double file = callNumber("H5Fcreate", path, "H5F_ACC_TRUNC", kDefault, kDefault);
    const double space = callNumber("H5Screate", "H5S_SCALAR");
    const double data = callNumber("H5Dcreate", file, "d", "H5T_NATIVE_DOUBLE", space, kDefault);
    if (!call("H5close").empty()) return 1;
    for (const double id : {file, space, data}) {
      if (callNumber("H5Iis_valid", id) != 0) return 2;
    }
    call("H5open");
    const double again = callNumber("H5Fopen", path, "H5F_ACC_RDONLY", kDefault);
    if (callNumber("H5Fget_obj_count", again, "H5F_OBJ_ALL") != 1) return 3;
    call("H5Dclose", callNumber("H5Dopen", again, "d"));
    call("H5Fclose", again);
    return 0;
  };
  EXPECT_EXIT(std::exit(closeAndReopen()), testing::ExitedWithCode(0), "");
}

// What HDF5 does not survive by itself: files of files, and lists that name them.
TEST(LibraryDeathTest, ClosesFilesOfFiles) {
  const std::string path = temporaryPath();
  const auto closeAll = [&] {
    for (const bool split : {true, false}) {
      const double list = callNumber("H5Pcreate", "H5P_FILE_ACCESS");
      if (split) {
        call("H5Pset_fapl_split", list, "-m", kDefault, "-r", kDefault);
      } else {
        call("H5Pset_fapl_multi", list, true);
      }
      const double file = callNumber("H5Fcreate", path, "H5F_ACC_TRUNC", kDefault, list);
      callNumber("H5Gcreate", file, "g", 0);
      callNumber("H5Pcopy", list);
      callNumber("H5Fget_access_plist", file);
      if (!call("H5close").empty()) return 1;
      if (callNumber("H5Iis_valid", list) != 0 || callNumber("H5Iis_valid", file) != 0) return 2;
    }
    return 0;
  };
  EXPECT_EXIT(std::exit(closeAll()), testing::ExitedWithCode(0), "");
}

}  // namespace
