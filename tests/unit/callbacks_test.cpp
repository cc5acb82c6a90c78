// Host functions that HDF5 calls: every function that takes one, and everything that
// a host function can do to it.
#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "convert/callbacks.hpp"
#include "tests/unit/owned.hpp"
#include "tests/unit/walking.hpp"

namespace {

using namespace h5test;
using Parameters = std::vector<Parameter>;

constexpr const char* kList = "H5P_DEFAULT";
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// A file with three of everything: groups in "g", attributes of "g", scales of the
/// dataset "d"; and a property list, which has more.
class World {
 public:
  World() {
    const Owned space = makeSpace({2});
    for (const char* name : {"a", "b", "c"}) {
      make("H5Gcreate", group, name, kList, kList, kList);
      make("H5Acreate", group, name, "H5T_STD_I32LE", space, kList);
      const Owned scale = make("H5Dcreate", file, name, "H5T_STD_I32LE", space, kList);
      call("H5DSset_scale", scale, name);
      call("H5DSattach_scale", dataset, scale, 0);
    }
  }

  std::string path = temporaryPath();
  Owned file = make("H5Fcreate", path, "H5F_ACC_TRUNC", kList, kList);
  Owned group = make("H5Gcreate", file, "g", kList, kList, kList);
  Owned empty = make("H5Gcreate", file, "empty", kList, kList, kList);
  Owned dataset = make("H5Dcreate", file, "d", "H5T_STD_I32LE", makeSpace({2}), kList);
  Owned list = make("H5Pcreate", "H5P_DATASET_CREATE");
};

/// What the walk of the error stack is to find.
void failInHdf5(const World& world) {
  EXPECT_THROW(call("H5Gopen", world.file, "nowhere"), zembra::HostError);
}

/// A function that calls host functions.
struct Iteration {
  const char* function;
  const char* title;
  Arguments (*arguments)(const World& world, const Value& hostFunction, const Value& userData);
  bool trapped;
  const char* thrown;  // raised when the host function throws; null: HDF5's failure
  const char* failed;  // when it answers a negative status; null: HDF5's, "": nothing is raised
  const char* report = h5gate::kNoCallbackRan;
};

#define INPUTS                                                             \
  []([[maybe_unused]] const World& world, [[maybe_unused]] const Value& f, \
     [[maybe_unused]] const Value& data) -> Arguments

const Iteration kIterations[] = {
    {"H5Aiterate", "H5Aiterate_short", INPUTS{return {world.group, 0, f};
}  // namespace
, false, "attributeIteratorCallback", nullptr
}
, {"H5Aiterate", "H5Aiterate_long", INPUTS{return {world.group, 0, 0, 0, f, data};
}
, true, nullptr, nullptr
}
, {"H5Giterate", "H5Giterate", INPUTS{return {world.file, "g", 0, f};
}
, false, "H5GiteratorCallbackFailure", ""
}
, {"H5Literate", "H5Literate", INPUTS{return {world.group, 0, 0, 0, f, data};
}
, true, "linkIterationFailure", "linkIterationFailure", ""
}
, {"H5Literate_by_name", "H5Literate_by_name",
   INPUTS{return {world.file, "g", 0, 0, 0, f, data, kList};
}
, true, "linkIterationByNameFailure", "linkIterationByNameFailure"
}
, {"H5Lvisit", "H5Lvisit", INPUTS{return {world.group, 0, 0, f, data};
}
, true, "linkVisitFailure", "linkVisitFailure"
}
, {"H5Lvisit_by_name", "H5Lvisit_by_name", INPUTS{return {world.file, "g", 0, 0, f, data, kList};
}
, true, "linkVisitationByNameFailure", "linkVisitationByNameFailure"
}
, {"H5Ovisit", "H5Ovisit", INPUTS{return {world.group, 0, 0, f, data};
}
, true, "visitFailure", "visitFailure"
}
, {"H5Ovisit_by_name", "H5Ovisit_by_name", INPUTS{return {world.file, "g", 0, 0, f, data, kList};
}
, true, "visitByNameFailure", "visitByNameFailure"
}
, {"H5Ewalk", "H5Ewalk", INPUTS{failInHdf5(world);
return {0, f};
}
, false, "H5Ewalk1_Callback", "erorStackCallbackFunctionFailed"
}
, {"H5Piterate", "H5Piterate", INPUTS{return {world.list, 0, f};
}
, false, "propertyListIteratorCallback", nullptr
}
, {"H5DSiterate_scales", "H5DSiterate_scales", INPUTS{return {world.dataset, 0, 0, f, data};
}
, true, "iterateScalesFailure", "iterateScalesFailure"
}
,
}
;
#undef INPUTS

/// A host function by what it does at its n-th call, counted from 1; the user data are
/// the number of the call.
using Body = std::function<Results(int call)>;
Value counting(int& calls, Body body) {
  return function([&calls, body = std::move(body)](int /*outputs*/, std::span<zbArray* const>) {
    return body(++calls);
  });
}

std::shared_ptr<const zembra::HostError> failureWith(const Iteration& iteration, const World& world,
                                                     const Value& function) {
  return failureOf(iteration.function, iteration.arguments(world, function, number(0)));
}

Results runWith(const Iteration& iteration, const World& world, const Value& function,
                const Value& userData = number(0)) {
  return callWith(5, iteration.function, iteration.arguments(world, function, userData));
}

/// What the exception that caused the error says.
std::string causeOf(const zembra::HostError& error) {
  if (!error->cause) return "no cause";
  try {
    std::rethrow_exception(error->cause);
  } catch (const std::exception& cause) {
    return cause.what();
  }
}

/// Each test runs for every function.
class Called : public testing::TestWithParam<Iteration> {
 protected:
  ~Called() override {
    // Whatever happened, nothing holds the file: it can be made anew, and deleted.
    const std::string path = world_->path;
    EXPECT_EQ(callNumber("H5Fget_obj_count", world_->file, "H5F_OBJ_ALL"), 4);
    world_.reset();
    call("H5Fclose", callNumber("H5Fcreate", path, "H5F_ACC_TRUNC", kList, kList));
    EXPECT_EQ(std::remove(path.c_str()), 0);
  }

