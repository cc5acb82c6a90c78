// The library as a whole, identifiers of every kind, filters.
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "hdf5/compat.hpp"
#include "tests/unit/complaints.hpp"
#include "tests/unit/owned.hpp"
#include "tests/unit/properties.hpp"

namespace {

using namespace h5test;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Owned makeGroup(const Argument& file, const char* name) {
  return make("H5Gcreate", file, name, "H5P_DEFAULT", "H5P_DEFAULT", "H5P_DEFAULT");
}
Owned makeDataset(const Argument& file, const char* name) {
  const Owned space = make("H5Screate", "H5S_SCALAR");
  return make("H5Dcreate", file, name, "H5T_NATIVE_INT", space, "H5P_DEFAULT");
}

// --- The library ----------------------------------------------------------------------------

TEST(LibraryFunctions, GiveTheVersionAsThreeNumbers) {
  unsigned major = 0, minor = 0, release = 0;
  H5get_libversion(&major, &minor, &release);
  const Results results = call("H5get_libversion");
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(numberOf(results[0]), major);
  EXPECT_EQ(numberOf(results[1]), minor);
  EXPECT_EQ(numberOf(results[2]), release);
  for (const Value& value : results) EXPECT_EQ(shapeOf(value), (Shape{1, 1}));
}

TEST(LibraryFunctions, WithoutResultsGiveNone) {
  for (const char* name : {"H5open", "H5open", "H5garbage_collect"}) {
    EXPECT_TRUE(call(name).empty()) << name;
  }
  EXPECT_TRUE(call("H5set_free_list_limits", -1, -1.9, -1, -1, -1, -1).empty());
  EXPECT_TRUE(call("H5set_free_list_limits", 1e6, 65536.9, 4e6, 262144, 16777216, 1048576).empty());
  EXPECT_TRUE(call("H5set_free_list_limits", -1, -1, -1, -1, -1, -1).empty());
}

TEST(LibraryFunctions, TakeLimitsOfThirtyTwoBits) {
  for (std::size_t place = 0; place < 6; ++place) {
    for (const Argument& bad :
         std::vector<Argument>{2147483648.0, -2147483649.0, 1e20, kNaN, "1", empty(), cell({})}) {
      Arguments limits(6, -1);
      limits[place] = bad;
      const auto error = failureOf("H5set_free_list_limits", limits);
      ASSERT_TRUE(error);
      EXPECT_EQ((*error)->key, "scalarValueInputOutOfRange") << place;
    }
  }
}

// In a process of its own: closing the library would change identifiers for all tests.
TEST(LibraryDeathTest, ClosesEverythingAndOpensAgain) {
  const std::string path = temporaryPath();
  const auto closeAndReopen = [&] {
    const double file =
        callNumber("H5Fcreate", path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT");
    const double space = callNumber("H5Screate", "H5S_SCALAR");
    const double data =
        callNumber("H5Dcreate", file, "d", "H5T_NATIVE_DOUBLE", space, "H5P_DEFAULT");
    if (!call("H5close").empty()) return 1;
    for (const double id : {file, space, data}) {
      if (callNumber("H5Iis_valid", id) != 0) return 2;
    }
    call("H5open");
    const double again = callNumber("H5Fopen", path, "H5F_ACC_RDONLY", "H5P_DEFAULT");
    if (callNumber("H5Fget_obj_count", again, "H5F_OBJ_ALL") != 1) return 3;
    call("H5Dclose", callNumber("H5Dopen", again, "d"));
    call("H5Fclose", again);
    return 0;
  };
  EXPECT_EXIT(std::exit(closeAndReopen()), testing::ExitedWithCode(0), "");
}

// --- Identifiers --------------------------------------------------------------------------------

TEST(IdentifierFunctions, TellTheType) {
  const MemoryFile file;
  const Owned group = makeGroup(file, "g");
  const Owned dataset = makeDataset(file, "d");
  const Owned space = make("H5Screate", "H5S_NULL");
  const Owned list = makeList("H5P_DATASET_XFER");
  const Owned type = make("H5Tcopy", "H5T_NATIVE_INT");
  const std::vector<std::pair<Argument, int>> cases = {
      {file, 1}, {group, 2}, {type, 3}, {space, 4}, {dataset, 5}, {list, H5I_GENPROP_LST}};
  for (const auto& [id, number] : cases) {
    EXPECT_EQ(callNumber("H5Iget_type", id.array), number);
    EXPECT_EQ(callNumber("H5Iis_valid", id.array), 1);
    EXPECT_EQ(callNumber("H5Iget_ref", id.array), 1);
  }
  for (const double none : {-1.0, 0.0, 1e10}) expectLibraryError("H5Iget_type", none);
}

TEST(IdentifierFunctions, KnowWhichAreValid) {
  const double space = callNumber("H5Screate", "H5S_NULL");
  EXPECT_EQ(callNumber("H5Iis_valid", space), 1);
  call("H5Sclose", space);
  for (const Argument& none : Arguments{space, 0, -1, 1e10, kNaN, "H5P_DEFAULT"}) {
    EXPECT_EQ(callNumber("H5Iis_valid", none.array), 0);
  }
}

TEST(IdentifierFunctions, GiveTheFileOfAnObject) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "d");
  const Owned same = make("H5Iget_file_id", dataset);
  EXPECT_EQ(callNumber("H5Iget_type", same), H5I_FILE);
  EXPECT_EQ(callText("H5Fget_name", same), callText("H5Fget_name", file));
  const Owned space = make("H5Screate", "H5S_NULL");
  expectLibraryError("H5Iget_file_id", space);
  expectLibraryError("H5Iget_file_id", -1);
}

