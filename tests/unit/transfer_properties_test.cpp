// What data are transferred and datasets accessed with: every setter with its getter.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>

#include "tests/unit/complaints.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/round_trips.hpp"

namespace {

using namespace h5test;

const char* const kTransfer = "H5P_DATASET_XFER";
const char* const kAccess = "H5P_DATASET_ACCESS";

TEST(TransferProperties, NameTheInputThatIsWrong) {
  const Input list = listInput("property list identifier");
  const Input plain = listInput("property list");
  const Input scalar = scalarInput();
  const Input any = anyInput();
  Input members = {row({0, 0, 0, 0, 0, 0, 0}),
                   {{row({0, 0, 0, 0, 0, 0}), "badNumberOfElementsInDxpl", {}},
                    {row({0, 0, 0, 0, 0, 0, 0, 0}), "badNumberOfElementsInDxpl", {}},
                    {kDefault, "badNumberOfElementsInDxpl", {}},
                    {empty(), "badNumberOfElementsInDxpl", {}}}};

  expectComplaints("H5Pset_preserve", {plain, any});
  expectComplaints("H5Pget_preserve", {plain});
  expectComplaints("H5Pset_edc_check", {list, enumInputOf(2)});
  expectComplaints("H5Pget_edc_check", {list});
  expectComplaints("H5Pset_hyper_vector_size", {list, scalar});
  expectComplaints("H5Pget_hyper_vector_size", {list});
  expectComplaints("H5Pset_btree_ratios", {list, any, any, any});
  expectComplaints("H5Pget_btree_ratios", {list});
  expectComplaints("H5Pset_dxpl_multi", {list, members});
  expectComplaints("H5Pget_dxpl_multi", {list});
  expectComplaints("H5Pset_chunk_cache", {list, scalar, scalar, any});
  expectComplaints("H5Pget_chunk_cache", {list});
}

TEST(TransferProperties, RaiseOnListsThatAreNone) {
  for (const char* name : {"H5Pget_preserve", "H5Pget_edc_check", "H5Pget_hyper_vector_size",
                           "H5Pget_btree_ratios", "H5Pget_dxpl_multi", "H5Pget_chunk_cache"}) {
    expectLibraryError(name, kNoIdentifier);
  }
  for (const char* name : {"H5Pset_preserve", "H5Pset_edc_check", "H5Pset_hyper_vector_size"}) {
    expectLibraryError(name, kNoIdentifier, 1);
  }
  expectLibraryError("H5Pset_btree_ratios", kNoIdentifier, 0.1, 0.5, 0.9);
  expectLibraryError("H5Pset_chunk_cache", kNoIdentifier, 521, 1, 0.5);
  expectLibraryError("H5Pset_dxpl_multi", kNoIdentifier, row({0, 0, 0, 0, 0, 0, 0}));
}

class TransferRoundTrip : public testing::TestWithParam<RoundTrip> {};

INSTANTIATE_TEST_SUITE_P(
    , TransferRoundTrip,
    testing::Values(RoundTrip{"preserve", kTransfer, {true}, {1}},
                    RoundTrip{"preserve", kTransfer, {-1.9}, {1}},
                    RoundTrip{"edc_check", kTransfer, {"H5Z_DISABLE_EDC"}, {0}},
                    RoundTrip{"edc_check", kTransfer, {0}, {0}},
                    RoundTrip{"hyper_vector_size", kTransfer, {4096}, {4096}},
                    RoundTrip{"btree_ratios", kTransfer, {0.25, 0.5, 0.75}, {0.25, 0.5, 0.75}},
                    RoundTrip{"chunk_cache", kAccess, {101, 65536, 0.25}, {101, 65536, 0.25}}),
    tripName);

TEST_P(TransferRoundTrip, GivesBackWhatWasSet) { expectRoundTrip(GetParam()); }

TEST(TransferProperties, RefuseWhatHdf5Refuses) {
  const Owned transfer = makeList(kTransfer);
  expectLibraryError("H5Pset_hyper_vector_size", transfer, 0);
  expectLibraryError("H5Pset_btree_ratios", transfer, 0.1, 0.5, 1.1);
  expectLibraryError("H5Pset_chunk_cache", makeList(kAccess), 521, 1, 1.5);
  expectLibraryError("H5Pset_chunk_cache", transfer, 521, 1, 0.5);  // another class of lists
}

TEST(TransferProperties, ClearThePreserveFlag) {
  const Owned list = makeList(kTransfer);
  call("H5Pset_preserve", list, 1);
  call("H5Pset_preserve", list, 0.9);  // truncated
  EXPECT_EQ(callNumber("H5Pget_preserve", list), 0);
}

TEST(TransferProperties, TakeOnlyOneAnswerForErrorDetection) {
  const Owned list = makeList(kTransfer);
  EXPECT_EQ(callNumber("H5Pget_edc_check", list), 1);
  expectRaises("badEnumNumericInput", {std::int64_t{2}, std::int64_t{2}}, "H5Pset_edc_check", list,
               2);
  // Neither enabled nor disabled.
  call("H5Pset", list, "err_detect", numeric(zbClass::UInt8, {H5Z_NO_EDC, 0, 0, 0}));
  if (hdf5::kSince187) {
    EXPECT_EQ(callNumber("H5Pget_edc_check", list), 0);
  } else {
    expectLibraryError("H5Pget_edc_check", list);
  }
}

TEST(TransferProperties, GiveTheMarkersOfTheChunkCacheAsTheyAre) {
  const Owned list = makeList(kAccess);
  std::size_t slots = 0;
  std::size_t bytes = 0;
  double weight = 0;
  H5Pget_chunk_cache(list.get(), &slots, &bytes, &weight);
  EXPECT_EQ(callNumbers("H5Pget_chunk_cache", list),
            Numbers({static_cast<double>(slots), static_cast<double>(bytes), weight}));
  call("H5Pset_chunk_cache", list, 521, kBelowTwo64, 0);
  EXPECT_EQ(callNumbers("H5Pget_chunk_cache", list)[1], kBelowTwo64);
  expectRaises("scalarValueInputOutOfRange", {}, "H5Pset_chunk_cache", list, 521, kTwo64, 0);
}

TEST(TransferProperties, SayWhenTheLibraryHasNoMemberTransferLists) {
  const Owned list = makeList(kTransfer);
  const double id = list.id();
  const Value members = column({id, id, id, id, id, id, id});
  if (hdf5::kMemberTransferLists) {
    call("H5Pset_dxpl_multi", list, members);
    const Value back = result("H5Pget_dxpl_multi", list);
    EXPECT_EQ(shapeOf(back), Shape({7, 1}));
    for (const double member : numbersOf(back))
      EXPECT_EQ(callNumber("H5Pisa_class", Owned(member), kTransfer), 1);
    return;
  }
  const std::pair<std::string, Arguments> calls[] = {{"H5Pset_dxpl_multi", {list, members}},
                                                     {"H5Pget_dxpl_multi", {list}}};
  for (const auto& [name, arguments] : calls) {
    const auto error = failureOf(name, arguments);
    ASSERT_TRUE(error);
    EXPECT_TRUE((*error)->libraryFailure);
    ASSERT_EQ((*error)->stack.size(), 1U);
    EXPECT_EQ((*error)->stack[0].function, name);
  }
  // Any numeric class will do, and no number is out of range.
  expectLibraryError("H5Pset_dxpl_multi", list, numeric(zbClass::Int64, {0, 0, 0, 0, 0, 0, 1e18}));
}

}  // namespace