  [[nodiscard]] const World& world() const { return *world_; }

  /// A negative answer: what is raised, or handed back.
  void expectFails(const Value& function) const {
    const Iteration& iteration = GetParam();
    if (iteration.failed != nullptr && iteration.failed[0] == '\0') {
      EXPECT_LT(numberOf(runWith(iteration, world(), function)[0]), 0);
      return;
    }
    const auto error = failureWith(iteration, world(), function);
    ASSERT_TRUE(error);
    if (iteration.failed == nullptr) {
      EXPECT_TRUE((*error)->libraryFailure) << error->what();
      return;
    }
    EXPECT_EQ((*error)->key, iteration.failed);
    EXPECT_EQ((*error)->parameters,
              iteration.trapped ? Parameters{std::string(iteration.report)} : Parameters{});
    EXPECT_FALSE((*error)->cause);
  }

  Warnings warnings;

 private:
  std::unique_ptr<World> world_ = std::make_unique<World>();
};

INSTANTIATE_TEST_SUITE_P(All, Called, testing::ValuesIn(kIterations),
                         [](const auto& test) { return std::string(test.param.title); });

TEST_P(Called, GoesOnWhileTheStatusIsZero) {
  for (const double status : {0.0, 0.3, -0.5, 0.999}) {
    int calls = 0;
    const Results results = runWith(GetParam(), world(), counting(calls, [&](int call) {
                                      return Results{number(status), number(call)};
                                    }));
    EXPECT_GE(calls, 3) << status;
    if (!results.empty()) {
      EXPECT_EQ(numberOf(results[0]), 0) << status;
    }
    if (GetParam().trapped) {
      EXPECT_EQ(numberOf(results.back()), calls) << status;
    }
  }
}

TEST_P(Called, StopsAtAPositiveStatus) {
  for (const auto& [status, expected] :
       {std::pair(1.0, 1), std::pair(2.7, 2), std::pair(2147483647.9, 2147483647)}) {
    int calls = 0;
    const Results results =
        runWith(GetParam(), world(), counting(calls, [&, status = status](int call) {
                  return Results{number(call == 2 ? status : 0), number(call)};
                }));
    EXPECT_EQ(calls, 2);
    if (!results.empty()) {
      EXPECT_EQ(numberOf(results[0]), expected);
    }
    if (GetParam().trapped) {
      EXPECT_EQ(numberOf(results.back()), 2);
    }
  }
  EXPECT_TRUE(warnings.list.empty());
}

TEST_P(Called, TakesStatusesOfEveryNumericClass) {
  for (const Value& status :
       {logical(true), numeric(zbClass::Int8, {1}), numeric(zbClass::UInt64, {1}),
        numeric(zbClass::Single, {1.5}), row({1, 0, 0})}) {
    int calls = 0;
    runWith(GetParam(), world(), counting(calls, [&](int call) {
              return Results{status, number(call)};
            }));
    EXPECT_EQ(calls, 1) << zembra::describe(status.get());
  }
}

TEST_P(Called, FailsAtANegativeStatus) {
  for (const double status : {-1.0, -2147483648.0, 2147483648.0, 1e300, kNaN}) {
    int calls = 0;
    expectFails(counting(calls, [&](int call) { return Results{number(status), number(call)}; }));
    EXPECT_EQ(calls, 1) << status;
  }
  EXPECT_TRUE(warnings.list.empty());
}

TEST_P(Called, FailsAtAStatusThatIsNoNumber) {
  for (const Value& status :
       {text("0"), empty(), cell({number(0)}), structure({{"status", number(0)}}), identifier(0),
        numeric(zbClass::Int32, {}), zembra::makeForeign(zembra::Origin())}) {
    int calls = 0;
    expectFails(counting(calls, [&](int call) { return Results{status, number(call)}; }));
    EXPECT_EQ(calls, 1) << zembra::describe(status.get());
  }
}

TEST_P(Called, TakesNoAnswerForGoingOnWhereOneIsAsked) {
  int calls = 0;
  const Value silent = counting(calls, [](int /*call*/) { return Results(); });
  if (GetParam().trapped) {
    // Two answers are asked: what is missing is an empty array, and that no number.
    expectFails(silent);
    EXPECT_EQ(calls, 1);
  } else {
    runWith(GetParam(), world(), silent);
    EXPECT_GE(calls, 3);
  }
}

TEST_P(Called, TakesMissingUserDataForEmptyOnes) {
  if (!GetParam().trapped) return;  // they travel with trapped functions only
  int calls = 0;
  const Results results = runWith(GetParam(), world(),
                                  counting(calls, [](int /*call*/) { return Results{number(0)}; }));
  EXPECT_EQ(shapeOf(results.back()), (Shape{0, 0}));
  EXPECT_EQ(classOf(results.back()), zbClass::Double);
}

TEST_P(Called, PassesOnWhatTheHostFunctionThrows) {
  int calls = 0;
  const auto error = failureWith(GetParam(), world(), counting(calls, [](int call) -> Results {
                                   if (call == 3) throw std::runtime_error("the third is bad");
                                   return {number(0), number(call)};
                                 }));
  ASSERT_TRUE(error);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(causeOf(*error), "the third is bad");
  if (GetParam().thrown == nullptr) {
    EXPECT_TRUE((*error)->libraryFailure);
  } else {
    EXPECT_EQ((*error)->key, GetParam().thrown);
    EXPECT_EQ((*error)->parameters,
              GetParam().trapped ? Parameters{std::string("the third is bad")} : Parameters{});
  }
}

TEST_P(Called, ForgetsTheCauseOfAnErrorBefore) {
  int calls = 0;
  failureWith(GetParam(), world(),
              counting(calls, [](int /*call*/) -> Results { throw std::runtime_error("before"); }));
  const auto error = failureOf("H5Gopen", {world().file, "nowhere"});
  ASSERT_TRUE(error);
  EXPECT_FALSE((*error)->cause);
}

TEST_P(Called, SurvivesExceptionsOfAnyKind) {
  int calls = 0;
  const auto error = failureWith(GetParam(), world(), counting(calls, [](int) -> Results {
                                   throw 42;  // says nothing about itself
                                 }));
  ASSERT_TRUE(error);
  EXPECT_EQ(calls, 1);
  if (GetParam().thrown != nullptr) {
    EXPECT_EQ((*error)->key, GetParam().thrown);
  }
}

TEST_P(Called, NeedsAFunction) {
  for (const Value& other : {number(1), text("disp"), empty(), cell({}), structure({})}) {
    const auto error = failureWith(GetParam(), world(), other);
    ASSERT_TRUE(error);
    if (GetParam().thrown != nullptr) {
      EXPECT_EQ((*error)->key, GetParam().thrown);
    }
    EXPECT_NE(causeOf(*error).find("a function handle is needed"), std::string::npos);
  }
}

TEST_P(Called, Nests) {
  int inner = 0;
  int outer = 0;
  const Value quiet = counting(inner, [](int call) { return Results{number(0), number(call)}; });
  const Results results = runWith(GetParam(), world(), counting(outer, [&](int call) {
                                    runWith(GetParam(), world(), quiet, text("inner data"));
                                    return Results{number(0), number(call)};
                                  }));
  EXPECT_GE(outer, 3);
  EXPECT_GE(inner, 3 * outer);
  if (GetParam().trapped) {
    EXPECT_EQ(numberOf(results.back()), outer);
  }
}

TEST_P(Called, RecoversFromEveryOtherFunctionFailingInside) {
  for (const Iteration& inside : kIterations) {
    int innerCalls = 0;
    int outerCalls = 0;
    const Value bad = counting(innerCalls, [](int call) -> Results {
      if (call % 2 == 0) throw std::runtime_error("inner");
      return {number(0), number(call)};
    });
    const Results results = runWith(GetParam(), world(), counting(outerCalls, [&](int call) {
                                      const auto error = failureWith(inside, world(), bad);
                                      EXPECT_TRUE(error && causeOf(*error) == "inner")
                                          << inside.title;
                                      return Results{number(call == 3 ? 7 : 0), number(call)};
                                    }));
    EXPECT_EQ(outerCalls, 3) << inside.title;
    EXPECT_EQ(innerCalls, 6) << inside.title;
    if (!results.empty()) {
      EXPECT_EQ(numberOf(results[0]), 7) << inside.title;
    }
  }
}

TEST_P(Called, PassesOnWhatFailsInside) {
  for (const Iteration& inside : kIterations) {
    int innerCalls = 0;
    int outerCalls = 0;
    const Value bad = counting(
        innerCalls, [](int /*call*/) -> Results { throw std::runtime_error("innermost"); });
    const auto error = failureWith(GetParam(), world(), counting(outerCalls, [&](int call) {
                                     runWith(inside, world(), bad);
                                     return Results{number(0), number(call)};
                                   }));
    ASSERT_TRUE(error) << inside.title;
    EXPECT_EQ(outerCalls, 1) << inside.title;
    if (GetParam().thrown != nullptr) {
      EXPECT_EQ((*error)->key, GetParam().thrown);
    }
    // The inner error is the cause of the outer one, and has a cause of its own.
    ASSERT_TRUE((*error)->cause) << inside.title;
    try {
      std::rethrow_exception((*error)->cause);
    } catch (const zembra::HostError& cause) {
      if (inside.thrown != nullptr) {
        EXPECT_EQ(cause->key, inside.thrown);
      }
      EXPECT_EQ(causeOf(cause), "innermost") << inside.title;
    }
  }
}

// --- Plain and trapped -----------------------------------------------------------

class Callbacks : public testing::Test {
 protected:
  World world;
  Warnings warnings;
};

TEST_F(Callbacks, AreAskedForOneAnswerOrForTwo) {
  for (const Iteration& iteration : kIterations) {
    int asked = 0;
    runWith(iteration, world, function([&](int outputs, std::span<zbArray* const> /*inputs*/) {
              asked = outputs;
              return Results{number(1), number(0)};
            }));
    EXPECT_EQ(asked, iteration.trapped ? 2 : 1) << iteration.title;
  }
}

TEST_F(Callbacks, GetPlainIdentifiersAndNames) {
  for (const Iteration& iteration : kIterations) {
    const std::string name = iteration.function;
    if (name == "H5Ewalk" || name == "H5DSiterate_scales") continue;  // they name nothing
    runWith(iteration, world, function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
              EXPECT_EQ(zbGetClass(inputs[0]), zbClass::Double) << iteration.title;
              EXPECT_GT(H5Iis_valid(hdf5Id(zbGetScalar(inputs[0]))), 0) << iteration.title;
              EXPECT_EQ(zbGetClass(inputs[1]), zbClass::Char) << iteration.title;
              return Results{number(1), number(0)};
            }));
  }
}

