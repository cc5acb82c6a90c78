// File drivers at work: each creates, writes, closes, opens again and reads a file.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "tests/unit/failures.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/stored.hpp"

namespace {

using namespace h5test;
namespace fs = std::filesystem;

const char* const kAccess = "H5P_FILE_ACCESS";

/// A driver, the file that it is given, and the files that it makes of it.
struct Driver {
  std::string name;
  void (*choose)(const Owned& list);
  std::string file;
  std::vector<std::string> made;
};
void PrintTo(const Driver& driver, std::ostream* out) { *out << driver.name; }

void chooseMembers(const Owned& list, bool relax) {
  const Value names = cell({text("%s-m.h5"), text("%s-m.h5"), text("%s-m.h5"), text("%s-r.h5"),
                            text("%s-g.h5"), text("%s-m.h5"), text("%s-m.h5")});
  call("H5Pset_fapl_multi", list, row({1, 1, 1, 3, 4, 1, 1}), row({0, 0, 0, 0, 0, 0, 0}), names,
       row({0, 0, 0, 4503599627370496.0, 9007199254740992.0, 0, 0}), relax);
}

const Driver kDrivers[] = {
    {"sec2", [](const Owned& list) { call("H5Pset_fapl_sec2", list); }, "file.h5", {"file.h5"}},
    {"stdio", [](const Owned& list) { call("H5Pset_fapl_stdio", list); }, "file.h5", {"file.h5"}},
    {"core",
     [](const Owned& list) { call("H5Pset_fapl_core", list, 4096, true); },
     "file.h5",
     {"file.h5"}},
    {"log",
     [](const Owned& list) {
       call("H5Pset_fapl_log", list, temporaryPath("log"), constant("H5FD_LOG_LOC_IO"), 0);
     },
     "file.h5",
     {"file.h5", "log"}},
    {"family",
     [](const Owned& list) { call("H5Pset_fapl_family", list, 5120, kDefault); },
     "file%d.h5",
     {"file0.h5", "file1.h5", "file2.h5"}},
    {"split",
     [](const Owned& list) {
       call("H5Pset_fapl_split", list, "-meta.h5", kDefault, "-raw.h5", kDefault);
     },
     "file",
     {"file-meta.h5", "file-raw.h5"}},
    {"multi",
     [](const Owned& list) { chooseMembers(list, false); },
     "file",
     {"file-m.h5", "file-r.h5"}},
    {"multi_by_default",
     [](const Owned& list) { call("H5Pset_fapl_multi", list, true); },
     "file",
     {"file-s.h5", "file-r.h5"}},
};

class Drivers : public testing::TestWithParam<Driver> {
 protected:
  /// Writes a file and reads it again, each with a list of its own.
  static void expectKept(const std::string& path) {
    const Numbers values = ramp(1500);
    {
      const Owned list = makeList(kAccess);
      GetParam().choose(list);
      const Owned file = createFile(path, "H5F_ACC_TRUNC", list);
      writeDoubles(file, "values", values);
    }
    const Owned list = makeList(kAccess);
    GetParam().choose(list);
    const Owned file = openFile(path, "H5F_ACC_RDONLY", list);
    EXPECT_EQ(readDoubles(file, "values"), values);
    const Owned asked = make("H5Fget_access_plist", file);
    EXPECT_EQ(callNumber("H5Pget_driver", asked), callNumber("H5Pget_driver", list));
  }
};

INSTANTIATE_TEST_SUITE_P(, Drivers, testing::ValuesIn(kDrivers),
                         [](const auto& test) { return test.param.name; });

TEST_P(Drivers, KeepAFile) {
  expectKept(temporaryPath(GetParam().file));
  for (const std::string& made : GetParam().made) {
    EXPECT_TRUE(fs::exists(temporaryPath(made))) << made;
  }
}

/// Goes to a folder and back.
class WorkingFolder {
 public:
  explicit WorkingFolder(const fs::path& folder) : before_(fs::current_path()) {
    fs::current_path(folder);
  }
  ~WorkingFolder() { fs::current_path(before_); }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

