// Numbers and text: casts at their bounds, what every class gives, results.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "convert/number_cast.hpp"
#include "convert/number_results.hpp"
#include "convert/scalar_arguments.hpp"
#include "convert/text.hpp"
#include "convert/vector_arguments.hpp"
#include "runtime/call_scope.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/strangers.hpp"

namespace {

using namespace h5test;
using h5gate::PaddedSizes;

double below(double value) { return std::nextafter(value, -kInfinity); }
double above(double value) { return std::nextafter(value, kInfinity); }

// --- Casts --------------------------------------------------------------------------------

/// A target's values at its bounds, and the first ones beyond them.
template <class Target>
struct Range {
  std::vector<std::pair<double, Target>> inside;
  std::vector<double> outside;
};

Range<std::int32_t> intRange() {
  return {{{0, 0},
           {-0.0, 0},
           {0.9, 0},
           {-0.9, 0},
           {2.9, 2},
           {-2.9, -2},
           {kTwo31 - 1, 2147483647},
           {below(kTwo31), 2147483647},
           {-kTwo31, std::numeric_limits<std::int32_t>::min()},
           {above(-kTwo31 - 1), std::numeric_limits<std::int32_t>::min()}},
          {kTwo31, -kTwo31 - 1, kTwo63, 1e20, -1e20, kInfinity, -kInfinity, kNaN}};
}

Range<std::uint32_t> uintRange() {
  return {{{0, 0},
           {-0.9, 0},
           {above(-1), 0},
           {2.9, 2},
           {kTwo31, 2147483648U},
           {kTwo32 - 1, 4294967295U},
           {4294967295.9, 4294967295U},
           {below(kTwo32), 4294967295U}},
          {-1, -2, kTwo32, kTwo64, 1e20, -1e20, kInfinity, -kInfinity, kNaN}};
}

Range<hsize_t> sizeRange() {
  return {{{0, 0},
           {-0.5, 0},
           {above(-1), 0},
           {2.9, 2},
           {kTwo32, 4294967296U},
           {9007199254740993.0, 9007199254740992U},
           {kTwo63, 9223372036854775808U},
           {below(kTwo64), kMost - 2047}},
          {-1, -2, kTwo64, 1e20, -1e20, kInfinity, -kInfinity, kNaN}};
}

template <class Target, class Cast>
void expectCast(const Range<Target>& range, Cast cast, const std::string& key) {
  for (const auto& [value, expected] : range.inside) EXPECT_EQ(cast(value), expected) << value;
  for (const double value : range.outside) {
    EXPECT_EQ(complaint([&] { cast(value); }), key) << value;
  }
}

TEST(Casts, OfElementsTruncateInsideTheirRange) {
  expectCast(intRange(), h5gate::castToInt, "numericCastError");
  expectCast(uintRange(), h5gate::castToUInt, "numericCastError");
  expectCast(
      sizeRange(), [](double value) { return h5gate::castToSize(value); }, "numericCastError");
}

/// A converter of arrays as a cast of the scalar that an array holds.
template <class Convert>
auto ofScalar(Convert convert) {
  return [convert](double value) { return convert(number(value).get()); };
}

TEST(Casts, OfScalarsTruncateInsideTheirRange) {
  const std::string key = "scalarValueInputOutOfRange";
  expectCast(intRange(), ofScalar(h5gate::getIntArg), key);
  expectCast(uintRange(), ofScalar(h5gate::getUIntArg), key);
  expectCast(sizeRange(), ofScalar(h5gate::getSizeArg), key);
}

TEST(Casts, OfConfigurationsTruncateInsideTheirRange) {
  expectCast(intRange(), ofScalar(h5gate::getConfigIntArg), "inputOutOfRange");
  expectCast(sizeRange(), ofScalar(h5gate::getConfigSizeArg), "inputOutOfRange");
}

TEST(Casts, WithoutComplaintGiveTheLeastIntegerBeyondTheirRange) {
  const auto range = intRange();
  for (const auto& [value, expected] : range.inside) {
    EXPECT_EQ(h5gate::truncateToInt32(value), expected) << value;
  }
  for (const double value : range.outside) {
    EXPECT_EQ(h5gate::truncateToInt32(value), -2147483647 - 1) << value;
  }
}

TEST(Casts, ToRawSizesWrapAround) {
  const std::vector<std::pair<double, std::uint64_t>> cases = {
      {0, 0},
      {2.9, 2},
      {-0.5, 0},
      {-1, kMost},
      {-2.9, kMost - 1},
      {kTwo63, 9223372036854775808U},
      {-kTwo63, 9223372036854775808U},
      {below(kTwo64), kMost - 2047},
      {kTwo64, 0},
      {kTwo64 + 4096, 4096},
      {-kTwo64 - 4096, kMost - 4095},
      {1e300, 0},
      {kInfinity, 0},
      {-kInfinity, 0},
      {kNaN, 0},
  };
  for (const auto& [value, expected] : cases) {
    EXPECT_EQ(h5gate::wrapToSize(value), expected) << value;
  }
}

// --- Scalars of every class ------------------------------------------------------------------

TEST(Scalars, AreTheFirstElementOfAnyNumericClass) {
  for (const zbClass type : kNumericClasses) {
    for (const Value& value : {numeric(type, {1}), numeric(type, {1, 0, 0})}) {
      EXPECT_EQ(h5gate::getIntArg(value.get()), 1) << zembra::describe(value.get());
      EXPECT_EQ(h5gate::getUIntArg(value.get()), 1U);
      EXPECT_EQ(h5gate::getSizeArg(value.get()), 1U);
      EXPECT_EQ(h5gate::getConfigIntArg(value.get()), 1);
      EXPECT_EQ(h5gate::getConfigSizeArg(value.get()), 1U);
    }
  }
}

TEST(Scalars, AreOutOfRangeWhereThereIsNoNumber) {
  std::vector<Value> values = {empty(),      row({}),           text("1"),
                               text(""),     cell({number(1)}), structure({{"a", number(1)}}),
                               identifier(1)};
  for (const zbClass type : kNumericClasses) values.push_back(numeric(type, {}));
  for (const Value& value : values) {
    const zbArray* array = value.get();
    const std::string scalar = "scalarValueInputOutOfRange";
    EXPECT_EQ(complaint([&] { h5gate::getIntArg(array); }), scalar) << zembra::describe(array);
    EXPECT_EQ(complaint([&] { h5gate::getUIntArg(array); }), scalar);
    EXPECT_EQ(complaint([&] { h5gate::getSizeArg(array); }), scalar);
    EXPECT_EQ(complaint([&] { h5gate::getConfigIntArg(array); }), "inputOutOfRange");
    EXPECT_EQ(complaint([&] { h5gate::getConfigSizeArg(array); }), "inputOutOfRange");
  }
}

TEST(StrictScalars, AreDoublesOfOneElement) {
  const auto get = [](const Value& value) {
    return h5gate::getStrictSizeArg(value.get(), "\"index\"");
  };
  EXPECT_EQ(get(number(3.9)), 3U);
  EXPECT_EQ(get(number(kTwo63)), 9223372036854775808U);
  EXPECT_EQ(complaint([&] { get(number(-1)); }), "scalarValueInputOutOfRange");
  EXPECT_EQ(complaint([&] { get(number(kNaN)); }), "scalarValueInputOutOfRange");
  std::vector<Value> others = strangers();
  others.insert(others.end(), {empty(), row({1, 2}), column({1, 2}), text("1"), identifier(1)});
  for (const Value& value : others) {
    EXPECT_EQ(complaint([&] { get(value); }), "notDoublePrecision(\"index\")")
        << zembra::describe(value.get());
  }
}

TEST(StrictScalars, RefuseEveryClassButDouble) {
  for (const zbClass type : kNumericClasses) {
    const Value value = numeric(type, {1});
    const auto get = [&] { h5gate::getStrictSizeArg(value.get(), "index"); };
    EXPECT_EQ(complaint(get), type == zbClass::Double ? "nothing" : "notDoublePrecision(index)");
  }
}

// --- Vectors ----------------------------------------------------------------------------------

template <class Values>
std::vector<double> doubles(const Values& values) {
  std::vector<double> all;
  for (std::size_t i = 0; i < values.size(); ++i) all.push_back(static_cast<double>(values[i]));
  return all;
}

/// The three converters of double arrays, by name and description.
struct VectorConverter {
  std::string description;
  std::vector<double> (*get)(const zbArray*);
};
const VectorConverter kVectorConverters[] = {
    {"dims", [](const zbArray* array) { return doubles(h5gate::getDimsArg(array, "dims")); }},
    {"MAXDIMS", [](const zbArray* array) { return doubles(h5gate::getMaxDimsArg(array)); }},
    {"offset",
     [](const zbArray* array) { return doubles(h5gate::getOffsetsArg(array, "offset")); }},
};

TEST(Vectors, KeepStorageOrderAndTruncate) {
  for (const VectorConverter& vector : kVectorConverters) {
    const auto get = [&](const Value& value) { return vector.get(value.get()); };
    EXPECT_EQ(get(row({4, 2.9, -0.5})), (std::vector<double>{4, 2, 0}));
    EXPECT_EQ(get(column({4, 2, 7})), (std::vector<double>{4, 2, 7}));
    EXPECT_EQ(get(matrix(2, 2, {1, 2, 3, 4})), (std::vector<double>{1, 2, 3, 4}));
    EXPECT_EQ(get(number(5)), (std::vector<double>{5}));
    EXPECT_EQ(get(empty()), std::vector<double>());
    EXPECT_EQ(get(column({})), std::vector<double>());
  }
}

TEST(Vectors, RefuseElementsOutOfRange) {
  for (const VectorConverter& vector : kVectorConverters) {
    for (const double bad : {-2.0, -1.5, kTwo64, 1e20, kInfinity, -kInfinity, kNaN}) {
      const Value value = row({1, bad, 1});
      EXPECT_EQ(complaint([&] { vector.get(value.get()); }), "numericCastError") << bad;
    }
  }
}

TEST(Vectors, TakeMinusOneForUnlimitedInMaximumDimensionsOnly) {
  const PaddedSizes dims = h5gate::getMaxDimsArg(row({-1, 3, -0.5}).get());
  EXPECT_EQ(dims[0], H5S_UNLIMITED);
  EXPECT_EQ(dims[1], 3U);
  EXPECT_EQ(dims[2], 0U);
  EXPECT_EQ(complaint([] { h5gate::getDimsArg(row({-1}).get(), "dims"); }), "numericCastError");
  EXPECT_EQ(complaint([] { h5gate::getOffsetsArg(row({-1}).get(), "offset"); }),
            "numericCastError");
  EXPECT_EQ(complaint([] { h5gate::getMaxDimsArg(row({above(-1)}).get()); }), "nothing");
  EXPECT_EQ(complaint([] { h5gate::getMaxDimsArg(row({below(-1)}).get()); }), "numericCastError");
}

TEST(Vectors, RefuseEveryClassButDouble) {
  for (const VectorConverter& vector : kVectorConverters) {
    std::vector<Value> others = strangers();
    others.insert(others.end(), {text("12"), text(""), identifier(1), cell({})});
    for (const zbClass type : kNumericClasses) {
      if (type != zbClass::Double)
        others.insert(others.end(), {numeric(type, {1}), numeric(type, {})});
    }
    for (const Value& value : others) {
      EXPECT_EQ(complaint([&] { vector.get(value.get()); }),
                "notDoublePrecision(" + vector.description + ")")
          << zembra::describe(value.get());
    }
  }
}

TEST(Vectors, HaveZerosBehindThemForEveryDimensionThatHdf5MayRead) {
  for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{31}, std::size_t{32},
                                  std::size_t{33}, std::size_t{1000}}) {
    const std::vector<double> ones(count, 1);
    const Value value = zembra::makeRow(ones);
    const PaddedSizes dims = h5gate::getDimsArg(value.get(), "dims");
    EXPECT_EQ(dims.size(), count);
    EXPECT_EQ(dims.rank(), static_cast<int>(count));
    EXPECT_EQ(dims.empty(), count == 0);
    for (std::size_t i = 0; i < H5S_MAX_RANK; ++i) {
      ASSERT_EQ(dims.data()[i], i < count ? 1U : 0U) << "slot " << i << " of " << count;
    }
  }
}