TEST_F(Callbacks, GetTheUserDataThemselves) {
  const Value data = cell({text("anything")});
  for (const Iteration& iteration : kIterations) {
    if (!iteration.trapped) continue;
    int calls = 0;
    const Results results =
        runWith(iteration, world, function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
                  EXPECT_EQ(inputs.back(), data.get()) << iteration.title;
                  ++calls;
                  return Results{number(0), borrowed(inputs.back())};
                }),
                data);
    EXPECT_GE(calls, 3);
    EXPECT_EQ(results.back().get(), data.get()) << iteration.title;
  }
}

TEST_F(Callbacks, GiveBackTheUserDataWhenThereIsNothingToCall) {
  const Value data = cell({text("anything")});
  const Results results = call("H5Literate", world.empty, 0, 0, 0, neverCalled(), data);
  EXPECT_EQ(results.back().get(), data.get());
  EXPECT_EQ(call("H5Aiterate", world.empty, 0, 0, 0, neverCalled(), data).back().get(), data.get());
}

TEST_F(Callbacks, GiveAsManyResultsAsAskedFor) {
  for (const Iteration& iteration : kIterations) {
    if (!iteration.trapped) continue;
    int calls = 0;
    const Value quiet = counting(calls, [](int call) { return Results{number(0), number(call)}; });
    const Arguments arguments = iteration.arguments(world, quiet, number(0));
    const std::size_t all = callWith(5, iteration.function, arguments).size();
    EXPECT_EQ(callWith(0, iteration.function, arguments).size(), 1U) << iteration.title;
    for (std::size_t asked = 1; asked <= all; ++asked) {
      EXPECT_EQ(callWith(static_cast<int>(asked), iteration.function, arguments).size(), asked)
          << iteration.title;
    }
  }
}