 private:
  fs::path before_;
};

TEST_P(Drivers, FindTheirFilesBesideTheScript) {
  const WorkingFolder here(fs::path(temporaryPath("")).parent_path());
  expectKept(GetParam().file);
  for (const std::string& made : GetParam().made) EXPECT_TRUE(fs::exists(made)) << made;
}

TEST(CoreDriver, LeavesNoFileWithoutABackingStore) {
  const std::string path = temporaryPath();
  const Owned list = makeList(kAccess);
  call("H5Pset_fapl_core", list, 4096, false);
  {
    const Owned file = createFile(path, "H5F_ACC_TRUNC", list);
    writeDoubles(file, "values", ramp(1000));
    EXPECT_EQ(readDoubles(file, "values"), ramp(1000));
  }
  EXPECT_FALSE(fs::exists(path));
  expectLibraryError("H5Fopen", path, "H5F_ACC_RDONLY", list);
}

TEST(CoreDriver, ChangesAFileOnlyWithABackingStore) {
  const std::string path = temporaryPath();
  {
    const Owned file = createFile(path);
    writeDoubles(file, "values", ramp(1000));
  }
  for (const bool store : {false, true}) {
    const Owned list = makeList(kAccess);
    call("H5Pset_fapl_core", list, 4096, store);
    {
      const Owned file = openFile(path, "H5F_ACC_RDWR", list);
      EXPECT_EQ(readDoubles(file, "values"), ramp(1000));
      writeDoubles(file, "more", ramp(10));
    }
    const Owned file = openFile(path);
    EXPECT_EQ(callNumber("H5Lexists", file, "more", kDefault), store ? 1 : 0);
  }
}

TEST(FamilyDriver, HasMembersOfTheirSize) {
  const std::string path = temporaryPath("file%03d.h5");
  const Owned list = makeList(kAccess);
  call("H5Pset_fapl_family", list, 5120, kDefault);
  {
    const Owned file = createFile(path, "H5F_ACC_TRUNC", list);
    writeDoubles(file, "values", ramp(1500));
  }
  EXPECT_EQ(fs::file_size(temporaryPath("file000.h5")), 5120U);
  EXPECT_EQ(fs::file_size(temporaryPath("file001.h5")), 5120U);
  call("H5Pset_fapl_family", list, 8192, kDefault);
  expectLibraryError("H5Fopen", path, "H5F_ACC_RDONLY", list);
  // Size 0 takes what it finds.
  call("H5Pset_fapl_family", list, 0, kDefault);
  const Owned file = openFile(path, "H5F_ACC_RDONLY", list);
  EXPECT_EQ(readDoubles(file, "values"), ramp(1500));
}

TEST(FamilyDriver, HasMembersOfAnyDriver) {
  const Owned member = makeList(kAccess);
  call("H5Pset_fapl_stdio", member);
  const Owned list = makeList(kAccess);
  call("H5Pset_fapl_family", list, 5120, member);
  const Owned file = createFile(temporaryPath("file%d.h5"), "H5F_ACC_TRUNC", list);
  writeDoubles(file, "values", ramp(1500));
  EXPECT_EQ(readDoubles(file, "values"), ramp(1500));
}

/// HDF5 prints into the name as it stands.
TEST(FamilyDriver, TakesNoNameThatIsAFormatOfAnythingElse) {
  const Owned list = makeList(kAccess);
  call("H5Pset_fapl_family", list, 5120, kDefault);
  for (const char* name : {"%s.h5", "%n", "%d-%d.h5", "%", "%5", "%1000d", "%5%d.h5", "plain.h5"}) {
    expectLibraryError("H5Fcreate", temporaryPath(name), "H5F_ACC_TRUNC", kDefault, list);
    expectLibraryError("H5Fopen", temporaryPath(name), "H5F_ACC_RDONLY", list);
  }
  const Owned file = createFile(temporaryPath("100%%-%02u.h5"), "H5F_ACC_TRUNC", list);
  EXPECT_TRUE(fs::exists(temporaryPath("100%-00.h5")));
}

TEST(SplitDriver, KeepsMetadataAndRawDataApart) {
  const std::string path = temporaryPath("file");
  const Owned list = makeList(kAccess);
  call("H5Pset_fapl_split", list, "-meta.h5", kDefault, "%s-raw.h5", kDefault);
  {
    const Owned file = createFile(path, "H5F_ACC_TRUNC", list);
    writeDoubles(file, "values", ramp(1500));
  }
  EXPECT_GE(fs::file_size(temporaryPath("file-raw.h5")), 1500U * sizeof(double));
  EXPECT_LT(fs::file_size(temporaryPath("file-meta.h5")), 1500U * sizeof(double));
  EXPECT_EQ(callNumber("H5Fis_hdf5", temporaryPath("file-meta.h5")), 1);
}

TEST(MultiDriver, MissesNoMemberUnlessItIsRelaxed) {
  const std::string path = temporaryPath("file");
  {
    const Owned list = makeList(kAccess);
    chooseMembers(list, true);
    const Owned file = createFile(path, "H5F_ACC_TRUNC", list);
    writeDoubles(file, "values", ramp(1500));
  }
  fs::remove(temporaryPath("file-r.h5"));
  for (const bool relax : {true, false}) {
    const Owned list = makeList(kAccess);
    chooseMembers(list, relax);
    if (relax) {
      const Owned file = openFile(path, "H5F_ACC_RDONLY", list);
      EXPECT_EQ(callNumber("H5Lexists", file, "values", kDefault), 1);
    } else {
      expectLibraryError("H5Fopen", path, "H5F_ACC_RDONLY", list);
    }
  }
}

// --- Log driver ----------------------------------------------------------------------

/// What one flag makes the log say, and no other flag does.
struct LogFlag {
  const char* name = nullptr;
  const char* words =
      nullptr;            // nothing where HDF5 would need a table of every byte, see LogTables
  bool since187 = false;  // 1.8.6 takes the flag and logs nothing
  [[nodiscard]] bool logs() const { return *words != '\0' && (hdf5::kSince187 || !since187); }
  [[nodiscard]] bool isIn(const std::string& log) const {
    return *words != '\0' && log.find(words) != std::string::npos;
  }
};
constexpr LogFlag kLogFlags[] = {
    {"H5FD_LOG_LOC_READ", ") Read"},
    {"H5FD_LOG_LOC_WRITE", ") Written"},
    {"H5FD_LOG_FILE_READ", ""},
    {"H5FD_LOG_FILE_WRITE", ""},
    {"H5FD_LOG_FLAVOR", ""},
    {"H5FD_LOG_NUM_READ", "Total number of read", true},
    {"H5FD_LOG_NUM_WRITE", "Total number of write", true},
    {"H5FD_LOG_NUM_SEEK", "Total number of seek", true},
    {"H5FD_LOG_TIME_OPEN", "Open took", true},
    {"H5FD_LOG_TIME_READ", "Total time in read", true},
    {"H5FD_LOG_TIME_WRITE", "Total time in write", true},
    {"H5FD_LOG_TIME_SEEK", "Total time in seek", true},
    {"H5FD_LOG_TIME_CLOSE", "Close took"},
    {"H5FD_LOG_ALLOC", "Allocated"},
};

/// What the log says of a file that is opened, changed and closed.
std::string logOf(double flags) {
  const std::string path = temporaryPath();
  { const Owned file = createFile(path); }
  fs::remove(temporaryPath("log"));
  const Owned list = makeList(kAccess);
  call("H5Pset_fapl_log", list, temporaryPath("log"), flags, 1 << 20);
  {
    const Owned file = openFile(path, "H5F_ACC_RDWR", list);
    writeDoubles(file, "values", ramp(1500));
  }
  return readBytes(temporaryPath("log"));
}

TEST(LogDriver, KeepsTheMeaningOfEveryFlag) {
  for (const LogFlag& asked : kLogFlags) {
    const std::string log = logOf(constant(asked.name));
    for (const LogFlag& flag : kLogFlags) {
      EXPECT_EQ(flag.isIn(log), &flag == &asked && asked.logs())
          << asked.name << " and \"" << flag.words << "\":\n"
          << log;
    }
  }
}

TEST(LogDriver, TakesFlagsTogether) {
  const std::string all = logOf(constant("H5FD_LOG_ALL"));
  for (const LogFlag& flag : kLogFlags) EXPECT_EQ(flag.isIn(all), flag.logs()) << flag.name;
  const std::string numbers = logOf(constant("H5FD_LOG_NUM_IO"));
  for (const LogFlag& flag : kLogFlags) {
    const bool isNumber = std::string(flag.name).find("_NUM_") != std::string::npos;
    EXPECT_EQ(flag.isIn(numbers), isNumber && flag.logs()) << flag.name;
  }
  // Bits without a name mean nothing.
  EXPECT_EQ(logOf(32768 + 65536 + 2147483648.0), "");
}

TEST(LogTables, AreNotKeptForNobodyKnowsTheirSize) {
  for (const char* table : {"H5FD_LOG_FILE_READ", "H5FD_LOG_FILE_WRITE", "H5FD_LOG_FLAVOR"}) {
    const Owned list = makeList(kAccess);
    call("H5Pset_fapl_log", list, temporaryPath("log"), constant(table), 1);
    {
      const Owned file = createFile(temporaryPath(), "H5F_ACC_TRUNC", list);
      writeDoubles(file, "values", ramp(1000000));
    }
    EXPECT_EQ(readBytes(temporaryPath("log")).find("Dumping"), std::string::npos) << table;
  }
}

// --- Files that others made ----------------------------------------------------------

class SharedFiles : public testing::Test {
 protected:
  void SetUp() override {
    const char* folder = std::getenv("H5GATE_SHARED_DATA");
    folder_ = folder == nullptr ? "" : folder;
    if (!fs::exists(folder_ / "tsplit_file-m.h5")) {
      GTEST_SKIP() << "no sample files in '" << folder_.string()
                   << "'; H5GATE_SHARED_DATA names their folder";
    }
  }
  [[nodiscard]] std::string path(const char* name) const { return (folder_ / name).string(); }

 private:
  fs::path folder_;
};

TEST_F(SharedFiles, OfAFamily) {
  const Owned list = makeList(kAccess);
  call("H5Pset_fapl_family", list, 5120, kDefault);
  const Owned file = openFile(path("family_v16_%05d.h5"), "H5F_ACC_RDONLY", list);
  EXPECT_GT(callNumber("H5Fget_filesize", file), 3 * 5120);
  EXPECT_GE(callNumber("H5Gget_num_objs", file), 1);
}

TEST_F(SharedFiles, OfASplitFile) {
  const Owned list = makeList(kAccess);
  call("H5Pset_fapl_split", list, "-m.h5", kDefault, "-r.h5", kDefault);
  const Owned file = openFile(path("tsplit_file"), "H5F_ACC_RDONLY", list);
  EXPECT_GE(callNumber("H5Gget_num_objs", file), 1);
}

}  // namespace