TEST(Extents, AreReadWithoutAClassTest) {
  for (const zbClass type : kNumericClasses) {
    const PaddedSizes extent = h5gate::getExtentArg(numeric(type, {1, 0, 1}).get());
    EXPECT_EQ(doubles(extent), (std::vector<double>{1, 0, 1}));
  }
  EXPECT_EQ(complaint([] { h5gate::getExtentArg(row({-1}).get()); }), "numericCastError");
  EXPECT_EQ(complaint([] { h5gate::getExtentArg(text("7").get()); }), "numericCastError");
  EXPECT_EQ(complaint([] { h5gate::getExtentArg(cell({number(1)}).get()); }), "numericCastError");
  EXPECT_EQ(complaint([] { h5gate::getExtentArg(structure({}).get()); }), "numericCastError");
  EXPECT_TRUE(h5gate::getExtentArg(empty().get()).empty());
}

TEST(Elements, AreReadFromEveryNumericClass) {
  for (const zbClass type : kNumericClasses) {
    const Value value = numeric(type, {1, 0});
    EXPECT_EQ(h5gate::elementAsDouble(value.get(), 0), 1);
    EXPECT_EQ(h5gate::elementAsDouble(value.get(), 1), 0);
  }
  EXPECT_EQ(h5gate::elementAsDouble(numeric(zbClass::Int8, {0, -128}).get(), 1), -128);
  EXPECT_EQ(h5gate::elementAsDouble(numeric(zbClass::UInt8, {255}).get(), 0), 255);
  EXPECT_EQ(h5gate::elementAsDouble(numeric(zbClass::Int64, {-kTwo63}).get(), 0), -kTwo63);
  EXPECT_EQ(h5gate::elementAsDouble(numeric(zbClass::UInt64, {kTwo63}).get(), 0), kTwo63);
  EXPECT_TRUE(std::isnan(h5gate::elementAsDouble(text("7").get(), 0)));
}

