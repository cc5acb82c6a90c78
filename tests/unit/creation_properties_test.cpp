// What datasets, groups and objects are created with: every setter with its getter,
// filters and their client data, fill values of every class, external files.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/complaints.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/round_trips.hpp"

namespace {

using namespace h5test;

const char* const kDataset = "H5P_DATASET_CREATE";
const char* const kGroup = "H5P_GROUP_CREATE";

TEST(CreationProperties, NameTheInputThatIsWrong) {
  const Input list = listInput("property list identifier");
  const Input listOrClass = classInput("property list identifier");
  const Input plain = listInput("property list");
  const Input dataset = listInput("dataset creation property list");
  const Input group = listInput("group creation property list");
  const Input groupId = listInput("group creation property list identifier");
  const Input scalar = scalarInput();
  const Input any = anyInput();
  Input dimensions = {
      row({1}),
      {{numeric(zbClass::Single, {1}), "notDoublePrecision", {std::string("dimensions")}},
       {"1", "notDoublePrecision", {std::string("dimensions")}},
       {row({4, -1}), "numericCastError", {}}}};
  Input clientData = {empty(),
                      {{row({0, -1}), "scalarValueInputOutOfRange", {}},
                       {row({4294967296.0}), "scalarValueInputOutOfRange", {}},
                       {cell({number(1)}), "scalarValueInputOutOfRange", {}}}};
  Input fileName = {"name",
                    {{1, "notString", {std::string("NAME")}},
                     {cell({text("name")}), "notString", {std::string("NAME")}}}};
  Input reserved = {1,
                    {{"h5f_unlimited", "badBytesReservedArgument", {std::string("h5f_unlimited")}},
                     {"", "badBytesReservedArgument", {std::string("")}}}};
  Input memoryType = {
      "H5T_NATIVE_INT",
      {{"H5T_NATIVE_INTEGER", "constantNotFound", {std::string("H5T_NATIVE_INTEGER")}},
       {"H5ZB_DEFAULT", "constantNotFound", {std::string("H5ZB_DEFAULT")}},
       {cell({}), "doubleHidtMismatch", {std::string("memory type identifier")}}}};

  expectComplaints("H5Pset_layout", {dataset, enumInputOf(3)});
  expectComplaints("H5Pget_layout", {dataset});
  expectComplaints("H5Pset_chunk", {plain, dimensions});
  expectComplaints("H5Pget_chunk", {plain});
  expectComplaints("H5Pset_deflate", {list, scalar});
  expectComplaints("H5Pset_shuffle", {dataset});
  expectComplaints("H5Pset_fletcher32", {list});
  expectComplaints("H5Pset_nbit", {plain});
  expectComplaints("H5Pset_scaleoffset",
                   {listInput("dataset access property list"), enumInputOf(3), intInput()});
  expectComplaints("H5Pset_filter", {list, enumInputOf(7), scalar, clientData});
  expectComplaints("H5Pmodify_filter", {list, intInput(), scalar, clientData});
  expectComplaints("H5Premove_filter", {list, enumInputOf(7)});
  expectComplaints("H5Pget_nfilters", {list});
  expectComplaints("H5Pget_filter", {listOrClass, scalar});
  expectComplaints("H5Pget_filter_by_id", {listOrClass, enumInputOf(7)});
  expectComplaints("H5Pall_filters_avail", {list});
  expectComplaints("H5Pset_fill_value", {list, memoryType, any});
  expectComplaints("H5Pget_fill_value", {list, memoryType});
  expectComplaints("H5Pfill_value_defined", {list});
  expectComplaints("H5Pset_fill_time", {list, enumInputOf(3)});
  expectComplaints("H5Pget_fill_time", {list});
  expectComplaints("H5Pset_alloc_time", {list, enumInputOf(4)});
  expectComplaints("H5Pget_alloc_time", {list});
  expectComplaints("H5Pset_external", {list, fileName, intInput(), reserved});
  expectComplaints("H5Pget_external", {list, scalar});
  expectComplaints("H5Pget_external_count", {list});
  expectComplaints("H5Pset_attr_creation_order",
                   {listInput("dataset or group creation property list"), scalar});
  expectComplaints("H5Pget_attr_creation_order",
                   {listInput("group or dataset creation property list identifier")});
  expectComplaints("H5Pset_link_creation_order", {group, scalar});
  expectComplaints("H5Pget_link_creation_order", {groupId});
  expectComplaints("H5Pset_attr_phase_change",
                   {listInput("object creation property list"), scalar, scalar});
  expectComplaints("H5Pget_attr_phase_change",
                   {listInput("object creation property list identifier")});
  expectComplaints("H5Pset_link_phase_change", {group, scalar, scalar});
  expectComplaints("H5Pget_link_phase_change", {groupId});
}

TEST(CreationProperties, RaiseOnListsThatAreNone) {
  for (const char* name :
       {"H5Pget_chunk", "H5Pset_shuffle", "H5Pset_fletcher32", "H5Pset_nbit", "H5Pget_nfilters",
        "H5Pall_filters_avail", "H5Pfill_value_defined", "H5Pget_fill_time", "H5Pget_alloc_time",
        "H5Pget_external_count", "H5Pget_attr_creation_order", "H5Pget_link_creation_order",
        "H5Pget_attr_phase_change", "H5Pget_link_phase_change"}) {
    expectLibraryError(name, kNoIdentifier);
  }
  for (const char* name :
       {"H5Pset_layout", "H5Pset_deflate", "H5Premove_filter", "H5Pget_filter",
        "H5Pget_filter_by_id", "H5Pset_fill_time", "H5Pset_alloc_time", "H5Pget_external",
        "H5Pset_attr_creation_order", "H5Pset_link_creation_order"}) {
    expectLibraryError(name, kNoIdentifier, 0);
  }
  expectLibraryError("H5Pset_chunk", kNoIdentifier, row({1}));
  expectLibraryError("H5Pset_scaleoffset", kNoIdentifier, 2, 0);
  expectLibraryError("H5Pset_attr_phase_change", kNoIdentifier, 8, 6);
  expectLibraryError("H5Pset_link_phase_change", kNoIdentifier, 8, 6);
  expectLibraryError("H5Pset_filter", kNoIdentifier, 1, 0, number(6));
  expectLibraryError("H5Pmodify_filter", kNoIdentifier, 1, 0, number(6));
  expectLibraryError("H5Pset_external", kNoIdentifier, "raw", 0, 8);
  expectLibraryError("H5Pset_fill_value", kNoIdentifier, "H5T_NATIVE_DOUBLE", 1);
  expectLibraryError("H5Pset_fill_value", kNoIdentifier, "H5T_NATIVE_DOUBLE", empty());
  expectLibraryError("H5Pget_fill_value", kNoIdentifier, "H5T_NATIVE_DOUBLE");
  // The layout alone comes back as it is.
  EXPECT_LT(callNumber("H5Pget_layout", kNoIdentifier), 0);
}

class CreationRoundTrip : public testing::TestWithParam<RoundTrip> {};

INSTANTIATE_TEST_SUITE_P(
    , CreationRoundTrip,
    testing::Values(RoundTrip{"layout", kDataset, {"H5D_COMPACT"}, {0}},
                    RoundTrip{"layout", kDataset, {2}, {2}},
                    RoundTrip{"fill_time", kDataset, {"H5D_FILL_TIME_NEVER"}, {1}},
                    RoundTrip{"fill_time", kDataset, {0}, {0}},
                    RoundTrip{"alloc_time", kDataset, {"H5D_ALLOC_TIME_EARLY"}, {1}},
                    RoundTrip{"alloc_time", kDataset, {3}, {3}},
                    RoundTrip{"attr_creation_order", kDataset, {3}, {3}},
                    RoundTrip{"attr_creation_order", kGroup, {1}, {1}},
                    RoundTrip{"attr_phase_change", kDataset, {12, 4.9}, {12, 4}},
                    RoundTrip{"link_creation_order", kGroup, {3}, {3}},
                    RoundTrip{"link_phase_change", kGroup, {100, 50}, {100, 50}}),
    tripName);

TEST_P(CreationRoundTrip, GivesBackWhatWasSet) { expectRoundTrip(GetParam()); }

TEST(CreationProperties, RefuseWhatHdf5Refuses) {
  const Owned dataset = makeList(kDataset);
  const Owned group = makeList(kGroup);
  expectLibraryError("H5Pset_attr_creation_order", dataset, 2);  // an index without tracking
  expectLibraryError("H5Pset_link_creation_order", group, 2);
  expectLibraryError("H5Pset_attr_phase_change", dataset, 4, 12);
  expectLibraryError("H5Pset_link_phase_change", group, 4, 12);
  expectLibraryError("H5Pset_deflate", dataset, 10);
  expectLibraryError("H5Pset_scaleoffset", dataset, "H5Z_SO_INT", -1);
  expectLibraryError("H5Pset_layout", group, "H5D_COMPACT");
}

// --- Chunks --------------------------------------------------------------------------

TEST(Chunks, KeepTheOrderOfTheirDimensions) {
  const Owned list = makeList(kDataset);
  expectLibraryError("H5Pget_chunk", list);
  EXPECT_TRUE(call("H5Pset_chunk", list, row({10, 20})).empty());
  const Results results = call("H5Pget_chunk", list);
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(numberOf(results[0]), 2);
  EXPECT_EQ(shapeOf(results[1]), Shape({1, 2}));
  EXPECT_EQ(numbersOf(results[1]), Numbers({10, 20}));
  EXPECT_EQ(callNumber("H5Pget_layout", list), 2);
}

TEST(Chunks, TakeVectorsOfAnyShapeUpTo32Dimensions) {
  const Owned list = makeList(kDataset);
  call("H5Pset_chunk", list, column({3.9, 4, 5}));
  EXPECT_EQ(numbersOf(call("H5Pget_chunk", list)[1]), Numbers({3, 4, 5}));
  call("H5Pset_chunk", list, row(Numbers(32, 1)));
  EXPECT_EQ(shapeOf(call("H5Pget_chunk", list)[1]), Shape({1, 32}));
  expectLibraryError("H5Pset_chunk", list, row(Numbers(33, 1)));
  expectLibraryError("H5Pset_chunk", list, empty());
  expectLibraryError("H5Pset_chunk", list, row({0}));
  expectLibraryError("H5Pset_chunk", list, row({4294967296.0}));
}

// --- Filters -------------------------------------------------------------------------

TEST(FilterPipeline, ListsItsFilters) {
  const Owned list = makeList(kDataset);
  EXPECT_EQ(callNumber("H5Pget_nfilters", list), 0);
  EXPECT_EQ(callNumber("H5Pall_filters_avail", list), 1);
  call("H5Pset_shuffle", list);
  call("H5Pset_deflate", list, 7);
  call("H5Pset_fletcher32", list);
  call("H5Pset_nbit", list);
  call("H5Pset_scaleoffset", list, "H5Z_SO_FLOAT_DSCALE", 3);
  EXPECT_EQ(callNumber("H5Pget_nfilters", list), 5);
  const double expected[] = {2, 1, 3, 5, 6};
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(numberOf(call("H5Pget_filter", list, i)[0]), expected[i]);
  }
  expectLibraryError("H5Pget_filter", list, 5);
  call("H5Premove_filter", list, "H5Z_FILTER_DEFLATE");
  EXPECT_EQ(callNumber("H5Pget_nfilters", list), 4);
  expectLibraryError("H5Premove_filter", list, "H5Z_FILTER_DEFLATE");
  call("H5Premove_filter", list, "H5Z_FILTER_ALL");
  EXPECT_EQ(callNumber("H5Pget_nfilters", list), 0);
}

