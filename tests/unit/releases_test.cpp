// What HDF5's releases do differently and the gateway leaves to them: docs/releases.md has
// the same as a table.
#include <gtest/gtest.h>

#include <string_view>

#include "hdf5/compat.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/transfers.hpp"

namespace {

using namespace h5test;

/// The call succeeds on the releases that can, and raises HDF5's error stack on the others.
template <class... Inputs>
void expectDone(bool can, std::string_view name, Inputs&&... inputs) {
  if (can) {
    EXPECT_FALSE(raisedBy([&] { call(name, inputs...); })) << name;
  } else {
    expectLibraryError(name, inputs...);
  }
}
/// The same of a call that makes an identifier.
template <class... Inputs>
void expectMade(bool can, std::string_view name, Inputs&&... inputs) {
  if (can) {
    make(name, inputs...);
  } else {
    expectLibraryError(name, inputs...);
  }
}

TEST(Releases, HaveFixedEmptyExtentsSince187) {
  expectMade(hdf5::kSince187, "H5Screate_simple", 2, row({0, 0}), row({1, 1}));
  expectDone(hdf5::kSince187, "H5Sset_extent_simple", makeSpace({3}), 1, row({0}), row({1}));
}

TEST(Releases, MakeAtomicDatatypesByClassSince187) {
  for (const char* name : {"H5T_INTEGER", "H5T_FLOAT", "H5T_STRING"}) {
    expectMade(hdf5::kSince187, "H5Tcreate", name, 1);
  }
}

TEST(Releases, TakeOtherAccessListsSince110) {
  const MemoryFile file;
  const Owned list = makeList("H5P_LINK_ACCESS");
  const Owned type = make("H5Tcopy", "H5T_NATIVE_INT");
  expectMade(hdf5::kSince110, "H5Gcreate", file, "group", kDefault, kDefault, list);
  expectDone(hdf5::kSince110, "H5Tcommit", file, "type", type, kDefault, kDefault, list);
}

TEST(Releases, LookAtTheAccessListOfAnAttributeSince112) {
  const MemoryFile file;
  make("H5Acreate", file, "a", "H5T_NATIVE_INT", scalarSpace(), kDefault);
  expectMade(!hdf5::kSince112, "H5Aopen", file, "a", makeList("H5P_LINK_ACCESS"));
}

TEST(Releases, NeedMembersInTheCompoundOfAnAttributeSince110) {
  const MemoryFile file;
  const Owned type = make("H5Tcreate", "H5T_COMPOUND", 8);
  expectMade(!hdf5::kSince110, "H5Acreate", file, "a", type, scalarSpace(), kDefault, kDefault);
}

TEST(Releases, ExtendOnlyChunksSince110) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "d", "H5T_NATIVE_INT", makeSpace({3}));
  expectDone(!hdf5::kSince110, "H5Dextend", dataset, 1);
}

TEST(Releases, FindTheRootGroupAsALinkSince110) {
  const MemoryFile file;
  EXPECT_EQ(callNumber("H5Lexists", file, "/", kDefault), hdf5::kSince110 ? 1 : 0);
}

TEST(Releases, FailOnFoldersSince110) {
  EXPECT_EQ(callNumber("H5Fis_hdf5", "."), hdf5::kSince110 ? -1 : 0);
}

TEST(Releases, HaveNoDriverInTransferListsSince110) {
  const Owned list = makeList("H5P_DATASET_XFER");
  if (hdf5::kSince110) {
    expectLibraryError("H5Pget_driver", list);
  } else {
    EXPECT_EQ(callNumber("H5Iget_type", callNumber("H5Pget_driver", list)), 8);
  }
}

TEST(Releases, HaveALatestVersionOfTheirOwn) {
  EXPECT_EQ(callNumbers("H5Pget_libver_bounds", makeList("H5P_FILE_ACCESS")),
            Numbers({0, H5F_LIBVER_LATEST}));
}

TEST(Releases, HaveCreationListsOfTransientDatatypesBut110) {
  const Owned type = make("H5Tcopy", "H5T_NATIVE_INT");
  expectMade(!hdf5::kSince110 || hdf5::kSince112, "H5Tget_create_plist", type);
}

TEST(Releases, HaveReferencesWithoutBitsSince112) {
  for (const char* query : {"H5Tget_offset", "H5Tget_precision", "H5Tget_pad"}) {
    expectDone(!hdf5::kSince112, query, "H5T_STD_REF_OBJ");
  }
}

}  // namespace
