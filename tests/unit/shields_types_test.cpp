// What datatypes can do to HDF5: what is refused, and what near it works.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/stored.hpp"

namespace {

using namespace h5test;

// --- Enumerations without members ----------------------------------------------------

/// By 1.8 and by 1.12.
constexpr bool kCopied = !hdf5::kSince110 || hdf5::kSince112;

hid_t emptyEnumeration() { return H5Tenum_create(H5T_NATIVE_INT); }

TEST(EmptyCompounds, KillHdf5WhenTheyArePacked) {
  EXPECT_TRUE(kills([] { H5Tpack(H5Tcreate(H5T_COMPOUND, 8)); }));
}

TEST(EmptyEnumerations, KillHdf5InACompound) {
  const auto insert = [] {
    const hid_t compound = H5Tcreate(H5T_COMPOUND, 8);
    H5Tinsert(compound, "a", 0, emptyEnumeration());
    H5Tclose(H5Tcopy(compound));
  };
  EXPECT_EQ(kills(insert), !kCopied);
}

TEST(EmptyEnumerations, AreMembersWhereHdf5CanCopyThem) {
  const Owned compound = make("H5Tcreate", "H5T_COMPOUND", 8);
  const Owned enumerated = make("H5Tenum_create", "H5T_NATIVE_INT");
  if (kCopied) {
    call("H5Tinsert", compound, "a", 0, enumerated);
  } else {
    expectStack(failureOf("H5Tinsert", {compound, "a", 0, enumerated}));
  }
  EXPECT_EQ(callNumber("H5Tget_nmembers", compound), kCopied ? 1 : 0);
  const Owned copy = make("H5Tcopy", compound);
  call("H5Tenum_insert", enumerated, "red", 1);
  call("H5Tinsert", compound, "b", 4, enumerated);
  EXPECT_EQ(callNumber("H5Tget_nmembers", compound), kCopied ? 2 : 1);
}

TEST(EmptyEnumerations, AreCopiedWhereHdf5CanCopyThem) {
  const Owned enumerated = make("H5Tenum_create", "H5T_NATIVE_INT");
  if (kCopied) {
    const Owned copy = make("H5Tcopy", enumerated);
    const Owned array = make("H5Tarray_create", enumerated, row({2}));
    EXPECT_EQ(callNumber("H5Tget_size", array), 8);
  } else {
    expectStack(failureOf("H5Tcopy", {enumerated}));
    expectStack(failureOf("H5Tarray_create", {enumerated, row({2})}));
    expectStack(failureOf("H5Tarray_create", {enumerated, 1, row({2})}));
    const MemoryFile file;
    expectStack(failureOf("H5Dcreate", {file, "d", enumerated, scalarSpace(), kDefault}));
  }
}

TEST(EmptyEnumerations, AreNoBasesOfSequences) {
  const Owned enumerated = make("H5Tenum_create", "H5T_NATIVE_INT");
  expectRaises("badVlenSuperTypeCreate", {}, "H5Tvlen_create", enumerated);
}

// --- Byte orders that a file cannot say ----------------------------------------------

Owned inVaxOrder(const char* name) {
  Owned type = make("H5Tcopy", name);
  call("H5Tset_order", type, "H5T_ORDER_VAX");
  return type;
}

TEST(VaxOrder, KillsHdf5InAFileOfIntegers) {
  if (!hdf5::kSince110) GTEST_SKIP() << "1.8 survives it now and then";
  const auto commit = [] {
    const hid_t type = H5Tcopy(H5T_NATIVE_INT);
    H5Tset_order(type, H5T_ORDER_VAX);
    const hid_t file = H5Fcreate(temporaryPath().c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    H5Tcommit1(file, "type", type);
    H5Fclose(file);
  };
  EXPECT_TRUE(kills(commit));
}

/// With the type in it.
std::vector<Owned> typesOf(const Owned& base) {
  std::vector<Owned> types;
  types.push_back(copyOf(base));
  types.push_back(arrayOf(base, {2, 3}));
  types.push_back(sequenceOf(base));
  types.push_back(compoundOf({{"a", H5T_NATIVE_INT}, {"b", arrayOf(sequenceOf(base), {2})}}));
  return types;
}

TEST(VaxOrder, IsNotStoredOfWhatIsNoFloat) {
  const std::string path = temporaryPath();
  {
    const Owned file = createFile(path);
    std::vector<Owned> bases;
    for (const char* base : {"H5T_NATIVE_INT", "H5T_NATIVE_B32", "H5T_UNIX_D32LE"}) {
      bases.push_back(inVaxOrder(base));
    }
    bases.push_back(enumeration({"red"}, inVaxOrder("H5T_NATIVE_SHORT")));
    for (const Owned& base : bases) {
      for (const Owned& type : typesOf(base)) {
        expectStack(failureOf("H5Tcommit", {file, "t", type}));
        expectStack(failureOf("H5Tcommit", {file, "t", type, kDefault, kDefault, kDefault}));
        const Owned space = scalarSpace();
        expectStack(failureOf("H5Dcreate", {file, "d", type, space, kDefault}));
        expectStack(failureOf("H5Dcreate", {file, "d", type, space, kDefault, kDefault, kDefault}));
        expectStack(failureOf("H5Acreate", {file, "a", type, space, kDefault}));
        expectStack(failureOf("H5Acreate", {file, "a", type, space, kDefault, kDefault}));
      }
    }
    makeGroup(file, "g");
  }
  const Owned file = openFile(path);
  EXPECT_EQ(callNumber("H5Gget_num_objs", file), 1);
}

TEST(VaxOrder, IsStoredOfFloats) {
  const std::string path = temporaryPath();
  const Owned type = inVaxOrder("H5T_NATIVE_DOUBLE");
  {
    const Owned file = createFile(path);
    call("H5Tcommit", file, "t", type);
    writeDoubles(file, "d", {1, -2.5, 1e10}, kDefault, type);
  }
  const Owned file = openFile(path);
  EXPECT_EQ(readDoubles(file, "d"), (Numbers{1, -2.5, 1e10}));
  const Owned stored = make("H5Topen", file, "t");
  // 1.14 has the data right and tells the order wrong.
  EXPECT_EQ(callNumber("H5Tget_order", stored), hdf5::kSince112 ? H5T_ORDER_BE : H5T_ORDER_VAX);
}

// --- Sizes that no file has a word for ---------------------------------------------------

TEST(LargeTypes, AreNotStored) {
  const MemoryFile file;
  const Owned text = make("H5Tcopy", "H5T_C_S1");
  call("H5Tset_size", text, 0x1p32);
  const Owned opaque = make("H5Tcreate", "H5T_OPAQUE", 0x1p40);
  const Owned compound = make("H5Tcreate", "H5T_COMPOUND", 0x1p33);
  call("H5Tinsert", compound, "a", 0, "H5T_NATIVE_INT");
  for (const Owned* type : {&text, &opaque, &compound}) {
    expectStack(failureOf("H5Tcommit", {file, "type", *type}));
    expectStack(failureOf("H5Dcreate", {file, "d", *type, scalarSpace(), kDefault}));
    expectStack(failureOf("H5Acreate", {file, "a", *type, scalarSpace(), kDefault}));
  }
  EXPECT_EQ(callNumber("H5Gget_num_objs", file), 0);
  call("H5Tset_size", text, 0x1p32 - 1);
  call("H5Tcommit", file, "type", text);
}

// --- Committed datatypes in others ----------------------------------------------------------

std::vector<Owned> typesOfCommitted(const MemoryFile& file) {
  const Owned base = make("H5Tcopy", "H5T_STD_I16LE");
  call("H5Tcommit", file, "type", base);
  EXPECT_EQ(callNumber("H5Tcommitted", base), 1);
  std::vector<Owned> types;
  types.push_back(make("H5Tarray_create", base, row({2})));
  types.push_back(make("H5Tarray_create", base, 1, row({2}), empty()));
  types.push_back(make("H5Tvlen_create", base));
  types.push_back(make("H5Tenum_create", base));
  types.push_back(make("H5Tcreate", "H5T_COMPOUND", 2));
  call("H5Tinsert", types.back(), "member", 0, base);
  return types;
}

TEST(CommittedTypes, AreCopiedIntoOthers) {
  for (const bool stays : {true, false}) {
    std::optional<MemoryFile> file(std::in_place);
    const std::vector<Owned> types = typesOfCommitted(*file);
    if (!stays) file.reset();
    for (const Owned& type : types) {
      const bool isCompound = H5Tget_class(hdf5Id(type.id())) == H5T_COMPOUND;
      const Owned part =
          isCompound ? make("H5Tget_member_type", type, 0) : make("H5Tget_super", type);
      EXPECT_EQ(callNumber("H5Tcommitted", part), 0);
      EXPECT_EQ(callNumber("H5Tget_size", part), 2);
      expectLibraryError("H5Iget_file_id", part);
    }
  }
}

// --- Locked datatypes --------------------------------------------------------------------

TEST(LockedTypes, KeepADatasetOfHdf5Open) {
  EXPECT_TRUE(kills([] {
    const hid_t type = H5Tcreate(H5T_OPAQUE, 5);
    H5Tlock(type);
    const hid_t file = H5Fcreate(temporaryPath().c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    const hid_t dataset =
        H5Dcreate2(file, "d", type, H5Screate(H5S_NULL), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    H5Oclose(type);
    if (H5Dclose(dataset) < 0) std::abort();
  }));
}

TEST(LockedTypes, AreNotSharedWithDatasets) {
  EXPECT_FALSE(kills([] {
    const double type = callNumber("H5Tcreate", "H5T_OPAQUE", 5);
    call("H5Tlock", type);
    const MemoryFile file;
    const double dataset = callNumber("H5Dcreate", file, "d", type, scalarSpace(), kDefault);
    raisedBy([&] { call("H5Oclose", type); });
    call("H5Dclose", dataset);
  }));
}

// --- Offsets of what has none ----------------------------------------------------------

TEST(OffsetsOfElements, KillHdf5WhereTheyAreOfACompound) {
  EXPECT_TRUE(kills([] {
    const hid_t compound = H5Tcreate(H5T_COMPOUND, 8);
    H5Tinsert(compound, "a", 0, H5T_NATIVE_INT);
    const hsize_t dims[] = {2};
    const hid_t array = H5Tarray_create2(compound, 1, dims);
    H5Tset_offset(array, 16);
    H5Tclose(H5Tcopy(array));
  }));
}

TEST(OffsetsOfElements, AreRefusedWhereTheyAreNoNumbers) {
  std::vector<Owned> bases;
  bases.push_back(compoundOf({{"a", H5T_NATIVE_INT}}));
  bases.push_back(make("H5Tcreate", "H5T_OPAQUE", 5));
  bases.push_back(make("H5Tcopy", "H5T_STD_REF_OBJ"));
  for (const Owned& base : bases) {
    expectStack(failureOf("H5Tset_offset", {arrayOf(base, {2}), 16}));
    expectStack(failureOf("H5Tset_offset", {sequenceOf(arrayOf(base, {2})), 16}));
  }
  const Owned array = arrayOf(make("H5Tcopy", "H5T_NATIVE_INT"), {2});
  call("H5Tset_precision", array, 8);
  call("H5Tset_offset", array, 16);
  EXPECT_EQ(callNumber("H5Tget_offset", array), 16);
}

// --- Datatypes that are too large for a file -----------------------------------------

Owned compoundOfDoubles(std::size_t members) {
  Owned type(H5Tcreate(H5T_COMPOUND, members * sizeof(double)));
  for (std::size_t i = 0; i < members; ++i) {
    const std::string name = "member number " + std::to_string(i);
    H5Tinsert(type.get(), name.c_str(), i * sizeof(double), H5T_NATIVE_DOUBLE);
  }
  return type;
}

/// Encoded it has 76 kB, and 36 kB in the newest format.
constexpr std::size_t kTooMany = 1000;

TEST(LargeTypes, KeepAFileOfHdf5Open) {
  const auto commit = [] {
    const std::string path = temporaryPath();
    const hid_t file = H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    H5Tcommit1(file, "t", compoundOfDoubles(kTooMany).get());
    H5Fclose(file);
    if (H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT) < 0) std::abort();
  };
  EXPECT_EQ(kills(commit), !hdf5::kSince112);
}

TEST(LargeTypes, AreRefusedAndTheFileCloses) {
  const std::string path = temporaryPath();
  {
    const Owned file = createFile(path);
    const Owned space = scalarSpace();
    for (const std::size_t members : {kTooMany, std::size_t{5000}}) {
      const Owned type = compoundOfDoubles(members);
      expectStack(failureOf("H5Tcommit", {file, "t", type}));
      expectStack(failureOf("H5Tcommit", {file, "t", type, kDefault, kDefault, kDefault}));
      expectStack(failureOf("H5Dcreate", {file, "d", type, space, kDefault}));
      expectStack(failureOf("H5Acreate", {file, "a", type, space, kDefault}));
    }
    call("H5Tcommit", file, "u", compoundOfDoubles(500));
  }
  {
    const Owned file = openFile(path);
    const Owned type = make("H5Topen", file, "u");
    EXPECT_EQ(callNumber("H5Tget_nmembers", type), 500);
  }
  createFile(path);
}

TEST(LargeTypes, AreCommittedWhereTheFormatHasRoom) {
  const std::string path = temporaryPath();
  const Owned newest = makeList("H5P_FILE_ACCESS");
  call("H5Pset_libver_bounds", newest, "H5F_LIBVER_LATEST", "H5F_LIBVER_LATEST");
  {
    const Owned file = createFile(path, "H5F_ACC_TRUNC", newest);
    call("H5Tcommit", file, "t", compoundOfDoubles(kTooMany));
    expectStack(failureOf("H5Tcommit", {file, "u", compoundOfDoubles(5000)}));
  }
  const Owned file = openFile(path);
  const Owned type = make("H5Topen", file, "t");
  EXPECT_EQ(callNumber("H5Tget_nmembers", type), kTooMany);
}

}  // namespace
