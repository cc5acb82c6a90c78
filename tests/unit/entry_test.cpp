// The entry point: names, the list of names, and what a failure leaves behind.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "gateway/function_table.hpp"
#include "hdf5/compat.hpp"
#include "host/call.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/function_names.hpp"
#include "tests/unit/strangers.hpp"

namespace {

using namespace h5test;

TEST(Entry, WantsTextForAFunctionName) {
  std::vector<Value> inputs = strangers();
  inputs.insert(inputs.end(), {number(1), empty(), identifier(1), numeric(zbClass::UInt8, {72})});
  for (const Value& input : inputs) {
    for (const std::vector<Value>& all : {std::vector{input}, {input, text("H5open")}}) {
      const Failure error = raisedBy([&] { callWithInputs(1, all); });
      EXPECT_TRUE(error && (*error)->identifier == "Zembra:h5gate:firstArgNotChar");
    }
  }
}

TEST(Entry, KnowsNamesLetterByLetter) {
  for (const std::string name :
       {"", " ", "h5open", "H5OPEN", "H5open ", " H5open", "H5open\n", "H5ope", "H5openn", "open",
        "h5fclose", "H5Fclose ", "H5Fopen1", "H5_open", "zebFunction", "H5ZB_DEFAULT"}) {
    expectRaises("invalidOperation", {name}, name);
    expectRaises("invalidOperation", {name}, name, 1, 2);
  }
}

TEST(Entry, KnowsNoNameWithANulInside) {
  for (const std::string_view name : {std::string_view("H5open\0x", 8), {"H5open\0", 7}}) {
    expectRaises("invalidOperation", {std::string(name)}, name);
  }
}

TEST(Entry, StoresResultsThatNobodyAskedFor) {
  for (const int wanted : {0, 1, 2, 3, 5, 20}) {
    EXPECT_EQ(callWith(wanted, "H5get_libversion", {}).size(), 3U) << wanted;
  }
  EXPECT_TRUE(call("H5open").empty());
}

// --- The list of names ---------------------------------------------------------------

std::vector<std::string> listedNames() {
  const Value names = result("H5ZBget_function_names");
  EXPECT_EQ(classOf(names), zbClass::Cell);
  std::vector<std::string> list(zbGetNumberOfElements(names.get()));
  EXPECT_EQ(shapeOf(names), (Shape{list.size(), 1}));
  for (std::size_t i = 0; i < list.size(); ++i) list[i] = textOf(element(names, i));
  return list;
}

TEST(FunctionNames, AreThoseOfTheTableInByteOrder) {
  const auto names = listedNames();
  const auto table = h5gate::functionTable();
  ASSERT_EQ(names.size(), table.size());
  EXPECT_TRUE(std::ranges::is_sorted(names));
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
  EXPECT_TRUE(std::ranges::equal(names, table, {}, {}, &h5gate::Row::name));
}

TEST(FunctionNames, AreThreeHundredAndTwentyAndEachReachesAHandlerOfItsOwn) {
  const auto names = listedNames();
  EXPECT_TRUE(std::ranges::equal(names, kFunctionNames, {}, {}, &FunctionName::name));
  std::set<h5gate::GatewayHandler> handlers;
  for (const std::string& name : names) {
    ASSERT_NE(h5gate::findHandler(name), nullptr) << name;
    EXPECT_TRUE(handlers.insert(h5gate::findHandler(name)).second) << name;
  }
}

TEST(FunctionNames, PutCapitalsFirst) {
  const auto names = listedNames();
  EXPECT_EQ(names.front(), "H5Aclose");
  EXPECT_EQ(names.back(), "H5set_free_list_limits");
  const auto place = [&](const char* name) { return std::ranges::find(names, name); };
  EXPECT_LT(place("H5Dclose"), place("H5ZBget_constant_names"));
  EXPECT_LT(place("H5ZBget_mem_datatype"), place("H5Zfilter_avail"));
  EXPECT_LT(place("H5Zget_filter_info"), place("H5close"));
}

TEST(FunctionNames, AreGivenAfreshOnEachCall) {
  const Value first = result("H5ZBget_function_names");
  EXPECT_NE(first.get(), result("H5ZBget_function_names").get());
}

// --- Failures ------------------------------------------------------------------------

TEST(Failure, PrintsNothing) {
  H5Eset_auto2(H5E_DEFAULT, reinterpret_cast<H5E_auto2_t>(H5Eprint2), stderr);
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  expectLibraryError("H5Sclose", -1);
  expectLibraryError("H5Fopen", temporaryPath("absent.h5"), "H5F_ACC_RDONLY", "H5P_DEFAULT");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(Failure, LeavesHdf5ErrorStackForALaterCall) {
  const Failure error = failureOf("H5Sclose", {-1});
  expectStack(error);
  const auto records = errorStack();
  ASSERT_FALSE(records.empty());
  EXPECT_EQ(records.back().function, "H5Sclose");
  call("H5ZBget_function_names");
  expectRaises("invalidOperation", {std::string("h5open")}, "h5open");
  expectRaises("wrongNumberOfInputs", {}, "H5Sclose");
  EXPECT_EQ(errorStack(), records);
}

TEST(Failure, SaysFirstWhatWentWrongAndWhichCallFailed) {
  const auto error = failureOf("H5Sclose", {-1});
  ASSERT_TRUE(error);
  EXPECT_EQ((*error)->identifier, "Zembra:HDF5:libraryError");
  EXPECT_EQ(std::string(error->what()).rfind("H5Sclose: ", 0), 0U) << error->what();
}

// --- The library ---------------------------------------------------------------------

/// libh5gate.so as the build names it, or else beside the host's library.
std::string libraryPath() {
  if (const char* path = std::getenv("H5GATE_LIBRARY")) return path;
  Dl_info host{};
  dladdr(reinterpret_cast<const void*>(&zbGetClass), &host);
  const std::string path = host.dli_fname;
  return path.substr(0, path.rfind('/') + 1) + "libh5gate.so";
}

std::string outputOf(const std::string& command) {
  const auto close = [](FILE* open) { pclose(open); };
  const std::unique_ptr<FILE, decltype(close)> pipe(popen(command.c_str(), "r"), close);
  std::string output;
  std::array<char, 256> part{};
  while (pipe && std::fgets(part.data(), part.size(), pipe.get()) != nullptr) {
    output += part.data();
  }
  return output;
}

TEST(Exports, AreTheEntryPointAlone) {
  if (outputOf("command -v nm").empty()) GTEST_SKIP() << "nm is not installed";
  std::istringstream lines(outputOf("nm -D --defined-only '" + libraryPath() + "'"));
  std::vector<std::string> symbols;
  for (std::string address, kind, name; lines >> address >> kind >> name;) symbols.push_back(name);
  EXPECT_EQ(symbols, std::vector<std::string>{"zebFunction"});
}

}  // namespace
