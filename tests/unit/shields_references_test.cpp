// Region references whose bytes are none: each way to follow one refuses them.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"

namespace {

using namespace h5test;

constexpr const char* kRegion = "H5R_DATASET_REGION";
constexpr std::size_t kIndexByte = 8;

Value regionOf(const Argument& location, const Owned& space) {
  return result("H5Rcreate", location, "d", kRegion, space);
}

using Bytes = std::vector<std::uint8_t>;

Value referenceOf(const Bytes& bytes) {
  return zembra::makeNumeric(zbClass::UInt8, {1, bytes.size()}, bytes.data());
}

Value withByte(const Value& reference, std::size_t place, std::uint8_t byte) {
  const auto* first = static_cast<const std::uint8_t*>(zbGetData(reference.get()));
  Bytes bytes(first, first + sizeof(hdset_reg_ref_t));
  bytes[place] = byte;
  return referenceOf(bytes);
}

void expectNoRegion(const Argument& location, const Value& reference) {
  EXPECT_LT(callNumber("H5Rdereference", location, kRegion, reference), 0);
  EXPECT_EQ(callNumber("H5Rget_obj_type", location, kRegion, reference), H5G_UNKNOWN);
  expectLibraryError("H5Rget_name", location, kRegion, reference);
  expectLibraryError("H5Rget_region", location, kRegion, reference);
}

void expectRegionOf(double points, const Argument& location, const Value& reference) {
  const Owned space = make("H5Rget_region", location, kRegion, reference);
  EXPECT_EQ(callNumber("H5Sget_select_npoints", space), points);
  EXPECT_EQ(callText("H5Rget_name", location, kRegion, reference), "/d");
}

TEST(ReferencesOfBareHdf5, WithAnIndexBeyondTheHeapKill) {
  // Later releases look how many objects a heap has.
  EXPECT_EQ(kills([] {
              const MemoryFile file;
              makeDataset(file, "d", "H5T_NATIVE_INT", makeSpace({4}));
              const Owned space = makeSpace({4});
              hdset_reg_ref_t reference;
              H5Rcreate(&reference, file.get(), "d", H5R_DATASET_REGION, space.get());
              reinterpret_cast<std::uint8_t*>(&reference)[kIndexByte + 3] = 0x10;
              H5Sclose(H5Rget_region(file.get(), H5R_DATASET_REGION, &reference));
            }),
            !hdf5::kSince1144);
}

/// The ways in which files are stored, each with the list that makes it.
struct Storage {
  const char* name;
  const char* path;
  void (*set)(const Owned& creation, const Owned& access);
};

const Storage kStorages[] = {
    {"memory", "memory.h5",
     [](const Owned&, const Owned& access) { call("H5Pset_fapl_core", access, 65536, false); }},
    {"usual", "usual.h5", [](const Owned&, const Owned&) {}},
    {"newest", "newest.h5",
     [](const Owned&, const Owned& access) {
       call("H5Pset_libver_bounds", access, "H5F_LIBVER_LATEST", "H5F_LIBVER_LATEST");
     }},
    {"user_block", "block.h5",
     [](const Owned& creation, const Owned&) { call("H5Pset_userblock", creation, 1024); }},
    {"small_numbers", "small.h5",
     [](const Owned& creation, const Owned&) { call("H5Pset_sizes", creation, 4, 4); }},
    {"stdio", "stdio.h5",
     [](const Owned&, const Owned& access) { call("H5Pset_fapl_stdio", access); }},
    {"family", "family-%d.h5",
     [](const Owned&, const Owned& access) { call("H5Pset_fapl_family", access, 5120, kDefault); }},
    {"split", "split",
     [](const Owned&, const Owned& access) {
       call("H5Pset_fapl_split", access, "-meta.h5", kDefault, "-raw.h5", kDefault);
     }},
};

class StoredReferences : public testing::TestWithParam<Storage> {
 protected:
  StoredReferences() { makeDataset(file, "d", "H5T_NATIVE_INT", makeSpace({40, 60})); }

  Owned file = makeFile();

