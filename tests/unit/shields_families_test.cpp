// Families of files that cannot grow, because the process may open no more files.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/resource_limits.hpp"
#include "tests/unit/stored.hpp"

namespace {

using namespace h5test;

constexpr int kMemberSize = 4096;
constexpr int kMoreThanFits = 1 << 20;

TEST(Families, ThatCouldNotGrowKillHdf5WhenTheyAreMeasured) {
  EXPECT_TRUE(kills([] {
    const FewFiles few;
    const hid_t list = H5Pcreate(H5P_FILE_ACCESS);
    H5Pset_fapl_family(list, kMemberSize, H5P_DEFAULT);
    const hid_t file =
        H5Fcreate(temporaryPath("kills%d").c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, list);
    H5Gcreate1(file, "g", kMoreThanFits);
    hsize_t size = 0;
    H5Fget_filesize(file, &size);
  }));
}

void growMeasureAndOpen() {
  const Owned list = familyOf(kMemberSize);
  const std::string path = temporaryPath("grows%d");
  const Owned plain = createFile(temporaryPath("plain"));
  const Numbers values = ramp(300);
  {
    const Owned file = createFile(path, "H5F_ACC_TRUNC", list);
    writeDoubles(file, "d", values);
    {
      const FewFiles few;
      expectStack(failureOf("H5Gcreate", {file, "g", kMoreThanFits}));
    }
    expectStack(failureOf("H5Fget_filesize", {file}));
    expectStack(failureOf("H5Fopen", {path, "H5F_ACC_RDWR", list}));
    EXPECT_GT(callNumber("H5Fget_filesize", plain), 0);
    makeGroup(file, "g");
    EXPECT_EQ(readDoubles(file, "d"), values);
  }
  const Owned file = openFile(path, "H5F_ACC_RDWR", list);
  EXPECT_GT(callNumber("H5Fget_filesize", file), 300 * 8);
  EXPECT_EQ(readDoubles(file, "d"), values);
  make("H5Gopen", file, "g");
}

TEST(Families, ThatCouldNotGrowAreMeasuredAndOpenedOnceTheyAreClosed) {
  tryAlone(growMeasureAndOpen);  // HDF5 never frees a file of which a group is half made
}

// --- Groups that were given up half made ---------------------------------------------------

void closeLibraryBehindHalfMadeGroups() {
  for (int i = 0; i < 3; ++i) {
    const std::string name = std::to_string(i) + "-%d";
    {
      const Owned list = familyOf(kMemberSize);
      const Owned file = createFile(temporaryPath(name), "H5F_ACC_TRUNC", list);
      const FewFiles few;
      expectStack(failureOf("H5Gcreate", {file, "g", kMoreThanFits}));
    }
    call("H5close");
    const Owned list = familyOf(kMemberSize);
    const Owned file = createFile(temporaryPath("other" + name), "H5F_ACC_TRUNC", list);
    writeDoubles(file, "d", ramp(30));
    EXPECT_EQ(readDoubles(file, "d"), ramp(30));
  }
}

TEST(HalfMadeGroups, LeaveTheLibraryWorking) { tryAlone(closeLibraryBehindHalfMadeGroups); }

TEST(HalfMadeGroups, KillHdf5OrKeepItFromMakingFilesOnceItWasClosed) {
  const auto again = [] {
    for (int i = 0; i < 8; ++i) {
      const std::string path = temporaryPath("kills" + std::to_string(i) + "-%d");
      const hid_t list = H5Pcreate(H5P_FILE_ACCESS);
      H5Pset_fapl_family(list, kMemberSize, H5P_DEFAULT);
      const hid_t file = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, list);
      if (file < 0 && i > 0) std::abort();
      if (file < 0) return;
      {
        const FewFiles few;
        H5Gcreate1(file, "g", kMoreThanFits);
      }
      H5Fclose(file);
      H5Pclose(list);
      H5close();
      H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
    }
  };
  if constexpr (hdf5::kSince110 && !hdf5::kSince112) {
    EXPECT_TRUE(kills(again));
  } else {
    GTEST_SKIP() << "1.10 dies of it; of other releases it is not known";
  }
}

}  // namespace
