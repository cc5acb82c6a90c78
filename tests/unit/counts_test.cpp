// Numbers of inputs: for every function, those that it takes and all the others.
#include <gtest/gtest.h>

#include <string>

#include "gateway/function_table.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/function_names.hpp"

namespace {

using namespace h5test;

constexpr const char* kWrongCount = "Zembra:validate:wrongNumberOfInputs";

class Counts : public testing::TestWithParam<h5gate::Row> {
 protected:
  void SetUp() override {
    known_ = findFunctionName(GetParam().name);
    ASSERT_NE(known_, nullptr) << GetParam().name;
  }
  [[nodiscard]] bool accepts(int count) const { return known_->accepts(count); }

  /// The error of a call with `count` inputs of a class that no converter takes.
  static std::string raisedWith(int count) {
    const Arguments arguments(static_cast<std::size_t>(count), cell({}));
    const Failure error = raisedBy([&] { callWith(5, GetParam().name, arguments); });
    return error ? (*error)->identifier : "nothing";
  }

 private:
  const FunctionName* known_ = nullptr;
};

INSTANTIATE_TEST_SUITE_P(, Counts, testing::ValuesIn(h5gate::functionTable()),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(Counts, AreCheckedBeforeAnythingElse) {
  for (int count = 0; count <= kTooMany; ++count) {
    if (accepts(count)) continue;
    EXPECT_EQ(raisedWith(count), kWrongCount) << count << " inputs";
  }
}

TEST_P(Counts, LetTheInputsBeReadWhenTheyAreRight) {
  // Without inputs there is nothing to refuse: the call would be made.
  for (int count = 1; count <= kTooMany; ++count) {
    if (!accepts(count)) continue;
    const std::string raised = raisedWith(count);
    EXPECT_NE(raised, kWrongCount) << count << " inputs";
    EXPECT_NE(raised, "nothing") << count << " inputs";
  }
}

TEST(NoInputs, AreTooFewForAnyCall) {
  const Failure error = raisedBy([] { callWithInputs(1, {}); });
  EXPECT_TRUE(error && (*error)->identifier == kWrongCount);
}

}  // namespace
