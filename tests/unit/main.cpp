// The test program: every test must give back the HDF5 identifiers that it opened, and
// all together must raise every key of the catalogue.
#include <gtest/gtest.h>

#include <map>
#include <string_view>

#include "hdf5/compat.hpp"
#include "runtime/host_error.hpp"
#include "tests/unit/open_identifiers.hpp"
#include "tests/unit/raised_keys.hpp"

namespace {

class LeakCheck : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& /*info*/) override {
    before_ = h5test::openIdentifiers();
  }
  void OnTestEnd(const testing::TestInfo& info) override {
    const std::size_t after = h5test::openIdentifiers();
    // Written as a failure of the test that is ending: listeners run in its scope.
    if (after != before_ && info.result()->Passed()) {
      ADD_FAILURE() << info.name() << " began with " << before_ << " open identifiers and left "
                    << after;
    }
  }
  std::size_t before_ = 0;
};

/// Keys that no call can raise, and why.
const std::map<std::string_view, const char*> kUnreachable = {
    {hdf5::kSince110 ? "failureToRetrieveDataspace" : "",
     "a dataspace that gives its rank gives its extents too; 1.8 may have none"},
    {"inputArrayNotChar", "the entry point looks at the class of the name before it converts it"},
    {"unrecognizedReferenceType", "the enumeration of reference types has only the two known ones"},
    {"resizeFailure", "rows times columns are as many elements as the array was made with"},
};

class KeyCheck : public testing::Environment {
  void TearDown() override {
    const auto* unitTest = testing::UnitTest::GetInstance();
    if (unitTest->test_to_run_count() != unitTest->total_test_count() || unitTest->Failed()) return;
    for (const zembra::CatalogueEntry& entry : zembra::catalogue()) {
      const bool unreachable = kUnreachable.contains(entry.key);
      EXPECT_NE(h5test::raisedKeys().contains(entry.key), unreachable)
          << entry.key << (unreachable ? " was raised, though it cannot be" : " was never raised");
    }
  }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  H5open();
  // Without this HDF5 prints the stack of every call that a test lets fail outside
  // the gateway.
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
  testing::AddGlobalTestEnvironment(new KeyCheck);
  const int status = RUN_ALL_TESTS();
  // What HDF5 leaves open where it fails it would complain of, closing itself.
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  return status;
}