TEST(FilterPipeline, GivesAsManyOutputsAsAskedFor) {
  const Owned list = makeList(kDataset);
  call("H5Pset_deflate", list, 7);
  const Arguments arguments = {list, 0};
  for (int asked = 0; asked <= 5; ++asked) {
    const Results results = callWith(asked, "H5Pget_filter", arguments);
    ASSERT_EQ(results.size(), static_cast<std::size_t>(std::max(asked, 1)));
    EXPECT_EQ(numberOf(results[0]), 1);
    if (asked > 1) {
      EXPECT_EQ(numberOf(results[1]), 1);  // optional
    }
    if (asked > 2) {
      EXPECT_EQ(shapeOf(results[2]), Shape({1, 1}));
      EXPECT_EQ(numbersOf(results[2]), Numbers({7}));
    }
    if (asked > 3) {
      EXPECT_EQ(textOf(results[3]), "deflate");
    }
    if (asked > 4) {
      EXPECT_EQ(numberOf(results[4]), 3);  // encodes and decodes
    }
  }
  for (const int asked : {1, 4, 5}) {
    const auto error = failureOf("H5Pget_filter", {list, 1}, asked);
    ASSERT_TRUE(error);
    EXPECT_TRUE((*error)->libraryFailure);
  }
}

TEST(FilterPipeline, GivesEmptyClientDataOfAFilterWithoutAny) {
  const Owned list = makeList(kDataset);
  call("H5Pset_fletcher32", list);
  const Results results = call("H5Pget_filter", list, 0);
  ASSERT_EQ(results.size(), 5U);
  EXPECT_EQ(classOf(results[2]), zbClass::Double);
  EXPECT_EQ(shapeOf(results[2]), Shape({0, 0}));
  EXPECT_EQ(numberOf(results[1]), 0);  // mandatory
  EXPECT_EQ(shapeOf(call("H5Pget_filter_by_id", list, "H5Z_FILTER_FLETCHER32")[1]), Shape({0, 1}));
}