// --- Attributes ------------------------------------------------------------------

TEST_F(Callbacks, OfAttributesGiveNothingInTheShortForm) {
  int calls = 0;
  const Value quiet = counting(calls, [](int call) { return Results{number(call == 2 ? 5 : 0)}; });
  EXPECT_EQ(callWith(5, "H5Aiterate", {world.group, 0, quiet}).size(), 0U);
  EXPECT_EQ(calls, 2);
}

TEST_F(Callbacks, OfAttributesGiveStatusPositionAndDataInTheLongForm) {
  int calls = 0;
  Results results = call("H5Aiterate", world.group, "H5_INDEX_NAME", "H5_ITER_INC", 0,
                         counting(calls,
                                  [](int call) {
                                    return Results{number(call == 2 ? 5 : 0), text("data")};
                                  }),
                         empty());
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(numberOf(results[0]), 5);
  EXPECT_EQ(numberOf(results[1]), 2);
  EXPECT_EQ(textOf(results[2]), "data");
  // From there on.
  Names names;
  results = call("H5Aiterate", world.group, 0, 0, results[1],
                 function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
                   names.push_back(textOf(borrowed(inputs[1])));
                   return Results{number(0), empty()};
                 }),
                 empty());
  EXPECT_EQ(names, Names{"c"});
  EXPECT_EQ(numberOf(results[1]), 3);
}

