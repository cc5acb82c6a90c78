// Host functions that HDF5 calls: every function that takes one, and everything that
// a host function can do to it.
#include <gtest/gtest.h>

#include <cstdio>
#include <exception>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "tests/unit/collected_warnings.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/three_of_each.hpp"
#include "tests/unit/walking.hpp"

namespace {

using namespace h5test;

/// Leaves a stack for the walk of the error stack.
void failInHdf5(const Owned& file) {
  EXPECT_THROW(call("H5Gopen", file, "nowhere"), zembra::HostError);
}

/// What a function that calls host functions is called with.
struct Given {
  const ThreeOfEach& there;
  Value function;
  Value data;
};

/// A function that calls host functions. Some are asked for user data as well, and trap
/// what they throw.
struct Iteration {
  const char* function;
  const char* title;
  Arguments (*arguments)(const Given& given);
  bool trapped;
  const char* thrown;  // raised when the host function throws; null: HDF5's failure
  const char* failed;  // when it answers a negative status; null: HDF5's, "": nothing is raised
  std::string report = kNoneRan;
};

const Iteration kIterations[] = {
    {"H5Aiterate", "H5Aiterate_short",
     [](const Given& on) {
       return Arguments{on.there.group, 0, on.function};
     },
     false, "attributeIteratorCallback", nullptr},
    {"H5Aiterate", "H5Aiterate_long",
     [](const Given& on) { return Arguments{on.there.group, 0, 0, 0, on.function, on.data}; }, true,
     nullptr, nullptr},
    {"H5Giterate", "H5Giterate",
     [](const Given& on) {
       return Arguments{on.there.file, "g", 0, on.function};
     },
     false, "H5GiteratorCallbackFailure", ""},
    {"H5Literate", "H5Literate",
     [](const Given& on) { return Arguments{on.there.group, 0, 0, 0, on.function, on.data}; }, true,
     "linkIterationFailure", "linkIterationFailure", ""},
    {"H5Literate_by_name", "H5Literate_by_name",
     [](const Given& on) {
       return Arguments{on.there.file, "g", 0, 0, 0, on.function, on.data, kDefault};
     },
     true, "linkIterationByNameFailure", "linkIterationByNameFailure"},
    {"H5Lvisit", "H5Lvisit",
     [](const Given& on) {
       return Arguments{on.there.group, 0, 0, on.function, on.data};
     },
     true, "linkVisitFailure", "linkVisitFailure"},
    {"H5Lvisit_by_name", "H5Lvisit_by_name",
     [](const Given& on) {
       return Arguments{on.there.file, "g", 0, 0, on.function, on.data, kDefault};
     },
     true, "linkVisitationByNameFailure", "linkVisitationByNameFailure"},
    {"H5Ovisit", "H5Ovisit",
     [](const Given& on) {
       return Arguments{on.there.group, 0, 0, on.function, on.data};
     },
     true, "visitFailure", "visitFailure"},
    {"H5Ovisit_by_name", "H5Ovisit_by_name",
     [](const Given& on) {
       return Arguments{on.there.file, "g", 0, 0, on.function, on.data, kDefault};
     },
     true, "visitByNameFailure", "visitByNameFailure"},
    {"H5Ewalk", "H5Ewalk",
     [](const Given& on) {
       failInHdf5(on.there.file);
       return Arguments{0, on.function};
     },
     false, "H5Ewalk1_Callback", "erorStackCallbackFunctionFailed"},
    {"H5Piterate", "H5Piterate",
     [](const Given& on) {
       return Arguments{on.there.list, 0, on.function};
     },
     false, "propertyListIteratorCallback", nullptr},
    {"H5DSiterate_scales", "H5DSiterate_scales",
     [](const Given& on) {
       return Arguments{on.there.dataset, 0, 0, on.function, on.data};
     },
     true, "iterateScalesFailure", "iterateScalesFailure"},
};

Failure failureWith(const Iteration& iteration, const ThreeOfEach& there, const Value& function) {
  return failureOf(iteration.function, iteration.arguments({there, function, number(0)}));
}

Results runWith(const Iteration& iteration, const ThreeOfEach& there, const Value& function,
                const Value& userData = number(0)) {
  return callWith(5, iteration.function, iteration.arguments({there, function, userData}));
}

/// Each test runs for every function.
class Iterating : public testing::TestWithParam<Iteration> {
 protected:
  ~Iterating() override {
    // Whatever happened, nothing holds the file: it can be made anew, and deleted.
    const std::string path = there_->path;
    EXPECT_EQ(callNumber("H5Fget_obj_count", there_->file, "H5F_OBJ_ALL"), 4);
    there_.reset();
    createFile(path);
    EXPECT_EQ(std::remove(path.c_str()), 0);
  }

  [[nodiscard]] const ThreeOfEach& there() const { return *there_; }

