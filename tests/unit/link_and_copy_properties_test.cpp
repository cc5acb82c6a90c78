// What links and names are made and objects copied with: every setter with its getter.
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/complaints.hpp"
#include "tests/unit/round_trips.hpp"

namespace {

using namespace h5test;

const char* const kLink = "H5P_LINK_CREATE";
const char* const kCopy = "H5P_OBJECT_COPY";

TEST(LinkAndCopyProperties, NameTheInputThatIsWrong) {
  const Input list = listInput("property list identifier");
  const Input plain = listInput("property list");
  Input options = scalarInput();
  options.wrong.push_back({"H5O_COPY_ALL", "badCopyOptionsString", {}});
  options.wrong.push_back({cell({}), "badCopyObjectType", {}});

  expectComplaints("H5Pset_create_intermediate_group",
                   {listInput("link creation property list"), scalarInput()});
  expectComplaints("H5Pget_create_intermediate_group",
                   {listInput("link creation property list identifier")});
  expectComplaints("H5Pset_char_encoding", {plain, enumInputOf(2)});
  expectComplaints("H5Pget_char_encoding", {plain});
  expectComplaints("H5Pset_copy_object", {list, options});
  expectComplaints("H5Pget_copy_object", {list});
}

TEST(LinkAndCopyProperties, RaiseOnListsThatAreNone) {
  for (const char* property : {"create_intermediate_group", "char_encoding", "copy_object"}) {
    expectLibraryError("H5Pget_" + std::string(property), kNoIdentifier);
    expectLibraryError("H5Pset_" + std::string(property), kNoIdentifier, 1);
  }
}

class LinkAndCopyRoundTrip : public testing::TestWithParam<RoundTrip> {};

INSTANTIATE_TEST_SUITE_P(
    , LinkAndCopyRoundTrip,
    testing::Values(RoundTrip{"create_intermediate_group", kLink, {1}, {1}},
                    RoundTrip{"char_encoding", kLink, {"H5T_CSET_UTF8"}, {1}},
                    RoundTrip{"char_encoding", "H5P_ATTRIBUTE_CREATE", {1}, {1}},
                    RoundTrip{"copy_object", kCopy, {3}, {3}},
                    RoundTrip{"copy_object", kCopy, {numeric(zbClass::UInt8, {17})}, {17}},
                    RoundTrip{"copy_object", kCopy, {"H5O_COPY_SHALLOW_HIERARCHY_FLAG"}, {1}},
                    RoundTrip{"copy_object", kCopy, {"H5O_COPY_EXPAND_SOFT_LINK_FLAG"}, {2}},
                    RoundTrip{"copy_object", kCopy, {"H5O_COPY_EXPAND_EXT_LINK_FLAG"}, {4}},
                    RoundTrip{"copy_object", kCopy, {"H5O_COPY_EXPAND_REFERENCE_FLAG"}, {8}},
                    RoundTrip{"copy_object", kCopy, {"H5O_COPY_WITHOUT_ATTR_FLAG"}, {16}}),
    tripName);

TEST_P(LinkAndCopyRoundTrip, GivesBackWhatWasSet) { expectRoundTrip(GetParam()); }

TEST(LinkAndCopyProperties, RefuseOtherCopyOptions) {
  const Owned list = makeList(kCopy);
  for (const char* name : {"H5O_COPY_PRESERVE_NULL_FLAG", "H5O_COPY_ALL",
                           "h5o_copy_without_attr_flag", "H5O_COPY_WITHOUT_ATTR_FLAG ", ""}) {
    expectRaises("badCopyOptionsString", {}, "H5Pset_copy_object", list, name);
  }
  for (const Value& other : {cell({}), logical(true), structure({{"a", number(1)}})}) {
    expectRaises("badCopyObjectType", {}, "H5Pset_copy_object", list, other);
  }
  expectLibraryError("H5Pset_copy_object", list, 4096);
  EXPECT_EQ(callNumber("H5Pget_copy_object", list), 0);
}

}  // namespace