TEST(IdentifierFunctions, GiveTheNameOfAnObject) {
  const MemoryFile file;
  const std::string deep(300, 'n');
  const Owned group = makeGroup(file, "g");
  const Owned inner = makeGroup(group, deep.c_str());
  const Owned dataset = makeDataset(group, "\xc3\xbc");
  EXPECT_EQ(callText("H5Iget_name", file), "/");
  EXPECT_EQ(callText("H5Iget_name", group), "/g");
  EXPECT_EQ(callText("H5Iget_name", inner), "/g/" + deep);
  EXPECT_EQ(callText("H5Iget_name", dataset), "/g/\xc3\xbc");
}

TEST(IdentifierFunctions, GiveEmptyTextWhereThereIsNoName) {
  const MemoryFile file;
  const Owned group = makeGroup(file, "g");
  H5Ldelete(h5gate::identifierFromHost(file.id()), "g", H5P_DEFAULT);
  const Owned type = make("H5Tcopy", "H5T_NATIVE_INT");
  const Owned space = make("H5Screate", "H5S_NULL");
  for (const Argument& nameless : Arguments{type, group, space, -1, 0, 1e10}) {
    const Value name = result("H5Iget_name", nameless.array);
    EXPECT_EQ(classOf(name), zbClass::Char);
    EXPECT_EQ(zbGetNumberOfElements(name.get()), 0U);
  }
}

TEST(IdentifierFunctions, CountReferences) {
  const Owned space = make("H5Screate", "H5S_NULL");
  EXPECT_EQ(callNumber("H5Iinc_ref", space), 2);
  EXPECT_EQ(callNumber("H5Iinc_ref", identifier(space.id())), 3);
  EXPECT_EQ(callNumber("H5Iget_ref", space), 3);
  EXPECT_EQ(callNumber("H5Idec_ref", space), 2);
  EXPECT_EQ(callNumber("H5Idec_ref", space), 1);
  const Owned gone = make("H5Scopy", space);
  EXPECT_EQ(callNumber("H5Idec_ref", gone), 0);
  EXPECT_EQ(callNumber("H5Iis_valid", gone), 0);
}

TEST(IdentifierFunctions, HandFailuresOfCountingBack) {
  for (const char* name : {"H5Iinc_ref", "H5Idec_ref", "H5Iget_ref"}) {
    for (const double none : {-1.0, 0.0, 1e10, 83886079.0}) {
      EXPECT_EQ(callNumber(name, none), -1) << name << " " << none;
    }
  }
}

TEST(IdentifierFunctions, CallTheirInputAnObject) {
  for (const char* name : {"H5Iget_type", "H5Iis_valid", "H5Iget_file_id", "H5Iget_name",
                           "H5Iinc_ref", "H5Idec_ref", "H5Iget_ref"}) {
    expectComplaints(name, {identifierInput(-1, "object identifier")});
  }
}

// --- Filters
// --------------------------------------------------------------------------------------

const std::vector<std::pair<const char*, H5Z_filter_t>> kFilters = {
    {"H5Z_FILTER_ALL", 0},        {"H5Z_FILTER_DEFLATE", 1}, {"H5Z_FILTER_SHUFFLE", 2},
    {"H5Z_FILTER_FLETCHER32", 3}, {"H5Z_FILTER_SZIP", 4},    {"H5Z_FILTER_NBIT", 5},
    {"H5Z_FILTER_SCALEOFFSET", 6}};

TEST(FilterFunctions, TellWhichAreThere) {
  for (const auto& [name, filter] : kFilters) {
    const int available = H5Zfilter_avail(filter) > 0 ? 1 : 0;
    EXPECT_EQ(callNumber("H5Zfilter_avail", name), available) << name;
    EXPECT_EQ(callNumber("H5Zfilter_avail", filter), available) << name;
  }
  EXPECT_EQ(callNumber("H5Zfilter_avail", "H5Z_FILTER_SHUFFLE"), 1);
  EXPECT_EQ(callNumber("H5Zfilter_avail", "H5Z_FILTER_ALL"), 0);
}

TEST(FilterFunctions, TellWhatEachCanDo) {
  for (const auto& [name, filter] : kFilters) {
    if (H5Zfilter_avail(filter) <= 0) {
      expectLibraryError("H5Zget_filter_info", name);
      continue;
    }
    unsigned flags = 0;
    ASSERT_GE(H5Zget_filter_info(filter, &flags), 0) << name;
    EXPECT_EQ(callNumber("H5Zget_filter_info", name), flags) << name;
    EXPECT_EQ(callNumber("H5Zget_filter_info", filter), flags) << name;
  }
  EXPECT_EQ(callNumber("H5Zget_filter_info", "H5Z_FILTER_SHUFFLE"),
            H5Z_FILTER_CONFIG_ENCODE_ENABLED | H5Z_FILTER_CONFIG_DECODE_ENABLED);
}

TEST(FilterFunctions, TakeTheSevenFiltersOfTheLibrary) {
  for (const char* name : {"H5Zfilter_avail", "H5Zget_filter_info"}) {
    expectComplaints(name, {enumInputOf(7)});
  }
}

}  // namespace