  /// A negative answer: what is raised, or handed back.
  void expectFails(const Value& function) const {
    const Iteration& iteration = GetParam();
    if (iteration.failed != nullptr && iteration.failed[0] == '\0') {
      EXPECT_LT(numberOf(runWith(iteration, there(), function)[0]), 0);
      return;
    }
    const Failure error = failureWith(iteration, there(), function);
    ASSERT_TRUE(error);
    if (iteration.failed == nullptr) {
      EXPECT_TRUE((*error)->libraryFailure) << error->what();
      return;
    }
    EXPECT_EQ((*error)->key, iteration.failed);
    EXPECT_EQ((*error)->parameters,
              iteration.trapped ? Parameters{iteration.report} : Parameters{});
    EXPECT_FALSE((*error)->cause);
  }

  Warnings warnings;

 private:
  std::unique_ptr<ThreeOfEach> there_ = std::make_unique<ThreeOfEach>();
};

INSTANTIATE_TEST_SUITE_P(All, Iterating, testing::ValuesIn(kIterations),
                         [](const auto& test) { return std::string(test.param.title); });

TEST_P(Iterating, GoesOnWhileTheStatusIsZero) {
  for (const double status : {0.0, 0.3, -0.5, 0.999}) {
    int calls = 0;
    const Results results = runWith(GetParam(), there(), counting(calls, [&](int call) {
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

TEST_P(Iterating, StopsAtAPositiveStatus) {
  for (const auto& [status, expected] :
       {std::pair(1.0, 1), std::pair(2.7, 2), std::pair(2147483647.9, 2147483647)}) {
    int calls = 0;
    const Results results =
        runWith(GetParam(), there(), counting(calls, [&, status = status](int call) {
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

TEST_P(Iterating, TakesStatusesOfEveryNumericClass) {
  for (const Value& status :
       {logical(true), numeric(zbClass::Int8, {1}), numeric(zbClass::UInt64, {1}),
        numeric(zbClass::Single, {1.5}), row({1, 0, 0})}) {
    int calls = 0;
    runWith(GetParam(), there(), counting(calls, [&](int call) {
              return Results{status, number(call)};
            }));
    EXPECT_EQ(calls, 1) << zembra::describe(status.get());
  }
}

TEST_P(Iterating, FailsAtANegativeStatus) {
  for (const double status : {-1.0, -2147483648.0, 2147483648.0, 1e300, kNaN}) {
    int calls = 0;
    expectFails(counting(calls, [&](int call) { return Results{number(status), number(call)}; }));
    EXPECT_EQ(calls, 1) << status;
  }
  EXPECT_TRUE(warnings.list.empty());
}

TEST_P(Iterating, FailsAtAStatusThatIsNoNumber) {
  for (const Value& status :
       {text("0"), empty(), cell({number(0)}), structure({{"status", number(0)}}), identifier(0),
        numeric(zbClass::Int32, {}), zembra::makeForeign(zembra::Origin())}) {
    int calls = 0;
    expectFails(counting(calls, [&](int call) { return Results{status, number(call)}; }));
    EXPECT_EQ(calls, 1) << zembra::describe(status.get());
  }
}

TEST_P(Iterating, GoesOnWithoutAnAnswerWhereOnlyAStatusIsAsked) {
  int calls = 0;
  const Value silent = counting(calls, [](int /*call*/) { return Results(); });
  if (GetParam().trapped) {
    // Two answers are asked: what is missing is an empty array, and that no number.
    expectFails(silent);
    EXPECT_EQ(calls, 1);
  } else {
    runWith(GetParam(), there(), silent);
    EXPECT_GE(calls, 3);
  }
}

TEST_P(Iterating, ReadsMissingUserDataAsEmpty) {
  if (!GetParam().trapped) return;  // they travel with trapped functions only
  int calls = 0;
  const Results results = runWith(GetParam(), there(),
                                  counting(calls, [](int /*call*/) { return Results{number(0)}; }));
  EXPECT_EQ(shapeOf(results.back()), (Shape{0, 0}));
  EXPECT_EQ(classOf(results.back()), zbClass::Double);
}

TEST_P(Iterating, PassesOnWhatTheHostFunctionThrows) {
  int calls = 0;
  const Failure error = failureWith(GetParam(), there(), counting(calls, [](int call) -> Results {
                                      if (call == 3) throw std::runtime_error("the third is bad");
                                      return {number(0), number(call)};
                                    }));
  ASSERT_TRUE(error);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(causeOf((*error)->cause), "the third is bad");
  if (GetParam().thrown == nullptr) {
    EXPECT_TRUE((*error)->libraryFailure);
  } else {
    EXPECT_EQ((*error)->key, GetParam().thrown);
    EXPECT_EQ((*error)->parameters,
              GetParam().trapped ? Parameters{std::string("the third is bad")} : Parameters{});
  }
}

TEST_P(Iterating, ForgetsTheCauseOfAnErrorBefore) {
  int calls = 0;
  failureWith(GetParam(), there(),
              counting(calls, [](int /*call*/) -> Results { throw std::runtime_error("before"); }));
  const Failure error = failureOf("H5Gopen", {there().file, "nowhere"});
  ASSERT_TRUE(error);
  EXPECT_FALSE((*error)->cause);
}

TEST_P(Iterating, SurvivesExceptionsOfAnyKind) {
  int calls = 0;
  const Failure error = failureWith(GetParam(), there(), counting(calls, [](int) -> Results {
                                      throw 42;  // says nothing about itself
                                    }));
  ASSERT_TRUE(error);
  EXPECT_EQ(calls, 1);
  if (GetParam().thrown != nullptr) {
    EXPECT_EQ((*error)->key, GetParam().thrown);
  }
}

TEST_P(Iterating, NeedsAFunction) {
  for (const Value& other : {number(1), text("disp"), empty(), cell({}), structure({})}) {
    const Failure error = failureWith(GetParam(), there(), other);
    ASSERT_TRUE(error);
    if (GetParam().thrown != nullptr) {
      EXPECT_EQ((*error)->key, GetParam().thrown);
    }
    EXPECT_NE(causeOf((*error)->cause).find("a function handle is needed"), std::string::npos);
  }
}

TEST_P(Iterating, Nests) {
  int inner = 0;
  int outer = 0;
  const Value quiet = counting(inner, [](int call) { return Results{number(0), number(call)}; });
  const Results results = runWith(GetParam(), there(), counting(outer, [&](int call) {
                                    runWith(GetParam(), there(), quiet, text("inner data"));
                                    return Results{number(0), number(call)};
                                  }));
  EXPECT_GE(outer, 3);
  EXPECT_GE(inner, 3 * outer);
  if (GetParam().trapped) {
    EXPECT_EQ(numberOf(results.back()), outer);
  }
}

TEST_P(Iterating, KeepsTheLibraryOpen) {
  int calls = 0;
  runWith(GetParam(), there(), counting(calls, [](int call) {
            const Failure error = failureOf("H5close", {});
            EXPECT_TRUE(error && (*error)->stack.size() == 1);
            EXPECT_STREQ(error ? (*error)->stack[0].description.c_str() : "",
                         "the library is in use: a callback is running");
            return Results{number(0), number(call)};
          }));
  EXPECT_GE(calls, 3);
}

TEST_P(Iterating, RecoversFromEveryOtherFunctionFailingInside) {
  for (const Iteration& inside : kIterations) {
    int innerCalls = 0;
    int outerCalls = 0;
    const Value bad = counting(innerCalls, [](int call) -> Results {
      if (call % 2 == 0) throw std::runtime_error("inner");
      return {number(0), number(call)};
    });
    const Results results = runWith(GetParam(), there(), counting(outerCalls, [&](int call) {
                                      const Failure error = failureWith(inside, there(), bad);
                                      EXPECT_TRUE(error && causeOf((*error)->cause) == "inner")
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

TEST_P(Iterating, PassesOnWhatFailsInside) {
  for (const Iteration& inside : kIterations) {
    int innerCalls = 0;
    int outerCalls = 0;
    const Value bad = counting(
        innerCalls, [](int /*call*/) -> Results { throw std::runtime_error("innermost"); });
    const Failure error = failureWith(GetParam(), there(), counting(outerCalls, [&](int call) {
                                        runWith(inside, there(), bad);
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
      EXPECT_EQ(causeOf(cause->cause), "innermost") << inside.title;
    }
  }
}

// --- Plain and trapped ---------------------------------------------------------------

class Callbacks : public testing::Test {
 protected:
  ThreeOfEach there;
  Warnings warnings;
};

TEST_F(Callbacks, AreAskedForOneAnswerOrForTwo) {
  for (const Iteration& iteration : kIterations) {
    int asked = 0;
    runWith(iteration, there, function([&](int outputs, std::span<zbArray* const> /*inputs*/) {
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
    runWith(iteration, there, function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
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
        runWith(iteration, there, function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
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
  const Results results = call("H5Literate", there.empty, 0, 0, 0, neverCalled(), data);
  EXPECT_EQ(results.back().get(), data.get());
  EXPECT_EQ(call("H5Aiterate", there.empty, 0, 0, 0, neverCalled(), data).back().get(), data.get());
}

TEST_F(Callbacks, GiveAsManyResultsAsAskedFor) {
  for (const Iteration& iteration : kIterations) {
    if (!iteration.trapped) continue;
    int calls = 0;
    const Value quiet = counting(calls, [](int call) { return Results{number(0), number(call)}; });
    const Arguments arguments = iteration.arguments({there, quiet, number(0)});
    const std::size_t all = callWith(5, iteration.function, arguments).size();
    EXPECT_EQ(callWith(0, iteration.function, arguments).size(), 1U) << iteration.title;
    for (std::size_t asked = 1; asked <= all; ++asked) {
      EXPECT_EQ(callWith(static_cast<int>(asked), iteration.function, arguments).size(), asked)
          << iteration.title;
    }
  }
}

}  // namespace