TEST(FilterPipeline, TakesClientDataOfAnyClass) {
  const std::vector<std::pair<Value, Numbers>> data = {
      {row({1, 2.9, -0.5}), {1, 2, 0}},
      {matrix(2, 2, {4294967295.0, 2, 3, 4}), {4294967295.0, 2, 3, 4}},
      {numeric(zbClass::UInt8, {200, 201}), {200, 201}},
      {numeric(zbClass::Int32, {5}), {5}},
      {logical(true), {1}},
      {empty(), {}},
  };
  for (const auto& [value, expected] : data) {
    const Owned list = makeList(kDataset);
    call("H5Pset_filter", list, "H5Z_FILTER_DEFLATE", 1, value);
    const Results results = call("H5Pget_filter_by_id", list, "H5Z_FILTER_DEFLATE");
    ASSERT_EQ(results.size(), 4U);
    EXPECT_EQ(numberOf(results[0]), 1);
    EXPECT_EQ(shapeOf(results[1]), Shape({expected.size(), 1}));
    EXPECT_EQ(numbersOf(results[1]), expected);
    EXPECT_EQ(textOf(results[2]), "deflate");
    EXPECT_EQ(numberOf(results[3]), 3);
  }
}

TEST(FilterPipeline, GivesAllClientDataHoweverMany) {
  const Owned list = makeList(kDataset);
  Numbers values(256);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i * i);
  call("H5Pset_filter", list, "H5Z_FILTER_DEFLATE", 0, row(values));
  for (const int asked : {3, 4, 5}) {
    EXPECT_EQ(numbersOf(callWith(asked, "H5Pget_filter", {list, 0})[2]), values);
  }
  EXPECT_EQ(numbersOf(call("H5Pget_filter_by_id", list, 1)[1]), values);
}

