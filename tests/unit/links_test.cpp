// Links: making, asking, iterating and visiting.
#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <tuple>

#include "tests/unit/complaints.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/structures.hpp"
#include "tests/unit/walking.hpp"

namespace {

using namespace h5test;

double exists(const Argument& location, const char* name) {
  return callNumber("H5Lexists", location, name, kDefault);
}

// --- Inputs --------------------------------------------------------------------------

/// A location for which one text stands.
Input sameLocationInput(const std::string& description) {
  Input input = identifierInput("H5L_SAME_LOC", description);
  for (const std::string words : {"H5L_SAME", "H5L_SAME_LOC ", "h5l_same_loc", "H5G_SAME_LOC"}) {
    input.wrong.push_back({words, "unmatchedHidtString", {words, description}});
  }
  return input;
}

TEST(Links, NameTheInputThatIsWrong) {
  const MemoryFile file;
  const Input location = identifierInput(file, "location identifier");
  const Input group = identifierInput(file, "group identifier");
  const Input linkLocation = sameLocationInput("link location identifier");
  const Input destination = sameLocationInput("destination location identifier");
  const Input linkName = textInput("link name");
  const Input groupName = textInput("group name");
  const Input creationList = listInput("link creation property list");
  const Input accessList = listInput("link access property list");
  const Input any = anyInput();
  Input position = {0, {}};
  for (const Value& wrong : {numeric(zbClass::Int32, {1}), row({0, 1}), empty(), text("1")}) {
    position.wrong.push_back(
        {wrong, "notDoublePrecision", {std::string("\"initial offset within index\"")}});
  }
  position.wrong.push_back({-1, "scalarValueInputOutOfRange", {}});

  expectComplaints("H5Lcopy",
                   {sameLocationInput("source location identifier"), textInput("source name"),
                    destination, textInput("destination name"), creationList, accessList});
  expectComplaints("H5Lcreate_external", {textInput("file name"), textInput("object name"),
                                          identifierInput(file, "link location identifier"),
                                          linkName, creationList, accessList});
  expectComplaints("H5Lcreate_hard",
                   {identifierInput(file, "object location identifier"), textInput("object name"),
                    linkLocation, linkName, creationList, accessList});
  expectComplaints("H5Lcreate_soft",
                   {textInput("target path"), linkLocation, linkName, creationList, accessList});
  expectComplaints("H5Ldelete", {location, linkName, accessList});
  expectComplaints("H5Lexists", {location, textInput("location name"), accessList});
  expectComplaints("H5Lget_info", {location, linkName, accessList});
  expectComplaints("H5Lget_name_by_idx",
                   {location, textInput("object name"), enumInput(), enumInput(), position,
                    listInput("link access property list identifier")});
  expectComplaints("H5Lget_val", {location, linkName, accessList});
  expectComplaints("H5Literate", {group, enumInput(), enumInput(), scalarInput(), any, any});
  expectComplaints("H5Literate_by_name", {location, groupName, enumInput(), enumInput(),
                                          scalarInput(), any, any, accessList});
  // The source takes no text of its own.
  Input source = identifierInput(file, "source location identifier");
  source.wrong.push_back(
      {"H5L_SAME_LOC",
       "unmatchedHidtString",
       {std::string("H5L_SAME_LOC"), std::string("source location identifier")}});
  expectComplaints("H5Lmove", {source, textInput("source name"), destination,
                               textInput("destination name"), creationList, accessList});
  expectComplaints("H5Lvisit", {group, enumInput(), enumInput(), any, any});
  expectComplaints("H5Lvisit_by_name",
                   {location, groupName, enumInput(), enumInput(), any, any, accessList},
                   {0, 6, 1, 2, 3, 4, 5});
}

TEST(Links, LeaveFailuresToHdf5) {
  const MemoryFile file;
  for (const double location : {file.id(), kNoIdentifier}) {
    expectLibraryError("H5Lcopy", location, "nothing", location, "b", kDefault, kDefault);
    expectLibraryError("H5Lcreate_hard", location, "nothing", location, "b", kDefault, kDefault);
    expectLibraryError("H5Ldelete", location, "nothing", kDefault);
    expectLibraryError("H5Lget_info", location, "nothing", kDefault);
    expectLibraryError("H5Lget_val", location, "nothing", kDefault);
    expectLibraryError("H5Lget_name_by_idx", location, "/", 0, 0, 0, kDefault);
    expectLibraryError("H5Lmove", location, "nothing", location, "b", kDefault, kDefault);
  }
  expectLibraryError("H5Lcreate_soft", "t", kNoIdentifier, "b", kDefault, kDefault);
  expectLibraryError("H5Lcreate_external", "f", "o", kNoIdentifier, "b", kDefault, kDefault);
  expectLibraryError("H5Lexists", kNoIdentifier, "b", kDefault);
  // Two locations that each are the other's.
  expectLibraryError("H5Lcopy", "H5L_SAME_LOC", "a", "H5L_SAME_LOC", "b", kDefault, kDefault);
  expectLibraryError("H5Lcreate_soft", "t", "H5L_SAME_LOC", "b", kDefault, kDefault);
}

// --- Making links --------------------------------------------------------------------

TEST(Links, AreMadeCopiedMovedAndDeleted) {
  const MemoryFile file;
  makeGroup(file, "g");
  EXPECT_TRUE(
      call("H5Lcreate_hard", file, "g", "H5L_SAME_LOC", "hard", kDefault, kDefault).empty());
  EXPECT_TRUE(call("H5Lcreate_soft", "/g", file, "soft", kDefault, kDefault).empty());
  EXPECT_TRUE(
      call("H5Lcreate_external", "f.h5", "/o", file, "external", kDefault, kDefault).empty());
  EXPECT_TRUE(call("H5Lcopy", file, "soft", "H5L_SAME_LOC", "copy", kDefault, kDefault).empty());
  call("H5Lcopy", "H5L_SAME_LOC", "soft", file, "copy too", kDefault, kDefault);
  const Owned group = make("H5Gopen", file, "g");
  EXPECT_TRUE(call("H5Lmove", file, "copy", group, "moved", kDefault, kDefault).empty());
  call("H5Lmove", file, "copy too", "H5L_SAME_LOC", "renamed", kDefault, kDefault);
  for (const char* name : {"hard", "soft", "external", "renamed", "g/moved"}) {
    EXPECT_EQ(exists(file, name), 1) << name;
  }
  for (const char* name : {"copy", "copy too", "Soft"}) EXPECT_EQ(exists(file, name), 0) << name;
  EXPECT_TRUE(call("H5Ldelete", file, "soft", kDefault).empty());
  EXPECT_EQ(exists(file, "soft"), 0);
}

// --- What a link is ------------------------------------------------------------------

TEST(Links, HaveAnAddressOrAValue) {
  const MemoryFile file;
  makeGroup(file, "hard");
  makeSoftLink(file, "nowhere", "soft");
  call("H5Lcreate_external", "f.h5", "/o", file, "external", kDefault, kDefault);

  const Value hard = result("H5Lget_info", file, "hard", kDefault);
  EXPECT_EQ(shapeOf(hard), Shape({1, 1}));
  EXPECT_EQ(fieldNames(hard), Names({"type", "corder_valid", "corder", "cset", "address"}));
  EXPECT_EQ(fieldNumber(hard, "type"), 0);
  hdf5::LinkInfo info{};
  hdf5::getLinkInfo(file.get(), "hard", &info, H5P_DEFAULT);
  EXPECT_EQ(fieldNumber(hard, "address"), static_cast<double>(info.u.address));

  for (const auto& [name, type, size] : {std::tuple("soft", 1, 8), {"external", 64, 9}}) {
    const Value link = result("H5Lget_info", file, name, kDefault);
    EXPECT_EQ(fieldNames(link), Names({"type", "corder_valid", "corder", "cset", "val_size"}));
    EXPECT_EQ(fieldNumber(link, "type"), type);
    EXPECT_EQ(fieldNumber(link, "val_size"), size);
    EXPECT_EQ(fieldNumber(link, "cset"), H5T_CSET_ASCII);
    EXPECT_EQ(classOf(field(link, "corder_valid")), zbClass::Logical);
    EXPECT_EQ(numberOf(field(link, "corder_valid")), 0);
  }
}

TEST(Links, KnowTheirPlaceWhereItIsTracked) {
  const MemoryFile file;
  const Owned list = makeList("H5P_GROUP_CREATE");
  H5Pset_link_creation_order(list.get(), H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED);
  const Owned utf8 = makeList("H5P_LINK_CREATE");
  H5Pset_char_encoding(utf8.get(), H5T_CSET_UTF8);
  const Owned group = make("H5Gcreate", file, "ordered", kDefault, list, kDefault);
  for (const char* name : {"z", "y", "x"}) {
    call("H5Lcreate_soft", "t", group, name, utf8, kDefault);
  }
  const Value info = result("H5Lget_info", group, "x", kDefault);
  EXPECT_EQ(classOf(field(info, "corder_valid")), zbClass::Logical);
  EXPECT_EQ(numberOf(field(info, "corder_valid")), 1);
  EXPECT_EQ(fieldNumber(info, "corder"), 2);
  EXPECT_EQ(fieldNumber(info, "cset"), H5T_CSET_UTF8);

  const auto name = [&](const char* index, const char* order, double position) {
    return callText("H5Lget_name_by_idx", group, ".", index, order, position, kDefault);
  };
  EXPECT_EQ(name("H5_INDEX_NAME", "H5_ITER_INC", 0), "x");
  EXPECT_EQ(name("H5_INDEX_NAME", "H5_ITER_DEC", 0), "z");
  EXPECT_EQ(name("H5_INDEX_CRT_ORDER", "H5_ITER_INC", 0), "z");
  EXPECT_EQ(name("H5_INDEX_CRT_ORDER", "H5_ITER_DEC", 0.9), "x");
  expectLibraryError("H5Lget_name_by_idx", group, ".", 0, 0, 3, kDefault);
}

TEST(Links, BelongToGroupsOnly) {
  const MemoryFile file;
  makeDataset(file, "data");
  expectLibraryError("H5Lget_name_by_idx", file, "data", 0, 0, 0, kDefault);
  expectLibraryError("H5Lget_name_by_idx", file, "absent", 0, 0, 0, kDefault);
}

TEST(Links, HaveNamesOfAnyLength) {
  const MemoryFile file;
  const std::string name(3000, 'n');
  makeSoftLink(file, "t", name);
  EXPECT_EQ(callText("H5Lget_name_by_idx", file, "/", 0, 0, 0, kDefault), name);
}

TEST(Links, GiveTheirValues) {
  const MemoryFile file;
  makeGroup(file, "hard");
  const std::string path = "/" + std::string(10000, 'p');
  makeSoftLink(file, path, "soft");
  call("H5Lcreate_external", "some file.h5", "/a/path", file, "external", kDefault, kDefault);

  const Value soft = result("H5Lget_val", file, "soft", kDefault);
  EXPECT_EQ(classOf(soft), zbClass::Cell);
  EXPECT_EQ(shapeOf(soft), Shape({1, 1}));
  EXPECT_EQ(textOf(element(soft, 0)), path);

  const Value external = result("H5Lget_val", file, "external", kDefault);
  EXPECT_EQ(classOf(external), zbClass::Cell);
  EXPECT_EQ(shapeOf(external), Shape({2, 1}));
  EXPECT_EQ(textOf(element(external, 0)), "some file.h5");
  EXPECT_EQ(textOf(element(external, 1)), "/a/path");

  // Not sized by the address that its record has where the others have a size.
  EXPECT_EQ(callText("H5Lget_val", file, "hard", kDefault), "");
}

ssize_t query(const char* /*name*/, const void* /*value*/, size_t size, void* buffer, size_t room) {
  if (buffer != nullptr) std::fill_n(static_cast<char*>(buffer), std::min(size, room), '?');
  return static_cast<ssize_t>(size);
}

TEST(Links, OfSomebodysOwnClassHaveNoText) {
  const MemoryFile file;
  constexpr auto kOwnType = static_cast<H5L_type_t>(H5L_TYPE_UD_MIN + 40);
  H5L_class_t own{};
  own.version = H5L_LINK_CLASS_T_VERS;
  own.id = kOwnType;
  own.comment = "of a test";
  own.trav_func = [](auto... /*arguments*/) { return hid_t{-1}; };  // as the release has it
  own.query_func = query;
  ASSERT_GE(H5Lregister(&own), 0);
  ASSERT_GE(H5Lcreate_ud(file.get(), "own", kOwnType, "value", 6, H5P_DEFAULT, H5P_DEFAULT), 0);
  EXPECT_EQ(fieldNumber(result("H5Lget_info", file, "own", kDefault), "type"), kOwnType);
  EXPECT_EQ(fieldNumber(result("H5Lget_info", file, "own", kDefault), "val_size"), 6);
  EXPECT_EQ(callText("H5Lget_val", file, "own", kDefault), "");
  EXPECT_EQ(callText("H5Gget_linkval", file, "own"), "??????");
  ASSERT_GE(H5Lunregister(kOwnType), 0);
  EXPECT_EQ(callText("H5Lget_val", file, "own", kDefault), "");
}

// --- Iterating and visiting ----------------------------------------------------------

class LinkWalk : public testing::TestWithParam<Walk> {
 protected:
  LinkWalk() {
    for (const char* name : {"c", "a", "b"}) makeGroup(file_, name);
  }
  /// Still says of itself that it is a group's.
  [[nodiscard]] double closedGroup() const {
    Owned group = make("H5Gopen", file_, "a");
    const double id = group.id();
    group.close();
    return id;
  }
  MemoryFile file_;
};

INSTANTIATE_TEST_SUITE_P(
    , LinkWalk,
    testing::Values(Walk{"H5Literate", "linkIterationFailure", "", true, false},
                    Walk{"H5Literate_by_name", "linkIterationByNameFailure", kNoneRan, true, true},
                    Walk{"H5Lvisit", "linkVisitFailure", kNoneRan, false, false},
                    Walk{"H5Lvisit_by_name", "linkVisitationByNameFailure", kNoneRan, false, true}),
    [](const auto& test) { return std::string(test.param.name); });

TEST_P(LinkWalk, CallsTheFunctionForEachLink) {
  Names names;
  const Results results = GetParam().run(file_, noteAndCount(names), number(10));
  EXPECT_EQ(names, Names({"a", "b", "c"}));
  ASSERT_EQ(results.size(), GetParam().hasPosition ? 3U : 2U);
  EXPECT_EQ(numberOf(results.front()), 0);
  if (GetParam().hasPosition) {
    EXPECT_EQ(numberOf(results[1]), 3);
  }
  EXPECT_EQ(numberOf(results.back()), 13);
}

TEST_P(LinkWalk, StoresWhatIsAskedFor) {
  Names names;
  const Value note = noteNames(names);
  const std::size_t all = GetParam().hasPosition ? 3 : 2;
  for (const int nOut : {0, 1, 2, 3, 5}) {
    const std::size_t asked = std::clamp<std::size_t>(static_cast<std::size_t>(nOut), 1, all);
    EXPECT_EQ(GetParam().run(file_, note, empty(), nOut).size(), asked) << nOut;
  }
}

TEST_P(LinkWalk, TakesTheStatusTowardZero) {
  for (const auto& [status, answer, calls] :
       {std::tuple(1.0, 1, 1), {2.7, 2, 1}, {0.3, 0, 3}, {-0.5, 0, 3}}) {
    Names names;
    EXPECT_EQ(numberOf(GetParam().run(file_, noteNames(names, status)).front()), answer);
    EXPECT_EQ(names.size(), static_cast<std::size_t>(calls)) << status;
  }
}

TEST_P(LinkWalk, ReportsWhatTheFunctionThrew) {
  int calls = 0;
  GetParam().expectFailure(file_, "/", throwAtCall(3, "not this one", &calls), "not this one");
  EXPECT_EQ(calls, 3);
  GetParam().expectFailure(file_, "/", number(17),
                           "The callback is double 1-by-1; a function handle is needed.");
}

TEST_P(LinkWalk, ReportsNoExceptionWhereNoneWasThrown) {
  Names names;
  const std::string& report = GetParam().reportWithoutCallback;
  GetParam().expectFailure(file_, "/", noteNames(names, -1), report);
  EXPECT_EQ(names.size(), 1U);
  // A status that is no number: nothing goes on that does not say so.
  const Value words = function([](int /*outputs*/, std::span<zbArray* const> /*inputs*/) {
    return Results{text("0"), empty()};
  });
  GetParam().expectFailure(file_, "/", words, report);
  if (std::string(GetParam().name) != "H5Lvisit_by_name") {
    for (const double location : {kNoIdentifier, closedGroup()}) {
      GetParam().expectFailure(location, "/", neverCalled(), report);
    }
  }
  if (GetParam().byName) GetParam().expectFailure(file_, "nothing", neverCalled(), report);
}

TEST_P(LinkWalk, HandsOutTheVeryUserData) {
  const MemoryFile vacant;
  for (const Value& data : {structure({{"a", number(1)}}), cell({text("x")}), text("words"),
                            empty(), zembra::makeForeign(zembra::Origin())}) {
    EXPECT_EQ(GetParam().run(vacant, neverCalled(), data).back().get(), data.get());
    Names names;
    EXPECT_EQ(GetParam().run(file_, noteNames(names), data).back().get(), data.get());
  }
}

TEST_P(LinkWalk, MayBeAnsweredWithItsInputs) {
  // The name of the last link as user data; then one array for both answers.
  const Value keepName = function([](int /*outputs*/, std::span<zbArray* const> inputs) {
    return Results{number(0), borrowed(inputs[1])};
  });
  EXPECT_EQ(textOf(GetParam().run(file_, keepName).back()), "c");
  const Value both = function([](int /*outputs*/, std::span<zbArray* const> inputs) {
    return Results{borrowed(inputs[2]), borrowed(inputs[2])};
  });
  EXPECT_EQ(numberOf(GetParam().run(file_, both, number(0)).back()), 0);
  const Value same = function([](int /*outputs*/, std::span<zbArray* const> /*inputs*/) {
    const Value zero = number(0);
    return Results{zero, zero};
  });
  EXPECT_EQ(numberOf(GetParam().run(file_, same).back()), 0);
  const Value previous = function([](int /*outputs*/, std::span<zbArray* const> inputs) {
    return Results{borrowed(inputs[2]), number(0)};
  });
  EXPECT_EQ(numberOf(GetParam().run(file_, previous, number(0)).back()), 0);
}

TEST_P(LinkWalk, MayRunWithinAnother) {
  Names names;
  const Value inner = noteNames(names);
  const Value outer = function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
    // User data that pass through the inner call still belong to the outer one.
    EXPECT_EQ(numberOf(GetParam().run(file_, inner, borrowed(inputs[2])).front()), 0);
    return Results{number(0), number(zbGetScalar(inputs[2]) + 1)};
  });
  EXPECT_EQ(numberOf(GetParam().run(file_, outer, number(0)).back()), 3);
  EXPECT_EQ(names.size(), 9U);
}

