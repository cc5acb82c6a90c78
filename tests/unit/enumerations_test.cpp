// Enumerated arguments: by name, by number, and everything else.
#include "convert/enumerations.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "runtime/array.hpp"
#include "runtime/host_error.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/limits.hpp"

namespace {

using zembra::Value;

struct Enumerator {
  std::string name;
  int value;
};

/// One enumeration: the converter, and what it takes.
struct Enumeration {
  std::string subject;
  int (*get)(const zbArray*);
  std::vector<Enumerator> names;

  [[nodiscard]] int count() const { return static_cast<int>(names.size()); }
  [[nodiscard]] int operator()(const Value& value) const { return get(value.get()); }
};

template <class E>
Enumeration enumeration(std::string subject, std::vector<Enumerator> names) {
  return {std::move(subject),
          [](const zbArray* array) { return static_cast<int>(h5gate::getEnumArg<E>(array)); },
          std::move(names)};
}

// Values are HDF5's own, but for those that later releases moved.
// clang-format off
#define E(Name) {#Name, static_cast<int>(Name)}
// clang-format on
const std::vector<Enumeration>& enumerations() {
  static const std::vector<Enumeration> all = {
      enumeration<H5_index_t>("index type", {E(H5_INDEX_NAME), E(H5_INDEX_CRT_ORDER)}),
      enumeration<H5_iter_order_t>("iteration order",
                                   {E(H5_ITER_INC), E(H5_ITER_DEC), E(H5_ITER_NATIVE)}),
      enumeration<H5D_alloc_time_t>("allocation time",
                                    {E(H5D_ALLOC_TIME_DEFAULT), E(H5D_ALLOC_TIME_EARLY),
                                     E(H5D_ALLOC_TIME_LATE), E(H5D_ALLOC_TIME_INCR)}),
      enumeration<H5D_fill_time_t>(
          "fill time", {E(H5D_FILL_TIME_ALLOC), E(H5D_FILL_TIME_NEVER), E(H5D_FILL_TIME_IFSET)}),
      enumeration<H5D_layout_t>("layout", {E(H5D_COMPACT), E(H5D_CONTIGUOUS), E(H5D_CHUNKED)}),
      enumeration<H5E_direction_t>("error walk direction",
                                   {E(H5E_WALK_UPWARD), E(H5E_WALK_DOWNWARD)}),
      enumeration<H5F_close_degree_t>(
          "file close degree",
          {E(H5F_CLOSE_DEFAULT), E(H5F_CLOSE_WEAK), E(H5F_CLOSE_SEMI), E(H5F_CLOSE_STRONG)}),
      enumeration<H5F_libver_t>(
          "library version bound",
          {{"H5F_LIBVER_EARLIEST", 0}, {"H5F_LIBVER_LATEST", 1}, {"H5F_LIBVER_18", 1}}),
      enumeration<H5F_scope_t>("flush scope", {E(H5F_SCOPE_LOCAL), E(H5F_SCOPE_GLOBAL)}),
      enumeration<H5FD_mem_t>(
          "file memory type",
          {E(H5FD_MEM_DEFAULT), E(H5FD_MEM_SUPER), E(H5FD_MEM_BTREE), E(H5FD_MEM_DRAW),
           E(H5FD_MEM_GHEAP), E(H5FD_MEM_LHEAP), E(H5FD_MEM_OHDR)}),
      enumeration<H5G_link_t>("group link type", {E(H5G_LINK_HARD), E(H5G_LINK_SOFT)}),
      enumeration<H5R_type_t>("reference type", {E(H5R_OBJECT), E(H5R_DATASET_REGION)}),
      enumeration<H5S_class_t>("dataspace class", {E(H5S_SCALAR), E(H5S_SIMPLE), E(H5S_NULL)}),
      enumeration<H5S_seloper_t>(
          "selection operator",
          {E(H5S_SELECT_SET), E(H5S_SELECT_OR), E(H5S_SELECT_AND), E(H5S_SELECT_XOR),
           E(H5S_SELECT_NOTB), E(H5S_SELECT_NOTA), E(H5S_SELECT_APPEND), E(H5S_SELECT_PREPEND)}),
      enumeration<H5T_class_t>(
          "datatype class",
          {E(H5T_INTEGER), E(H5T_FLOAT), E(H5T_TIME), E(H5T_STRING), E(H5T_BITFIELD), E(H5T_OPAQUE),
           E(H5T_COMPOUND), E(H5T_REFERENCE), E(H5T_ENUM), E(H5T_VLEN), E(H5T_ARRAY)}),
      enumeration<H5T_order_t>(
          "byte order", {E(H5T_ORDER_LE), E(H5T_ORDER_BE), E(H5T_ORDER_VAX), E(H5T_ORDER_NONE)}),
      enumeration<H5T_sign_t>("sign", {E(H5T_SGN_NONE), E(H5T_SGN_2)}),
      enumeration<H5T_norm_t>("mantissa normalisation",
                              {E(H5T_NORM_IMPLIED), E(H5T_NORM_MSBSET), E(H5T_NORM_NONE)}),
      enumeration<H5T_cset_t>("character set", {E(H5T_CSET_ASCII), E(H5T_CSET_UTF8)}),
      enumeration<H5T_str_t>("string padding",
                             {E(H5T_STR_NULLTERM), E(H5T_STR_NULLPAD), E(H5T_STR_SPACEPAD)}),
      enumeration<H5T_pad_t>("bit padding",
                             {E(H5T_PAD_ZERO), E(H5T_PAD_ONE), E(H5T_PAD_BACKGROUND)}),
      enumeration<H5T_direction_t>("native type direction",
                                   {E(H5T_DIR_DEFAULT), E(H5T_DIR_ASCEND), E(H5T_DIR_DESCEND)}),
      enumeration<H5Z_EDC_t>("error detection", {E(H5Z_ENABLE_EDC), E(H5Z_DISABLE_EDC)}),
      enumeration<h5gate::FilterId>(
          "filter",
          {E(H5Z_FILTER_DEFLATE), E(H5Z_FILTER_SHUFFLE), E(H5Z_FILTER_FLETCHER32),
           E(H5Z_FILTER_SZIP), E(H5Z_FILTER_NBIT), E(H5Z_FILTER_SCALEOFFSET), E(H5Z_FILTER_ALL)}),
      enumeration<H5Z_SO_scale_type_t>(
          "scale-offset type", {E(H5Z_SO_FLOAT_DSCALE), E(H5Z_SO_FLOAT_ESCALE), E(H5Z_SO_INT)}),
  };
  return all;
}
#undef E

std::string complaint(const Enumeration& enumeration, const Value& value) {
  return h5test::complaint([&] { static_cast<void>(enumeration(value)); });
}

std::string outOfBounds(std::int64_t number, const Enumeration& enumeration) {
  return "badEnumNumericInput(" + std::to_string(number) + "," +
         std::to_string(enumeration.count()) + ")";
}

/// Each test runs for every enumeration.
class Enumerated : public testing::TestWithParam<Enumeration> {};

INSTANTIATE_TEST_SUITE_P(All, Enumerated, testing::ValuesIn(enumerations()), [](const auto& test) {
  std::string name = test.param.subject;
  std::ranges::replace_if(
      name, [](unsigned char c) { return std::isalnum(c) == 0; }, '_');
  return name;
});

TEST_P(Enumerated, TakesEveryNameForItsValue) {
  for (const Enumerator& enumerator : GetParam().names) {
    EXPECT_EQ(GetParam()(zembra::makeText(enumerator.name)), enumerator.value) << enumerator.name;
  }
}

TEST_P(Enumerated, TakesNamesLetterByLetter) {
  for (const Enumerator& enumerator : GetParam().names) {
    std::string lower = enumerator.name;
    std::ranges::transform(lower, lower.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const std::string& other :
         {lower, enumerator.name + " ", " " + enumerator.name,
          enumerator.name.substr(0, enumerator.name.size() - 1), enumerator.name + "X"}) {
      EXPECT_EQ(complaint(GetParam(), zembra::makeText(other)),
                "unmatchedStringNoParam(" + other + ")");
    }
  }
}

TEST_P(Enumerated, KnowsNoNameOfAnotherEnumeration) {
  for (const Enumeration& other : enumerations()) {
    if (other.subject == GetParam().subject) continue;
    for (const Enumerator& enumerator : other.names) {
      EXPECT_EQ(complaint(GetParam(), zembra::makeText(enumerator.name)),
                "unmatchedStringNoParam(" + enumerator.name + ")");
    }
  }
}

TEST_P(Enumerated, TakesNoTextForANumber) {
  EXPECT_EQ(complaint(GetParam(), zembra::makeText("")), "unmatchedStringNoParam()");
  EXPECT_EQ(complaint(GetParam(), zembra::makeText("0")), "unmatchedStringNoParam(0)");
}

TEST_P(Enumerated, TakesNumbersBelowTheCountOfNames) {
  for (int number = 0; number < GetParam().count(); ++number) {
    EXPECT_EQ(GetParam()(zembra::makeDouble(number)), number);
  }
  for (const std::int64_t number : {-1, GetParam().count(), GetParam().count() + 1, 1000}) {
    EXPECT_EQ(complaint(GetParam(), zembra::makeDouble(static_cast<double>(number))),
              outOfBounds(number, GetParam()));
  }
}

TEST_P(Enumerated, CutsFractionsOffTowardZero) {
  EXPECT_EQ(GetParam()(zembra::makeDouble(-0.5)), 0);
  EXPECT_EQ(GetParam()(zembra::makeDouble(std::nextafter(-1.0, 0.0))), 0);
  EXPECT_EQ(GetParam()(zembra::makeDouble(1.7)), 1);
  const int count = GetParam().count();
  EXPECT_EQ(GetParam()(zembra::makeDouble(std::nextafter(count, 0.0))), count - 1);
  EXPECT_EQ(complaint(GetParam(), zembra::makeDouble(-1.9)), outOfBounds(-1, GetParam()));
}

TEST_P(Enumerated, SeesTheLeastIntegerForNumbersBeyondThirtyTwoBits) {
  using h5test::kInfinity;
  for (const double number : {2147483648.0, 4294967296.0, -2147483649.0, 1e300, -1e300, kInfinity,
                              -kInfinity, h5test::kNaN}) {
    EXPECT_EQ(complaint(GetParam(), zembra::makeDouble(number)),
              outOfBounds(-2147483648, GetParam()));
  }
  EXPECT_EQ(complaint(GetParam(), zembra::makeDouble(2147483647.5)),
            outOfBounds(2147483647, GetParam()));
  EXPECT_EQ(complaint(GetParam(), zembra::makeDouble(-2147483648.0)),
            outOfBounds(-2147483648, GetParam()));
}

TEST_P(Enumerated, TakesEveryNumericClassAndTruth) {
  const Enumeration& subject = GetParam();
  EXPECT_EQ(subject(zembra::makeLogical(true)), 1);
  EXPECT_EQ(subject(zembra::makeLogical(false)), 0);
  EXPECT_EQ(subject(h5test::numeric(zbClass::Single, {1.5})), 1);
  EXPECT_EQ(subject(h5test::numeric(zbClass::Int8, {1})), 1);
  EXPECT_EQ(subject(h5test::numeric(zbClass::UInt8, {1})), 1);
  EXPECT_EQ(subject(h5test::numeric(zbClass::Int16, {1})), 1);
  EXPECT_EQ(subject(h5test::numeric(zbClass::UInt16, {1})), 1);
  EXPECT_EQ(subject(h5test::numeric(zbClass::Int32, {1})), 1);
  EXPECT_EQ(subject(h5test::numeric(zbClass::UInt32, {1})), 1);
  EXPECT_EQ(subject(h5test::numeric(zbClass::Int64, {1})), 1);
  EXPECT_EQ(subject(h5test::numeric(zbClass::UInt64, {1})), 1);
  EXPECT_EQ(complaint(subject, h5test::numeric(zbClass::Int8, {-1})), outOfBounds(-1, subject));
  EXPECT_EQ(complaint(subject, h5test::numeric(zbClass::UInt64, {9223372036854775808.0})),
            outOfBounds(-2147483648, subject));
}

TEST_P(Enumerated, TakesOneElementOnly) {
  const std::vector<Value> values = {
      zembra::makeEmpty(),
      h5test::numeric(zbClass::Double, {}),
      h5test::numeric(zbClass::Double, {0.0, 1.0}),
      h5test::numeric(zbClass::Int32, {0, 1}),
      h5test::numeric(zbClass::Logical, {}),
      h5test::numeric(zbClass::Logical, {1, 1}),
  };
  for (const Value& value : values) {
    EXPECT_EQ(complaint(GetParam(), value), "badEnumInputType");
  }
}

TEST_P(Enumerated, TakesNeitherSparseNorComplexNumbers) {
  for (const auto& make : {+[] { return zembra::makeDouble(1); },
                           +[] { return h5test::numeric(zbClass::Single, {1}); },
                           +[] { return zembra::makeLogical(true); }}) {
    const Value sparse = make();
    sparse.get()->sparse = true;
    EXPECT_EQ(complaint(GetParam(), sparse), "badEnumInputType");
  }
  const Value complex = zembra::makeDouble(1);
  complex.get()->complex = true;
  EXPECT_EQ(complaint(GetParam(), complex), "badEnumInputType");
}

TEST_P(Enumerated, TakesNothingElse) {
  for (const Value& value :
       {zembra::makeCell({1, 1}, {zembra::makeDouble(1)}),
        zembra::makeStruct({{"value", zembra::makeDouble(1)}}), h5test::identifier(1),
        h5test::function([](int, std::span<zbArray* const>) { return h5test::Results(); }),
        zembra::makeForeign(zembra::Origin())}) {
    EXPECT_EQ(complaint(GetParam(), value), "badEnumInputType");
  }
}

TEST(Enumerations, AreTwentyFive) {
  std::set<std::string> subjects;
  std::set<std::string> names;
  std::size_t count = 0;
  for (const Enumeration& enumeration : enumerations()) {
    subjects.insert(enumeration.subject);
    for (const Enumerator& enumerator : enumeration.names) {
      names.insert(enumerator.name);
      ++count;
    }
  }
  EXPECT_EQ(subjects.size(), 25U);
  EXPECT_EQ(names.size(), count) << "a name stands in two enumerations";
}

TEST(Enumerations, CountNamesRatherThanValues) {
  const auto order = [](const Value& value) {
    return static_cast<int>(h5gate::getEnumArg<H5T_order_t>(value.get()));
  };
  EXPECT_EQ(order(zembra::makeDouble(3)), 3);
  EXPECT_EQ(order(zembra::makeText("H5T_ORDER_NONE")), 4);
  EXPECT_THROW(order(zembra::makeDouble(4)), zembra::HostError);
  const Value two = zembra::makeDouble(2);
  EXPECT_EQ(static_cast<int>(h5gate::getEnumArg<H5F_libver_t>(two.get())), 2);
}

TEST(Enumerations, GiveFiltersAsTheNumbersThatHdf5Takes) {
  static_assert(
      std::is_same_v<decltype(h5gate::getEnumArg<h5gate::FilterId>(nullptr)), H5Z_filter_t>);
  const Value all = zembra::makeText("H5Z_FILTER_ALL");
  EXPECT_EQ(h5gate::getEnumArg<h5gate::FilterId>(all.get()), 0);
}

TEST(Enumerations, ReachHdf5ByNameAndByNumber) {
  for (const auto& [name, number] :
       {std::pair("H5S_SCALAR", 0), {"H5S_SIMPLE", 1}, {"H5S_NULL", 2}}) {
    for (const h5test::Argument& type : {h5test::Argument(name), h5test::Argument(number)}) {
      const double space = h5test::callNumber("H5Screate", type.array);
      EXPECT_EQ(h5test::callNumber("H5Sget_simple_extent_type", space), number) << name;
      h5test::call("H5Sclose", space);
    }
  }
}

TEST(Enumerations, ComplainThroughTheGateway) {
  using h5test::expectRaises;
  expectRaises("unmatchedStringNoParam", {std::string("h5s_simple")}, "H5Screate", "h5s_simple");
  expectRaises("badEnumNumericInput", {std::int64_t{-1}, std::int64_t{3}}, "H5Screate", -1);
  expectRaises("badEnumNumericInput", {std::int64_t{3}, std::int64_t{3}}, "H5Screate", 3);
  expectRaises("badEnumInputType", {}, "H5Screate", h5test::row({0, 1}));
  expectRaises("badEnumInputType", {}, "H5Screate", h5test::cell({zembra::makeDouble(1)}));
}

TEST(Enumerations, TakeFiltersByNameAndByNumberBelowSeven) {
  using h5test::callNumber;
  EXPECT_EQ(callNumber("H5Zfilter_avail", "H5Z_FILTER_SHUFFLE"), 1);
  EXPECT_EQ(callNumber("H5Zfilter_avail", "H5Z_FILTER_DEFLATE"),
            callNumber("H5Zfilter_avail", H5Z_FILTER_DEFLATE));
  h5test::expectRaises("badEnumNumericInput", {std::int64_t{7}, std::int64_t{7}}, "H5Zfilter_avail",
                       7);
  h5test::expectRaises("badEnumNumericInput", {std::int64_t{256}, std::int64_t{7}},
                       "H5Zfilter_avail", H5Z_FILTER_RESERVED);
}

}  // namespace