TEST(FilterPipeline, RefusesFiltersThatAreNotThere) {
  const Owned list = makeList(kDataset);
  expectLibraryError("H5Pget_filter_by_id", list, "H5Z_FILTER_DEFLATE");
  expectLibraryError("H5Pget_filter", list, 0);
  expectLibraryError("H5Pset_filter", list, "H5Z_FILTER_DEFLATE", 0xFFFFFF, number(6));
}

TEST(FilterPipeline, IsModifiedByNumberOnly) {
  const Owned list = makeList(kDataset);
  expectRaises("noFiltersToModify", {}, "H5Pmodify_filter", list, 1, 0, number(3));
  call("H5Pset_deflate", list, 7);
  call("H5Pmodify_filter", list, 1, 0, row({3}));
  const Results results = call("H5Pget_filter", list, 0);
  EXPECT_EQ(numberOf(results[1]), 0);
  EXPECT_EQ(numbersOf(results[2]), Numbers({3}));
  expectRaises("scalarValueInputOutOfRange", {}, "H5Pmodify_filter", list, "H5Z_FILTER_DEFLATE", 0,
               number(3));
  expectLibraryError("H5Pmodify_filter", list, 2, 0, empty());  // not in the pipeline
  // The inputs are looked at before the pipeline.
  expectRaises("scalarValueInputOutOfRange", {}, "H5Pmodify_filter", makeList(kDataset), 1, 0,
               row({-1}));
}

