// What errors and warnings carry, and what caused them.
#include "hdf5/compat.hpp"
#include "host/call.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <exception>
#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/messages.hpp"
#include "runtime/call_scope.hpp"
#include "tests/unit/failures.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/host_calls.hpp"

namespace {

using namespace h5test;
using zembra::CallScope;
using zembra::HostError;
namespace msg = Zembra::fmtio::h5gate;

// --- Causes --------------------------------------------------------------------------

/// The cause of the error that the action raises.
std::string causeOfError(const std::function<void()>& action) {
  const Failure error = raisedBy(action);
  return error ? causeOf((*error)->cause) : "no error";
}

void raise() { zbErrMsgId(msg::attributeIteratorCallback()); }

TEST(Causes, AreWhatTheLastHostFunctionThrew) {
  EXPECT_EQ(causeOfError(raise), "none");
  Feval(1, fail("broken"));
  EXPECT_EQ(causeOfError(raise), "broken");
  Feval(1, fail("broken"));
  EXPECT_EQ(causeOfError([] { KVH5libraryError(); }), "broken");
}

TEST(Causes, AreGivenOnce) {
  Feval(1, fail("broken"));
  EXPECT_EQ(causeOfError(raise), "broken");
  EXPECT_EQ(causeOfError(raise), "none");
}

TEST(Causes, AreForgottenWhenALaterHostFunctionSucceeds) {
  Feval(1, fail("broken"));
  Feval(1, give({}));
  EXPECT_EQ(causeOfError(raise), "none");
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

// --- Errors --------------------------------------------------------------------------

TEST(Errors, CarryKeyParametersAndText) {
  try {
    zbErrMsgId(msg::badEnumNumericInput(7, 3));
    FAIL();
  } catch (const HostError& error) {
    EXPECT_EQ(error->identifier, "Zembra:h5gate:badEnumNumericInput");
    EXPECT_EQ(error->key, "badEnumNumericInput");
    EXPECT_EQ(error->parameters, (Parameters{std::int64_t{7}, std::int64_t{3}}));
    EXPECT_NE(std::string(error.what()).find('7'), std::string::npos);
    EXPECT_FALSE(error->libraryFailure);
    EXPECT_TRUE(error->stack.empty());
  }
}

TEST(Errors, OfTheLibraryCarryItsRecords) {
  const auto error = failureOf("H5Fopen", {temporaryPath("absent.h5"), 0, kDefault});
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

// --- Warnings ------------------------------------------------------------------------

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
  EXPECT_EQ(causeOfError(raise), "broken");
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
