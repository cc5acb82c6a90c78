// Files: creating, opening, mounting them, and what can be asked of one.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "hdf5/compat.hpp"
#include "hdf5/handle.hpp"
#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/complaints.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/strangers.hpp"
#include "tests/unit/structures.hpp"

namespace {

using namespace h5test;

// --- Creating ------------------------------------------------------------------------

TEST(FileCreation, TakesFlagsByNameAndByNumber) {
  const std::string path = temporaryPath();
  for (const Argument& flags : Arguments{"H5F_ACC_TRUNC", 2, 2.9, "H5F_ACC_TRUNC"}) {
    EXPECT_EQ(callNumber("H5Iget_type", createFile(path, flags)), H5I_FILE);
  }
  expectLibraryError("H5Fcreate", path, "H5F_ACC_EXCL", kDefault, kDefault);
  expectLibraryError("H5Fcreate", path, 4, kDefault, kDefault);
  std::filesystem::remove(path);
  EXPECT_EQ(callNumber("H5Iget_type", createFile(path, "H5F_ACC_EXCL")), H5I_FILE);
}

TEST(FileCreation, TakesAnyConstantForFlags) {
  const std::string path = temporaryPath();
  // 0, 1, -1 and 4: no flags, flags that creation does not know, and exclusive.
  EXPECT_EQ(callNumber("H5Iget_type", createFile(path, "H5S_ALL")), H5I_FILE);
  expectLibraryError("H5Fcreate", path, "H5F_ACC_RDWR", kDefault, kDefault);
  expectLibraryError("H5Fcreate", path, "HADDR_UNDEF", kDefault, kDefault);
  std::filesystem::remove(path);
  EXPECT_EQ(callNumber("H5Iget_type", createFile(path, "H5F_OBJ_GROUP")), H5I_FILE);
}

TEST(FileCreation, ComplainsOfFlagsThatAreNone) {
  for (const std::string name : {"", "h5f_acc_trunc", "H5F_ACC_TRUNC|H5F_ACC_EXCL", "2"}) {
    expectRaises("constantNotFound", {name}, "H5Fcreate", "f.h5", name, kDefault, kDefault);
  }
  for (const Argument& flags : Arguments{-1, 4294967296.0, kNaN, empty(), cell({})}) {
    expectRaises("scalarValueInputOutOfRange", {}, "H5Fcreate", "f.h5", flags.array, kDefault,
                 kDefault);
  }
}

TEST(FileCreation, ComplainsOfInputsFromLeftToRight) {
  expectComplaints("H5Fcreate", {textInput("file name"), scalarInput(),
                                 classInput("file creation property list"),
                                 classInput("file access property list")});
}

TEST(FileCreation, TakesListsAndNoClasses) {
  const std::string path = temporaryPath();
  const Owned creation = makeList("H5P_FILE_CREATE");
  const Owned access = makeList("H5P_FILE_ACCESS");
  H5Pset_userblock(creation.get(), 1024);
  H5Pset_fclose_degree(access.get(), H5F_CLOSE_STRONG);
  make("H5Fcreate", path, "H5F_ACC_TRUNC", creation, access);
  EXPECT_EQ(readBytes(path).at(1024), '\x89');
  expectLibraryError("H5Fcreate", path, "H5F_ACC_TRUNC", "H5P_FILE_CREATE", kDefault);
  expectLibraryError("H5Fcreate", path, "H5F_ACC_TRUNC", access, kDefault);
  const Owned space = scalarSpace();
  expectLibraryError("H5Fcreate", path, "H5F_ACC_TRUNC", space, kDefault);
  expectLibraryError("H5Fcreate", path, "H5F_ACC_TRUNC", kDefault, space);
}

TEST(FileCreation, FailsWhereThereIsNoFolder) {
  expectLibraryError("H5Fcreate", temporaryPath() + ".none/f.h5", "H5F_ACC_TRUNC", kDefault,
                     kDefault);
  expectLibraryError("H5Fcreate", "", "H5F_ACC_TRUNC", kDefault, kDefault);
}

// --- Opening -------------------------------------------------------------------------

TEST(FileOpening, TakesReadOnlyAndReadWriteByNameAndByNumber) {
  const std::string path = temporaryPath();
  createFile(path);
  const std::vector<std::pair<Argument, bool>> cases = {
      {"H5F_ACC_RDWR", true}, {"H5F_ACC_RDONLY", false}, {1, true}, {0, false}, {1.9, true},
      {-0.9, false},          {row({1, 0}), true}};
  for (const auto& [flags, writable] : cases) {
    const Owned file = openFile(path, flags);
    const hdf5::Handle<H5Gclose> group(
        H5Gcreate2(file.get(), "g", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    EXPECT_EQ(group.valid(), writable);
    if (writable) H5Ldelete(file.get(), "g", H5P_DEFAULT);
  }
}

TEST(FileOpening, ComplainsOfOtherFlags) {
  const std::string flags = "flags";
  for (const std::string name : {"H5F_ACC_TRUNC", "H5F_ACC_EXCL", "H5F_ACC_CREAT", "",
                                 "H5F_ACC_RDWR ", "h5f_acc_rdonly", "H5P_DEFAULT", "0"}) {
    expectRaises("unmatchedString", {name, flags}, "H5Fopen", "f.h5", name, kDefault);
  }
  for (const Value& stranger : strangers()) {
    expectRaises("notDoublePrecision", {flags}, "H5Fopen", "f.h5", stranger, kDefault);
  }
  expectRaises("notDoublePrecision", {flags}, "H5Fopen", "f.h5", identifier(1), kDefault);
  for (const Argument& number : Arguments{-1, 4294967296.0, kNaN, empty()}) {
    expectRaises("scalarValueInputOutOfRange", {}, "H5Fopen", "f.h5", number.array, kDefault);
  }
}

TEST(FileOpening, ComplainsOfInputsFromLeftToRight) {
  expectComplaints("H5Fopen", {textInput("file name"), scalarInput(),
                               identifierInput(kDefault, "access identifier")});
}

TEST(FileOpening, TakesNoListByItsClass) {
  expectRaises("unmatchedHidtString",
               {std::string("H5P_FILE_ACCESS"), std::string("access identifier")}, "H5Fopen",
               "f.h5", 0, "H5P_FILE_ACCESS");
}

TEST(FileOpening, FailsWhereThereIsNoHdf5File) {
  const std::string text = temporaryPath("text.h5");
  writeBytes(text, "no HDF5 file, but long enough to be looked at: " + std::string(4096, '.'));
  for (const std::string& path : {text, temporaryPath("absent.h5"), std::string()}) {
    expectLibraryError("H5Fopen", path, "H5F_ACC_RDONLY", kDefault);
    expectLibraryError("H5Fopen", path, "H5F_ACC_RDWR", kDefault);
  }
  // HDF5 takes an empty file for a new one, unless it may not write to it.
  writeBytes(temporaryPath("empty.h5"), "");
  expectLibraryError("H5Fopen", temporaryPath("empty.h5"), "H5F_ACC_RDONLY", kDefault);
}

TEST(FileOpening, FailsOnTruncatedAndCorruptFiles) {
  const std::string whole = temporaryPath("whole.h5");
  makeDataset(createFile(whole), "d");
  const std::string bytes = readBytes(whole);
  const std::string path = temporaryPath("part.h5");
  for (const std::size_t kept : {std::size_t{8}, std::size_t{60}, bytes.size() / 2}) {
    writeBytes(path, bytes.substr(0, kept));
    expectLibraryError("H5Fopen", path, "H5F_ACC_RDONLY", kDefault);
  }
  std::string corrupt = bytes;
  std::fill(corrupt.begin() + 8, corrupt.begin() + 96, '\xEE');
  writeBytes(path, corrupt);
  expectLibraryError("H5Fopen", path, "H5F_ACC_RDONLY", kDefault);
  EXPECT_EQ(callNumber("H5Iget_type", openFile(whole)), H5I_FILE);
}

TEST(FileOpening, GivesIdentifiersOfTheirOwn) {
  const std::string path = temporaryPath();
  const Owned first = createFile(path);
  const Owned second = make("H5Freopen", first);
  const Owned third = openFile(path, "H5F_ACC_RDWR");
  EXPECT_NE(first.id(), second.id());
  EXPECT_NE(first.id(), third.id());
  makeGroup(first, "g");
  for (const Owned* file : {&first, &second, &third}) {
    EXPECT_GT(H5Lexists(file->get(), "g", H5P_DEFAULT), 0);
    EXPECT_EQ(callText("H5Fget_name", *file), path);
  }
}

TEST(FileClosing, EndsTheIdentifier) {
  const double file = createFile(temporaryPath()).id();
  EXPECT_EQ(callNumber("H5Iis_valid", file), 0);
  const double open = callNumber("H5Fcreate", temporaryPath(), "H5F_ACC_TRUNC", kDefault, kDefault);
  EXPECT_TRUE(call("H5Fclose", open).empty());
  expectLibraryError("H5Fclose", open);
}

// --- What every function of one identifier refuses -----------------------------------

TEST(FileFunctions, CallTheirFirstInputAFileOrAnObject) {
  for (const char* name :
       {"H5Fclose", "H5Freopen", "H5Fget_access_plist", "H5Fget_create_plist", "H5Fget_filesize",
        "H5Fget_freespace", "H5Fget_mdc_config", "H5Fget_mdc_hit_rate", "H5Fget_mdc_size"}) {
    expectComplaints(name, {identifierInput(-1, "file identifier")});
  }
  for (const char* name : {"H5Fget_name", "H5Fget_info"}) {
    expectComplaints(name, {identifierInput(-1, "object identifier")});
  }
  expectComplaints("H5Fflush", {identifierInput(-1, "object identifier"), enumInputOf(2)});
  expectComplaints("H5Funmount",
                   {identifierInput(-1, "file identifier"), textInput("mount point")});
  expectComplaints("H5Fmount",
                   {identifierInput(-1, "file identifier"), textInput("mount point"),
                    identifierInput(-1, "child identifier"), classInput("mount property list")});
}

TEST(FileFunctions, FailOnIdentifiersOfNoFile) {
  const Owned space = nullSpace();
  for (const Argument& none : Arguments{-1, 0, 1e10, space}) {
    for (const char* name :
         {"H5Fclose", "H5Freopen", "H5Fget_access_plist", "H5Fget_create_plist", "H5Fget_filesize",
          "H5Fget_info", "H5Fget_mdc_config", "H5Fget_mdc_hit_rate", "H5Fget_mdc_size"}) {
      expectLibraryError(name, none.array);
    }
    expectLibraryError("H5Fflush", none.array, "H5F_SCOPE_LOCAL");
    expectLibraryError("H5Fmount", none.array, "g", none.array, kDefault);
    expectLibraryError("H5Funmount", none.array, "g");
    expectLibraryError("H5Fget_obj_ids", none.array, "H5F_OBJ_ALL", 10);
  }
}

TEST(FileFunctions, GiveSomeFailuresAsResults) {
  EXPECT_EQ(callNumber("H5Fget_freespace", -1), -1);
  EXPECT_EQ(callNumber("H5Fget_obj_count", -1, "H5F_OBJ_ALL"), -1);
  const Value name = result("H5Fget_name", -1);
  EXPECT_EQ(classOf(name), zbClass::Char);
  EXPECT_EQ(zbGetNumberOfElements(name.get()), 0U);
}

// --- Asking --------------------------------------------------------------------------

TEST(FileQueries, TellHdf5FilesFromOthers) {
  const std::string path = temporaryPath();
  EXPECT_EQ(callNumber("H5Fis_hdf5", path), -1);
  writeBytes(path, std::string(2000, 'x'));
  EXPECT_EQ(callNumber("H5Fis_hdf5", path), 0);
  createFile(path);
  EXPECT_EQ(callNumber("H5Fis_hdf5", path), 1);
  expectComplaints("H5Fis_hdf5", {textInput("file name")});
}

TEST(FileQueries, GiveTheFileNameOfEveryObject) {
  const std::string path = temporaryPath("\xc3\xbc and " + std::string(200, 'n') + ".h5");
  const Owned file = createFile(path);
  const Owned dataset = makeDataset(file, "d");
  EXPECT_EQ(callText("H5Fget_name", file), path);
  EXPECT_EQ(callText("H5Fget_name", dataset), path);
  const Owned type = make("H5Tcopy", "H5T_NATIVE_INT");
  EXPECT_EQ(zbGetNumberOfElements(result("H5Fget_name", type).get()), 0U);
}

TEST(FileQueries, GiveTheSizeOnDisk) {
  const std::string path = temporaryPath();
  const Owned file = createFile(path);
  makeGroup(file, "g");
  call("H5Fflush", file, "H5F_SCOPE_GLOBAL");
  EXPECT_EQ(callNumber("H5Fget_filesize", file),
            static_cast<double>(std::filesystem::file_size(path)));
  EXPECT_EQ(callNumber("H5Fget_freespace", file),
            static_cast<double>(H5Fget_freespace(file.get())));
}

TEST(FileQueries, GiveTheInformationRecord) {
  const Owned creation = makeList("H5P_FILE_CREATE");
  const Owned access = makeList("H5P_FILE_ACCESS");
  // Shared messages have an index and a table, which the extension points to.
  H5Pset_shared_mesg_nindexes(creation.get(), 1);
  H5Pset_shared_mesg_index(creation.get(), 0, H5O_SHMESG_ALL_FLAG, 10);
  const Owned file = make("H5Fcreate", temporaryPath(), "H5F_ACC_TRUNC", creation, access);
  makeDataset(file, "d");
  hdf5::FileInfo info{};
  ASSERT_GE(hdf5::getFileInfo(file.get(), &info), 0);
  ASSERT_GT(info.super_ext_size, 0U);
  ASSERT_GT(info.sohm.hdr_size, 0U);
  const Value record = result("H5Fget_info", file);
  const Value messages = field(record, "sohm");
  const Value sizes = field(messages, "msgs_info");
  EXPECT_EQ(fieldNumber(record, "super_ext_size"), static_cast<double>(info.super_ext_size));
  EXPECT_EQ(fieldNumber(messages, "hdr_size"), static_cast<double>(info.sohm.hdr_size));
  EXPECT_EQ(fieldNumber(sizes, "index_size"), static_cast<double>(info.sohm.msgs_info.index_size));
  EXPECT_EQ(fieldNumber(sizes, "heap_size"), static_cast<double>(info.sohm.msgs_info.heap_size));
  EXPECT_EQ(fieldNames(record), (Names{"super_ext_size", "sohm"}));
  EXPECT_EQ(fieldNames(messages), (Names{"hdr_size", "msgs_info"}));
  EXPECT_EQ(fieldNames(sizes), (Names{"index_size", "heap_size"}));
}

TEST(FileQueries, GiveCopiesOfTheLists) {
  const MemoryFile file;
  const Owned creation = make("H5Fget_create_plist", file);
  const Owned access = make("H5Fget_access_plist", file);
  EXPECT_GT(H5Pisa_class(creation.get(), H5P_FILE_CREATE), 0);
  EXPECT_GT(H5Pisa_class(access.get(), H5P_FILE_ACCESS), 0);
  EXPECT_EQ(H5Pget_driver(access.get()), H5FD_CORE);
}

TEST(FileQueries, GiveWhatTheCacheMeasures) {
  const MemoryFile file;
  const hid_t id = file.get();
  const Owned group = makeGroup(file, "g");
  double rate = -1;
  std::size_t most = 0, least = 0, current = 0;
  int entries = 0;
  ASSERT_GE(H5Fget_mdc_size(id, &most, &least, &current, &entries), 0);
  EXPECT_EQ(callNumbers("H5Fget_mdc_size", file),
            (Numbers{static_cast<double>(most), static_cast<double>(least),
                     static_cast<double>(current), static_cast<double>(entries)}));
  EXPECT_EQ(call("H5Fget_mdc_size", file).size(), 4U);
  EXPECT_GT(entries, 0);
  ASSERT_GE(H5Fget_mdc_hit_rate(id, &rate), 0);
  EXPECT_EQ(callNumber("H5Fget_mdc_hit_rate", file), rate);
  EXPECT_GT(rate, 0);
}

TEST(FileFlushing, WritesThroughAnyObject) {
  const std::string path = temporaryPath();
  const Owned file = createFile(path);
  const Owned group = makeGroup(file, "g");
  for (const Argument& scope : Arguments{"H5F_SCOPE_LOCAL", "H5F_SCOPE_GLOBAL", 0, 1.9}) {
    EXPECT_TRUE(call("H5Fflush", file, scope.array).empty());
    EXPECT_TRUE(call("H5Fflush", group, scope.array).empty());
  }
  expectRaises("badEnumNumericInput", {std::int64_t{2}, std::int64_t{2}}, "H5Fflush", file, 2);
  expectRaises("unmatchedStringNoParam", {std::string("H5F_SCOPE_DOWN")}, "H5Fflush", file,
               "H5F_SCOPE_DOWN");
}

// --- Open objects --------------------------------------------------------------------

/// A file with two groups, a dataset, a committed datatype and an attribute open.
class OpenObjects : public testing::Test {
 protected:
  MemoryFile file;
  Owned first = makeGroup(file, "a");
  Owned second = makeGroup(file, "b");
  Owned dataset = makeDataset(file, "d");
  Owned type = make("H5Tcopy", "H5T_NATIVE_INT");
  Owned space = scalarSpace();
  Owned attribute{
      H5Acreate2(dataset.get(), "n", type.get(), space.get(), H5P_DEFAULT, H5P_DEFAULT)};

  void SetUp() override { call("H5Tcommit", file, "t", type); }

  static Numbers sorted(Numbers ids) {
    std::sort(ids.begin(), ids.end());
    return ids;
  }
};

TEST_F(OpenObjects, AreCountedByKind) {
  const std::vector<std::pair<Argument, int>> cases = {{"H5F_OBJ_FILE", 1},
                                                       {"H5F_OBJ_DATASET", 1},
                                                       {"H5F_OBJ_GROUP", 2},
                                                       {"H5F_OBJ_ATTR", 1},
                                                       {"H5F_OBJ_DATATYPE", 1},
                                                       {"H5F_OBJ_ALL", 6},
                                                       {1, 1},
                                                       {2, 1},
                                                       {4, 2},
                                                       {6, 3},
                                                       {31, 6},
                                                       {32 + 4, 2},
                                                       {63, 6},
                                                       {4.9, 2}};
  for (const auto& [kinds, count] : cases) {
    EXPECT_EQ(callNumber("H5Fget_obj_count", file, kinds.array), count);
    EXPECT_EQ(numberOf(call("H5Fget_obj_ids", file, kinds.array, 100)[0]), count);
  }
}

TEST_F(OpenObjects, AreCountedOfThisIdentifierAloneByNumberOnly) {
  const Owned again = make("H5Freopen", file);
  EXPECT_EQ(callNumber("H5Fget_obj_count", again, 31), 7);
  EXPECT_EQ(callNumber("H5Fget_obj_count", again, 31 + 32), 1);
  for (const std::string name : {"H5F_OBJ_LOCAL", "h5f_obj_all", "H5F_OBJ_ALL ", "", "31"}) {
    expectRaises("badH5FobjectString", {name}, "H5Fget_obj_count", file, name);
    expectRaises("badH5FobjectString", {name}, "H5Fget_obj_ids", file, name, 10);
  }
}

TEST_F(OpenObjects, AreGivenInAColumn) {
  const Results results = call("H5Fget_obj_ids", file, "H5F_OBJ_GROUP", 10);
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(numberOf(results[0]), 2);
  EXPECT_EQ(shapeOf(results[1]), (Shape{2, 1}));
  EXPECT_EQ(sorted(numbersOf(results[1])), sorted({first.id(), second.id()}));
  const auto all = numbersOf(call("H5Fget_obj_ids", file, 31, 10)[1]);
  EXPECT_EQ(sorted(all),
            sorted({file.id(), first.id(), second.id(), dataset.id(), type.id(), attribute.id()}));
}

TEST_F(OpenObjects, AreNoMoreThanAskedFor) {
  const double huge = 2147483647;
  const std::vector<std::pair<double, double>> cases = {
      {0, 0}, {1, 1}, {1.9, 1}, {5, 5}, {6, 6}, {7, 6}, {huge, 6}, {-1, 0}, {-huge, 0}};
  for (const auto& [most, count] : cases) {
    const Results results = callWith(1, "H5Fget_obj_ids", {file, "H5F_OBJ_ALL", most});
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(numberOf(results[0]), count) << most;
    EXPECT_EQ(shapeOf(results[1]), (Shape{static_cast<std::size_t>(count), 1})) << most;
  }
}

TEST_F(OpenObjects, AreAskedForFromLeftToRight) {
  const Input kinds = {"H5F_OBJ_ALL",
                       {{"H5F_OBJ_LOCAL", "badH5FobjectString", {std::string("H5F_OBJ_LOCAL")}},
                        {-1, "scalarValueInputOutOfRange", {}},
                        {empty(), "scalarValueInputOutOfRange", {}}}};
  expectComplaints("H5Fget_obj_count", {identifierInput(file, "file identifier"), kinds});
  expectComplaints("H5Fget_obj_ids", {identifierInput(file, "file identifier"), kinds, intInput()});
}

// --- Mounting ------------------------------------------------------------------------

TEST(Mounting, ShowsTheChildBelowTheMountPoint) {
  const MemoryFile parent, child;
  makeGroup(parent, "point");
  makeGroup(child, "inside");
  const hid_t id = parent.get();
  EXPECT_TRUE(call("H5Fmount", parent, "point", child, kDefault).empty());
  EXPECT_GT(H5Lexists(id, "point/inside", H5P_DEFAULT), 0);
  expectLibraryError("H5Fmount", parent, "point", child, kDefault);
  EXPECT_TRUE(call("H5Funmount", parent, "point").empty());
  EXPECT_EQ(H5Lexists(id, "point/inside", H5P_DEFAULT), 0);
  expectLibraryError("H5Funmount", parent, "point");
}

TEST(Mounting, TakesAListOfItsClass) {
  const MemoryFile parent, child;
  makeGroup(parent, "point");
  const Owned list = makeList("H5P_FILE_MOUNT");
  call("H5Fmount", parent, "point", child, list);
  call("H5Funmount", parent, "point");
  expectLibraryError("H5Fmount", parent, "point", child, "H5P_FILE_MOUNT");
  expectLibraryError("H5Fmount", parent, "absent", child, kDefault);
  expectLibraryError("H5Fmount", parent, "point", parent, kDefault);
}

TEST(Mounting, InCirclesKillsHdf5) {
  const auto mountInCircles = [] {
    const MemoryFile outer, inner;
    makeGroup(outer, "point");
    makeGroup(inner, "point");
    const hid_t innerAgain = H5Freopen(inner.get());
    H5Fmount(outer.get(), "point", inner.get(), H5P_DEFAULT);
    H5Fmount(innerAgain, "point", H5Freopen(outer.get()), H5P_DEFAULT);
    H5Fget_obj_count(outer.get(), H5F_OBJ_ALL);
    H5Fflush(outer.get(), H5F_SCOPE_GLOBAL);
  };
  EXPECT_TRUE(kills(mountInCircles));
}

TEST(Mounting, MakesNoCircles) {
  const MemoryFile outer, inner, innermost;
  for (const MemoryFile* file : {&outer, &inner, &innermost}) makeGroup(*file, "point");
  makeGroup(outer, "other");
  call("H5Fmount", outer, "point", inner, kDefault);
  call("H5Fmount", inner, "point", innermost, kDefault);
  for (const MemoryFile* file : {&inner, &innermost}) {
    const Owned again = make("H5Freopen", *file);  // which nothing says is mounted
    const Owned outerAgain = make("H5Freopen", outer);
    makeGroup(again, "other");
    expectLibraryError("H5Fmount", again, "other", outerAgain, kDefault);
  }
  // One file in two places is no circle; nor is the other way round, once it has been taken out.
  const Owned twice = make("H5Freopen", innermost);
  call("H5Fmount", outer, "other", twice, kDefault);
  call("H5Funmount", outer, "other");
  call("H5Funmount", inner, "point");
  call("H5Funmount", outer, "point");
  call("H5Fmount", inner, "point", outer, kDefault);
  call("H5Funmount", inner, "point");
}

TEST(Mounting, TakesGroupsOnly) {
  const MemoryFile parent, child;
  makeDataset(parent, "data");
  makeSoftLink(parent, "data", "soft");
  expectLibraryError("H5Fmount", parent, "data", child, kDefault);
  {
    const Owned open = make("H5Dopen", parent, "data");
    expectLibraryError("H5Fmount", parent, "data", child, kDefault);
  }
  expectLibraryError("H5Fmount", parent, "soft", child, kDefault);
}

}  // namespace