TEST_F(Callbacks, OfAttributesComeInTheOrderAskedFor) {
  for (const auto& [order, expected] : {std::pair("H5_ITER_INC", Names{"a", "b", "c"}),
                                        std::pair("H5_ITER_DEC", Names{"c", "b", "a"})}) {
    Names names;
    call("H5Aiterate", world.group, "H5_INDEX_NAME", order, 0,
         function([&names = names](int /*outputs*/, std::span<zbArray* const> inputs) {
           names.push_back(textOf(borrowed(inputs[1])));
           return Results{number(0), empty()};
         }),
         empty());
    EXPECT_EQ(names, expected);
  }
  Names names;
  call("H5Aiterate", world.group, 1, noteNames(names));
  EXPECT_EQ(names, (Names{"b", "c"}));
}

TEST_F(Callbacks, OfAttributesGetTheirInformation) {
  call("H5Aiterate", world.group, 0, 0, 0,
       function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
         EXPECT_EQ(inputs.size(), 4U);
         const Value info = borrowed(inputs[2]);
         EXPECT_EQ(fieldNames(info), (Names{"corder_valid", "corder", "cset", "data_size"}));
         EXPECT_EQ(fieldNumber(info, "data_size"), 8);
         const Owned attribute =
             make("H5Aopen_name", zbGetScalar(inputs[0]), textOf(borrowed(inputs[1])));
         EXPECT_EQ(fieldNumber(result("H5Aget_info", attribute), "data_size"), 8);
         return Results{number(0), empty()};
       }),
       empty());
}