// --- Text ---------------------------------------------------------------------------------------

TEST(Texts, TravelByteByByte) {
  for (const std::string words : {"", "a", "H5open", "/temperatur/\xc3\xbc", "\xff\x01"}) {
    EXPECT_EQ(h5gate::getStringArg(text(words).get(), "file name"), words);
    EXPECT_EQ(h5gate::getStringArg(text(words).get()), words);
  }
  const std::string large(100000, 'x');
  EXPECT_EQ(h5gate::getStringArg(text(large).get(), "file name"), large);
}

TEST(Texts, AreOfClassChar) {
  std::vector<Value> others = strangers();
  others.insert(others.end(), {number(1), empty(), identifier(1), numeric(zbClass::UInt8, {65})});
  for (const Value& value : others) {
    const auto get = [&](const char* name) { h5gate::getStringArg(value.get(), name); };
    EXPECT_EQ(complaint([&] { get("file name"); }), "notString(file name)");
    EXPECT_EQ(complaint([&] { get(nullptr); }), "inputArrayNotChar");
    EXPECT_EQ(complaint([&] { h5gate::textOf(value.get()); }), "notText");
  }
}

TEST(Texts, HaveNoNulInside) {
  for (const std::string_view words : {std::string_view("\0", 1), std::string_view("a\0", 2),
                                       std::string_view("\0a", 2), std::string_view("a\0b", 3)}) {
    EXPECT_EQ(complaint([&] { h5gate::getStringArg(text(words).get(), "file name"); }),
              "embeddedNull");
  }
}

