// The error stack that the last failed call left: walking it, its texts, clearing it.
#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/complaints.hpp"
#include "tests/unit/host_calls.hpp"
#include "tests/unit/owned.hpp"
#include "tests/unit/structures.hpp"

namespace {

using namespace h5test;

/// One record as a script sees it.
struct Record {
  double position;
  double major;
  double minor;
  std::string function;
  std::string file;
  double line;
  std::string description;
};

Value noteRecords(std::vector<Record>& records, double status = 0) {
  return function([&records, status](int outputs, std::span<zbArray* const> inputs) {
    EXPECT_EQ(outputs, 1);
    EXPECT_EQ(inputs.size(), 2U);
    const Value record = borrowed(inputs[1]);
    EXPECT_EQ(shapeOf(record), Shape({1, 1}));
    EXPECT_EQ(fieldNames(record),
              Names({"maj_num", "min_num", "func_name", "file_name", "line", "desc"}));
    records.push_back({zbGetScalar(inputs[0]), fieldNumber(record, "maj_num"),
                       fieldNumber(record, "min_num"), textOf(field(record, "func_name")),
                       textOf(field(record, "file_name")), fieldNumber(record, "line"),
                       textOf(field(record, "desc"))});
    return Results{number(status)};
  });
}

std::vector<Record> walk(const char* direction = "H5E_WALK_UPWARD") {
  std::vector<Record> records;
  EXPECT_TRUE(call("H5Ewalk", direction, noteRecords(records)).empty());
  return records;
}

/// Leaves a stack of several records; what the host saw of it when it raised.
std::vector<zembra::ErrorRecord> fail() {
  const auto error = failureOf("H5Gopen", {kNoIdentifier, "g"});
  return error ? (*error)->stack : std::vector<zembra::ErrorRecord>();
}

class ErrorStack : public testing::Test {
 protected:
  ErrorStack() { H5Eclear2(H5E_DEFAULT); }
  ~ErrorStack() override { H5Eclear2(H5E_DEFAULT); }
};

TEST_F(ErrorStack, ComplainsOfInputs) {
  expectComplaints("H5Ewalk", {enumInput(), anyInput()});
  expectRaises("unmatchedStringNoParam", {std::string("UPWARD")}, "H5Ewalk", "UPWARD", empty());
  expectRaises("badEnumNumericInput", {std::int64_t{2}, std::int64_t{2}}, "H5Ewalk", 2, empty());
  for (const char* name : {"H5Eget_major", "H5Eget_minor"}) {
    expectRaises("scalarValueInputOutOfRange", {}, name, 2147483648.0);
    expectRaises("scalarValueInputOutOfRange", {}, name, empty());
    expectRaises("scalarValueInputOutOfRange", {}, name, "1");
  }
}

TEST_F(ErrorStack, IsThereAfterTheCallThatFailed) {
  const auto raised = fail();
  ASSERT_GE(raised.size(), 2U);
  const std::vector<Record> records = walk();
  ASSERT_EQ(records.size(), raised.size());
  for (std::size_t i = 0; i < records.size(); ++i) {
    EXPECT_EQ(records[i].position, static_cast<double>(i));
    EXPECT_EQ(records[i].function, raised[i].function);
    EXPECT_EQ(records[i].file, raised[i].file);
    EXPECT_EQ(records[i].line, raised[i].line);
    EXPECT_EQ(records[i].description, raised[i].description);
    EXPECT_EQ(callText("H5Eget_major", records[i].major), raised[i].major);
    EXPECT_EQ(callText("H5Eget_minor", records[i].minor), raised[i].minor);
    EXPECT_NE(raised[i].major, "");
    EXPECT_NE(raised[i].minor, "");
  }
  EXPECT_EQ(records.back().function, "H5Gopen1");
}

TEST_F(ErrorStack, IsWalkedFromEitherEnd) {
  fail();
  const std::vector<Record> up = walk("H5E_WALK_UPWARD");
  std::vector<Record> down = walk("H5E_WALK_DOWNWARD");
  ASSERT_EQ(up.size(), down.size());
  for (std::size_t i = 0; i < up.size(); ++i) {
    EXPECT_EQ(down[i].position, static_cast<double>(i));
    EXPECT_EQ(down[i].function, up[up.size() - 1 - i].function);
  }
}

TEST_F(ErrorStack, NumbersRecordsAsScriptsSeeIdentifiers) {
  fail();
  for (const Record& record : walk()) {
    EXPECT_LT(record.major, 2147483648.0);
    EXPECT_LT(record.minor, 2147483648.0);
    EXPECT_EQ(H5Iget_type(hdf5Id(record.major)), H5I_ERROR_MSG);
    EXPECT_EQ(H5Iget_type(hdf5Id(record.minor)), H5I_ERROR_MSG);
  }
}

TEST_F(ErrorStack, MayBeWalkedAgain) {
  fail();
  const std::size_t first = walk().size();
  EXPECT_GT(first, 0U);
  EXPECT_EQ(walk().size(), first);
  EXPECT_EQ(walk().size(), first);
}

TEST_F(ErrorStack, StandsWhileItsWalkerCallsTheGateway) {
  const std::size_t records = fail().size();
  std::size_t calls = 0;
  const Value busy = function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
    ++calls;
    EXPECT_NE(callText("H5Eget_major", field(borrowed(inputs[1]), "maj_num")), "");
    call("H5Eclear");
    EXPECT_TRUE(walk().empty());
    failureOf("H5Gopen", {kNoIdentifier, "another"});
    return Results{number(0)};
  });
  call("H5Ewalk", "H5E_WALK_UPWARD", busy);
  EXPECT_EQ(calls, records);
  // The failures of the walker are forgotten, the stack that it walked is not.
  EXPECT_EQ(walk().size(), records);
}