/// A filter that nobody has an encoder for.
TEST(FilterPipeline, KnowsWhatIsNotAvailable) {
  const Owned list = makeList(kDataset);
  const unsigned data = 1;
  ASSERT_GE(H5Pset_filter(list.get(), 300, H5Z_FLAG_OPTIONAL, 1, &data), 0);
  EXPECT_EQ(callNumber("H5Pall_filters_avail", list), 0);
  const Results results = call("H5Pget_filter", list, 0);
  EXPECT_EQ(numberOf(results[0]), 300);
  EXPECT_EQ(numbersOf(results[2]), Numbers({1}));
}

// --- Fill values ---------------------------------------------------------------------

/// A value of a memory datatype, and others that only look like one.
void expectFillValue(const Argument& type, const Value& value, const std::vector<Value>& wrong) {
  const Owned list = makeList(kDataset);
  for (const Value& other : wrong) {
    expectRaises("badSetFillValueArgument", {}, "H5Pset_fill_value", list, type, other);
    EXPECT_EQ(callNumber("H5Pfill_value_defined", list), 1);
  }
  EXPECT_TRUE(call("H5Pset_fill_value", list, type, value).empty());
  EXPECT_EQ(callNumber("H5Pfill_value_defined", list), 2);
  const Value back = result("H5Pget_fill_value", list, type);
  EXPECT_EQ(classOf(back), classOf(value));
  const zbArray* given = value.get();
  const std::size_t bytes = zbGetNumberOfElements(given) * zbGetElementSize(given);
  ASSERT_EQ(zbGetNumberOfElements(back.get()), zbGetNumberOfElements(given));
  if (bytes > 0) {
    EXPECT_EQ(std::memcmp(zbGetData(back.get()), zbGetData(given), bytes), 0);
  }
}

TEST(FillValues, AreOfTheClassOfTheirNumbers) {
  const std::pair<const char*, zbClass> types[] = {
      {"H5T_STD_I8LE", zbClass::Int8},     {"H5T_STD_I16BE", zbClass::Int16},
      {"H5T_NATIVE_INT", zbClass::Int32},  {"H5T_STD_I64LE", zbClass::Int64},
      {"H5T_STD_U8BE", zbClass::UInt8},    {"H5T_NATIVE_USHORT", zbClass::UInt16},
      {"H5T_STD_U32LE", zbClass::UInt32},  {"H5T_STD_U64BE", zbClass::UInt64},
      {"H5T_STD_B8LE", zbClass::UInt8},    {"H5T_NATIVE_B16", zbClass::UInt16},
      {"H5T_NATIVE_B32", zbClass::UInt32}, {"H5T_NATIVE_B64", zbClass::UInt64},
      {"H5T_IEEE_F32BE", zbClass::Single}, {"H5T_NATIVE_FLOAT", zbClass::Single},
      {"H5T_IEEE_F64LE", zbClass::Double},
  };
  for (const auto& [type, needed] : types) {
    std::vector<Value> wrong = {text("7"), cell({number(7)}), logical(true),
                                structure({{"a", number(7)}})};
    for (const zbClass other : {zbClass::Int8, zbClass::UInt8, zbClass::Int32, zbClass::UInt32,
                                zbClass::Single, zbClass::Double, zbClass::Int64}) {
      if (other != needed) wrong.push_back(numeric(other, {7}));
    }
    SCOPED_TRACE(type);
    expectFillValue(type, numeric(needed, {113}), wrong);
  }
}

