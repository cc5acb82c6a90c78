// Filters: which there are; and at work, where data that go through them come back,
// smaller on disk where they compress, and damage is found where they watch for it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/complaints.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/stored.hpp"

namespace {

using namespace h5test;

// --- Asking --------------------------------------------------------------------------

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

// --- At work -------------------------------------------------------------------------

constexpr std::size_t kCount = 4096;
constexpr double kRawBytes = kCount * sizeof(double);

bool canEncode(const char* filter) {
  if (callNumber("H5Zfilter_avail", filter) != 1) return false;
  return (static_cast<unsigned>(callNumber("H5Zget_filter_info", filter)) &
          H5Z_FILTER_CONFIG_ENCODE_ENABLED) != 0;
}

void setSzip(const Owned& list) {
  const double coding =
      constant("H5_SZIP_NN_OPTION_MASK") + constant("H5_SZIP_ALLOW_K13_OPTION_MASK");
  constexpr double kRawMode = 128;
  call("H5Pset_filter", list, "H5Z_FILTER_SZIP", 1, row({coding + kRawMode, 16}));
}

/// Filters, one after the other, and what is left of the raw bytes at most.
struct Stack {
  std::string name;
  std::vector<const char*> filters;
  void (*set)(const Owned& list);
  double remains;
};
void PrintTo(const Stack& stack, std::ostream* out) { *out << stack.name; }

const Stack kStacks[] = {
    {"shuffle", {"H5Z_FILTER_SHUFFLE"}, [](const Owned& list) { call("H5Pset_shuffle", list); }, 1},
    {"deflate",
     {"H5Z_FILTER_DEFLATE"},
     [](const Owned& list) { call("H5Pset_deflate", list, 9); },
     0.3},
    {"fletcher32",
     {"H5Z_FILTER_FLETCHER32"},
     [](const Owned& list) { call("H5Pset_fletcher32", list); },
     1.01},
    {"szip", {"H5Z_FILTER_SZIP"}, setSzip, 0.9},
    {"shuffle_deflate",
     {"H5Z_FILTER_SHUFFLE", "H5Z_FILTER_DEFLATE"},
     [](const Owned& list) {
       call("H5Pset_shuffle", list);
       call("H5Pset_deflate", list, 9);
     },
     0.1},
    {"shuffle_deflate_fletcher32",
     {"H5Z_FILTER_SHUFFLE", "H5Z_FILTER_DEFLATE", "H5Z_FILTER_FLETCHER32"},
     [](const Owned& list) {
       call("H5Pset_shuffle", list);
       call("H5Pset_deflate", list, 9);
       call("H5Pset_fletcher32", list);
     },
     0.1},
    {"shuffle_szip_fletcher32",
     {"H5Z_FILTER_SHUFFLE", "H5Z_FILTER_SZIP", "H5Z_FILTER_FLETCHER32"},
     [](const Owned& list) {
       call("H5Pset_shuffle", list);
       setSzip(list);
       call("H5Pset_fletcher32", list);
     },
     0.9},
};

class FilterStacks : public testing::TestWithParam<Stack> {
 protected:
  void SetUp() override {
    for (const char* filter : GetParam().filters) {
      if (!canEncode(filter)) GTEST_SKIP() << "the linked HDF5 cannot encode with " << filter;
    }
  }
};
INSTANTIATE_TEST_SUITE_P(, FilterStacks, testing::ValuesIn(kStacks),
                         [](const auto& test) { return test.param.name; });

TEST_P(FilterStacks, GiveBackWhatTheyTook) {
  const std::string path = temporaryPath();
  {
    const Owned list = chunked({1024});
    GetParam().set(list);
    EXPECT_EQ(callNumber("H5Pall_filters_avail", list), 1);
    const Owned file = createFile(path);
    writeDoubles(file, "values", ramp(kCount), list);
  }
  const Owned file = openFile(path);
  EXPECT_EQ(readDoubles(file, "values"), ramp(kCount));
  const Owned dataset = make("H5Dopen", file, "values");
  EXPECT_LE(callNumber("H5Dget_storage_size", dataset), GetParam().remains * kRawBytes);
  const Owned list = make("H5Dget_create_plist", dataset);
  ASSERT_EQ(callNumber("H5Pget_nfilters", list), static_cast<double>(GetParam().filters.size()));
  for (std::size_t i = 0; i < GetParam().filters.size(); ++i) {
    EXPECT_EQ(numberOf(call("H5Pget_filter", list, static_cast<int>(i))[0]),
              constant(GetParam().filters[i]));
  }
}

TEST(NbitFilter, KeepsThePrecisionOfItsType) {
  const Owned type = make("H5Tcopy", "H5T_STD_I32LE");
  call("H5Tset_precision", type, 13);
  const Owned list = chunked({1024});
  call("H5Pset_nbit", list);
  const MemoryFile file;
  Numbers values(kCount);
  for (std::size_t i = 0; i < kCount; ++i) values[i] = static_cast<double>(i) - kCount / 2.0;
  writeDoubles(file, "values", values, list, type);
  EXPECT_EQ(readDoubles(file, "values"), values);
  const Owned dataset = make("H5Dopen", file, "values");
  EXPECT_LT(callNumber("H5Dget_storage_size", dataset), kCount * 2);
}

TEST(ScaleOffsetFilter, KeepsIntegersExactly) {
  for (const int bits : {0, 14}) {
    const Owned list = chunked({1024});
    call("H5Pset_scaleoffset", list, "H5Z_SO_INT", bits);
    const MemoryFile file;
    writeDoubles(file, "values", ramp(kCount), list, "H5T_STD_I32LE");
    EXPECT_EQ(readDoubles(file, "values"), ramp(kCount));
    const Owned dataset = make("H5Dopen", file, "values");
    EXPECT_LT(callNumber("H5Dget_storage_size", dataset), kCount * 2);
  }
}

TEST(ScaleOffsetFilter, KeepsTheDecimalsOfFloats) {
  const Owned list = chunked({1024});
  call("H5Pset_scaleoffset", list, "H5Z_SO_FLOAT_DSCALE", 2);
  const MemoryFile file;
  Numbers values(kCount);
  for (std::size_t i = 0; i < kCount; ++i) values[i] = std::sin(static_cast<double>(i));
  writeDoubles(file, "values", values, list);
  const Numbers back = readDoubles(file, "values");
  ASSERT_EQ(back.size(), kCount);
  double worst = 0;
  for (std::size_t i = 0; i < kCount; ++i) worst = std::max(worst, std::abs(back[i] - values[i]));
  EXPECT_LT(worst, 0.01);
  EXPECT_GT(worst, 0.0);
  const Owned dataset = make("H5Dopen", file, "values");
  EXPECT_LT(callNumber("H5Dget_storage_size", dataset), kRawBytes / 4);
}

TEST(Filters, NeedChunks) {
  const Owned list = makeList("H5P_DATASET_CREATE");
  call("H5Pset_deflate", list, 6);
  const MemoryFile file;
  expectLibraryError("H5Dcreate", file, "values", "H5T_NATIVE_DOUBLE", makeSpace({8}), list);
}

TEST(Filters, FillWhatWasNotWritten) {
  const Owned list = chunked({2});
  call("H5Pset_deflate", list, 6);
  call("H5Pset_fill_value", list, "H5T_NATIVE_DOUBLE", -999);
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "values", "H5T_IEEE_F64LE", makeSpace({3}), list);
  EXPECT_EQ(readDoubles(file, "values"), Numbers({-999, -999, -999}));
}

