// Values of enumerations: their class by size and sign, what an insertion keeps of a
// number, and the two queries that differ in byte order.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <string>
#include <utility>

#include "tests/unit/datatypes.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/limits.hpp"

namespace {

using namespace h5test;

Owned enumerationOn(const char* base) { return make("H5Tenum_create", base); }

/// An enumeration on an integer of any number of bytes.
Owned enumerationOfSize(double bytes, const char* sign = "H5T_SGN_2",
                        const char* order = "H5T_ORDER_LE") {
  const Owned base = make("H5Tcopy", "H5T_STD_I64LE");
  call("H5Tset_precision", base, 8 * bytes);
  call("H5Tset_size", base, bytes);
  call("H5Tset_sign", base, sign);
  call("H5Tset_order", base, order);
  return make("H5Tenum_create", base);
}

void insert(const Owned& type, const char* name, const Argument& value) {
  EXPECT_EQ(call("H5Tenum_insert", type, name, value.array).size(), 0U) << name;
}

template <class Number>
Number dataOf(const Value& value) {
  Number data;
  if (zbGetElementSize(value.get()) != sizeof data) {
    ADD_FAILURE() << zembra::describe(value.get()) << " has elements of another size";
    return {};
  }
  std::memcpy(&data, zbGetData(value.get()), sizeof data);
  return data;
}

/// What a script reads back of a value that it inserted.
double inserted(const char* base, const Argument& value) {
  const Owned type = enumerationOn(base);
  insert(type, "value", value);
  return numberOf(result("H5Tget_member_value", type, 0));
}

// --- Inserting -----------------------------------------------------------------------

TEST(EnumerationInsert, TakesEveryNumericClass) {
  for (const zbClass type :
       {zbClass::Double, zbClass::Single, zbClass::Int8, zbClass::UInt8, zbClass::Int16,
        zbClass::UInt16, zbClass::Int32, zbClass::UInt32, zbClass::Int64, zbClass::UInt64}) {
    EXPECT_EQ(inserted("H5T_STD_I32BE", numeric(type, {100})), 100);
  }
  for (const zbClass type : {zbClass::Double, zbClass::Single, zbClass::Int8, zbClass::Int16,
                             zbClass::Int32, zbClass::Int64}) {
    EXPECT_EQ(inserted("H5T_STD_I32BE", numeric(type, {-100})), -100);
  }
}

TEST(EnumerationInsert, CutsFractionsOff) {
  EXPECT_EQ(inserted("H5T_STD_I32LE", 2.9), 2);
  EXPECT_EQ(inserted("H5T_STD_I32LE", -2.9), -2);
  EXPECT_EQ(inserted("H5T_STD_I32LE", numeric(zbClass::Single, {-0.5})), 0);
}

TEST(EnumerationInsert, KeepsTheLowBits) {
  EXPECT_EQ(inserted("H5T_STD_U8LE", 300), 44);
  EXPECT_EQ(inserted("H5T_STD_U8LE", -1), 255);
  EXPECT_EQ(inserted("H5T_STD_I8LE", 300), 44);
  EXPECT_EQ(inserted("H5T_STD_I8LE", 200), -56);
  EXPECT_EQ(inserted("H5T_STD_U16BE", 65537), 1);
  EXPECT_EQ(inserted("H5T_STD_I16BE", 65535), -1);
  EXPECT_EQ(inserted("H5T_STD_U32BE", 4294967297.0), 1);
  EXPECT_EQ(inserted("H5T_STD_U32LE", -1), 4294967295.0);
  EXPECT_EQ(inserted("H5T_STD_I32LE", 4294967295.0), -1);
}

TEST(EnumerationInsert, KeepsAllBitsOfLongIntegers) {
  const std::int64_t least = std::numeric_limits<std::int64_t>::min();
  const std::int64_t odd = 9007199254740993;  // no double
  const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
  const Owned isSigned = enumerationOn("H5T_STD_I64BE");
  insert(isSigned, "least", zembra::makeNumeric(zbClass::Int64, {1, 1}, &least));
  insert(isSigned, "odd", zembra::makeNumeric(zbClass::Int64, {1, 1}, &odd));
  EXPECT_EQ(dataOf<std::int64_t>(result("H5Tget_member_value", isSigned, 0)), least);
  EXPECT_EQ(dataOf<std::int64_t>(result("H5Tget_member_value", isSigned, 1)), odd);
  const Owned isUnsigned = enumerationOn("H5T_STD_U64BE");
  insert(isUnsigned, "most", zembra::makeNumeric(zbClass::UInt64, {1, 1}, &most));
  EXPECT_EQ(dataOf<std::uint64_t>(result("H5Tget_member_value", isUnsigned, 0)), most);
}

TEST(EnumerationInsert, TakesDoublesBeyondAllIntegersForTheLeastOne) {
  for (const double value : {9223372036854775808.0, -1e300, kInfinity, -kInfinity, kNaN}) {
    const Owned type = enumerationOn("H5T_STD_I64LE");
    insert(type, "value", value);
    EXPECT_EQ(dataOf<std::int64_t>(result("H5Tget_member_value", type, 0)),
              std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(inserted("H5T_STD_I32LE", value), 0);  // its low 32 bits
  }
  EXPECT_EQ(inserted("H5T_STD_I64LE", -9223372036854775808.0), -9223372036854775808.0);
}

TEST(EnumerationInsert, TakesOneValue) {
  const Owned type = enumerationOn("H5T_STD_I32LE");
  Value complex = number(1);
  complex.get()->complex = true;
  Value sparse = number(1);
  sparse.get()->sparse = true;
  for (const Value& value : {row({1, 2}), numeric(zbClass::Int32, {1, 2}), text("12"), empty(),
                             numeric(zbClass::Int32, {}), text(""), complex, sparse,
                             cell({number(1)}), structure({{"a", number(1)}}), identifier(1),
                             function([](int, std::span<zbArray* const>) { return Results(); }),
                             zembra::makeForeign(zembra::Origin())}) {
    expectRaises("badEnumInsertArgument", {}, "H5Tenum_insert", type, "value", value);
  }
  EXPECT_EQ(callNumber("H5Tget_nmembers", type), 0);
}

TEST(EnumerationInsert, TakesNeitherTextNorTruth) {
  const Owned type = enumerationOn("H5T_STD_I32LE");
  expectRaises("badEnumArgumentClass", {}, "H5Tenum_insert", type, "value", "1");
  expectRaises("badEnumArgumentClass", {}, "H5Tenum_insert", type, "value", true);
}

TEST(EnumerationInsert, ReportsTheFirstBadInput) {
  expectRaises("notString", {std::string("member name")}, "H5Tenum_insert", 99, 1, row({1, 2}));
  expectRaises("badEnumInsertArgument", {}, "H5Tenum_insert", 99, "x", row({1, 2}));
}

TEST(EnumerationInsert, RefusesWhatHdf5Refuses) {
  const Owned type = enumerationOn("H5T_STD_I32LE");
  insert(type, "one", 1);
  expectLibraryError("H5Tenum_insert", type, "one", 2);
  expectLibraryError("H5Tenum_insert", type, "uno", 1);
  EXPECT_EQ(callNumber("H5Tget_nmembers", type), 1);
}

TEST(EnumerationInsert, LeavesOtherClassesAlone) {
  // Bases of these are no numbers: sequences and strings are pointers in memory.
  const Owned text = variableText();
  const Owned sequence = sequenceOf(H5T_STD_I32BE);
  const Owned texts = sequenceOf(text);
  const Owned sequences = arrayOf(sequence, {3});
  const Owned moreTexts = arrayOf(text, {3});
  const Owned record = make("H5Tcreate", "H5T_COMPOUND", 300);
  for (const Owned* type : {&text, &sequence, &texts, &sequences, &moreTexts, &record}) {
    expectLibraryError("H5Tenum_insert", *type, "x", 1e9);
    expectLibraryError("H5Tenum_nameof", *type, numeric(zbClass::Int32, {1}));
    expectLibraryError("H5Tenum_valueof", *type, "x");
    expectLibraryError("H5Tget_member_value", *type, 0);
  }
  expectLibraryError("H5Tenum_insert", "H5T_NATIVE_INT", "x", 1);
  expectLibraryError("H5Tenum_insert", "H5T_NATIVE_DOUBLE", "x", 1);
}

// --- The class of values -------------------------------------------------------------

TEST(EnumerationValues, HaveTheClassOfTheirSizeAndSign) {
  struct Case {
    double bytes;
    zbClass isSigned;
    zbClass isUnsigned;
  };
  for (const Case& c : {Case{1, zbClass::Int8, zbClass::UInt8},
                        {2, zbClass::Int16, zbClass::UInt16},
                        {3, zbClass::Int32, zbClass::UInt32},
                        {4, zbClass::Int32, zbClass::UInt32},
                        {5, zbClass::Int64, zbClass::UInt64},
                        {6, zbClass::Int64, zbClass::UInt64},
                        {7, zbClass::Int64, zbClass::UInt64},
                        {8, zbClass::Int64, zbClass::UInt64}}) {
    for (const char* order : {"H5T_ORDER_LE", "H5T_ORDER_BE"}) {
      for (const auto& [sign, expected] :
           {std::pair("H5T_SGN_2", c.isSigned), std::pair("H5T_SGN_NONE", c.isUnsigned)}) {
        const Owned type = enumerationOfSize(c.bytes, sign, order);
        insert(type, "five", 5);
        for (const Value& value :
             {result("H5Tenum_valueof", type, "five"), result("H5Tget_member_value", type, 0)}) {
          EXPECT_EQ(classOf(value), expected) << c.bytes << " " << sign;
          EXPECT_EQ(shapeOf(value), (Shape{1, 1}));
        }
        EXPECT_EQ(numberOf(result("H5Tget_member_value", type, 0)), 5) << c.bytes << " " << sign;
      }
    }
  }
}

TEST(EnumerationValues, OfOddSizesKeepTheirSignAsMembers) {
  const Owned type = enumerationOfSize(3);
  insert(type, "minus", -2);
  EXPECT_EQ(numberOf(result("H5Tget_member_value", type, 0)), -2);
  // As the datatype holds it: three bytes, and a zero behind them.
  EXPECT_EQ(numberOf(result("H5Tenum_valueof", type, "minus")), 0xFFFFFE);
}

TEST(EnumerationValues, AreInTheByteOrderOfTheDatatypeOrOfTheMachine) {
  const Owned type = enumerationOn("H5T_STD_I16BE");
  insert(type, "two", 2);
  insert(type, "minus", -2);
  EXPECT_EQ(numberOf(result("H5Tget_member_value", type, 0)), 2);
  EXPECT_EQ(numberOf(result("H5Tget_member_value", type, 1)), -2);
  EXPECT_EQ(numberOf(result("H5Tenum_valueof", type, "two")), 0x0200);
  const Value minus = result("H5Tenum_valueof", type, "minus");
  EXPECT_EQ(classOf(minus), zbClass::Int16);
  EXPECT_EQ(numberOf(minus), static_cast<std::int16_t>(0xFEFF));
}

TEST(EnumerationValues, WiderThanEightBytesHaveNoClass) {
  for (const double bytes : {9.0, 16.0, 40.0}) {
    const Owned type = enumerationOfSize(bytes);
    insert(type, "five", 5);
    const auto error = failureOf("H5Tenum_valueof", {type, "five"});
    ASSERT_TRUE(error);
    EXPECT_EQ((*error)->identifier, "Zembra:host:badClass");
    // The machine's own integers are not that wide: members come in eight bytes.
    const Value value = result("H5Tget_member_value", type, 0);
    EXPECT_EQ(classOf(value), zbClass::Int64);
    EXPECT_EQ(numberOf(value), 5);
  }
}

TEST(EnumerationValues, NeedMembersThatExist) {
  const Owned type = enumerationOn("H5T_STD_I32LE");
  expectLibraryError("H5Tenum_valueof", type, "one");
  expectLibraryError("H5Tget_member_value", type, 0);
  insert(type, "one", 1);
  expectLibraryError("H5Tenum_valueof", type, "One");
  expectLibraryError("H5Tget_member_value", type, 1);
  expectRaises("notString", {std::string("member name")}, "H5Tenum_valueof", type, 1);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Tget_member_value", type, -1);
  expectLibraryError("H5Tenum_valueof", "H5T_NATIVE_INT", "one");
  expectLibraryError("H5Tget_member_value", "H5T_NATIVE_INT", 0);
}

// --- Names of values -----------------------------------------------------------------

TEST(EnumerationNames, AreOfValuesAsTheDatatypeHoldsThem) {
  const Owned little = enumerationOn("H5T_STD_I16LE");
  insert(little, "two", 2);
  EXPECT_EQ(callText("H5Tenum_nameof", little, numeric(zbClass::Int16, {2})), "two");
  EXPECT_EQ(callText("H5Tenum_nameof", little, numeric(zbClass::UInt8, {2, 0})), "two");
  expectLibraryError("H5Tenum_nameof", little, numeric(zbClass::Int16, {3}));
  const Owned big = enumerationOn("H5T_STD_I16BE");
  insert(big, "two", 2);
  expectLibraryError("H5Tenum_nameof", big, numeric(zbClass::Int16, {2}));
  EXPECT_EQ(callText("H5Tenum_nameof", big, numeric(zbClass::Int16, {0x0200})), "two");
}

TEST(EnumerationNames, AreOfWhatTheTwoQueriesGive) {
  const Owned type = enumerationOn("H5T_STD_I32BE");
  insert(type, "red", 1);
  insert(type, "green", -7);
  EXPECT_EQ(callText("H5Tenum_nameof", type, result("H5Tenum_valueof", type, "green")), "green");
  EXPECT_EQ(callText("H5Tget_member_name", type, 1), "green");
  EXPECT_EQ(callNumber("H5Tget_member_index", type, "green"), 1);
}

TEST(EnumerationNames, OfShortValuesReadZerosBehindThem) {
  const Owned type = enumerationOn("H5T_STD_I64LE");
  insert(type, "five", 5);
  EXPECT_EQ(callText("H5Tenum_nameof", type, numeric(zbClass::Int8, {5})), "five");
  insert(type, "one", 1);
  EXPECT_EQ(callText("H5Tenum_nameof", type, true), "one");
}

TEST(EnumerationNames, OfLongValuesReadTheirBeginning) {
  const Owned type = enumerationOn("H5T_STD_U8LE");
  insert(type, "five", 5);
  EXPECT_EQ(callText("H5Tenum_nameof", type, numeric(zbClass::Int32, {5, 6, 7})), "five");
}

TEST(EnumerationNames, AreRefusedForValuesWithoutData) {
  const Owned type = enumerationOn("H5T_STD_I32LE");
  insert(type, "zero", 0);
  for (const Value& value :
       {empty(), numeric(zbClass::Int32, {}), text(""), cell({number(0)}),
        structure({{"a", number(0)}}), identifier(0), zembra::makeForeign(zembra::Origin())}) {
    expectLibraryError("H5Tenum_nameof", type, value);
  }
}

TEST(EnumerationNames, FitIn1024Bytes) {
  const Owned type = enumerationOn("H5T_STD_I32LE");
  const std::string longest(1023, 'x');
  insert(type, longest.c_str(), 1);
  insert(type, std::string(1024, 'y').c_str(), 2);
  EXPECT_EQ(callText("H5Tenum_nameof", type, numeric(zbClass::Int32, {1})), longest);
  expectLibraryError("H5Tenum_nameof", type, numeric(zbClass::Int32, {2}));
}

}  // namespace