TEST(FillValues, AreTexts) {
  const Owned fixed = fixedText(6);
  expectFillValue(fixed, text("barley"), {cell({text("barley")}), number(1)});
  const Owned list = makeList(kDataset);
  call("H5Pset_fill_value", list, fixed, "rye");
  EXPECT_EQ(callText("H5Pget_fill_value", list, fixed).substr(0, 4), std::string("rye\0", 4));

  const Owned variable = variableText();
  expectFillValue(variable, cell({text("a text of no fixed length")}), {text("barley"), number(1)});
  call("H5Pset_fill_value", list, variable, cell({text("oats")}));
  EXPECT_EQ(textOf(element(result("H5Pget_fill_value", list, variable), 0)), "oats");
}

TEST(FillValues, AreBytes) {
  const Owned bytes = opaque(3);
  expectFillValue(bytes, numeric(zbClass::UInt8, {1, 2, 3}),
                  {numeric(zbClass::Int8, {1, 2, 3}), row({1, 2, 3})});
  expectFillValue("H5T_STD_REF_OBJ", numeric(zbClass::UInt8, {0, 0, 0, 0, 0, 0, 0, 0}),
                  {numeric(zbClass::UInt64, {0})});
}

TEST(FillValues, AreStructures) {
  const Owned type = compoundOf({{"n", H5T_NATIVE_INT}, {"x", H5T_NATIVE_DOUBLE}});
  const Value value = structure({{"n", numeric(zbClass::Int32, {-3})}, {"x", number(2.5)}});
  expectFillValue(type, value, {number(1), cell({value})});
  const Owned list = makeList(kDataset);
  call("H5Pset_fill_value", list, type, value);
  const Value back = result("H5Pget_fill_value", list, type);
  EXPECT_EQ(numberOf(field(back, "n")), -3);
  EXPECT_EQ(numberOf(field(back, "x")), 2.5);
}

TEST(FillValues, AreOfTheClassOfTheBase) {
  const Owned type = enumeration({"red", "green", "blue"}, H5T_STD_I16LE);
  expectFillValue(type, numeric(zbClass::Int16, {2}), {numeric(zbClass::Int32, {2}), number(2)});
  const Owned array = arrayOf(H5T_NATIVE_FLOAT, {2, 2});
  expectFillValue(array, numeric(zbClass::Single, {1, 2, 3, 4}), {row({1, 2, 3, 4})});
  const Owned nested = arrayOf(array, {3});
  expectFillValue(nested, numeric(zbClass::Single, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}),
                  {number(1)});
}

TEST(FillValues, AreSequences) {
  const Owned type = sequenceOf(H5T_NATIVE_INT);
  const Value value = cell({numeric(zbClass::Int32, {1, 2, 3})});
  expectFillValue(type, value, {numeric(zbClass::Int32, {1, 2, 3}), number(1)});
  const Owned list = makeList(kDataset);
  call("H5Pset_fill_value", list, type, value);
  const Value back = result("H5Pget_fill_value", list, type);
  EXPECT_EQ(numbersOf(element(back, 0)), Numbers({1, 2, 3}));
}

TEST(FillValues, AreRefusedWhereTheHostHasNoClass) {
  const Owned list = makeList(kDataset);
  for (const char* type : {"H5T_NATIVE_LDOUBLE", "H5T_UNIX_D32LE"}) {
    for (const Value& value : {number(1), numeric(zbClass::Int32, {1}), cell({number(1)})}) {
      expectRaises("badSetFillValueArgument", {}, "H5Pset_fill_value", list, type, value);
    }
  }
  expectHostError("H5Pget_fill_value", list, "H5T_UNIX_D32LE");
  expectLibraryError("H5Pset_fill_value", list, kNoIdentifier, 1);
}

TEST(FillValues, AreOneElement) {
  const Owned list = makeList(kDataset);
  expectHostError("H5Pset_fill_value", list, "H5T_NATIVE_DOUBLE", row({1, 2}));
  EXPECT_EQ(callNumber("H5Pfill_value_defined", list), 1);
}

