// HDF5Dataset: the memory that HDF5 allocates for data of variable length. The address
// sanitizer sees what is freed twice or never.
#include "host/messages.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/unit/error_records.hpp"
#include "tests/unit/hdf5_dataset_fixture.hpp"
#include "tests/unit/lists.hpp"

namespace {

using namespace h5test;
using testing::ElementsAre;

/// Counts what HDF5 allocates through a transfer list; blocks are C's, as the host's are.
int outstanding = 0;
void* allocateCounted(std::size_t size, void*) {
  ++outstanding;
  return zbMalloc(size);
}

class Hdf5DatasetMemory : public Hdf5DatasetTest {
 protected:
  Hdf5DatasetMemory() : type_(variableText()), dataset_(create(type_, makeSpace({3}))) {
    write(dataset_, type_, makeSpace({3}), texts({"alpha", "beta", "gamma"}));
    H5Pset_vlen_mem_manager(
        list_.get(), allocateCounted, nullptr, [](void* memory, void*) { zbFree(memory); },
        nullptr);
  }
  void fill(void* buffer) {
    ASSERT_GE(H5Dread(dataset_.get(), type_.get(), H5S_ALL, H5S_ALL, list_.get(), buffer), 0);
  }

  Owned type_;
  Owned dataset_;
  Owned list_ = makeList("H5P_DATASET_XFER");
};

TEST_F(Hdf5DatasetMemory, IsReclaimedThoughTheIdentifiersAreClosedFirst) {
  Owned memory = copyOf(type_);
  Owned space = makeSpace({3});
  HDF5Dataset transfer(memory.get(), space.get());
  void* buffer = transfer.getBuffer();
  outstanding = 0;
  fill(buffer);
  EXPECT_EQ(outstanding, 3);
  const Value array = zembra::CallScope::take(transfer.read(buffer));
  memory.close();
  space.close();
  EXPECT_THAT(textsOf(array), ElementsAre("alpha", "beta", "gamma"));
}

TEST_F(Hdf5DatasetMemory, IsReclaimedWithoutARead) {
  const Owned space = makeSpace({3});
  HDF5Dataset transfer(type_.get(), space.get());
  fill(transfer.getBuffer());
}

TEST_F(Hdf5DatasetMemory, OfAnotherBufferIsLeftAlone) {
  const Owned space = makeSpace({3});
  std::vector<char*> buffer(3);
  fill(buffer.data());
  {
    HDF5Dataset transfer(type_.get(), space.get());
    transfer.getBuffer();
    const Value array = zembra::CallScope::take(transfer.read(buffer.data()));
    EXPECT_THAT(textsOf(array), ElementsAre("alpha", "beta", "gamma"));
  }
  EXPECT_STREQ(buffer[2], "gamma");
  for (char* text : buffer) zbFree(text);
}

TEST_F(Hdf5DatasetMemory, IsReclaimedWithoutTouchingTheErrorStack) {
  const Owned space = makeSpace({3});
  const Failure error = raisedBy([&] {
    HDF5Dataset transfer(type_.get(), space.get());
    fill(transfer.getBuffer());
    H5Dget_type(-1);
    KVH5libraryError();
  });
  expectStack(error);
}

}  // namespace