// --- Results --------------------------------------------------------------------------

TEST(ResultMakers, OfUnsignedSizesAreTheNearestDoubles) {
  const zembra::CallScope scope;
  const std::vector<std::pair<std::uint64_t, double>> cases = {
      {0, 0.0},
      {1, 1.0},
      {9007199254740993U, 9007199254740992.0},
      {9223372036854775807U, kTwo63},
      {9223372036854775808U, kTwo63},
      {9223372036854777856U, kTwo63 + 2048},
      {HADDR_UNDEF, kTwo64},
      {H5S_UNLIMITED, kTwo64},
  };
  for (const auto& [value, expected] : cases) {
    const zbArray* array = h5gate::makeNumber(value);
    EXPECT_EQ(zbGetScalar(array), expected) << value;
    EXPECT_EQ(zbGetClass(array), zbClass::Double);
    EXPECT_EQ(zbGetNumberOfElements(array), 1U);
  }
}

TEST(ResultMakers, OfDimensionsKeepTheirOrder) {
  const zembra::CallScope scope;
  const hsize_t values[] = {3, H5S_UNLIMITED, 0, 9223372036854775808U, 7, 8};
  const Value table = zembra::share(h5gate::makeSizes(2, 3, values));
  EXPECT_EQ(shapeOf(table), (Shape{2, 3}));
  EXPECT_EQ(numbersOf(table), (std::vector<double>{3, kTwo64, 0, kTwo63, 7, 8}));
  const Value most = zembra::share(h5gate::makeMaxDims(4, values));
  EXPECT_EQ(shapeOf(most), (Shape{1, 4}));
  EXPECT_EQ(numbersOf(most), (std::vector<double>{3, -1, 0, kTwo63}));
}

TEST(ResultMakers, MayBeEmpty) {
  const zembra::CallScope scope;
  EXPECT_EQ(shapeOf(zembra::share(h5gate::makeSizes(0, 1, nullptr))), (Shape{0, 1}));
  EXPECT_EQ(shapeOf(zembra::share(h5gate::makeMaxDims(0, nullptr))), (Shape{1, 0}));
  const Value nothing = zembra::share(h5gate::makeEmpty());
  EXPECT_EQ(shapeOf(nothing), (Shape{0, 0}));
  EXPECT_EQ(classOf(nothing), zbClass::Double);
}

}  // namespace
