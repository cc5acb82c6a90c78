// The test program: every test must give back the HDF5 identifiers that it opened.
#include <gtest/gtest.h>

#include "hdf5/compat.hpp"
#include "tests/unit/call.hpp"

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

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  H5open();
  // Without this HDF5 prints the stack of every call that a test lets fail outside
  // the gateway.
  H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
  testing::UnitTest::GetInstance()->listeners().Append(new LeakCheck);
  return RUN_ALL_TESTS();
}
