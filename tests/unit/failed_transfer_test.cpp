// Reading and writing that fails: broken files, and data that no memory can hold.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/open_identifiers.hpp"
#include "tests/unit/transfers.hpp"

namespace {

using namespace h5test;

/// A file with a checksummed dataset of 1000 bytes that count from 0.
class DiskFile {
 public:
  DiskFile() : path_(temporaryPath("data.h5")) {
    for (int i = 0; i < 1000; ++i) content_.push_back(static_cast<char>(i));
    const Owned file = createFile(path_);
    const Owned list = chunked({1000});
    call("H5Pset_fletcher32", list);
    const Owned dataset = makeDataset(file, "data", "H5T_STD_U8LE", makeSpace({1000}), list);
    H5Dwrite(dataset.get(), H5T_NATIVE_UCHAR, H5S_ALL, H5S_ALL, H5P_DEFAULT, content_.data());
  }

  [[nodiscard]] const std::string& path() const { return path_; }
  void spoilData() const { damage(path_, content_, 500); }
  [[nodiscard]] Owned open() const { return openFile(path_); }
  [[nodiscard]] Failure failureToOpen() const {
    return failureOf("H5Fopen", {path_, "H5F_ACC_RDONLY", kDefault});
  }

 private:
  std::string path_;
  std::string content_;
};

TEST(BrokenFile, WithASpoiledChunkIsALibraryErrorUnlessTheListAllowsIt) {
  const DiskFile disk;
  disk.spoilData();
  const Owned file = disk.open();
  const Owned dataset = make("H5Dopen", file, "data");
  expectStack(failureOf("H5Dread", {dataset, kChosen, kAll, kAll, kDefault}));
  const Owned list = makeList("H5P_DATASET_XFER");
  expectStack(failureOf("H5Dread", {dataset, kChosen, kAll, kAll, list}));
  H5Pset_edc_check(list.get(), H5Z_DISABLE_EDC);
  EXPECT_EQ(numbersOf(result("H5Dread", dataset, kChosen, kAll, kAll, list))[501], 501 % 256);
}

TEST(BrokenFile, CutToAnyLengthIsALibraryError) {
  const DiskFile disk;
  const std::string whole = readBytes(disk.path());
  for (std::size_t length = 0; length < whole.size(); length += 97) {
    writeBytes(disk.path(), whole.substr(0, length));
    expectStack(disk.failureToOpen());
  }
  writeBytes(disk.path(), whole);
  EXPECT_EQ(numbersOf(readAll(make("H5Dopen", disk.open(), "data"))).size(), 1000U);
}

TEST(BrokenFile, OfAnotherFormatIsALibraryError) {
  const DiskFile disk;
  std::string whole = readBytes(disk.path());
  whole[1] = 'h';
  for (const std::string& bytes :
       {std::string(5000, 'x'), whole, std::string("wind,speed\n1,2\n")}) {
    writeBytes(disk.path(), bytes);
    expectStack(disk.failureToOpen());
  }
  std::filesystem::remove(disk.path());
  expectStack(disk.failureToOpen());
}

TEST(FileOpenForReading, TakesNoDataAndLeavesTheStackThatSaysSo) {
  const DiskFile disk;
  const Owned file = disk.open();
  const Owned dataset = make("H5Dopen", file, "data");
  expectStack(
      failureOf("H5Dwrite", {dataset, kChosen, kAll, kAll, kDefault, row(Numbers(1000, 1))}));
}

TEST(FailedTransfer, LeavesHdf5sStackAndNoIdentifiers) {
  const DiskFile disk;
  disk.spoilData();
  const Owned file = disk.open();
  const Owned dataset = make("H5Dopen", file, "data");
  const Owned space = makeSpace({1000});
  const Owned small = makeSpace({7});
  const std::size_t before = openIdentifiers();
  const std::vector<Arguments> calls = {{dataset, kChosen, kAll, kAll, kDefault},
                                        {dataset, "H5T_NATIVE_INT", space, space, kDefault},
                                        {dataset, kChosen, kAll, kAll, "H5P_DATASET_XFER"},
                                        {dataset, kChosen, small, kAll, kDefault}};
  for (const Arguments& arguments : calls) expectStack(failureOf("H5Dread", arguments));
  EXPECT_EQ(openIdentifiers(), before);
}

TEST(FailedTransfer, IsAnErrorWhereMemoryCannotHoldTheData) {
  const MemoryFile file;
  const Owned list = chunked({1, 1, 1});
  int count = 0;
  // Counts that wrap around, bytes that do, and bytes that no machine has.
  for (const Value& extent : {row({4294967296, 2147483648, 2}), row({2147483648, 1073741824, 1}),
                              row({4294967296, 262144, 1})}) {
    const Owned space = make("H5Screate_simple", 3, extent, empty());
    const Owned dataset =
        makeDataset(file, std::to_string(++count), "H5T_NATIVE_DOUBLE", space, list);
    for (const char* type : {kChosen, "H5T_NATIVE_DOUBLE"}) {
      expectHostError("H5Dread", dataset, type, kAll, kAll, kDefault);
      EXPECT_TRUE(failureOf("H5Dwrite", {dataset, type, kAll, kAll, kDefault, 1}));
    }
  }
}

TEST(ImmenseDataset, GivesAndTakesSomeOfItsElements) {
  const MemoryFile file;
  const Owned list = chunked({1, 1});
  const Owned space = makeSpace({4294967296, 1073741824});
  const Owned dataset = makeDataset(file, "data", "H5T_NATIVE_INT", space, list);
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({4294967295, 1073741823, 5, 5}));
  const Owned memory = makeSpace({2});
  writeTo(dataset, memory, space, row({3, 4}));
  EXPECT_EQ(numbersOf(readFrom(dataset, memory, space)), (Numbers{3, 4}));
}

}  // namespace
