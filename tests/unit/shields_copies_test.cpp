// Copies of objects that do not fit where they are to go.
#include <gtest/gtest.h>

#include <vector>

#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/resource_limits.hpp"
#include "tests/unit/stored.hpp"

namespace {

using namespace h5test;

constexpr std::size_t kMany = 300000;
constexpr std::size_t kFew = 300;

TEST(Copies, ThatDoNotFitKillHdf5) {
  const auto copy = [] {
    const hid_t from =
        H5Fcreate(temporaryPath("from").c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    const hid_t to =
        H5Fcreate(temporaryPath("to").c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    const hsize_t count = kMany;
    const hid_t space = H5Screate_simple(1, &count, nullptr);
    const hid_t dataset =
        H5Dcreate2(from, "d", H5T_NATIVE_DOUBLE, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    const std::vector<double> values(kMany, 1);
    H5Dwrite(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, values.data());
    const SmallFiles small;
    H5Ocopy(from, "d", to, "d", H5P_DEFAULT, H5P_DEFAULT);
  };
  if constexpr (hdf5::kSince110 && !hdf5::kSince112) {
    EXPECT_TRUE(kills(copy));
  } else {
    GTEST_SKIP() << "1.10 dies of it; of other releases it is not known";
  }
}

TEST(Copies, AreMadeOnceTheyFit) {
  const Owned from = createFile(temporaryPath("from"));
  const Owned to = createFile(temporaryPath("to"));
  const Numbers many = ramp(kMany);
  const Numbers few = ramp(kFew);
  const Owned group = make("H5Gcreate", from, "g", 0);
  writeDoubles(group, "many", many);
  writeDoubles(from, "few", few);
  {
    const SmallFiles small;
    expectStack(failureOf("H5Ocopy", {from, "g", to, "g", kDefault, kDefault}));
    expectStack(failureOf("H5Ocopy", {group, "many", to, "many", kDefault, kDefault}));
    expectStack(failureOf("H5Ocopy", {from, "nothing", to, "nothing", kDefault, kDefault}));
    call("H5Ocopy", from, "few", to, "few", kDefault, kDefault);
  }
  call("H5Ocopy", from, "g", to, "g", kDefault, kDefault);
  EXPECT_EQ(readDoubles(to, "few"), few);
  EXPECT_EQ(readDoubles(to, "g/many"), many);
}

}  // namespace
