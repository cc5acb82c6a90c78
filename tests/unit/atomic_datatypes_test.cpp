// Atomic datatypes: byte order, sign, precision, fields, padding, character sets.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tests/unit/datatypes.hpp"
#include "tests/unit/failures.hpp"

namespace {

using namespace h5test;

/// A property that is set by name or by number and told as a number.
struct Property {
  const char* get;
  const char* set;
  const char* type;
  std::vector<const char*> names;
};

TEST(AtomicDatatypes, HaveEnumeratedProperties) {
  const Property properties[] = {
      {"H5Tget_order", "H5Tset_order", "H5T_STD_I32LE", {"H5T_ORDER_LE", "H5T_ORDER_BE"}},
      {"H5Tget_sign", "H5Tset_sign", "H5T_STD_I32LE", {"H5T_SGN_NONE", "H5T_SGN_2"}},
      {"H5Tget_cset", "H5Tset_cset", "H5T_C_S1", {"H5T_CSET_ASCII", "H5T_CSET_UTF8"}},
      {"H5Tget_strpad",
       "H5Tset_strpad",
       "H5T_C_S1",
       {"H5T_STR_NULLTERM", "H5T_STR_NULLPAD", "H5T_STR_SPACEPAD"}},
      {"H5Tget_norm",
       "H5Tset_norm",
       "H5T_IEEE_F64LE",
       {"H5T_NORM_IMPLIED", "H5T_NORM_MSBSET", "H5T_NORM_NONE"}},
      {"H5Tget_inpad",
       "H5Tset_inpad",
       "H5T_IEEE_F64LE",
       {"H5T_PAD_ZERO", "H5T_PAD_ONE", "H5T_PAD_BACKGROUND"}},
  };
  for (const Property& property : properties) {
    const Owned type = make("H5Tcopy", property.type);
    const auto count = static_cast<std::int64_t>(property.names.size());
    for (int number = static_cast<int>(count) - 1; number >= 0; --number) {
      call(property.set, type, property.names[static_cast<std::size_t>(number)]);
      EXPECT_EQ(callNumber(property.get, type), number) << property.set;
    }
    for (int number = static_cast<int>(count) - 1; number >= 0; --number) {
      call(property.set, type, number);
      EXPECT_EQ(callNumber(property.get, type), number) << property.set;
    }
    expectRaises("unmatchedStringNoParam", {std::string("nonsense")}, property.set, type,
                 "nonsense");
    expectRaises("badEnumInputType", {}, property.set, type, row({0, 1}));
    expectLibraryError(property.set, property.type, 0);  // immutable
  }
}

TEST(AtomicDatatypes, RefuseOrdersThatAreNone) {
  const Owned type = make("H5Tcopy", "H5T_STD_I32LE");
  expectRaises("badEnumNumericInput", {std::int64_t{4}, std::int64_t{4}}, "H5Tset_order", type, 4);
  expectLibraryError("H5Tset_order", type, 3);
}

TEST(AtomicDatatypes, OfAnotherClassHaveNoSuchProperty) {
  expectLibraryError("H5Tget_sign", "H5T_C_S1");
  expectLibraryError("H5Tget_norm", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_strpad", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_inpad", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_ebias", "H5T_NATIVE_INT");
  expectLibraryError("H5Tget_fields", "H5T_NATIVE_INT");
  const Owned type = compoundOf({{"a", H5T_NATIVE_INT}});
  expectLibraryError("H5Tget_precision", type);
  expectLibraryError("H5Tget_offset", type);
  expectLibraryError("H5Tget_pad", type);
  EXPECT_EQ(callNumber("H5Tget_cset", "H5T_NATIVE_INT"), -1);
}

TEST(AtomicDatatypes, HavePrecisionAndOffset) {
  const Owned type = make("H5Tcopy", "H5T_STD_U32LE");
  call("H5Tset_precision", type, 12);
  call("H5Tset_offset", type, 5);
  EXPECT_EQ(callNumber("H5Tget_precision", type), 12);
  EXPECT_EQ(callNumber("H5Tget_offset", type), 5);
  for (const Value& other :
       {numeric(zbClass::Int32, {8}), row({8, 8}), text("8"), logical(true), empty()}) {
    expectRaises("notDoublePrecision", {std::string("PREC")}, "H5Tset_precision", type, other);
  }
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_precision", type, -1);
  expectLibraryError("H5Tset_precision", type, 0);
  call("H5Tset_offset", type, numeric(zbClass::Int8, {2}));
  EXPECT_EQ(callNumber("H5Tget_offset", type), 2);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_offset", type, -1);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_offset", type, 4294967296.0);
}

TEST(AtomicDatatypes, HaveAnExponentBias) {
  const Owned type = make("H5Tcopy", "H5T_IEEE_F32LE");
  EXPECT_EQ(callNumber("H5Tget_ebias", type), 127);
  call("H5Tset_ebias", type, 100.9);
  EXPECT_EQ(callNumber("H5Tget_ebias", type), 100);
  for (const Value& other :
       {numeric(zbClass::Single, {8}), row({8, 8}), text("8"), logical(true), empty()}) {
    expectRaises("notDoublePrecision", {std::string("EBIAS")}, "H5Tset_ebias", type, other);
  }
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_ebias", type, 1e20);
  // No failure is told apart from a bias of zero.
  call("H5Tset_ebias", type, 0);
  expectLibraryError("H5Tget_ebias", type);
}

TEST(AtomicDatatypes, HaveFields) {
  const Owned type = make("H5Tcopy", "H5T_IEEE_F64LE");
  Numbers fields;
  for (const Value& field : call("H5Tget_fields", type)) fields.push_back(numberOf(field));
  EXPECT_EQ(fields, (Numbers{63, 52, 11, 0, 52}));
  call("H5Tset_fields", type, 60, 50, 10, 1, 49);
  fields.clear();
  for (const Value& field : call("H5Tget_fields", type)) fields.push_back(numberOf(field));
  EXPECT_EQ(fields, (Numbers{60, 50, 10, 1, 49}));
  expectLibraryError("H5Tset_fields", type, 60, 50, 20, 1, 49);  // they overlap
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tset_fields", type, 60, 50, 10, 1, -1);
}

TEST(AtomicDatatypes, HavePaddingOnBothSides) {
  const Owned type = make("H5Tcopy", "H5T_STD_I32LE");
  call("H5Tset_pad", type, "H5T_PAD_ONE", "H5T_PAD_BACKGROUND");
  Results pads = call("H5Tget_pad", type);
  ASSERT_EQ(pads.size(), 2U);
  EXPECT_EQ(numberOf(pads[0]), H5T_PAD_ONE);
  EXPECT_EQ(numberOf(pads[1]), H5T_PAD_BACKGROUND);
  call("H5Tset_pad", type, 0, 1);
  pads = call("H5Tget_pad", type);
  EXPECT_EQ(numberOf(pads[0]), H5T_PAD_ZERO);
  EXPECT_EQ(numberOf(pads[1]), H5T_PAD_ONE);
  expectRaises("badEnumNumericInput", {std::int64_t{3}, std::int64_t{3}}, "H5Tset_pad", type, 0, 3);
}

TEST(AtomicDatatypes, TellNoCharacterSetButTwo) {
  // HDF5 sets no other, but a file may say so.
  const Owned type = make("H5Tcopy", "H5T_C_S1");
  unsigned char encoded[64];
  std::size_t size = sizeof encoded;
  ASSERT_GE(H5Tencode(type.get(), encoded, &size), 0);
  bool found = false;
  for (std::size_t i = 0; i < size && !found; ++i) {
    // The high half of a string's first flag byte is its character set.
    const unsigned char before = encoded[i];
    encoded[i] = static_cast<unsigned char>(before | 0x20);
    const hid_t decoded = H5Tdecode(encoded);
    if (decoded >= 0 && H5Tget_cset(decoded) == H5T_CSET_RESERVED_2) {
      found = true;
      EXPECT_EQ(call("H5Tget_cset", h5gate::identifierToHost(decoded)).size(), 0U);
    }
    if (decoded >= 0) H5Tclose(decoded);
    encoded[i] = before;
  }
  EXPECT_TRUE(found) << "no byte of an encoded string datatype holds its character set";
}

}  // namespace
