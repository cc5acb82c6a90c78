// What files are created with and how they are accessed: every setter with its getter,
// the metadata cache, the parameters of the drivers.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/complaints.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/round_trips.hpp"
#include "tests/unit/spaces.hpp"
#include "tests/unit/structures.hpp"

namespace {

using namespace h5test;

const char* const kCreate = "H5P_FILE_CREATE";
const char* const kAccess = "H5P_FILE_ACCESS";

TEST(FileProperties, NameTheInputThatIsWrong) {
  const Input list = listInput("property list identifier");
  const Input creation = listInput("file creation property list");
  const Input creationId = listInput("file creation property list identifier");
  const Input access = listInput("file access property list");
  const Input accessId = listInput("file access property list identifier");
  const Input scalar = scalarInput();
  const Input any = anyInput();

  expectComplaints("H5Pset_userblock", {creation, scalar});
  expectComplaints("H5Pget_userblock", {creationId});
  expectComplaints("H5Pset_sizes", {creation, scalar, scalar});
  expectComplaints("H5Pget_sizes", {creationId});
  expectComplaints("H5Pset_sym_k", {creation, scalar, scalar});
  expectComplaints("H5Pget_sym_k", {creationId});
  expectComplaints("H5Pset_istore_k", {creation, scalar});
  expectComplaints("H5Pget_istore_k", {creation});
  expectComplaints("H5Pget_version", {list});
  expectComplaints("H5Pset_alignment", {list, scalar, scalar});
  expectComplaints("H5Pget_alignment", {list});
  expectComplaints("H5Pset_cache", {list, intInput(), scalar, scalar, any});
  expectComplaints("H5Pget_cache", {list});
  expectComplaints("H5Pset_gc_references", {list, scalar});
  expectComplaints("H5Pget_gc_references", {list});
  expectComplaints("H5Pset_fclose_degree", {list, enumInputOf(4)});
  expectComplaints("H5Pget_fclose_degree", {list});
  expectComplaints("H5Pset_libver_bounds", {access, enumInputOf(3), enumInputOf(3)});
  expectComplaints("H5Pget_libver_bounds", {access});
  expectComplaints("H5Pset_meta_block_size", {access, any});
  expectComplaints("H5Pget_meta_block_size", {listInput("property list")});
  expectComplaints("H5Pset_small_data_block_size", {access, any});
  expectComplaints("H5Pget_small_data_block_size", {accessId});
  expectComplaints("H5Pset_sieve_buf_size", {creation, scalar});
  expectComplaints("H5Pget_sieve_buf_size", {accessId});
  expectComplaints("H5Pset_mdc_config", {access, any});
  expectComplaints("H5Pget_mdc_config", {access});
  expectComplaints("H5Pget_driver", {list});
  expectComplaints("H5Pset_fapl_sec2", {list});
  expectComplaints("H5Pset_fapl_stdio", {list});
  expectComplaints("H5Pset_fapl_core", {list, scalar, any});
  expectComplaints("H5Pget_fapl_core", {list});
  expectComplaints("H5Pset_fapl_family", {list, scalar, list});
  expectComplaints("H5Pget_fapl_family", {list});
  expectComplaints("H5Pset_family_offset", {list, scalar});
  expectComplaints("H5Pget_family_offset", {list});
  expectComplaints("H5Pset_fapl_log", {list, textInput("logfile"), scalar, scalar});
  expectComplaints("H5Pset_fapl_split",
                   {list, textInput("meta_ext"), list, textInput("raw_ext"), list});
  expectComplaints("H5Pset_fapl_multi", {list, any});
  expectComplaints("H5Pset_fapl_multi", {list, any, any, any, any, any});
  expectComplaints("H5Pget_fapl_multi", {list});
  expectComplaints("H5Pset_multi_type", {access, enumInputOf(7)});
  expectComplaints("H5Pget_multi_type", {accessId});
}

TEST(FileProperties, RaiseOnListsThatAreNone) {
  for (const char* name :
       {"H5Pget_userblock",      "H5Pget_sizes",           "H5Pget_sym_k",
        "H5Pget_istore_k",       "H5Pget_version",         "H5Pget_alignment",
        "H5Pget_cache",          "H5Pget_gc_references",   "H5Pget_fclose_degree",
        "H5Pget_libver_bounds",  "H5Pget_meta_block_size", "H5Pget_small_data_block_size",
        "H5Pget_sieve_buf_size", "H5Pget_mdc_config",      "H5Pget_driver",
        "H5Pset_fapl_sec2",      "H5Pset_fapl_stdio",      "H5Pget_fapl_core",
        "H5Pget_fapl_family",    "H5Pget_family_offset",   "H5Pget_fapl_multi",
        "H5Pget_multi_type"}) {
    expectLibraryError(name, kNoIdentifier);
  }
  for (const char* name :
       {"H5Pset_userblock", "H5Pset_istore_k", "H5Pset_gc_references", "H5Pset_fclose_degree",
        "H5Pset_meta_block_size", "H5Pset_small_data_block_size", "H5Pset_sieve_buf_size",
        "H5Pset_family_offset", "H5Pset_multi_type", "H5Pset_fapl_multi"}) {
    expectLibraryError(name, kNoIdentifier, 1);
  }
  for (const char* name : {"H5Pset_sizes", "H5Pset_sym_k", "H5Pset_alignment",
                           "H5Pset_libver_bounds", "H5Pset_fapl_core", "H5Pset_fapl_family"}) {
    expectLibraryError(name, kNoIdentifier, 1, 1);
  }
  expectLibraryError("H5Pset_cache", kNoIdentifier, 0, 521, 1, 0.5);
  expectLibraryError("H5Pset_mdc_config", kNoIdentifier,
                     result("H5Pget_mdc_config", makeList(kAccess)));
  expectLibraryError("H5Pset_fapl_split", kNoIdentifier, "-m", kDefault, "-r", kDefault);
  expectLibraryError("H5Pset_fapl_log", kNoIdentifier, temporaryPath("log"), 0, 0);
}

TEST(SplitDriver, LeavesTheStackThatSaysWhyItWasRefused) {
  expectStack(failureOf("H5Pset_fapl_split", {kNoIdentifier, "-m", kDefault, "-r", kDefault}));
}

class FileRoundTrip : public testing::TestWithParam<RoundTrip> {};

INSTANTIATE_TEST_SUITE_P(
    , FileRoundTrip,
    testing::Values(
        RoundTrip{"userblock", kCreate, {1024}, {1024}},
        RoundTrip{"sizes", kCreate, {4, 2.9}, {4, 2}},
        RoundTrip{"sym_k", kCreate, {32, 8}, {32, 8}}, RoundTrip{"istore_k", kCreate, {64}, {64}},
        RoundTrip{"alignment", kAccess, {1000, 4096}, {1000, 4096}},
        // The first is without meaning since the metadata cache has its own.
        RoundTrip{"cache", kAccess, {7, 101, 65536, 0.25}, {0, 101, 65536, 0.25}},
        RoundTrip{"gc_references", kAccess, {1}, {1}},
        RoundTrip{"fclose_degree", kAccess, {"H5F_CLOSE_STRONG"}, {3}},
        RoundTrip{"fclose_degree", kAccess, {2}, {2}},
        RoundTrip{"libver_bounds", kAccess, {"H5F_LIBVER_LATEST", "H5F_LIBVER_18"}, {1, 1}},
        RoundTrip{"meta_block_size", kAccess, {4096.9}, {4096}},
        RoundTrip{"meta_block_size", kAccess, {-1}, {kTwo64}},
        RoundTrip{"small_data_block_size", kAccess, {8192}, {8192}},
        RoundTrip{"small_data_block_size", kAccess, {-2}, {kTwo64}},
        RoundTrip{
            "small_data_block_size", kAccess, {9223372036854775808.0}, {9223372036854775808.0}},
        RoundTrip{"sieve_buf_size", kAccess, {32768}, {32768}},
        RoundTrip{"multi_type", kAccess, {"H5FD_MEM_DRAW"}, {3}},
        RoundTrip{"multi_type", kAccess, {6}, {6}}),
    tripName);

TEST_P(FileRoundTrip, GivesBackWhatWasSet) { expectRoundTrip(GetParam()); }

TEST(FileProperties, RefuseWhatHdf5Refuses) {
  const Owned create = makeList(kCreate);
  const Owned access = makeList(kAccess);
  expectLibraryError("H5Pset_userblock", create, 100);  // no power of two
  expectLibraryError("H5Pset_sizes", create, 3, 8);
  expectLibraryError("H5Pset_istore_k", create, 0);
  expectLibraryError("H5Pset_alignment", access, 0, 0);
  expectLibraryError("H5Pset_cache", access, 0, 521, 1, 1.5);
  expectLibraryError("H5Pset_userblock", access, 512);  // another class of lists
  expectRaises("scalarValueInputOutOfRange", {}, "H5Pset_userblock", create, -1);
  expectLibraryError("H5Pset_libver_bounds", access, "H5F_LIBVER_EARLIEST", "H5F_LIBVER_EARLIEST");
}

TEST(FileProperties, TakeVersion18ForTheLatest) {
  const Owned byOneName = makeList(kAccess);
  const Owned byTheOther = makeList(kAccess);
  call("H5Pset_libver_bounds", byOneName, "H5F_LIBVER_18", "H5F_LIBVER_LATEST");
  call("H5Pset_libver_bounds", byTheOther, "H5F_LIBVER_LATEST", "H5F_LIBVER_LATEST");
  EXPECT_EQ(callNumbers("H5Pget_libver_bounds", byOneName),
            callNumbers("H5Pget_libver_bounds", byTheOther));
}

TEST(FileProperties, PassTheVersionNumbersOnAsTheyAre) {
  const Owned ours = makeList(kAccess);
  const Owned hdf5s = makeList(kAccess);
  const auto bound = [](int number) { return static_cast<H5F_libver_t>(number); };
  if (H5Pset_libver_bounds(hdf5s.get(), bound(1), bound(2)) < 0) {
    expectLibraryError("H5Pset_libver_bounds", ours, 1, 2);
  } else {
    call("H5Pset_libver_bounds", ours, 1, 2);
  }
  EXPECT_EQ(callNumbers("H5Pget_libver_bounds", ours), callNumbers("H5Pget_libver_bounds", hdf5s));
}

TEST(FileProperties, GiveTheVersionsOfAFile) {
  const MemoryFile file;
  const Owned list = make("H5Fget_create_plist", file);
  EXPECT_EQ(callNumbers("H5Pget_version", list), Numbers({0, 0, 0, 0}));
  EXPECT_EQ(callNumbers("H5Pget_sizes", list), Numbers({8, 8}));
}

// --- Metadata cache ------------------------------------------------------------------

TEST(CacheConfiguration, IsTakenAsItIsGiven) {
  const Owned list = makeList(kAccess);
  const Value config = result("H5Pget_mdc_config", list);
  EXPECT_EQ(fieldNames(config).size(), 30U);
  EXPECT_EQ(fieldNumber(config, "version"), 1);
  EXPECT_TRUE(call("H5Pset_mdc_config", list, config).empty());
}

TEST(CacheConfiguration, ComesBackAsItWasSet) {
  const Owned list = makeList(kAccess);
  Value config = result("H5Pget_mdc_config", list);
  const std::pair<const char*, double> numbers[] = {
      {"version", 7}, {"initial_size", 1 << 20}, {"min_size", 1 << 19}, {"epoch_length", 40000}};
  for (const auto& [name, value] : numbers) {
    config = withField(config, name, number(value));
  }
  config = withField(config, "apply_max_increment", logical(false));
  call("H5Pset_mdc_config", list, config);
  const Value kept = result("H5Pget_mdc_config", list);
  EXPECT_EQ(fieldNumber(kept, "version"), 1);
  EXPECT_EQ(fieldNumber(kept, "initial_size"), 1 << 20);
  EXPECT_EQ(fieldNumber(kept, "min_size"), 1 << 19);
  EXPECT_EQ(fieldNumber(kept, "epoch_length"), 40000);
  EXPECT_EQ(classOf(field(kept, "apply_max_increment")), zbClass::Logical);
  EXPECT_EQ(numberOf(field(kept, "apply_max_increment")), 0);
  EXPECT_EQ(textOf(field(kept, "trace_file_name")), "");
}

TEST(CacheConfiguration, NeedsEveryField) {
  const Owned list = makeList(kAccess);
  const Value config = result("H5Pget_mdc_config", list);
  for (const std::string& name : fieldNames(config)) {
    expectRaises("missingMdcConfigField", {name}, "H5Pset_mdc_config", list,
                 withoutField(config, name));
  }
  expectRaises("missingMdcConfigField", {std::string("version")}, "H5Pset_mdc_config", list,
               number(1));
}

TEST(CacheConfiguration, IsRefusedOutOfItsRanges) {
  const Owned list = makeList(kAccess);
  const Value config = result("H5Pget_mdc_config", list);
  const auto expect = [&](const char* key, const char* name, double value) {
    expectRaises(key, {}, "H5Pset_mdc_config", list, withField(config, name, number(value)));
  };
  for (const char* name :
       {"initial_size", "max_size", "min_size", "max_increment", "max_decrement"}) {
    expect("inputOutOfRange", name, -1);
    expect("inputOutOfRange", name, kNaN);
  }
  for (const char* name : {"epoch_length", "epochs_before_eviction", "dirty_bytes_threshold",
                           "metadata_write_strategy"}) {
    expect("inputOutOfRange", name, 1e10);
  }
  for (const char* name : {"incr_mode", "flash_incr_mode", "decr_mode"}) {
    expect("numericCastError", name, 1e10);
  }
  expectLibraryError("H5Pset_mdc_config", list, withField(config, "max_size", number(1)));
}

TEST(CacheConfiguration, CutsTheNameOfTheTraceFile) {
  const Owned list = makeList(kAccess);
  call("H5Pset_mdc_config", list,
       withField(result("H5Pget_mdc_config", list), "trace_file_name",
                 text(std::string(2000, 'x'))));
  EXPECT_EQ(textOf(field(result("H5Pget_mdc_config", list), "trace_file_name")),
            std::string(1024, 'x'));
}

// --- Drivers -------------------------------------------------------------------------

double driverOf(const Owned& list) { return callNumber("H5Pget_driver", list); }

TEST(DriverProperties, NameTheDriver) {
  const Owned list = makeList(kAccess);
  EXPECT_EQ(driverOf(list), constant("H5FD_SEC2"));
  call("H5Pset_fapl_stdio", list);
  EXPECT_EQ(driverOf(list), constant("H5FD_STDIO"));
  call("H5Pset_fapl_core", list, 65536, false);
  EXPECT_EQ(driverOf(list), constant("H5FD_CORE"));
  call("H5Pset_fapl_log", list, temporaryPath("log"), 1, 0);
  EXPECT_EQ(driverOf(list), constant("H5FD_LOG"));
  call("H5Pset_fapl_family", list, 5120, kDefault);
  EXPECT_EQ(driverOf(list), constant("H5FD_FAMILY"));
  call("H5Pset_fapl_multi", list, true);
  EXPECT_EQ(driverOf(list), constant("H5FD_MULTI"));
  call("H5Pset_fapl_split", list, "-m.h5", kDefault, "-r.h5", kDefault);
  EXPECT_EQ(driverOf(list), constant("H5FD_MULTI"));
  call("H5Pset_fapl_sec2", list);
  EXPECT_EQ(driverOf(list), constant("H5FD_SEC2"));
}

TEST(DriverProperties, RaiseOnListsOfOtherDrivers) {
  const Owned list = makeList(kAccess);
  for (const char* name : {"H5Pget_fapl_core", "H5Pget_fapl_family", "H5Pget_fapl_multi"}) {
    expectLibraryError(name, list);
  }
}

TEST(DriverProperties, KeepTheCoreDriversParameters) {
  const Owned list = makeList(kAccess);
  const std::pair<Argument, double> stores[] = {{true, 1}, {false, 0}, {1, 1},
                                                {0, 0},    {0.9, 0},   {-1, 1},
                                                {1e10, 1}, {-0.5, 0},  {logical(true), 1}};
  for (const auto& [store, kept] : stores) {
    call("H5Pset_fapl_core", list, 4096, store);
    const Results results = call("H5Pget_fapl_core", list);
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(numberOf(results[0]), 4096);
    EXPECT_EQ(classOf(results[1]), zbClass::Double);
    EXPECT_EQ(numberOf(results[1]), kept);
  }
}

TEST(DriverProperties, KeepTheFamilysParameters) {
  const Owned list = makeList(kAccess);
  const Owned member = makeList(kAccess);
  call("H5Pset_sieve_buf_size", member, 4321);
  call("H5Pset_fapl_family", list, 5120.5, member);
  const Results results = call("H5Pget_fapl_family", list);
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(numberOf(results[0]), 5120);
  const Owned memberAgain(numberOf(results[1]));
  EXPECT_EQ(callNumber("H5Pget_sieve_buf_size", memberAgain), 4321);
  call("H5Pset_family_offset", list, 1000);
  EXPECT_EQ(callNumber("H5Pget_family_offset", list), 1000);
  expectLibraryError("H5Pset_fapl_family", list, 5120, makeList(kCreate));
}

TEST(DriverProperties, NeedALogThatCanBeWritten) {
  const Owned list = makeList(kAccess);
  for (const std::string& path : {temporaryPath("no such folder/log"), std::string()}) {
    expectLibraryError("H5Pset_fapl_log", list, path, 1, 0);
    EXPECT_EQ(driverOf(list), constant("H5FD_SEC2"));
  }
  // Nothing to note, nothing to open.
  call("H5Pset_fapl_log", list, temporaryPath("no such folder/log"), 0, 0);
  EXPECT_EQ(driverOf(list), constant("H5FD_LOG"));
}

// --- The multi driver's tables -------------------------------------------------------

const Value kMap = row({1, 1, 1, 3, 3, 1, 1});
const Value kLists = row({0, 0, 0, 0, 0, 0, 0});
const Value kAddresses = row({0, 0, 0, 1e15, 1e15, 0, 0});

Value names() {
  return cell({text("%s-m.h5"), text("%s-m.h5"), text("%s-m.h5"), text("%s-r.h5"), text("%s-r.h5"),
               text("%s-m.h5"), text("%s-m.h5")});
}

struct Multi {
  Results results;
  std::vector<Owned> lists;
};
Multi getMulti(const Owned& list) {
  Multi multi{call("H5Pget_fapl_multi", list), {}};
  EXPECT_EQ(multi.results.size(), 5U);
  for (const double id : numbersOf(multi.results[1])) multi.lists.emplace_back(id);
  return multi;
}

TEST(MultiProperties, HaveADefaultLayout) {
  const std::pair<Argument, double> flags[] = {{true, 1}, {false, 0}, {0, 0},          {0.5, 1},
                                               {-3, 1},   {kNaN, 1},  {row({0, 1}), 0}};
  for (const auto& [flag, kept] : flags) {
    const Owned list = makeList(kAccess);
    EXPECT_TRUE(call("H5Pset_fapl_multi", list, flag).empty());
    const Multi multi = getMulti(list);
    EXPECT_EQ(classOf(multi.results[4]), zbClass::Logical);
    EXPECT_EQ(shapeOf(multi.results[4]), Shape({1, 1}));
    EXPECT_EQ(numberOf(multi.results[4]), kept);
    EXPECT_EQ(numbersOf(multi.results[0]), Numbers(7, 0));
    EXPECT_EQ(textOf(element(multi.results[2], 1)), "%s-s.h5");
  }
}

TEST(MultiProperties, KeepTheirTables) {
  const Owned list = makeList(kAccess);
  const Owned member = makeList(kAccess);
  call("H5Pset_sieve_buf_size", member, 4321);
  const double own = member.id();
  EXPECT_TRUE(call("H5Pset_fapl_multi", list, kMap, column({0, own, 0, own, 0, 0, 0}), names(),
                   kAddresses, false)
                  .empty());
  const Multi multi = getMulti(list);
  for (const std::size_t i : {0U, 1U, 2U, 3U}) EXPECT_EQ(shapeOf(multi.results[i]), Shape({7, 1}));
  EXPECT_EQ(numbersOf(multi.results[0]), numbersOf(kMap));
  EXPECT_EQ(classOf(multi.results[1]), zbClass::Double);
  for (std::size_t i = 0; i < 7; ++i) {
    EXPECT_EQ(callNumber("H5Pisa_class", multi.lists[i], kAccess), 1);
    EXPECT_EQ(callNumber("H5Pget_sieve_buf_size", multi.lists[i]) == 4321, i == 1 || i == 3);
  }
  EXPECT_EQ(classOf(multi.results[2]), zbClass::Cell);
  EXPECT_EQ(textOf(element(multi.results[2], 0)), "%s-m.h5");
  EXPECT_EQ(textOf(element(multi.results[2], 3)), "%s-r.h5");
  EXPECT_EQ(numbersOf(multi.results[3]), numbersOf(kAddresses));
  EXPECT_EQ(numberOf(multi.results[4]), 0);
}

TEST(MultiProperties, TakeAddressesThatWrap) {
  const Owned list = makeList(kAccess);
  call("H5Pset_fapl_multi", list, kMap, kLists, names(),
       row({0, 2.9, -1, 9223372036854775808.0, 1e15, 0, 0}), true);
  const Multi multi = getMulti(list);
  EXPECT_EQ(numbersOf(multi.results[3]),
            Numbers({0, 2, kTwo64, 9223372036854775808.0, 1e15, 0, 0}));
}

TEST(MultiProperties, AreRefusedInOrder) {
  const Owned list = makeList(kAccess);
  const Value few = row({0, 0, 0, 0, 0, 0});
  const Value sevenInts = numeric(zbClass::Int32, {1, 1, 1, 1, 1, 1, 1});
  const auto expect = [&](const char* key, Parameters parameters, const Value& map,
                          const Value& lists, const Value& memberNames, const Value& addresses) {
    expectRaises(key, parameters, "H5Pset_fapl_multi", list, map, lists, memberNames, addresses,
                 true);
  };
  const Parameters seven = {std::int64_t{7}};
  expect("badSetFaplMultiArgumentLength", seven, few, sevenInts, text("1234567"), sevenInts);
  expect("badSetFaplMultiArgumentLength", seven, sevenInts, few, text("1234567"), sevenInts);
  expect("badSetFaplMultiArgumentLength", seven, sevenInts, sevenInts, cell({}), sevenInts);
  expect("badSetFaplMultiArgumentLength", seven, sevenInts, sevenInts, text("1234567"), few);
  expect("badMembFaplType", {}, sevenInts, sevenInts, text("1234567"), sevenInts);
  expect("notDoublePrecision", {std::string("MEMB_MAP")}, sevenInts, sevenInts, names(), sevenInts);
  expect("notDoublePrecision", {std::string("MEMB_FAPL")}, kMap, sevenInts, names(), sevenInts);
  expect("notDoublePrecision", {std::string("MEMB_ADDR")}, kMap, kLists, names(), sevenInts);
  const Value outside = row({0, 0, 0, 0, 0, 0, 2147483648.0});
  expect("numericCastError", {}, outside, kLists, names(), kAddresses);
  expect("numericCastError", {}, kMap, outside, names(), kAddresses);
  expect("numericCastError", {}, kMap, row({0, 0, kNaN, 0, 0, 0, 0}), names(), kAddresses);
  // The list is looked at first of all.
  expectRaises("unmatchedHidtString",
               {std::string("list"), std::string("property list identifier")}, "H5Pset_fapl_multi",
               "list", few, few, few, few, true);
  EXPECT_EQ(driverOf(list), constant("H5FD_SEC2"));
}

TEST(MultiProperties, AreRefusedByHdf5) {
  const Owned list = makeList(kAccess);
  Value unnamed = zembra::makeCell({7, 1}, std::vector<Value>(7));
  expectLibraryError("H5Pset_fapl_multi", list, kMap, kLists, unnamed, kAddresses, true);
  unnamed = cell({empty(), empty(), empty(), empty(), empty(), empty(), empty()});
  expectLibraryError("H5Pset_fapl_multi", list, kMap, kLists, unnamed, kAddresses, true);
  expectLibraryError("H5Pset_fapl_multi", list, row({7, 1, 1, 1, 1, 1, 1}), kLists, names(),
                     kAddresses, true);
  const Owned create = makeList(kCreate);
  expectLibraryError("H5Pset_fapl_multi", list, kMap, row({0, create.id(), 0, 0, 0, 0, 0}), names(),
                     kAddresses, true);
  expectLibraryError("H5Pset_fapl_multi", list, kMap, row({0, -1, 0, 0, 0, 0, 0}), names(),
                     kAddresses, true);
  // What is no list at all, also where the map does not lead.
  const Owned space = makeSpace({2});
  for (const double other : {kNoIdentifier, space.id(), 1e6}) {
    expectLibraryError("H5Pset_fapl_multi", list, kMap, row({other, 0, 0, 0, 0, 0, 0}), names(),
                       kAddresses, true);
  }
  call("H5Pset_fapl_multi", list, kMap, row({-1, 0, 0, 0, 0, 0, 0}), names(), kAddresses, true);
}

TEST(MultiProperties, TakeNoNameThatIsNoText) {
  expectHostError(
      "H5Pset_fapl_multi", makeList(kAccess), kMap, kLists,
      cell({number(1), number(1), number(1), number(1), number(1), number(1), number(1)}),
      kAddresses, true);
}

/// HDF5 prints with them.
TEST(MultiProperties, TakeNoNameThatPrintsMoreThanTheFilesName) {
  const Owned list = makeList(kAccess);
  for (const std::string& name :
       {std::string("%s%s"), std::string("%d"), std::string("%n"), std::string("100%"),
        std::string("%5s"), std::string(1001, 'x')}) {
    expectLibraryError("H5Pset_fapl_split", list, name, kDefault, "-r.h5", kDefault);
    expectLibraryError("H5Pset_fapl_split", list, "-m.h5", kDefault, name, kDefault);
    const Value member = text(name);
    expectLibraryError("H5Pset_fapl_multi", list, kMap, kLists,
                       cell({member, member, member, member, member, member, member}), kAddresses,
                       true);
  }
  call("H5Pset_fapl_split", list, "100%%-%s-m.h5", kDefault, "%s-r.h5", kDefault);
  EXPECT_EQ(driverOf(list), constant("H5FD_MULTI"));
}

TEST(MultiProperties, AreSetByTheSplitDriverToo) {
  const Owned list = makeList(kAccess);
  const Owned meta = makeList(kAccess);
  const Owned raw = makeList(kAccess);
  call("H5Pset_sieve_buf_size", meta, 1111);
  call("H5Pset_sieve_buf_size", raw, 2222);
  EXPECT_TRUE(call("H5Pset_fapl_split", list, "-meta", meta, "-%s-raw", raw).empty());
  const Multi multi = getMulti(list);
  const auto super = static_cast<std::size_t>(constant("H5FD_MEM_SUPER"));
  const auto draw = static_cast<std::size_t>(constant("H5FD_MEM_DRAW"));
  EXPECT_EQ(textOf(element(multi.results[2], super)), "%s-meta");
  EXPECT_EQ(textOf(element(multi.results[2], draw)), "-%s-raw");
  EXPECT_EQ(callNumber("H5Pget_sieve_buf_size", multi.lists[super]), 1111);
  EXPECT_EQ(callNumber("H5Pget_sieve_buf_size", multi.lists[draw]), 2222);
  expectLibraryError("H5Pset_fapl_split", list, "-m", makeList(kCreate), "-r", kDefault);

  const double heaps = hdf5::kSince110 ? 3 : 1;  // H5FD_MEM_DRAW, _SUPER
  EXPECT_EQ(numbersOf(multi.results[0]), Numbers({1, 1, 1, 3, heaps, 1, 1}));
}

}  // namespace