TEST_F(Callbacks, OfAttributesWarnInTheLongForm) {
  const auto error = failureOf(
      "H5Aiterate", {world.group, 0, 0, 0, throwAtCall(2, "what a callback says"), empty()});
  ASSERT_TRUE(error);
  EXPECT_TRUE((*error)->libraryFailure);
  ASSERT_EQ(warnings.list.size(), 1U);
  EXPECT_EQ(warnings.list[0].identifier, "Zembra:h5gate:H5Aiterator2_Callback_failure");
  EXPECT_NE(warnings.list[0].text.find("what a callback says"), std::string::npos);
  EXPECT_TRUE(warnings.list[0].cause);
}

TEST_F(Callbacks, OfAttributesRaiseWhatTheWarningRaises) {
  zembra::setWarningHandler(
      [](const zembra::Warning& warning) { throw std::runtime_error(warning.identifier); });
  EXPECT_THROW(
      {
        try {
          call("H5Aiterate", world.group, 0, 0, 0, throwAtCall(1, "no good"), empty());
        } catch (const std::runtime_error& error) {
          EXPECT_STREQ(error.what(), "Zembra:h5gate:H5Aiterator2_Callback_failure");
          throw;
        }
      },
      std::runtime_error);
  const auto error = failureOf("H5Gopen", {world.file, "nowhere"});
  ASSERT_TRUE(error);
  EXPECT_FALSE((*error)->cause);
}

TEST_F(Callbacks, OfAttributesHaveInputsAsTheyAreDescribed) {
  const Parameters location = {std::string("location identifier")};
  const Parameters offset = {std::string("\"initial offset within index\"")};
  expectRaises("doubleHidtMismatch", location, "H5Aiterate", true, -1, neverCalled());
  expectRaises("scalarValueInputOutOfRange", {}, "H5Aiterate", 99, -1, neverCalled());
  expectLibraryError("H5Aiterate", 99, 0, neverCalled());
  expectLibraryError("H5Aiterate", world.group, 4, neverCalled());
  expectRaises("doubleHidtMismatch", location, "H5Aiterate", true, "x", "x", true, neverCalled(),
               empty());
  expectRaises("unmatchedStringNoParam", {std::string("x")}, "H5Aiterate", 99, "x", "y", true,
               neverCalled(), empty());
  expectRaises("unmatchedStringNoParam", {std::string("y")}, "H5Aiterate", 99, 0, "y", true,
               neverCalled(), empty());
  for (const Value& other : {numeric(zbClass::Int32, {0}), row({0, 0}), empty(), text("0")}) {
    expectRaises("notDoublePrecision", offset, "H5Aiterate", 99, 0, 0, other, neverCalled(),
                 empty());
  }
  expectRaises("scalarValueInputOutOfRange", {}, "H5Aiterate", 99, 0, 0, -1, neverCalled(),
               empty());
  expectLibraryError("H5Aiterate", 99, 0, 0, 0, neverCalled(), empty());
  expectLibraryError("H5Aiterate", world.group, 0, 0, 4, neverCalled(), empty());
  expectWrongCounts("H5Aiterate", {0, 2, 4, 5, 7});
  EXPECT_TRUE(warnings.list.empty());
}

TEST_F(Callbacks, OfAttributesMayGoDeep) {
  int depth = 0;
  Value down;
  down = function([&](int /*outputs*/, std::span<zbArray* const> inputs) -> Results {
    if (++depth == 50) throw std::runtime_error("the bottom");
    call("H5Aiterate", zbGetScalar(inputs[0]), 0, down);
    return {number(0)};
  });
  const auto error = failureOf("H5Aiterate", {world.group, 0, down});
  down = empty();  // it holds itself
  ASSERT_TRUE(error);
  EXPECT_EQ(depth, 50);
  int causes = 0;
  std::exception_ptr cause = (*error)->cause;
  while (cause) {
    ++causes;
    try {
      std::rethrow_exception(std::exchange(cause, nullptr));
    } catch (const zembra::HostError& inner) {
      EXPECT_EQ(inner->key, "attributeIteratorCallback");
      cause = inner->cause;
    } catch (const std::runtime_error& bottom) {
      EXPECT_STREQ(bottom.what(), "the bottom");
    }
  }
  EXPECT_EQ(causes, 50);
}

}  // namespace