TEST_P(LinkWalk, NeitherFollowsNorNeedsTargets) {
  makeSoftLink(file_, "/", "cycle");
  makeSoftLink(file_, "/nowhere", "dangling");
  call("H5Lcreate_external", "missing.h5", "/", file_, "missing", kDefault, kDefault);
  call("H5Lcreate_hard", file_, "/", file_, "a/root", kDefault, kDefault);
  Names names;
  EXPECT_EQ(numberOf(GetParam().run(file_, noteNames(names)).front()), 0);
  EXPECT_EQ(names.size(), GetParam().hasPosition ? 6U : 7U);
}

TEST(Links, AreIteratedOverFromAPosition) {
  const MemoryFile file;
  for (const char* name : {"a", "b", "c", "d"}) makeGroup(file, name);
  Names names;
  Results results =
      call("H5Literate", file, "H5_INDEX_NAME", "H5_ITER_INC", 2, noteNames(names), empty());
  EXPECT_EQ(names, Names({"c", "d"}));
  EXPECT_EQ(numberOf(results[1]), 4);
  names.clear();
  results = call("H5Literate", file, "H5_INDEX_NAME", "H5_ITER_DEC", empty(), noteNames(names, 5),
                 empty());
  EXPECT_EQ(names, Names({"d"}));
  EXPECT_EQ(numberOf(results[0]), 5);
  EXPECT_EQ(numberOf(results[1]), 1);
  names.clear();
  call("H5Literate_by_name", file, ".", "H5_INDEX_NAME", "H5_ITER_INC", 3, noteNames(names),
       empty(), kDefault);
  EXPECT_EQ(names, Names({"d"}));
  expectRaises("linkIterationFailure", Parameters{std::string()}, "H5Literate", file, 0, 0, 9,
               neverCalled(), empty());
  expectRaises("linkIterationFailure", Parameters{std::string()}, "H5Literate", file, 0, 0,
               9007199254740992.0, neverCalled(), empty());
  expectRaises("scalarValueInputOutOfRange", {}, "H5Literate", file, 0, 0, kTwo64, neverCalled(),
               empty());
}

