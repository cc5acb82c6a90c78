// Who owns arrays, and how long: containers, calls, and whoever shares them.
#include "runtime/call_scope.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <span>
#include <stdexcept>
#include <utility>

#include "tests/unit/failures.hpp"
#include "tests/unit/host_calls.hpp"
#include "tests/unit/owned.hpp"

namespace {

using namespace h5test;
using zembra::CallScope;

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

/// A tracked array that belongs to the running call.
zbArray* createTracked() {
  zbArray* array = Tracked::make().release();
  zembra::enroll(array);
  return array;
}

// --- Arrays of arrays ----------------------------------------------------------------

TEST_F(Ownership, OfWhatAnExtensionCreatesWithoutACallIsItsOwn) {
  zbArray* scalar = zbCreateDoubleScalar(3);
  EXPECT_EQ(zbGetScalar(scalar), 3);
  zbDestroyArray(scalar);
  zbDestroyArray(zbCreateString("abc"));
  zbDestroyArray(nullptr);
}

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
  const Value& same = second;
  second = same;
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

// --- Results and arguments of calls --------------------------------------------------

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

// --- Results of host functions -------------------------------------------------------

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

}  // namespace
