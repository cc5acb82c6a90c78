// What takes its place in a file at once, where there is no room for it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "hdf5/compat.hpp"
#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/resource_limits.hpp"
#include "tests/unit/stored.hpp"

namespace {

using namespace h5test;

constexpr int kFits = 10'000;
constexpr int kTooMany = 1'000'000;

Owned early() {
  Owned list = chunked({1000});
  call("H5Pset_alloc_time", list, "H5D_ALLOC_TIME_EARLY");
  return list;
}

Owned growing(double size) { return makeSpace({size}, row({-1})); }

void expectNoRoom(const std::string& function, const Arguments& inputs) {
  const Failure error = failureOf(function, inputs);
  expectStack(error);
  EXPECT_NE(std::string(error->what()).find("the disk has room for"), std::string::npos);
}

TEST(EarlyStorage, IsNotBegunWhereItDoesNotFit) {
  const std::string path = temporaryPath();
  {
    const SmallFiles limit;
    const Owned file = createFile(path);
    expectNoRoom("H5Dcreate", {file, "d", "H5T_NATIVE_INT", growing(kTooMany), early()});
    expectNoRoom("H5Dcreate",
                 {file, "d", "H5T_NATIVE_INT", growing(kTooMany), kDefault, early(), kDefault});
    makeDataset(file, "fits", "H5T_NATIVE_INT", growing(kFits), early());
    makeDataset(file, "nothing", "H5T_NATIVE_INT", growing(0), early());
  }
  const Owned file = openFile(path);
  EXPECT_EQ(callNumber("H5Lexists", file, "d", kDefault), 0);
  EXPECT_EQ(callNumber("H5Dget_storage_size", make("H5Dopen", file, "fits")), 4 * kFits);
}

TEST(EarlyStorage, DoesNotGrowWhereItDoesNotFit) {
  const SmallFiles limit;
  const Owned file = createFile(temporaryPath());
  const Owned dataset = makeDataset(file, "d", "H5T_NATIVE_INT", growing(kFits), early());
  for (const char* function : {"H5Dset_extent", "H5Dextend"}) {
    expectNoRoom(function, {dataset, kTooMany});
    call(function, dataset, 2 * kFits);
    EXPECT_EQ(callNumber("H5Dget_storage_size", dataset), 4 * 2 * kFits);
  }
}

TEST(EarlyStorage, OfFilesInMemoryIsNotHeldAgainstADisk) {
  const SmallFiles limit;
  const Owned list = makeList("H5P_FILE_ACCESS");
  call("H5Pset_fapl_core", list, 1 << 20, false);
  const Owned file = createFile(temporaryPath(), "H5F_ACC_TRUNC", list);
  makeDataset(file, "d", "H5T_NATIVE_INT", growing(kTooMany), early());
}

TEST(EarlyStorage, LosesFilesOfBareHdf5) {
  const std::string path = temporaryPath();
  const auto fill = [&path] {
    const SmallFiles limit;
    const hid_t file = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    for (int i = 0; i < 100; ++i) {
      H5Gclose(H5Gcreate1(file, ("g" + std::to_string(i)).c_str(), 0));
    }
    const hsize_t size = kTooMany;
    const hsize_t chunk = 1000;
    const hid_t list = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_chunk(list, 1, &chunk);
    H5Pset_alloc_time(list, H5D_ALLOC_TIME_EARLY);
    H5Dcreate2(file, "d", H5T_NATIVE_INT, H5Screate_simple(1, &size, nullptr), H5P_DEFAULT, list,
               H5P_DEFAULT);
    if (H5Fclose(file) < 0) std::abort();
    if (H5Gopen1(H5Fopen(path.c_str(), H5F_ACC_RDONLY, H5P_DEFAULT), "g99") < 0) std::abort();
  };
  EXPECT_EQ(kills(fill), hdf5::kSince110);
}

TEST(NamesOfLinks, AreGivenNoRoomThatThereIsNot) {
  const SmallFiles limit;
  const Owned file = createFile(temporaryPath());
  expectNoRoom("H5Gcreate", {file, "g", 4 * kTooMany});
  EXPECT_EQ(callNumber("H5Lexists", file, "g", kDefault), 0);
  make("H5Gcreate", file, "g", kFits);
}

TEST(NamesOfLinks, AreGivenNoRoomThatNoPartHas) {
  const SmallFiles limit;
  const Owned list = makeList("H5P_FILE_ACCESS");
  call("H5Pset_fapl_split", list, "-m.h5", kDefault, "-r.h5", kDefault);
  const Owned file = createFile(temporaryPath(), "H5F_ACC_TRUNC", list);
  expectNoRoom("H5Gcreate", {file, "g", 4 * kTooMany});
  make("H5Gcreate", file, "g", kFits);
}

}  // namespace