TEST(Links, AreVisitedBelowFilesAndGroupsOnly) {
  const MemoryFile file;
  makeDataset(file, "d");
  const Owned dataset = make("H5Dopen", file, "d");
  const auto visit = [&](const Argument& location) {
    expectRaises("invalidLocation", {}, "H5Lvisit_by_name", location, ".", 0, 0, neverCalled(),
                 empty(), kDefault);
  };
  visit(dataset);
  visit(kNoIdentifier);
  visit(0);
  // Before the name, the index and the order are looked at.
  expectRaises("invalidLocation", {}, "H5Lvisit_by_name", dataset, 1, "no", "no", neverCalled(),
               empty(), kDefault);
  Names names;
  const Owned root = make("H5Gopen", file, "/");
  call("H5Lvisit_by_name", root, ".", 0, 0, noteNames(names), empty(), kDefault);
  EXPECT_EQ(names, Names({"d"}));
}

TEST(Links, AreVisitedByTheirPaths) {
  const MemoryFile file;
  for (const char* path : {"a", "a/b", "a/b/c", "d"}) makeGroup(file, path);
  Names names;
  call("H5Lvisit", file, "H5_INDEX_NAME", "H5_ITER_INC", noteNames(names), empty());
  EXPECT_EQ(names, Names({"a", "a/b", "a/b/c", "d"}));
  names.clear();
  call("H5Lvisit_by_name", file, "a", "H5_INDEX_NAME", "H5_ITER_DEC", noteNames(names), empty(),
       kDefault);
  EXPECT_EQ(names, Names({"b", "b/c"}));
}

}  // namespace
