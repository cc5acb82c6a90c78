// The reference host's arrays: what they tell of themselves, creating and copying them.
#include "runtime/call_scope.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <exception>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/failures.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/strangers.hpp"

namespace {

using namespace h5test;
using zembra::CallScope;

// --- Makers --------------------------------------------------------------------------

TEST(HostArrays, KnowTheirClassShapeAndData) {
  struct Case {
    Value value;
    zbClass type;
    std::string name;
    Shape shape;
    bool numeric;
    std::size_t bytes;
  };
  const std::int16_t shorts[] = {1, 2, 3, 4, 5, 6};
  const std::vector<Case> cases = {
      {number(2), zbClass::Double, "double", {1, 1}, true, 8},
      {logical(true), zbClass::Logical, "logical", {1, 1}, false, 1},
      {text("abc"), zbClass::Char, "char", {1, 3}, false, 1},
      {text(""), zbClass::Char, "char", {0, 0}, false, 1},
      {empty(), zbClass::Double, "double", {0, 0}, true, 8},
      {row({1, 2, 3}), zbClass::Double, "double", {1, 3}, true, 8},
      {row({}), zbClass::Double, "double", {1, 0}, true, 8},
      {column({1, 2}), zbClass::Double, "double", {2, 1}, true, 8},
      {zembra::makeNumeric(zbClass::Int16, Shape{1, 2, 3}, shorts),
       zbClass::Int16,
       "int16",
       {1, 2, 3},
       true,
       2},
      {zembra::makeNumeric(zbClass::Int16, Shape{6}, shorts),
       zbClass::Int16,
       "int16",
       {6, 1},
       true,
       2},
      {zembra::makeNumeric(zbClass::Int16, Shape{}, shorts),
       zbClass::Int16,
       "int16",
       {1, 1},
       true,
       2},
      {cell({}), zbClass::Cell, "cell", {1, 0}, false, 0},
      {cell({number(1), text("b")}), zbClass::Cell, "cell", {1, 2}, false, 0},
      {structure({{"a", number(1)}}), zbClass::Struct, "struct", {1, 1}, false, 0},
      {structure({}), zbClass::Struct, "struct", {1, 1}, false, 0},
      {identifier(3), zbClass::Object, "H5ZB.id", {1, 1}, false, 0},
      {function([](int, auto) { return Results(); }),
       zbClass::Function,
       "function_handle",
       {1, 1},
       false,
       0},
      {zembra::makeForeign({}), zbClass::Foreign, "foreign", {1, 1}, false, 0},
  };
  for (const Case& test : cases) {
    const zbArray* array = test.value.get();
    SCOPED_TRACE(zembra::describe(array));
    EXPECT_EQ(zbGetClass(array), test.type);
    EXPECT_EQ(zbGetClassName(array), test.name);
    EXPECT_EQ(shapeOf(test.value), test.shape);
    EXPECT_EQ(zbIsNumeric(array), test.numeric);
    EXPECT_EQ(zbGetElementSize(array), test.bytes);
    EXPECT_FALSE(zbIsComplex(array));
    EXPECT_FALSE(zbIsSparse(array));
    const bool hasData = test.bytes > 0 && zbGetNumberOfElements(array) > 0;
    EXPECT_EQ(zbGetData(array) != nullptr, hasData);
  }
}

TEST(HostArrays, GiveTheirFirstElementAsTheScalar) {
  for (const zbClass type : kNumericClasses) {
    EXPECT_EQ(numberOf(numeric(type, {1, 0})), 1);
    EXPECT_TRUE(std::isnan(numberOf(numeric(type, {}))));
  }
  EXPECT_EQ(numberOf(numeric(zbClass::Int8, {-128})), -128);
  const std::uint8_t byte = 7;
  EXPECT_EQ(numberOf(zembra::makeNumeric(zbClass::Logical, Shape{1, 1}, &byte)), 1);
  for (const Value& value : {text("1"), cell({number(1)}), structure({}), identifier(1)}) {
    EXPECT_TRUE(std::isnan(numberOf(value)));
  }
}

TEST(HostArrays, RememberTheNaturalRankOfScalars) {
  EXPECT_EQ(number(1).get()->naturalRank, 0);
  EXPECT_EQ(logical(true).get()->naturalRank, 0);
  EXPECT_EQ(row({1}).get()->naturalRank, -1);
}

TEST(HostArrays, LendTheirElementsByIndexAndName) {
  const Value cells = cell({number(1), Value()});
  EXPECT_EQ(numberOf(element(cells, 0)), 1);
  EXPECT_EQ(zbGetCell(cells.get(), 1), nullptr);
  EXPECT_EQ(zbGetCell(cells.get(), 2), nullptr);
  EXPECT_EQ(zbGetCell(number(1).get(), 0), nullptr);
  const Value record = structure({{"a", number(1)}, {"b", number(2)}});
  EXPECT_EQ(numberOf(field(record, "b")), 2);
  EXPECT_EQ(zbGetField(record.get(), 0, "c"), nullptr);
  EXPECT_EQ(zbGetField(record.get(), 1, "a"), nullptr);
  EXPECT_EQ(zbGetField(identifier(1).get(), 0, "identifier"), nullptr);
  const Value object = identifier(4);
  EXPECT_EQ(zbGetScalar(zbGetProperty(object.get(), 0, "identifier")), 4);
  EXPECT_EQ(zbGetProperty(object.get(), 0, "Identifier"), nullptr);
  EXPECT_EQ(zbGetProperty(object.get(), 1, "identifier"), nullptr);
  EXPECT_EQ(zbGetProperty(record.get(), 0, "a"), nullptr);
}

TEST(HostArrays, GiveTextThatEndsWithANul) {
  for (const std::string words : {"", "abc", "\xc3\xa9"}) {
    char* copy = zbArrayToString(text(words).get());
    EXPECT_EQ(copy, words);
    zbFree(copy);
  }
}

// --- What extensions create ----------------------------------------------------------

TEST(Creation, FillsWithZeros) {
  const CallScope scope;
  const std::size_t shape[] = {3, 5, 2};
  for (const zbClass type : {zbClass::Double, zbClass::Single, zbClass::Int8, zbClass::UInt64,
                             zbClass::Logical, zbClass::Char}) {
    const zbArray* array = zbCreateNumericArray(3, shape, type);
    const std::vector<std::byte> zeros(30 * zbGetElementSize(array));
    ASSERT_EQ(zbGetNumberOfElements(array), 30U);
    EXPECT_EQ(std::memcmp(zbGetData(array), zeros.data(), zeros.size()), 0);
  }
  // A recycled scalar may have held something.
  for (int i = 0; i < 300; ++i) zbDestroyArray(zbCreateDoubleScalar(5));
  const std::size_t one[] = {1, 1};
  EXPECT_EQ(zbGetScalar(zbCreateNumericArray(2, one, zbClass::Int64)), 0);
}

TEST(Creation, MakesTextOfAnything) {
  const CallScope scope;
  EXPECT_EQ(textOf(zembra::share(zbCreateString("abc"))), "abc");
  EXPECT_EQ(shapeOf(zembra::share(zbCreateString(""))), (Shape{0, 0}));
  EXPECT_EQ(shapeOf(zembra::share(zbCreateString(nullptr))), (Shape{0, 0}));
}

TEST(Creation, RefusesPlainDataOfOtherClasses) {
  const CallScope scope;
  const std::size_t one[] = {1, 1};
  for (const zbClass type : {zbClass::Cell, zbClass::Struct, zbClass::Object, zbClass::Function,
                             zbClass::Foreign, zbClass::Unknown}) {
    EXPECT_EQ(complaint([&] { zbCreateNumericArray(2, one, type); }), "badClass");
    EXPECT_EQ(complaint([&] { zbCreateUninitNumericArray(2, one, type); }), "badClass");
  }
}

TEST(Creation, RefusesSizesThatOverflow) {
  const CallScope scope;
  const std::vector<Shape> shapes = {
      {kMost, 2}, {kMost, kMost}, {kMost / 8 + 1, 1}, {2, kMost / 2}};
  for (const Shape& shape : shapes) {
    const auto create = [&] { zbCreateNumericArray(shape.size(), shape.data(), zbClass::Double); };
    EXPECT_EQ(complaint(create), "tooLarge");
    EXPECT_EQ(complaint([&] { zembra::makeNumeric(zbClass::Double, shape, nullptr); }), "tooLarge");
  }
}

TEST(Creation, SaysSoWhenMemoryCannotBeHad) {
  const CallScope scope;
  const std::size_t shape[] = {kMost / 16, 1};
  EXPECT_EQ(complaint([&] { zbCreateUninitNumericArray(2, shape, zbClass::Double); }),
            "outOfMemory");
  EXPECT_EQ(complaint([] { zembra::allocateBlock(kMost); }), "outOfMemory");
  const std::size_t more[] = {kMost / 2, 1};
  EXPECT_THROW(zbCreateCellArray(2, more), std::exception);
}

TEST(Creation, MakesStructuresOfSeveralElementsOrNone) {
  const CallScope scope;
  const char* const names[] = {"a", "b"};
  for (const auto& [elements, shape] :
       {std::pair(std::size_t{0}, Shape{0, 0}), {1, Shape{1, 1}}, {3, Shape{1, 3}}}) {
    const Value array = zembra::share(zbCreateStructArray(elements, 2, names));
    EXPECT_EQ(shapeOf(array), shape);
    for (std::size_t i = 0; i < elements; ++i) {
      for (const char* name : names) {
        const zbArray* value = zbGetField(array.get(), i, name);
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(zbGetNumberOfElements(value), 0U);
      }
    }
    EXPECT_EQ(zbGetField(array.get(), elements, "a"), nullptr);
    EXPECT_EQ(complaint([&, elements = elements] {
                zbSetField(array.get(), elements, "a", zbCreateDoubleScalar(1));
              }),
              "badField");
  }
  EXPECT_EQ(shapeOf(zembra::share(zbCreateStructArray(1, 0, nullptr))), (Shape{1, 1}));
}

TEST(Creation, SetsFieldsOfTheElementThatIsMeant) {
  const CallScope scope;
  const char* const names[] = {"a", "b"};
  zbArray* array = zbCreateStructArray(2, 2, names);
  zbSetField(array, 0, "b", zbCreateDoubleScalar(1));
  zbSetField(array, 1, "b", zbCreateDoubleScalar(2));
  EXPECT_EQ(zbGetScalar(zbGetField(array, 0, "b")), 1);
  EXPECT_EQ(zbGetScalar(zbGetField(array, 1, "b")), 2);
  EXPECT_EQ(zbGetNumberOfElements(zbGetField(array, 0, "a")), 0U);
}

// --- Shapes --------------------------------------------------------------------------

TEST(Shapes, ChangeWhereTheElementCountStays) {
  const Value array = row({1, 2, 3, 4, 5, 6});
  const std::vector<std::pair<Shape, Shape>> cases = {
      {{2, 3}, {2, 3}}, {{6, 1}, {6, 1}}, {{1, 2, 3}, {1, 2, 3}}, {{6}, {6, 1}}, {{1, 6}, {1, 6}}};
  for (const auto& [wanted, shape] : cases) {
    EXPECT_EQ(zbSetDimensions(array.get(), wanted.size(), wanted.data()), 0);
    EXPECT_EQ(shapeOf(array), shape);
    EXPECT_EQ(numbersOf(array), (Numbers{1, 2, 3, 4, 5, 6}));
  }
}

TEST(Shapes, StayWhereTheElementCountWouldChange) {
  const Value array = row({1, 2, 3, 4, 5, 6});
  for (const Shape& wanted :
       std::vector<Shape>{{}, {5}, {2, 2}, {0, 6}, {kMost, kMost}, {std::size_t{1} << 63, 2, 3}}) {
    EXPECT_NE(zbSetDimensions(array.get(), wanted.size(), wanted.data()), 0);
    EXPECT_EQ(shapeOf(array), (Shape{1, 6}));
  }
}

TEST(Shapes, OfNothingMayHaveAnyOtherDimension) {
  const Value array = empty();
  const std::size_t wide[] = {0, 7, 2};
  EXPECT_EQ(zbSetDimensions(array.get(), 3, wide), 0);
  EXPECT_EQ(shapeOf(array), (Shape{0, 7, 2}));
  EXPECT_NE(zbSetDimensions(array.get(), 0, nullptr), 0);
}

TEST(Shapes, GiveUpTheNaturalRank) {
  const Value array = number(1);
  const std::size_t one[] = {1, 1};
  EXPECT_EQ(zbSetDimensions(array.get(), 2, one), 0);
  EXPECT_EQ(array.get()->naturalRank, -1);
}

// --- Duplicates ----------------------------------------------------------------------

/// Outside of any call, where a new array is its creator's.
Value duplicate(const Value& value) { return Value(zbDuplicateArray(value.get())); }

TEST(Duplicates, AreEqualAndApart) {
  const Value array = row({1, 2, 3});
  array.get()->sparse = true;
  const Value copy = duplicate(array);
  static_cast<double*>(zbGetWritableData(copy.get()))[0] = 9;
  EXPECT_EQ(numbersOf(array), (Numbers{1, 2, 3}));
  EXPECT_EQ(numbersOf(copy), (Numbers{9, 2, 3}));
  EXPECT_EQ(shapeOf(copy), shapeOf(array));
  EXPECT_TRUE(zbIsSparse(copy.get()));
}

TEST(Duplicates, OfAllClassesDescribeThemselvesAlike) {
  std::vector<Value> values = strangers();
  values.insert(values.end(), {number(1), text("abc"), text(""), empty(), identifier(2), cell({}),
                               zembra::makeNumeric(zbClass::Int8, Shape{1, 1, 4}, "abcd")});
  for (const Value& value : values) {
    EXPECT_EQ(zembra::describe(duplicate(value).get()), zembra::describe(value.get()));
  }
}

TEST(Duplicates, CopyNestedArraysToo) {
  const Value inner = cell({row({1, 2}), Value(), structure({{"a", number(3)}})});
  const Value copy = duplicate(structure({{"inner", inner}, {"id", identifier(7)}}));
  const Value inside = field(copy, "inner");
  EXPECT_NE(inside.get(), inner.get());
  EXPECT_EQ(numbersOf(element(inside, 0)), (Numbers{1, 2}));
  EXPECT_EQ(zbGetCell(inside.get(), 1), nullptr);
  EXPECT_EQ(numberOf(field(element(inside, 2), "a")), 3);
  EXPECT_EQ(zbGetScalar(zbGetProperty(field(copy, "id").get(), 0, "identifier")), 7);
}

TEST(Duplicates, OfFunctionsCallTheSameTarget) {
  const Value twice = duplicate(function([](int, std::span<zbArray* const> inputs) {
    return Results{number(2 * zbGetScalar(inputs[0]))};
  }));
  const CallScope scope;
  zbArray* ins[] = {twice.get(), zbCreateDoubleScalar(4)};
  zbArray* out = nullptr;
  ASSERT_EQ(zebCallZembra(1, &out, 2, ins, "feval"), 0);
  EXPECT_EQ(zbGetScalar(out), 8);
}

}  // namespace
