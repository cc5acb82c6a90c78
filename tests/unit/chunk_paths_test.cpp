// Whose chunks are whose: what threads of a call take on, and what stays with HDF5.
#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>
#include <vector>

#include "hdf5/handle.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/selections.hpp"
#include "tests/unit/stored_chunk_calls.hpp"
#include "tests/unit/transfers.hpp"

namespace {

using namespace h5test;

constexpr hsize_t kRows = 800;
constexpr hsize_t kColumns = 300;
constexpr hsize_t kChunkRows = 80;
constexpr int kChunks = 10;
constexpr std::size_t kChunkBytes = kChunkRows * kColumns * sizeof(double);

/// A dataset of 800 by 300 doubles in ten chunks, and a chunk cache that none fits into.
class ChunkPaths : public testing::Test {
 protected:
  void SetUp() override {
    if (!hdf5::kRawChunks) GTEST_SKIP() << "this release has no calls for stored chunks";
    useThreads("3");
    const hsize_t chunk[] = {kChunkRows, kColumns};
    H5Pset_chunk(creation.get(), 2, chunk);
    H5Pset_chunk_cache(access.get(), 521, 0, 0.75);
  }
  void TearDown() override { unsetenv("H5GATE_THREADS"); }

  static void useThreads(const char* count) { setenv("H5GATE_THREADS", count, 1); }

  Owned makeData(hid_t type = H5T_IEEE_F64LE) {
    return Owned(H5Dcreate2(file.get(), "data", type, space.get(), H5P_DEFAULT, creation.get(),
                            access.get()));
  }
  /// A dataset with these values, written by HDF5.
  Owned written() {
    Owned dataset = makeData();
    H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, 0, 0, 0, values.data());
    return dataset;
  }

  void expectRead(const Owned& dataset, bool ours, const Argument& list = kDefault) {
    storedChunkCalls();
    EXPECT_EQ(numbersOf(result("H5Dread", dataset, kChosen, kAll, kAll, list)), values);
    EXPECT_EQ(storedChunkCalls().reads, ours ? kChunks : 0);
  }
  void expectWritten(const Owned& dataset, bool ours, const Argument& list = kDefault) {
    const Value data = row(values);
    storedChunkCalls();
    call("H5Dwrite", dataset, kChosen, kAll, kAll, list, data);
    EXPECT_EQ(storedChunkCalls().writes, ours ? kChunks : 0);
    useThreads("1");
    EXPECT_EQ(numbersOf(readAll(dataset)), values);
    useThreads("3");
  }
  MemoryFile file;
  Owned space = makeSpace({kRows, kColumns});
  hdf5::PropertyList creation{H5Pcreate(H5P_DATASET_CREATE)};
  hdf5::PropertyList access{H5Pcreate(H5P_DATASET_ACCESS)};
  Numbers values = [] {
    Numbers numbers(kRows * kColumns);
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
  }();
};

// --- Ours ---------------------------------------------------------------------------------

TEST_F(ChunkPaths, ReadsAndWritesWhatDeflateAndItsKindMade) {
  H5Pset_shuffle(creation.get());
  H5Pset_deflate(creation.get(), 6);
  H5Pset_fletcher32(creation.get());
  const Owned dataset = written();
  expectRead(dataset, true);
  expectWritten(dataset, true);
  expectRead(dataset, true);
}

TEST_F(ChunkPaths, ReadsOnOneThreadWhereThereIsOneCore) {
  H5Pset_deflate(creation.get(), 6);
  useThreads("not a number");  // which counts for nothing: as many threads as cores
  expectRead(written(), true);
}

TEST_F(ChunkPaths, TakesAListThatSaysNothing) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = written();
  const Owned list = make("H5Pcreate", "H5P_DATASET_XFER");
  expectRead(dataset, true, list);
  expectWritten(dataset, true, list);
}

TEST_F(ChunkPaths, ConvertsNumbers) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = makeData(H5T_STD_I32BE);
  H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, 0, 0, 0, values.data());
  storedChunkCalls();
  EXPECT_EQ(numbersOf(readAll(dataset, "H5T_NATIVE_DOUBLE")), values);
  EXPECT_EQ(storedChunkCalls().reads, kChunks);
  expectWritten(dataset, true);
}

TEST_F(ChunkPaths, SelectsOnlyTheChunksThatAreTouched) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = written();
  select(space, "H5S_SELECT_SET", row({100, 0}), empty(), row({520, 300}), empty());
  storedChunkCalls();
  readFrom(dataset, space, space);
  EXPECT_EQ(storedChunkCalls().reads, 7);
}

TEST_F(ChunkPaths, LeavesPartsOfChunksToHdf5WhenWriting) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = written();
  select(space, "H5S_SELECT_SET", row({100, 0}), empty(), row({520, 300}), empty());
  storedChunkCalls();
  writeTo(dataset, space, space, row(values));
  EXPECT_EQ(storedChunkCalls().writes, 5);  // of rows 160 to 559
  EXPECT_EQ(numbersOf(readAll(dataset)), values);
}

