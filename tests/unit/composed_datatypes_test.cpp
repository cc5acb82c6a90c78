// Datatypes made of others: arrays, sequences, compounds; and opaque ones.
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/datatypes.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/limits.hpp"

namespace {

using namespace h5test;

/// A compound of a double "a", a big-endian short "b" and a string "c", with a gap.
Owned compound() {
  Owned type = make("H5Tcreate", "H5T_COMPOUND", 24);
  call("H5Tinsert", type, "a", 0, "H5T_IEEE_F64LE");
  call("H5Tinsert", type, "b", 12, "H5T_STD_I16BE");
  call("H5Tinsert", type, "c", 16, fixedText(5));
  return type;
}

// --- Arrays --------------------------------------------------------------------------

TEST(ArrayDatatypes, KeepTheOrderOfTheirExtents) {
  const Owned types[] = {make("H5Tarray_create", "H5T_NATIVE_INT", row({2, 3})),
                         make("H5Tarray_create", "H5T_NATIVE_INT", 2, row({2, 3})),
                         make("H5Tarray_create", "H5T_NATIVE_INT", 2, row({2, 3}), "anything"),
                         make("H5Tarray_create", "H5T_NATIVE_INT", column({2, 3})),
                         make("H5Tarray_create", "H5T_NATIVE_INT", 2.9, row({2.9, 3.1}), cell({}))};
  for (const Owned& type : types) {
    EXPECT_EQ(callNumber("H5Tget_array_ndims", type), 2);
    const Value dims = result("H5Tget_array_dims", type);
    EXPECT_EQ(classOf(dims), zbClass::Double);
    EXPECT_EQ(shapeOf(dims), (Shape{1, 2}));
    EXPECT_EQ(numbersOf(dims), (Numbers{2, 3}));
  }
}

TEST(ArrayDatatypes, TakeExtentsAsDoubles) {
  const std::string dims = "dims";
  for (const Value& other :
       {numeric(zbClass::Int32, {2, 3}), text("23"), cell({number(2)}), logical(true)}) {
    expectRaises("notDoublePrecision", {dims}, "H5Tarray_create", "H5T_NATIVE_INT", other);
    expectRaises("notDoublePrecision", {dims}, "H5Tarray_create", "H5T_NATIVE_INT", 2, other);
    expectRaises("notDoublePrecision", {dims}, "H5Tarray_create", "H5T_NATIVE_INT", 2, other, 0);
  }
  for (const double extent : {-1.0, 1e20, kNaN}) {
    expectRaises("numericCastError", {}, "H5Tarray_create", "H5T_NATIVE_INT", row({2, extent}));
    expectRaises("numericCastError", {}, "H5Tarray_create", "H5T_NATIVE_INT", 2, row({2, extent}));
  }
}

TEST(ArrayDatatypes, TakeARankThatFits) {
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tarray_create", "H5T_NATIVE_INT", -1, row({2}));
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tarray_create", "H5T_NATIVE_INT", 4294967296.0,
               row({2}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", 4294967295.0, row({2}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", 33, row({2}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", 0, row({2}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", empty());
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", row({2, 0}));
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", row(Numbers(33, 1)));
  // A rank beyond the extents reads zeros, which HDF5 refuses.
  expectLibraryError("H5Tarray_create", "H5T_NATIVE_INT", 32, row({2}));
  // A rank below them takes the first.
  const Owned type = make("H5Tarray_create", "H5T_NATIVE_INT", 1, row({2, 3}));
  EXPECT_EQ(numbersOf(result("H5Tget_array_dims", type)), (Numbers{2}));
  const Owned largest = make("H5Tarray_create", "H5T_NATIVE_INT", row(Numbers(32, 1)));
  EXPECT_EQ(callNumber("H5Tget_array_ndims", largest), 32);
}

TEST(ArrayDatatypes, AreTheOnlyOnesWithARank) {
  expectRaises("datasetHasNoRank", {}, "H5Tget_array_dims", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_array_ndims", "H5T_NATIVE_INT");
}

TEST(ArrayDatatypes, TellLargeExtentsExactly) {
  const Owned type = make("H5Tarray_create", "H5T_NATIVE_CHAR", row({4294967296.0}));
  EXPECT_EQ(numbersOf(result("H5Tget_array_dims", type)), (Numbers{4294967296.0}));
}

// --- Sequences -----------------------------------------------------------------------

TEST(Sequences, AreOfNumbersAndStrings) {
  for (const char* base : {"H5T_NATIVE_INT", "H5T_IEEE_F32BE", "H5T_C_S1"}) {
    const Owned type = make("H5Tvlen_create", base);
    EXPECT_EQ(callNumber("H5Tget_class", type), H5T_VLEN);
    const Owned super = make("H5Tget_super", type);
    EXPECT_EQ(callNumber("H5Tequal", super, base), 1);
  }
  const Owned text = variableText();
  const Owned texts = make("H5Tvlen_create", text);
  EXPECT_EQ(callNumber("H5Tget_class", texts), H5T_VLEN);
}

TEST(Sequences, AreOfNothingElse) {
  for (const std::size_t size : {2U, 10U}) {
    const Owned text = fixedText(size);
    expectRaises("badVlstringSuperTypeCreate", {}, "H5Tvlen_create", text);
  }
  const Owned record = compound();
  const Owned array = make("H5Tarray_create", "H5T_NATIVE_INT", row({2}));
  const Owned sequence = make("H5Tvlen_create", "H5T_NATIVE_INT");
  const Owned opaque = make("H5Tcreate", "H5T_OPAQUE", 1);
  for (const Owned* base : {&record, &array, &sequence, &opaque}) {
    expectRaises("badVlenSuperTypeCreate", {}, "H5Tvlen_create", *base);
  }
  for (const char* base : {"H5T_STD_REF_OBJ", "H5T_STD_B8LE", "H5T_UNIX_D32LE", "H5S_ALL"}) {
    expectRaises("badVlenSuperTypeCreate", {}, "H5Tvlen_create", base);
  }
}

// --- Compounds -----------------------------------------------------------------------

TEST(Compounds, HaveMembers) {
  const Owned type = compound();
  EXPECT_EQ(callNumber("H5Tget_nmembers", type), 3);
  EXPECT_EQ(callText("H5Tget_member_name", type, 1), "b");
  EXPECT_EQ(callNumber("H5Tget_member_index", type, "c"), 2);
  EXPECT_EQ(callNumber("H5Tget_member_class", type, 1), H5T_INTEGER);
  EXPECT_EQ(callNumber("H5Tget_member_offset", type, 1), 12);
  EXPECT_EQ(callNumber("H5Tget_member_offset", type, 0), 0);
  const Owned member = make("H5Tget_member_type", type, 1);
  EXPECT_EQ(callNumber("H5Tequal", member, "H5T_STD_I16BE"), 1);

  for (const char* query : {"H5Tget_member_name", "H5Tget_member_class", "H5Tget_member_offset",
                            "H5Tget_member_type"}) {
    expectLibraryError(query, type, 3);
    expectLibraryError(query, type, 4294967295.0);
    expectRaises("scalarValueInputOutOfRange", {}, query, type, -1);
    expectRaises("scalarValueInputOutOfRange", {}, query, type, 4294967296.0);
    expectRaises("scalarValueInputOutOfRange", {}, query, type, "0");
    expectLibraryError(query, "H5T_NATIVE_INT", 0);
  }
  expectLibraryError("H5Tget_member_index", type, "d");
  expectRaises("notString", {std::string("member name")}, "H5Tget_member_index", type, 0);
  expectLibraryError("H5Tget_nmembers", "H5T_NATIVE_INT");
}

TEST(Compounds, ArePacked) {
  const Owned type = compound();
  EXPECT_EQ(call("H5Tpack", type).size(), 0U);
  EXPECT_EQ(callNumber("H5Tget_size", type), 15);
  EXPECT_EQ(callNumber("H5Tget_member_offset", type, 2), 10);
  expectLibraryError("H5Tpack", "H5T_NATIVE_INT");
}

TEST(Compounds, WithoutMembersAreNotPacked) {
  const Owned bare = make("H5Tcreate", "H5T_COMPOUND", 8);
  const Owned bares = make("H5Tarray_create", bare, row({3}));
  const Owned outer = make("H5Tcreate", "H5T_COMPOUND", 32);
  call("H5Tinsert", outer, "bares", 8, bares);
  for (const Owned* type : {&bare, &bares, &outer}) expectLibraryError("H5Tpack", *type);
}

TEST(Compounds, TakeMembersThatFit) {
  const Owned type = compound();
  expectLibraryError("H5Tinsert", type, "d", 22, "H5T_NATIVE_DOUBLE");
  expectLibraryError("H5Tinsert", type, "a", 8, "H5T_STD_I32LE");
  expectRaises("notString", {std::string("member name")}, "H5Tinsert", type, 1, 8, "H5T_STD_I32LE");
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tinsert", type, "d", -1, "H5T_STD_I32LE");
  expectRaises("constantNotFound", {std::string("int")}, "H5Tinsert", type, "d", 8, "int");
  expectRaises("doubleDatatypeHidtMismatch", {std::string("datatype identifier")}, "H5Tinsert",
               type, "d", 8, true);
  call("H5Tinsert", type, "d", 8, "H5T_STD_I32LE");
  EXPECT_EQ(callNumber("H5Tget_nmembers", type), 4);
}

TEST(Compounds, ReportTheFirstBadInput) {
  expectRaises("constantNotFound", {std::string("first")}, "H5Tinsert", "first", 1, -1, "last");
  expectRaises("notString", {std::string("member name")}, "H5Tinsert", kNoIdentifier, 1, -1,
               "last");
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tinsert", kNoIdentifier, "x", -1, "last");
  expectRaises("constantNotFound", {std::string("last")}, "H5Tinsert", kNoIdentifier, "x", 0,
               "last");
}

TEST(Compounds, HaveMembersNamedInUtf8) {
  const Owned type = make("H5Tcreate", "H5T_COMPOUND", 4);
  call("H5Tinsert", type, "größe", 0, "H5T_STD_I32LE");
  EXPECT_EQ(callText("H5Tget_member_name", type, 0), "größe");
}

// --- Opaque data ---------------------------------------------------------------------

TEST(OpaqueDatatypes, HaveTags) {
  const Owned type = make("H5Tcreate", "H5T_OPAQUE", 4);
  EXPECT_EQ(callText("H5Tget_tag", type), "");
  call("H5Tset_tag", type, "four bytes");
  EXPECT_EQ(callText("H5Tget_tag", type), "four bytes");
  expectRaises("notString", {std::string("tag")}, "H5Tset_tag", type, 4);
  expectLibraryError("H5Tset_tag", type, std::string(256, 'x'));
  expectLibraryError("H5Tset_tag", "H5T_NATIVE_INT", "x");
  expectLibraryError("H5Tget_tag", "H5T_NATIVE_INT");
}

TEST(Compounds, WithoutMembersChangeTheirSizeSince110) {
  const Owned type = make("H5Tcreate", "H5T_COMPOUND", 24);
  if (hdf5::kSince110) {
    call("H5Tset_size", type, 8);
    EXPECT_EQ(callNumber("H5Tget_size", type), 8);
  } else {
    expectLibraryError("H5Tset_size", type, 8);
  }
}

}  // namespace