// --- Damage --------------------------------------------------------------------------

/// Turns over a bit of the double that only the data hold.
void damageDouble(const std::string& path, double value) {
  damage(path, std::string(reinterpret_cast<const char*>(&value), sizeof value));
}

TEST(Fletcher32Filter, FindsDamageAndOtherDataStayReadable) {
  const std::string path = temporaryPath();
  constexpr double kTelling = 12345.678901234567;
  Numbers values = ramp(kCount);
  values[2000] = kTelling;
  {
    const Owned file = createFile(path);
    const Owned list = chunked({1024});
    call("H5Pset_fletcher32", list);
    writeDoubles(file, "damaged", values, list);
    writeDoubles(file, "good", ramp(kCount), list);
  }
  damageDouble(path, kTelling);
  const Owned file = openFile(path);
  const Owned damaged = make("H5Dopen", file, "damaged");
  for (int i = 0; i < 3; ++i) {
    expectLibraryError("H5Dread", damaged, kChosen, kAll, kAll, kDefault);
    EXPECT_EQ(readDoubles(file, "good"), ramp(kCount));
  }
  // Who does not want to know gets what is there.
  const Owned transfer = makeList("H5P_DATASET_XFER");
  call("H5Pset_edc_check", transfer, "H5Z_DISABLE_EDC");
  const Numbers read =
      numbersOf(result("H5Dread", damaged, "H5T_NATIVE_DOUBLE", kAll, kAll, transfer));
  ASSERT_EQ(read.size(), kCount);
  EXPECT_NE(read[2000], kTelling);
  EXPECT_EQ(read[1999], values[1999]);
}

}  // namespace