TEST_F(ErrorStack, IsGoneAfterTheNextCallThatSucceeds) {
  fail();
  call("H5Sclose", callNumber("H5Screate", "H5S_SCALAR"));
  EXPECT_TRUE(walk().empty());
}

TEST_F(ErrorStack, MayBeEmpty) {
  EXPECT_TRUE(call("H5Ewalk", "H5E_WALK_UPWARD", neverCalled()).empty());
  EXPECT_TRUE(call("H5Ewalk", "H5E_WALK_DOWNWARD", 17).empty());
}

TEST_F(ErrorStack, IsCleared) {
  fail();
  EXPECT_TRUE(call("H5Eclear").empty());
  EXPECT_TRUE(walk().empty());
  EXPECT_TRUE(call("H5Eclear").empty());
}

TEST_F(ErrorStack, IsWalkedAsFarAsItsWalkerWants) {
  fail();
  for (const auto& [status, more] :
       {std::pair(1.0, false), {2.7, false}, {0.3, true}, {-0.5, true}}) {
    std::vector<Record> records;
    EXPECT_TRUE(call("H5Ewalk", 0, noteRecords(records, status)).empty());
    EXPECT_EQ(records.size() > 1, more) << status;
  }
}

TEST_F(ErrorStack, FailsToBeWalkedWhereItsWalkerFails) {
  const std::size_t records = fail().size();
  std::vector<Record> seen;
  expectRaises("erorStackCallbackFunctionFailed", {}, "H5Ewalk", 0, noteRecords(seen, -1));
  EXPECT_EQ(seen.size(), 1U);
  EXPECT_EQ(walk().size(), records);
  int calls = 0;
  expectRaises("H5Ewalk1_Callback", {}, "H5Ewalk", 0, throwAtCall(2, "no", &calls));
  EXPECT_EQ(calls, 2);
  expectRaises("H5Ewalk1_Callback", {}, "H5Ewalk", 0, 17);
  EXPECT_EQ(walk().size(), records);
}

TEST_F(ErrorStack, HasNoTextForNumbersOfNoMessage) {
  fail();
  const Record record = walk().front();
  EXPECT_EQ(callText("H5Eget_major", record.minor), "");
  EXPECT_EQ(callText("H5Eget_minor", record.major), "");
  for (const double number : {0.0, -1.0, 17.0, 2147483647.0, -2147483648.0, kNoIdentifier}) {
    EXPECT_EQ(callText("H5Eget_major", number), "") << number;
    EXPECT_EQ(callText("H5Eget_minor", number), "") << number;
  }
}

}  // namespace