TEST(FillValues, AreUndefinedWhenEmpty) {
  for (const char* type : {"H5T_NATIVE_DOUBLE", "H5T_NATIVE_LDOUBLE", "H5T_UNIX_D32LE"}) {
    const Owned list = makeList(kDataset);
    EXPECT_EQ(callNumber("H5Pfill_value_defined", list), 1);
    for (const Value& value : {empty(), cell({}), text(""), numeric(zbClass::Int8, {})}) {
      call("H5Pset_fill_value", list, type, value);
      EXPECT_EQ(callNumber("H5Pfill_value_defined", list), 0);
    }
  }
  const Owned list = makeList(kDataset);
  call("H5Pset_fill_value", list, "H5T_NATIVE_DOUBLE", empty());
  expectLibraryError("H5Pget_fill_value", list, "H5T_NATIVE_DOUBLE");
  // The empty text is a text like any other.
  const Owned fixed = fixedText(2);
  call("H5Pset_fill_value", list, fixed, "");
  EXPECT_EQ(callNumber("H5Pfill_value_defined", list), 2);
  EXPECT_EQ(callText("H5Pget_fill_value", list, fixed), std::string(2, '\0'));
  call("H5Pset_fill_value", list, fixed, empty());
  EXPECT_EQ(callNumber("H5Pfill_value_defined", list), 0);
}

TEST(FillValues, AreConverted) {
  const Owned list = makeList(kDataset);
  EXPECT_EQ(numberOf(result("H5Pget_fill_value", list, "H5T_NATIVE_DOUBLE")), 0);
  call("H5Pset_fill_value", list, "H5T_NATIVE_INT", numeric(zbClass::Int32, {-9}));
  const Value value = result("H5Pget_fill_value", list, "H5T_NATIVE_DOUBLE");
  EXPECT_EQ(classOf(value), zbClass::Double);
  EXPECT_EQ(shapeOf(value), Shape({1, 1}));
  EXPECT_EQ(numberOf(value), -9);
}

// --- External files ------------------------------------------------------------------

TEST(ExternalFiles, AreListed) {
  const Owned list = makeList(kDataset);
  EXPECT_EQ(callNumber("H5Pget_external_count", list), 0);
  EXPECT_TRUE(call("H5Pset_external", list, "first.raw", 16.9, 800).empty());
  call("H5Pset_external", list, "second.raw", 0, "H5F_UNLIMITED");
  EXPECT_EQ(callNumber("H5Pget_external_count", list), 2);
  Results results = call("H5Pget_external", list, 0);
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(textOf(results[0]), "first.raw");
  EXPECT_EQ(numberOf(results[1]), 16);
  EXPECT_EQ(numberOf(results[2]), 800);
  results = call("H5Pget_external", list, 1);
  EXPECT_EQ(textOf(results[0]), "second.raw");
  EXPECT_EQ(numberOf(results[1]), 0);
  EXPECT_EQ(numberOf(results[2]), kTwo64);
  expectLibraryError("H5Pget_external", list, 2);
  // Behind an unlimited file there is no room.
  expectLibraryError("H5Pset_external", list, "third.raw", 0, 8);
}

TEST(ExternalFiles, TakeSizesThatWrap) {
  const std::pair<double, double> sizes[] = {{-1, kTwo64},
                                             {9223372036854775808.0, 9223372036854775808.0},
                                             {2.9, 2},
                                             {-2, kTwo64},
                                             {kTwo64 + 4096, 4096}};
  for (const auto& [given, stored] : sizes) {
    const Owned list = makeList(kDataset);
    call("H5Pset_external", list, "raw", 0, given);
    EXPECT_EQ(numberOf(call("H5Pget_external", list, 0)[2]), stored) << given;
  }
}

TEST(ExternalFiles, HaveOffsetsOf32Bits) {
  const Owned list = makeList(kDataset);
  call("H5Pset_external", list, "raw", 2147483647, 8);
  EXPECT_EQ(numberOf(call("H5Pget_external", list, 0)[1]), 2147483647);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Pset_external", list, "raw", 2147483648.0, 8);
  expectLibraryError("H5Pset_external", list, "raw", -1, 8);
}

TEST(ExternalFiles, HaveNamesCutTo2047Bytes) {
  const Owned list = makeList(kDataset);
  const std::string name(3000, 'x');
  call("H5Pset_external", list, name, 0, 8);
  EXPECT_EQ(textOf(call("H5Pget_external", list, 0)[0]), name.substr(0, 2047));
}

}  // namespace
