// Calls into an extension, and calls of host functions.
#include "host/call.hpp"
#include "runtime/call_scope.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <exception>
#include <span>
#include <string>
#include <vector>

#include "runtime/pending_cause.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/host_calls.hpp"

namespace {

using namespace h5test;
using zembra::CallScope;

// --- Into an extension ---------------------------------------------------------------

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

// --- Of host functions ---------------------------------------------------------------

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

TEST(HostFunctions, AreCalledByTwoNamesOnly) {
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

}  // namespace
