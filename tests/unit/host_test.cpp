// The reference host: arrays and who owns them, calls both ways, what a failure carries.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "hdf5/compat.hpp"
#include "host/call.hpp"
#include "host/messages.hpp"
#include "runtime/call_scope.hpp"
#include "runtime/pending_cause.hpp"
#include "tests/unit/call.hpp"

namespace {

using namespace h5test;
using zembra::CallScope;
using zembra::HostError;
namespace msg = Zembra::fmtio::h5gate;

constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();

/// Counts the values that are alive: what a foreign object is to the host.
struct Tracked {
  static inline int alive = 0;
  static Value make() {
    ++alive;
    return zembra::makeForeign({&alive, [](void* count) { --*static_cast<int*>(count); }});
  }
};

/// Fails unless every tracked value is released at the end of the test.
class Ownership : public testing::Test {
 protected:
  void SetUp() override { Tracked::alive = 0; }
  void TearDown() override { EXPECT_EQ(Tracked::alive, 0) << "values that nobody released"; }
};

std::string complaint(const std::function<void()>& action) {
  try {
    action();
    return "nothing";
  } catch (const HostError& error) {
    return error->key;
  }
}

// --- Makers ---------------------------------------------------------------------------

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
  for (const zbClass type : {zbClass::Double, zbClass::Single, zbClass::Logical, zbClass::Int8,
                             zbClass::UInt8, zbClass::Int16, zbClass::UInt16, zbClass::Int32,
                             zbClass::UInt32, zbClass::Int64, zbClass::UInt64}) {
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

TEST(HostArrays, AreLentByIndexAndName) {
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

// --- What extensions create -----------------------------------------------------------------

TEST_F(Ownership, OfWhatAnExtensionCreatesWithoutACallIsItsOwn) {
  zbArray* scalar = zbCreateDoubleScalar(3);
  EXPECT_EQ(zbGetScalar(scalar), 3);
  zbDestroyArray(scalar);
  zbDestroyArray(zbCreateString("abc"));
  zbDestroyArray(nullptr);
}

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

// --- Shapes -----------------------------------------------------------------------------------

TEST(Shapes, ChangeWhereTheElementCountStays) {
  const Value array = row({1, 2, 3, 4, 5, 6});
  const std::vector<std::pair<Shape, Shape>> cases = {
      {{2, 3}, {2, 3}}, {{6, 1}, {6, 1}}, {{1, 2, 3}, {1, 2, 3}}, {{6}, {6, 1}}, {{1, 6}, {1, 6}}};
  for (const auto& [wanted, shape] : cases) {
    EXPECT_EQ(zbSetDimensions(array.get(), wanted.size(), wanted.data()), 0);
    EXPECT_EQ(shapeOf(array), shape);
    EXPECT_EQ(numbersOf(array), (std::vector<double>{1, 2, 3, 4, 5, 6}));
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

// --- Duplicates ---------------------------------------------------------------------------------

/// Outside of any call, where a new array is its creator's.
Value duplicate(const Value& value) { return Value(zbDuplicateArray(value.get())); }

TEST(Duplicates, AreEqualAndApart) {
  const Value array = row({1, 2, 3});
  array.get()->sparse = true;
  const Value copy = duplicate(array);
  static_cast<double*>(zbGetWritableData(copy.get()))[0] = 9;
  EXPECT_EQ(numbersOf(array), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(numbersOf(copy), (std::vector<double>{9, 2, 3}));
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

TEST(Duplicates, GoAllTheWayDown) {
  const Value inner = cell({row({1, 2}), Value(), structure({{"a", number(3)}})});
  const Value copy = duplicate(structure({{"inner", inner}, {"id", identifier(7)}}));
  const Value inside = field(copy, "inner");
  EXPECT_NE(inside.get(), inner.get());
  EXPECT_EQ(numbersOf(element(inside, 0)), (std::vector<double>{1, 2}));
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

// --- Ownership
// --------------------------------------------------------------------------------------

TEST_F(Ownership, OfElementsIsTheContainers) {
  const Value cells = zembra::makeCell(Shape{1, 2}, {Tracked::make(), Tracked::make()});
  const Value record = structure({{"a", Tracked::make()}});
  EXPECT_EQ(Tracked::alive, 3);
}

TEST_F(Ownership, OfWhatIsSetPassesToTheContainer) {
  const std::size_t shape[] = {2, 1};
  const char* const names[] = {"a"};
  Value kept;
  {
    const CallScope scope;
    zbArray* cells = zbCreateCellArray(2, shape);
    zbArray* record = zbCreateStructArray(1, 1, names);
    zbSetField(record, 0, "a", Tracked::make().release());
    zbSetCell(cells, 0, record);
    zbSetCell(cells, 1, Tracked::make().release());
    kept = CallScope::take(cells);
  }
  EXPECT_EQ(Tracked::alive, 2);
  EXPECT_EQ(shapeOf(element(kept, 0)), (Shape{1, 1}));
}

TEST_F(Ownership, OfWhatIsReplacedEnds) {
  const Value cells = zembra::makeCell(Shape{1, 1}, {Tracked::make()});
  zbSetCell(cells.get(), 0, Tracked::make().release());
  EXPECT_EQ(Tracked::alive, 1);
  zbSetCell(cells.get(), 0, nullptr);
  EXPECT_EQ(Tracked::alive, 0);
  EXPECT_EQ(zbGetCell(cells.get(), 0), nullptr);
  const Value record = structure({{"a", Tracked::make()}});
  zbSetField(record.get(), 0, "a", number(1).release());
  EXPECT_EQ(Tracked::alive, 0);
}

TEST_F(Ownership, OfWhatCannotBeSetStaysWithTheCall) {
  const CallScope scope;
  const std::size_t shape[] = {1, 1};
  zbArray* cells = zbCreateCellArray(2, shape);
  EXPECT_EQ(complaint([&] { zbSetCell(cells, 1, zbCreateDoubleScalar(1)); }), "badIndex");
  EXPECT_EQ(complaint([&] { zbSetField(cells, 0, "a", zbCreateDoubleScalar(1)); }), "badField");
  zbArray* scalar = zbCreateDoubleScalar(1);
  EXPECT_EQ(complaint([&] { zbSetCell(scalar, 0, zbCreateDoubleScalar(1)); }), "badIndex");
}

TEST_F(Ownership, OfOneArrayCanBeShared) {
  Value first = Tracked::make();
  Value second = first;
  first = Value();
  EXPECT_EQ(Tracked::alive, 1);
  second = second;  // NOLINT: to itself
  EXPECT_EQ(Tracked::alive, 1);
  Value third = std::move(second);
  EXPECT_EQ(third.get()->references, 1U);
}

TEST_F(Ownership, OfMemoryLastsAsLongAsTheArray) {
  std::weak_ptr<void> watch;
  {
    const auto block = zembra::allocateBlock(800);
    watch = block;
    const Value array = zembra::makeOnBlock(zbClass::Double, Shape{10, 10}, block.get(), block);
    EXPECT_EQ(zbGetData(array.get()), block.get());
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.get()) % 64, 0U);
  }
  EXPECT_TRUE(watch.expired());
}

// --- Calls into an extension
// -------------------------------------------------------------------------

/// Calls the extension with these inputs.
Results extend(zbExtensionFunction* extension, const std::vector<Value>& inputs = {},
               int outputs = 1) {
  std::vector<const zbArray*> ins;
  for (const Value& input : inputs) ins.push_back(input.get());
  return zembra::callExtension(extension, outputs, ins);
}

TEST(Calls, TakeResultsOver) {
  const Results results = extend([](int, zbArray** outs, int, const zbArray**) {
    outs[0] = zbCreateDoubleScalar(1);
    outs[1] = zbCreateString("two");
  });
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(numberOf(results[0]), 1);
  EXPECT_EQ(textOf(results[1]), "two");
  EXPECT_EQ(results[0].get()->references, 1U);
  EXPECT_EQ(results[0].get()->scope, nullptr);
}

TEST(Calls, TakeResultsUpToTheFirstGap) {
  const Results results = extend([](int, zbArray** outs, int, const zbArray**) {
    outs[0] = zbCreateDoubleScalar(1);
    outs[2] = zbCreateDoubleScalar(3);
  });
  EXPECT_EQ(results.size(), 1U);
}

TEST(Calls, OfferSlotsForResultsThatNobodyAskedFor) {
  const auto fill = [](int nOut, zbArray** outs, int, const zbArray**) {
    const int slots = std::max(nOut, zembra::kResultSlots);
    for (int i = 0; i < slots; ++i) outs[i] = zbCreateDoubleScalar(i);
  };
  for (const int wanted : {-1, 0, 1, 8, 9, 40}) {
    const Results results = extend(fill, {}, wanted);
    EXPECT_EQ(results.size(), static_cast<std::size_t>(std::max(wanted, 8)));
    EXPECT_EQ(numberOf(results.back()), static_cast<double>(results.size() - 1));
  }
}

TEST_F(Ownership, OfAnArgumentThatComesBackIsShared) {
  Value argument = Tracked::make();
  Results results = extend(
      [](int, zbArray** outs, int, const zbArray** ins) {
        outs[0] = const_cast<zbArray*>(ins[0]);
        outs[1] = const_cast<zbArray*>(ins[0]);
      },
      {argument});
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(results[0].get(), argument.get());
  EXPECT_EQ(argument.get()->references, 3U);
  argument = Value();
  EXPECT_EQ(Tracked::alive, 1);
}

TEST_F(Ownership, OfOneArrayInTwoResultsIsShared) {
  Results results = extend([](int, zbArray** outs, int, const zbArray**) {
    outs[0] = outs[1] = zbCreateDoubleScalar(1);
  });
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(results[0].get(), results[1].get());
  EXPECT_EQ(results[0].get()->references, 2U);
}

/// A tracked array that belongs to the running call.
zbArray* createTracked() {
  zbArray* array = Tracked::make().release();
  zembra::enroll(array);
  return array;
}

TEST_F(Ownership, OfWhatACallLeavesBehindEndsWithIt) {
  const Results results = extend([](int, zbArray** outs, int, const zbArray**) {
    for (int i = 0; i < 5; ++i) createTracked();
    zbDestroyArray(createTracked());
    outs[0] = createTracked();
    EXPECT_EQ(Tracked::alive, 6);
  });
  EXPECT_EQ(Tracked::alive, 1);
}

TEST_F(Ownership, OfWhatARaisedErrorLeavesBehindEndsWithTheCall) {
  EXPECT_THROW(extend([](int, zbArray** outs, int, const zbArray**) {
                 outs[0] = createTracked();
                 createTracked();
                 throw std::runtime_error("broken");
               }),
               std::runtime_error);
  EXPECT_EQ(Tracked::alive, 0);
}

TEST_F(Ownership, OfAnInnerCallEndsBeforeTheOuterOnes) {
  extend([](int, zbArray**, int, const zbArray**) {
    createTracked();
    {
      const Results inner = extend([](int, zbArray** outs, int, const zbArray**) {
        createTracked();
        outs[0] = createTracked();
      });
      EXPECT_EQ(Tracked::alive, 2);
    }
    EXPECT_EQ(Tracked::alive, 1);
    createTracked();
  });
  EXPECT_EQ(Tracked::alive, 0);
}

TEST_F(Ownership, OfAnArgumentStaysWithTheOuterCallWhenAnInnerOneGivesItBack) {
  const Results results = extend([](int, zbArray** outs, int, const zbArray**) {
    zbArray* own = createTracked();
    const zbArray* ins[] = {own};
    zembra::callExtension(
        [](int, zbArray** inner, int, const zbArray** inputs) {
          inner[0] = const_cast<zbArray*>(inputs[0]);
        },
        1, ins);
    EXPECT_EQ(Tracked::alive, 1) << "the outer call's array went with the inner call's results";
    outs[0] = own;
  });
  EXPECT_EQ(results.size(), 1U);
  EXPECT_EQ(Tracked::alive, 1);
}

// --- Calls of host functions
// ----------------------------------------------------------------------------

/// f(outputs, inputs) through "feval", with what the slots held before.
struct Feval {
  CallScope scope;
  std::array<zbArray*, 3> outs{};
  int failed = 0;

  Feval(int outputs, const Value& callee, std::vector<Value> inputs = {}) {
    primed(outputs, callee, std::move(inputs));
  }
  Feval() = default;
  void primed(int outputs, const Value& callee, std::vector<Value> inputs = {}) {
    std::vector<zbArray*> ins = {callee.get()};
    for (const Value& input : inputs) ins.push_back(input.get());
    failed = zebCallZembra(outputs, outs.data(), static_cast<int>(ins.size()), ins.data(), "feval");
  }
};

Value give(Results results) {
  return function([results](int, std::span<zbArray* const>) { return results; });
}
Value fail(std::string words) {
  return function(
      [words](int, std::span<zbArray* const>) -> Results { throw std::runtime_error(words); });
}

TEST(HostFunctions, SeeTheirInputsAndTheNumberOfOutputs) {
  const Value callee = function([](int outputs, std::span<zbArray* const> inputs) {
    return Results{number(outputs), number(static_cast<double>(inputs.size())),
                   text(zembra::describe(inputs[0]))};
  });
  const Feval call(3, callee, {text("ab"), number(1)});
  ASSERT_EQ(call.failed, 0);
  EXPECT_EQ(zbGetScalar(call.outs[0]), 3);
  EXPECT_EQ(zbGetScalar(call.outs[1]), 2);
  EXPECT_EQ(textOf(zembra::share(call.outs[2])), "char 1-by-2");
}

TEST(HostFunctions, GiveNoMoreThanAskedFor) {
  const Feval call(1, give({number(1), number(2)}));
  EXPECT_EQ(zbGetScalar(call.outs[0]), 1);
  EXPECT_EQ(call.outs[1], nullptr);
}

TEST(HostFunctions, LeaveAnEmptyArrayWhereTheyGiveNothing) {
  const Feval call(2, give({number(1)}));
  ASSERT_NE(call.outs[1], nullptr);
  EXPECT_EQ(zbGetClass(call.outs[1]), zbClass::Double);
  EXPECT_EQ(zbGetNumberOfElements(call.outs[1]), 0U);
  EXPECT_EQ(call.outs[2], nullptr);
}

TEST(HostFunctions, LeaveWhatTheCallerPutThereWhereTheyGiveNothing) {
  Feval call;
  call.outs = {zbCreateDoubleScalar(7), zbCreateDoubleScalar(8), nullptr};
  call.primed(2, give({Value(), number(9)}));
  ASSERT_EQ(call.failed, 0);
  EXPECT_EQ(zbGetScalar(call.outs[0]), 7);
  EXPECT_EQ(zbGetScalar(call.outs[1]), 9);
}

TEST(HostFunctions, FillNothingWhenTheyThrow) {
  Feval call;
  zbArray* primed = zbCreateDoubleScalar(7);
  call.outs = {primed, nullptr, nullptr};
  call.primed(2, fail("broken"));
  EXPECT_NE(call.failed, 0);
  EXPECT_EQ(call.outs[0], primed);
  EXPECT_EQ(call.outs[1], nullptr);
  zembra::takePendingCause();
}

TEST_F(Ownership, OfResultsOfHostFunctionsIsTheCalls) {
  {
    const Feval call(2, function([](int, std::span<zbArray* const>) {
                       return Results{Tracked::make(), Tracked::make(), Tracked::make()};
                     }));
    EXPECT_EQ(Tracked::alive, 2);
  }
  EXPECT_EQ(Tracked::alive, 0);
}

TEST_F(Ownership, OfOneArrayGivenTwiceIsTheCallsOnce) {
  const Value both = Tracked::make();
  {
    Feval call(2, give({both, both}));
    EXPECT_EQ(call.outs[0], call.outs[1]);
    // It comes back a second time, as user data does from one iteration to the next.
    call.primed(1, give({both}));
    EXPECT_EQ(call.outs[0], both.get());
  }
  EXPECT_EQ(both.get()->references, 1U);
}

TEST_F(Ownership, OfWhatAHostFunctionReplacesEnds) {
  Feval call;
  call.outs[0] = createTracked();
  call.primed(1, give({number(1)}));
  EXPECT_EQ(Tracked::alive, 0);
}

TEST(HostFunctions, AreFunctionHandles) {
  std::vector<Value> others = {number(1),     text("sin"), empty(),
                               identifier(1), cell({}),    zembra::makeForeign({})};
  for (const Value& other : others) {
    EXPECT_NE(Feval(1, other).failed, 0);
    EXPECT_EQ(complaint([] { std::rethrow_exception(zembra::takePendingCause()); }), "notFunction");
  }
  zbArray* out = nullptr;
  EXPECT_NE(zebCallZembra(1, &out, 0, nullptr, "feval"), 0);
  zbArray* nothing[] = {nullptr};
  EXPECT_NE(zebCallZembra(1, &out, 1, nothing, "feval"), 0);
  zembra::takePendingCause();
}

TEST(HostFunctions, HaveFewNames) {
  const CallScope scope;
  zbArray* ins[] = {give({}).release()};
  zembra::enroll(ins[0]);
  zbArray* out = nullptr;
  for (const char* name : {"", "Feval", "feval ", "sin", "getreport"}) {
    EXPECT_NE(zebCallZembra(1, &out, 1, ins, name), 0) << name;
    EXPECT_NE(zebCallZembraWithTrap(1, &out, 1, ins, name), nullptr) << name;
  }
  EXPECT_EQ(out, nullptr);
}

/// The one-line report of what the function throws.
std::string reportOf(const Value& callee) {
  const CallScope scope;
  zbArray* ins[] = {callee.get()};
  zbArray* exception = zebCallZembraWithTrap(0, nullptr, 1, ins, "feval");
  if (exception == nullptr) return "no exception";
  EXPECT_EQ(zbGetClass(exception), zbClass::Object);
  zbArray* inputs[] = {exception, zbCreateString("basic")};
  zbArray* report = nullptr;
  EXPECT_EQ(zebCallZembraWithTrap(1, &report, 2, inputs, "getReport"), nullptr);
  zembra::takePendingCause();
  return textOf(zembra::share(report));
}

TEST(HostFunctions, ReportWhatTheyThrow) {
  EXPECT_EQ(reportOf(give({})), "no exception");
  EXPECT_EQ(reportOf(fail("broken")), "broken");
  EXPECT_EQ(reportOf(fail("")), "");
  EXPECT_EQ(reportOf(fail(std::string("a\0b", 3))), "a");
  EXPECT_EQ(reportOf(function([](int, auto) -> Results { throw 5; })),
            "A host function failed with an exception that says nothing about itself.");
  EXPECT_EQ(reportOf(function([](int, auto) -> Results { return call("no such function"); })),
            failureOf("no such function", {})->what());
}

TEST(HostFunctions, ReportOnExceptionsOnly) {
  const CallScope scope;
  zbArray* ins[] = {zbCreateDoubleScalar(1)};
  zbArray* out = nullptr;
  EXPECT_NE(zebCallZembra(1, &out, 1, ins, "getReport"), 0);
  EXPECT_NE(zebCallZembra(1, &out, 0, nullptr, "getReport"), 0);
  EXPECT_EQ(out, nullptr);
}

TEST(HostFunctions, CallTheGatewayAgain) {
  const Feval call(1, function([](int, std::span<zbArray* const>) {
                     return Results{result("H5Screate", "H5S_NULL")};
                   }));
  ASSERT_EQ(call.failed, 0);
  EXPECT_EQ(callNumber("H5Iis_valid", zbGetScalar(call.outs[0])), 1);
  h5test::call("H5Sclose", zbGetScalar(call.outs[0]));
}

// --- Errors and warnings
// -------------------------------------------------------------------------------------

std::string causeOf(const std::exception_ptr& cause) {
  if (!cause) return "none";
  try {
    std::rethrow_exception(cause);
  } catch (const std::exception& error) {
    return error.what();
  }
}

/// The cause of the error that the action raises.
template <class Action>
std::string causeOfError(Action action) {
  try {
    action();
    return "no error";
  } catch (const HostError& error) {
    return causeOf(error->cause);
  }
}

TEST(Causes, AreWhatTheLastHostFunctionThrew) {
  EXPECT_EQ(causeOfError([] { zbErrMsgId(msg::attributeIteratorCallback()); }), "none");
  Feval(1, fail("broken"));
  EXPECT_EQ(causeOfError([] { zbErrMsgId(msg::attributeIteratorCallback()); }), "broken");
  Feval(1, fail("broken"));
  EXPECT_EQ(causeOfError([] { KVH5libraryError(); }), "broken");
}

TEST(Causes, AreGivenOnce) {
  Feval(1, fail("broken"));
  EXPECT_EQ(causeOfError([] { zbErrMsgId(msg::attributeIteratorCallback()); }), "broken");
  EXPECT_EQ(causeOfError([] { zbErrMsgId(msg::attributeIteratorCallback()); }), "none");
}

TEST(Causes, AreForgottenWhenALaterHostFunctionSucceeds) {
  Feval(1, fail("broken"));
  Feval(1, give({}));
  EXPECT_EQ(causeOfError([] { zbErrMsgId(msg::attributeIteratorCallback()); }), "none");
}

TEST(Causes, AreForgottenWhenTheNextCallBegins) {
  extend([](int, zbArray**, int, const zbArray**) { Feval(1, fail("broken")); });
  EXPECT_EQ(causeOf((*failureOf("H5Sclose", {-1}))->cause), "none");
}

TEST(Causes, SurviveTheReport) {
  const CallScope scope;
  const Value callee = fail("broken");
  zbArray* ins[] = {callee.get()};
  zbArray* inputs[] = {zebCallZembraWithTrap(0, nullptr, 1, ins, "feval")};
  zbArray* report = nullptr;
  EXPECT_EQ(zebCallZembra(1, &report, 1, inputs, "getReport"), 0);
  EXPECT_EQ(causeOfError([] { zbErrMsgId(msg::visitFailure("broken")); }), "broken");
}

TEST(Causes, OfNestedCallsChain) {
  const Value inner = function([](int, std::span<zbArray* const>) -> Results {
    Feval(1, fail("innermost"));
    zbErrMsgId(msg::visitFailure("inner"));
  });
  Feval(1, inner);
  try {
    zbErrMsgId(msg::visitFailure("outer"));
  } catch (const HostError& outer) {
    ASSERT_TRUE(outer->cause);
    EXPECT_EQ(causeOfError([&] { std::rethrow_exception(outer->cause); }), "innermost");
  }
}

TEST(Errors, CarryKeyParametersAndText) {
  try {
    zbErrMsgId(msg::badEnumNumericInput(7, 3));
    FAIL();
  } catch (const HostError& error) {
    EXPECT_EQ(error->identifier, "Zembra:h5gate:badEnumNumericInput");
    EXPECT_EQ(error->key, "badEnumNumericInput");
    EXPECT_EQ(error->parameters, (std::vector<Parameter>{std::int64_t{7}, std::int64_t{3}}));
    EXPECT_NE(std::string(error.what()).find('7'), std::string::npos);
    EXPECT_FALSE(error->libraryFailure);
    EXPECT_TRUE(error->stack.empty());
  }
}

TEST(Errors, OfTheLibraryCarryItsRecords) {
  const auto error = failureOf("H5Fopen", {temporaryPath("absent.h5"), 0, "H5P_DEFAULT"});
  ASSERT_TRUE(error);
  EXPECT_TRUE((*error)->libraryFailure);
  ASSERT_GE((*error)->stack.size(), 2U);
  const zembra::ErrorRecord& outermost = (*error)->stack.back();
  EXPECT_EQ(outermost.function, "H5Fopen");
  EXPECT_EQ(outermost.major.rfind("File access", 0), 0U) << outermost.major;
  EXPECT_FALSE(outermost.minor.empty());
  EXPECT_FALSE(outermost.description.empty());
  EXPECT_FALSE(outermost.file.empty());
  EXPECT_GT(outermost.line, 0U);
  EXPECT_NE(std::string(error->what()).find((*error)->stack.front().description),
            std::string::npos);
}

TEST(Errors, OfTheLibrarySayWhenThereIsNoRecord) {
  H5Eclear2(H5E_DEFAULT);
  try {
    KVH5libraryError();
  } catch (const HostError& error) {
    EXPECT_TRUE(error->libraryFailure);
    EXPECT_TRUE(error->stack.empty());
    EXPECT_STREQ(error.what(), "HDF5 reported a failure without an error record.");
  }
}

/// Hands the host's warnings to a test, and the host back to itself.
class HostWarnings : public testing::Test {
 protected:
  void TearDown() override { zembra::setWarningHandler(nullptr); }
};

TEST_F(HostWarnings, ReachTheHandler) {
  std::vector<zembra::Warning> received;
  zembra::setWarningHandler([&](const zembra::Warning& warning) { received.push_back(warning); });
  Feval(1, fail("broken"));
  zbWarningMsgId(msg::H5Aiterator2_Callback_failure("broken"));
  ASSERT_EQ(received.size(), 1U);
  EXPECT_EQ(received[0].identifier, "Zembra:h5gate:H5Aiterator2_Callback_failure");
  EXPECT_NE(received[0].text.find("broken"), std::string::npos);
  EXPECT_EQ(causeOf(received[0].cause), "broken");
  EXPECT_EQ(causeOfError([] { zbErrMsgId(msg::attributeIteratorCallback()); }), "broken");
}

TEST_F(HostWarnings, BecomeErrorsWhenTheHandlerThrows) {
  zembra::setWarningHandler([](const zembra::Warning&) { throw std::runtime_error("no"); });
  EXPECT_THROW(zbWarningMsgId(msg::H5Aiterator2_Callback_failure("broken")), std::runtime_error);
}

TEST_F(HostWarnings, ArePrintedWithoutAHandler) {
  zembra::setWarningHandler(nullptr);
  testing::internal::CaptureStderr();
  zbWarningMsgId(msg::H5Aiterator2_Callback_failure("broken"));
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(printed.rfind("Warning: ", 0), 0U) << printed;
  EXPECT_NE(printed.find("broken"), std::string::npos) << printed;
}

}  // namespace
