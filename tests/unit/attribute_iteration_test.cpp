// Iterating over attributes: two forms of one function, of which one warns.
#include <gtest/gtest.h>

#include <exception>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

#include "tests/unit/collected_warnings.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/structures.hpp"
#include "tests/unit/three_of_each.hpp"

namespace {

using namespace h5test;

class AttributeIteration : public testing::Test {
 protected:
  ThreeOfEach there;
  Warnings warnings;
};

TEST_F(AttributeIteration, GivesNothingInTheShortForm) {
  int calls = 0;
  const Value quiet = counting(calls, [](int call) { return Results{number(call == 2 ? 5 : 0)}; });
  EXPECT_EQ(callWith(5, "H5Aiterate", {there.group, 0, quiet}).size(), 0U);
  EXPECT_EQ(calls, 2);
}

TEST_F(AttributeIteration, GivesStatusPositionAndDataInTheLongForm) {
  int calls = 0;
  Results results = call("H5Aiterate", there.group, "H5_INDEX_NAME", "H5_ITER_INC", 0,
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
  results = call("H5Aiterate", there.group, 0, 0, results[1], noteNames(names), empty());
  EXPECT_EQ(names, Names{"c"});
  EXPECT_EQ(numberOf(results[1]), 3);
}

TEST_F(AttributeIteration, ComesInTheOrderAskedFor) {
  for (const auto& [order, expected] : {std::pair("H5_ITER_INC", Names{"a", "b", "c"}),
                                        std::pair("H5_ITER_DEC", Names{"c", "b", "a"})}) {
    Names names;
    call("H5Aiterate", there.group, "H5_INDEX_NAME", order, 0, noteNames(names), empty());
    EXPECT_EQ(names, expected);
  }
  Names names;
  call("H5Aiterate", there.group, 1, noteNames(names));
  EXPECT_EQ(names, (Names{"b", "c"}));
}

TEST_F(AttributeIteration, GivesTheirInformation) {
  call("H5Aiterate", there.group, 0, 0, 0,
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

TEST_F(AttributeIteration, WarnsInTheLongForm) {
  const Failure error = failureOf(
      "H5Aiterate", {there.group, 0, 0, 0, throwAtCall(2, "what a callback says"), empty()});
  ASSERT_TRUE(error);
  EXPECT_TRUE((*error)->libraryFailure);
  ASSERT_EQ(warnings.list.size(), 1U);
  EXPECT_EQ(warnings.list[0].identifier, "Zembra:h5gate:H5Aiterator2_Callback_failure");
  EXPECT_NE(warnings.list[0].text.find("what a callback says"), std::string::npos);
  EXPECT_TRUE(warnings.list[0].cause);
}

TEST_F(AttributeIteration, RaisesWhatTheWarningRaises) {
  zembra::setWarningHandler(
      [](const zembra::Warning& warning) { throw std::runtime_error(warning.identifier); });
  EXPECT_THROW(
      {
        try {
          call("H5Aiterate", there.group, 0, 0, 0, throwAtCall(1, "no good"), empty());
        } catch (const std::runtime_error& error) {
          EXPECT_STREQ(error.what(), "Zembra:h5gate:H5Aiterator2_Callback_failure");
          throw;
        }
      },
      std::runtime_error);
  const Failure error = failureOf("H5Gopen", {there.file, "nowhere"});
  ASSERT_TRUE(error);
  EXPECT_FALSE((*error)->cause);
}

TEST_F(AttributeIteration, NamesTheInputThatIsWrong) {
  const Parameters location = {std::string("location identifier")};
  const Parameters offset = {std::string("\"initial offset within index\"")};
  expectRaises("doubleHidtMismatch", location, "H5Aiterate", true, -1, neverCalled());
  expectRaises("scalarValueInputOutOfRange", {}, "H5Aiterate", kNoIdentifier, -1, neverCalled());
  expectLibraryError("H5Aiterate", kNoIdentifier, 0, neverCalled());
  expectLibraryError("H5Aiterate", there.group, 4, neverCalled());
  expectRaises("doubleHidtMismatch", location, "H5Aiterate", true, "x", "x", true, neverCalled(),
               empty());
  expectRaises("unmatchedStringNoParam", {std::string("x")}, "H5Aiterate", kNoIdentifier, "x", "y",
               true, neverCalled(), empty());
  expectRaises("unmatchedStringNoParam", {std::string("y")}, "H5Aiterate", kNoIdentifier, 0, "y",
               true, neverCalled(), empty());
  for (const Value& other : {numeric(zbClass::Int32, {0}), row({0, 0}), empty(), text("0")}) {
    expectRaises("notDoublePrecision", offset, "H5Aiterate", kNoIdentifier, 0, 0, other,
                 neverCalled(), empty());
  }
  expectRaises("scalarValueInputOutOfRange", {}, "H5Aiterate", kNoIdentifier, 0, 0, -1,
               neverCalled(), empty());
  expectLibraryError("H5Aiterate", kNoIdentifier, 0, 0, 0, neverCalled(), empty());
  expectLibraryError("H5Aiterate", there.group, 0, 0, 4, neverCalled(), empty());
  EXPECT_TRUE(warnings.list.empty());
}

TEST_F(AttributeIteration, MayGoDeep) {
  int depth = 0;
  Value down;
  down = function([&](int /*outputs*/, std::span<zbArray* const> inputs) -> Results {
    if (++depth == 50) throw std::runtime_error("the bottom");
    call("H5Aiterate", zbGetScalar(inputs[0]), 0, down);
    return {number(0)};
  });
  const Failure error = failureOf("H5Aiterate", {there.group, 0, down});
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