TEST_F(ChunkPaths, ServesWhatIsLargerThanThreeCaches) {
  H5Pset_deflate(creation.get(), 6);
  H5Pset_chunk_cache(access.get(), 521, 3 * kChunkBytes, 0.75);
  expectRead(written(), true);
}

// --- HDF5's -------------------------------------------------------------------------------

TEST_F(ChunkPaths, LeavesEverythingToHdf5WithOneThread) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = written();
  useThreads("1");
  expectRead(dataset, false);
  useThreads("1");
  storedChunkCalls();
  call("H5Dwrite", dataset, kChosen, kAll, kAll, kDefault, row(values));
  EXPECT_EQ(storedChunkCalls().writes, 0);
}

TEST_F(ChunkPaths, LeavesWhatFitsIntoTheChunkCache) {
  H5Pset_deflate(creation.get(), 6);
  H5Pset_chunk_cache(access.get(), 521, 4 * kChunkBytes, 0.75);
  const Owned dataset = written();
  expectRead(dataset, false);
  expectWritten(dataset, false);
}

TEST_F(ChunkPaths, LeavesSmallReads) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = written();
  select(space, "H5S_SELECT_SET", row({0, 0}), empty(), row({400, 300}), empty());
  storedChunkCalls();
  readFrom(dataset, space, space);
  EXPECT_EQ(storedChunkCalls().reads, 0);
}

TEST_F(ChunkPaths, LeavesChunksWithoutFiltersAndWithOthers) {
  expectRead(written(), false);
  H5Ldelete(file.get(), "data", H5P_DEFAULT);
  H5Pset_scaleoffset(creation.get(), H5Z_SO_FLOAT_DSCALE, 3);
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = written();
  expectRead(dataset, false);
  expectWritten(dataset, false);
}

TEST_F(ChunkPaths, LeavesTwoDeflatesAndOneThatOnlyStores) {
  H5Pset_deflate(creation.get(), 0);
  const Owned dataset = written();
  expectRead(dataset, true);
  expectWritten(dataset, false);
  H5Ldelete(file.get(), "data", H5P_DEFAULT);
  H5Pset_deflate(creation.get(), 6);
  expectRead(written(), false);
}

TEST_F(ChunkPaths, LeavesListsThatAskForSomething) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = written();
  const Owned lax = make("H5Pcreate", "H5P_DATASET_XFER");
  call("H5Pset_edc_check", lax, "H5Z_DISABLE_EDC");
  expectRead(dataset, false, lax);
  expectWritten(dataset, false, lax);
}

TEST_F(ChunkPaths, LeavesPointsAndIrregularBlocks) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = written();
  select(space, "H5S_SELECT_SET", row({0, 0}), empty(), row({600, 300}), empty());
  select(space, "H5S_SELECT_OR", row({700, 0}), empty(), row({10, 20}), empty());
  storedChunkCalls();
  readFrom(dataset, space, space);
  EXPECT_EQ(storedChunkCalls().reads, 0);
}

TEST_F(ChunkPaths, LeavesEdgesThatAreNotFiltered) {
  H5Pset_deflate(creation.get(), 6);
#if H5_VERSION_GE(1, 10, 0)
  H5Pset_chunk_opts(creation.get(), H5D_CHUNK_DONT_FILTER_PARTIAL_CHUNKS);
#endif
  const Owned dataset = written();
  expectRead(dataset, false);
  expectWritten(dataset, false);
}

TEST_F(ChunkPaths, LeavesErrorsToHdf5) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = written();
  const Owned other = makeSpace({kRows, kColumns + 1});
  storedChunkCalls();
  expectLibraryError("H5Dread", dataset, kChosen, other, space, kDefault);
  expectLibraryError("H5Dread", kNoIdentifier, "H5T_NATIVE_DOUBLE", space, space, kDefault);
  EXPECT_EQ(storedChunkCalls().reads, 0);
}

TEST_F(ChunkPaths, LeavesNoRecordOnTheErrorStack) {
  H5Pset_deflate(creation.get(), 6);
  const Owned dataset = makeData();  // of which no chunk is stored
  const double one = 1;
  const hsize_t start[] = {0, 0};
  const hsize_t count[] = {1, 1};
  const hdf5::Space first(H5Dget_space(dataset.get()));
  H5Sselect_hyperslab(first.get(), H5S_SELECT_SET, start, nullptr, count, nullptr);
  const hdf5::Space single(H5Screate(H5S_SCALAR));
  H5Dwrite(dataset.get(), H5T_NATIVE_DOUBLE, single.get(), first.get(), 0, &one);
  storedChunkCalls();
  const Numbers got = numbersOf(readAll(dataset));
  EXPECT_EQ(storedChunkCalls().reads, 1);
  EXPECT_EQ(H5Eget_num(H5E_DEFAULT), 0);
  EXPECT_EQ(std::accumulate(got.begin(), got.end(), 0.0), 1);
}

}  // namespace