 private:
  static Owned makeFile() {
    const Owned creation = make("H5Pcreate", "H5P_FILE_CREATE");
    const Owned access = make("H5Pcreate", "H5P_FILE_ACCESS");
    call("H5Pset_libver_bounds", access, "H5F_LIBVER_EARLIEST", "H5F_LIBVER_LATEST");
    GetParam().set(creation, access);
    return make("H5Fcreate", temporaryPath(GetParam().path), "H5F_ACC_TRUNC", creation, access);
  }
};

TEST_P(StoredReferences, LeadToWhatTheyAreOf) {
  const Owned space = makeSpace({40, 60});
  expectRegionOf(2400, file, regionOf(file, space));
  call("H5Sselect_none", space);
  expectRegionOf(0, file, regionOf(file, space));
  call("H5Sselect_elements", space, "H5S_SELECT_SET", matrix(2, 3, {1, 2, 3, 4, 5, 6}));
  expectRegionOf(3, file, regionOf(file, space));
  call("H5Sselect_hyperslab", space, "H5S_SELECT_SET", row({0, 0}), row({4, 4}), row({9, 9}),
       row({2, 2}));
  expectRegionOf(324, file, regionOf(file, space));
  call("H5Sselect_hyperslab", space, "H5S_SELECT_OR", row({39, 59}), empty(), row({1, 1}), empty());
  expectRegionOf(325, file, regionOf(file, space));
}

TEST_P(StoredReferences, AreFollowedInTheLargestHeap) {
  const Owned space = makeSpace({40, 60});
  std::vector<Value> references;
  for (double i = 0; i < 1500; ++i) {
    call("H5Sselect_hyperslab", space, "H5S_SELECT_SET", row({0, 0}), empty(),
         row({1 + std::floor(i / 60), 1 + std::fmod(i, 60)}), empty());
    references.push_back(regionOf(file, space));
  }
  for (std::size_t i = 0; i < references.size(); i += 100) {
    const auto at = static_cast<double>(i);
    expectRegionOf((1 + std::floor(at / 60)) * (1 + std::fmod(at, 60)), file, references[i]);
  }
}

TEST_P(StoredReferences, WithOtherBytesAreRefused) {
  const Value reference = regionOf(file, makeSpace({40, 60}));
  const std::size_t index = std::string(GetParam().name) == "small_numbers" ? 4 : kIndexByte;
  for (const std::uint8_t byte : Bytes{0, 2, 3, 100, 255}) {
    expectNoRegion(file, withByte(reference, index, byte));
  }
  for (std::size_t place = index + 1; place < index + 4; ++place) {
    expectNoRegion(file, withByte(reference, place, 1));
    expectNoRegion(file, withByte(reference, place, 255));
  }
  for (std::size_t place = 0; place < index; ++place) {
    expectNoRegion(file, withByte(reference, place, 77));
  }
  expectNoRegion(file, referenceOf(Bytes(12, 0)));
  expectNoRegion(file, referenceOf(Bytes(12, 255)));
  expectRegionOf(2400, file, reference);
}

TEST_P(StoredReferences, BeyondTheFileLeadToNoObject) {
  const Value reference = referenceOf({0x83, 0x07, 0x00, 0x62, 0, 0, 0, 0});
  EXPECT_EQ(callNumber("H5Rget_obj_type", file, "H5R_OBJECT", reference), H5G_UNKNOWN);
  EXPECT_LT(callNumber("H5Rdereference", file, "H5R_OBJECT", reference), 0);
}

INSTANTIATE_TEST_SUITE_P(Of, StoredReferences, testing::ValuesIn(kStorages),
                         [](const auto& storage) { return std::string(storage.param.name); });

TEST(ForeignReferences, AreRefusedWithARecord) {
  const MemoryFile file;
  const MemoryFile other;
  makeDataset(file, "d", "H5T_NATIVE_INT", makeSpace({4}));
  makeDataset(other, "d", "H5T_NATIVE_INT", makeSpace({4}));
  const Owned space = makeSpace({4});
  regionOf(file, space);
  const Value second = regionOf(file, space);
  regionOf(other, space);
  expectRegionOf(4, file, second);
  expectNoRegion(other, second);
  const Failure refusal = failureOf("H5Rget_region", {other, kRegion, second});
  expectStack(refusal);
  EXPECT_EQ(errorStack().front().description, "the reference is to no region of this file");
}

TEST(ForeignReferences, ToTextsAreRefused) {
  const MemoryFile file;
  makeDataset(file, "d", "H5T_NATIVE_INT", makeSpace({4}));
  const Owned space = makeSpace({4});
  const Value reference = regionOf(file, space);
  // Written after the region, a text is the next object of the same heap.
  const Owned type = variableText();
  const Owned texts = makeDataset(file, "texts", type, scalarSpace());
  const std::string words(64, '\x01');
  call("H5Dwrite", texts, kChosen, "H5S_ALL", "H5S_ALL", kDefault, cell({text(words)}));
  expectNoRegion(file, withByte(reference, kIndexByte, 2));
}

}  // namespace
