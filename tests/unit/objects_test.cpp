// Objects: opening, copying, comments, information, visits.
#include <gtest/gtest.h>

#include <span>
#include <string>
#include <tuple>
#include <utility>

#include "tests/unit/complaints.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/structures.hpp"
#include "tests/unit/walking.hpp"

namespace {

using namespace h5test;

TEST(Objects, NameTheInputThatIsWrong) {
  const MemoryFile file;
  const Input location = identifierInput(file, "location identifier");
  const Input object = identifierInput(file, "object identifier");
  const Input creationList = listInput("link creation property list");
  const Input accessList = listInput("link access property list");
  const Input any = anyInput();
  expectComplaints("H5Oclose", {object});
  expectComplaints(
      "H5Ocopy",
      {identifierInput(file, "source object identifier"), textInput("source name"),
       identifierInput(file, "destination object identifier"), textInput("destination name"),
       listInput("object copy property list"), creationList});
  expectComplaints("H5Oget_comment", {object});
  expectComplaints("H5Oget_comment_by_name", {location, textInput("location name"), accessList});
  expectComplaints("H5Oget_info", {object});
  expectComplaints("H5Olink", {object, identifierInput(file, "new location identifier"),
                               textInput("new name"), creationList, accessList});
  expectComplaints("H5Oopen", {location, textInput("name"), accessList});
  expectComplaints("H5Oopen_by_idx", {location, textInput("group name"), enumInput(), enumInput(),
                                      scalarInput(), accessList});
  expectComplaints("H5Oset_comment", {object, textInput("comment")});
  expectComplaints("H5Oset_comment_by_name",
                   {location, textInput("rel_name"), textInput("name"), accessList});
  expectComplaints("H5Ovisit", {object, enumInput(), enumInput(), any, any});
  expectComplaints(
      "H5Ovisit_by_name",
      {location, textInput("object name"), enumInput(), enumInput(), any, any, accessList},
      {0, 6, 2, 3, 1, 4, 5});
}

TEST(Objects, LeaveFailuresToHdf5) {
  const MemoryFile file;
  const double no = kNoIdentifier;
  expectLibraryError("H5Oclose", no);
  expectLibraryError("H5Ocopy", file, "nothing", file, "copy", kDefault, kDefault);
  expectLibraryError("H5Oget_comment", no);
  expectLibraryError("H5Oget_comment_by_name", file, "nothing", kDefault);
  expectLibraryError("H5Oget_info", no);
  expectLibraryError("H5Olink", no, file, "again", kDefault, kDefault);
  expectLibraryError("H5Oopen", file, "nothing", kDefault);
  expectLibraryError("H5Oopen_by_idx", file, "/", 0, 0, 0, kDefault);
  expectLibraryError("H5Oset_comment", no, "words");
  expectLibraryError("H5Oset_comment_by_name", file, "nothing", "words", kDefault);
  // Unlike for links, no text stands for the other end's location.
  expectRaises(
      "unmatchedHidtString",
      Parameters{std::string("H5L_SAME_LOC"), std::string("destination object identifier")},
      "H5Ocopy", file, "g", "H5L_SAME_LOC", "copy", kDefault, kDefault);
}

// --- Opening, copying, linking -------------------------------------------------------

TEST(Objects, AreOpenedWhateverTheyAre) {
  const MemoryFile file;
  makeDataset(file, "d");
  makeGroup(file, "g");
  for (const auto& [name, position, type] :
       {std::tuple("d", 0, H5I_DATASET), {"g", 1, H5I_GROUP}}) {
    for (const Value& id : {result("H5Oopen", file, name, kDefault),
                            result("H5Oopen_by_idx", file, "/", "H5_INDEX_NAME", "H5_ITER_INC",
                                   position + 0.9, kDefault)}) {
      EXPECT_EQ(H5Iget_type(hdf5Id(numberOf(id))), type);
      EXPECT_TRUE(call("H5Oclose", id).empty());
    }
  }
}

TEST(Objects, AreCopiedAndLinked) {
  const MemoryFile file;
  makeGroup(file, "g");
  makeDataset(file, "g/d");
  EXPECT_TRUE(call("H5Ocopy", file, "g", file, "copy", kDefault, kDefault).empty());
  EXPECT_EQ(callNumber("H5Lexists", file, "copy/d", kDefault), 1);
  const Owned dataset = make("H5Oopen", file, "g/d", kDefault);
  EXPECT_TRUE(call("H5Olink", dataset, file, "again", kDefault, kDefault).empty());
  EXPECT_EQ(fieldNumber(result("H5Oget_info", dataset), "rc"), 2);
}

// --- Comments ------------------------------------------------------------------------

TEST(Objects, HaveComments) {
  const MemoryFile file;
  makeGroup(file, "g");
  const Owned group = make("H5Oopen", file, "g", kDefault);
  EXPECT_EQ(callText("H5Oget_comment", group), "");
  EXPECT_EQ(callText("H5Oget_comment_by_name", file, "g", kDefault), "");
  for (const std::string& words : {std::string("a comment"), std::string(5000, 'x'),
                                   std::string("B\xC3\xB6"), std::string()}) {
    EXPECT_TRUE(call("H5Oset_comment", group, words).empty());
    EXPECT_EQ(callText("H5Oget_comment", group), words);
    EXPECT_EQ(callText("H5Oget_comment_by_name", file, "g", kDefault), words);
    const std::string more = words + "!";
    EXPECT_TRUE(call("H5Oset_comment_by_name", file, "g", more, kDefault).empty());
    EXPECT_EQ(callText("H5Oget_comment", group), more);
  }
}

// --- Information ---------------------------------------------------------------------

TEST(Objects, TellAllAboutThemselves) {
  const MemoryFile file;
  makeDataset(file, "d");
  const Owned dataset = make("H5Oopen", file, "d", kDefault);
  const Owned space(H5Screate(H5S_SCALAR));
  for (int i = 0; i < 12; ++i) {  // too many for the object header alone
    H5Aclose(H5Acreate2(dataset.get(), ("a" + std::to_string(i)).c_str(), H5T_NATIVE_INT,
                        space.get(), H5P_DEFAULT, H5P_DEFAULT));
  }
  hdf5::ObjectInfo info{};
  ASSERT_GE(hdf5::getObjectInfo(dataset.get(), &info), 0);
  const Value record = result("H5Oget_info", dataset);
  EXPECT_EQ(shapeOf(record), Shape({1, 1}));
  EXPECT_EQ(fieldNames(record), Names({"fileno", "addr", "type", "rc", "atime", "mtime", "ctime",
                                       "btime", "num_attrs", "hdr", "meta_size"}));
  EXPECT_EQ(fieldNumber(record, "fileno"), static_cast<double>(info.fileno));
  EXPECT_EQ(fieldNumber(record, "addr"), static_cast<double>(info.addr));
  EXPECT_EQ(fieldNumber(record, "type"), H5O_TYPE_DATASET);
  EXPECT_EQ(fieldNumber(record, "rc"), 1);
  EXPECT_EQ(fieldNumber(record, "atime"), static_cast<double>(info.atime));
  EXPECT_EQ(fieldNumber(record, "mtime"), static_cast<double>(info.mtime));
  EXPECT_EQ(fieldNumber(record, "ctime"), static_cast<double>(info.ctime));
  EXPECT_EQ(fieldNumber(record, "btime"), static_cast<double>(info.btime));
  EXPECT_EQ(fieldNumber(record, "num_attrs"), 12);

  const Value header = field(record, "hdr");
  EXPECT_EQ(fieldNames(header), Names({"version", "nmesgs", "nchunks", "flags", "space", "mesg"}));
  EXPECT_EQ(fieldNumber(header, "version"), info.hdr.version);
  EXPECT_EQ(fieldNumber(header, "nmesgs"), info.hdr.nmesgs);
  EXPECT_EQ(fieldNumber(header, "nchunks"), info.hdr.nchunks);
  EXPECT_EQ(fieldNumber(header, "flags"), info.hdr.flags);
  const Value room = field(header, "space");
  EXPECT_EQ(fieldNames(room), Names({"total", "meta", "mesg", "free"}));
  EXPECT_EQ(fieldNumber(room, "total"), static_cast<double>(info.hdr.space.total));
  EXPECT_EQ(fieldNumber(room, "meta"), static_cast<double>(info.hdr.space.meta));
  EXPECT_EQ(fieldNumber(room, "mesg"), static_cast<double>(info.hdr.space.mesg));
  EXPECT_EQ(fieldNumber(room, "free"), static_cast<double>(info.hdr.space.free));
  const Value messages = field(header, "mesg");
  EXPECT_EQ(fieldNames(messages), Names({"present", "shared"}));
  EXPECT_EQ(fieldNumber(messages, "present"), static_cast<double>(info.hdr.mesg.present));
  EXPECT_EQ(fieldNumber(messages, "shared"), static_cast<double>(info.hdr.mesg.shared));

  const Value metaSize = field(record, "meta_size");
  EXPECT_EQ(fieldNames(metaSize), Names({"obj", "attr"}));
  for (const auto& [name, sizes] :
       {std::pair("obj", info.meta_size.obj), {"attr", info.meta_size.attr}}) {
    EXPECT_EQ(fieldNames(field(metaSize, name)), Names({"index_size", "heap_size"}));
    EXPECT_EQ(fieldNumber(field(metaSize, name), "index_size"),
              static_cast<double>(sizes.index_size));
    EXPECT_EQ(fieldNumber(field(metaSize, name), "heap_size"),
              static_cast<double>(sizes.heap_size));
  }
  EXPECT_EQ(fieldNumber(result("H5Oget_info", file), "type"), H5O_TYPE_GROUP);
}

// --- Visits --------------------------------------------------------------------------

class ObjectVisit : public testing::TestWithParam<Walk> {
 protected:
  ObjectVisit() {
    for (const char* path : {"b", "a", "a/x"}) makeGroup(file_, path);
    makeDataset(file_, "a/d");
  }
  MemoryFile file_;
};

INSTANTIATE_TEST_SUITE_P(, ObjectVisit,
                         testing::Values(Walk{"H5Ovisit", "visitFailure", kNoneRan, false, false},
                                         Walk{"H5Ovisit_by_name", "visitByNameFailure", kNoneRan,
                                              false, true}),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(ObjectVisit, CallsTheFunctionForEachObject) {
  Names names;
  const Results results = GetParam().run(file_, noteAndCount(names), number(10));
  EXPECT_EQ(names, Names({".", "a", "a/d", "a/x", "b"}));
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(numberOf(results[0]), 0);
  EXPECT_EQ(numberOf(results[1]), 15);
}

TEST_P(ObjectVisit, StopsWhereTheFunctionSaysSo) {
  const Value stop = function([](int /*outputs*/, std::span<zbArray* const> /*inputs*/) {
    return Results{number(1), text("found")};
  });
  const Results results = GetParam().run(file_, stop);
  EXPECT_EQ(numberOf(results[0]), 1);
  EXPECT_EQ(textOf(results[1]), "found");
  for (const auto& [status, answer, calls] : {std::tuple(2.7, 2, 1), {0.3, 0, 5}, {-0.5, 0, 5}}) {
    Names names;
    EXPECT_EQ(numberOf(GetParam().run(file_, noteNames(names, status)).front()), answer);
    EXPECT_EQ(names.size(), static_cast<std::size_t>(calls)) << status;
  }
}

TEST_P(ObjectVisit, StoresWhatIsAskedFor) {
  Names names;
  for (const auto& [nOut, stored] : {std::pair(0, 1U), {1, 1U}, {2, 2U}, {5, 2U}}) {
    EXPECT_EQ(GetParam().run(file_, noteNames(names), empty(), nOut).size(), stored) << nOut;
  }
}

TEST_P(ObjectVisit, ReportsWhatTheFunctionThrew) {
  int calls = 0;
  GetParam().expectFailure(file_, "/", throwAtCall(3, "not this one", &calls), "not this one");
  EXPECT_EQ(calls, 3);
  GetParam().expectFailure(file_, "/", text("f"),
                           "The callback is char 1-by-1; a function handle is needed.");
}

TEST_P(ObjectVisit, ReportsNoExceptionWhereNoneWasThrown) {
  Names names;
  GetParam().expectFailure(file_, "/", noteNames(names, -1), kNoneRan);
  EXPECT_EQ(names.size(), 1U);
  GetParam().expectFailure(kNoIdentifier, "/", neverCalled(), kNoneRan);
  if (GetParam().byName) GetParam().expectFailure(file_, "nothing", neverCalled(), kNoneRan);
}

TEST_P(ObjectVisit, HandsOutTheVeryUserData) {
  for (const Value& data : {structure({{"a", number(1)}}), cell({text("x")}), empty()}) {
    Names names;
    EXPECT_EQ(GetParam().run(file_, noteNames(names), data).back().get(), data.get());
  }
}

TEST_P(ObjectVisit, VisitsEachObjectOnce) {
  call("H5Lcreate_hard", file_, "/", file_, "a/root", kDefault, kDefault);
  call("H5Lcreate_hard", file_, "a", file_, "b/again", kDefault, kDefault);
  makeSoftLink(file_, "/", "cycle");
  makeSoftLink(file_, "/nowhere", "dangling");
  call("H5Lcreate_external", "missing.h5", "/", file_, "missing", kDefault, kDefault);
  Names names;
  EXPECT_EQ(numberOf(GetParam().run(file_, noteNames(names)).front()), 0);
  EXPECT_EQ(names, Names({".", "a", "a/d", "a/x", "b"}));
}

TEST_P(ObjectVisit, LetsTheFunctionOpenAndCloseWhatItVisits) {
  const Value look = function([](int /*outputs*/, std::span<zbArray* const> inputs) {
    const Owned object = make("H5Oopen", borrowed(inputs[0]), borrowed(inputs[1]), kDefault);
    const auto type = static_cast<int>(fieldNumber(result("H5Oget_info", object), "type"));
    return Results{number(0), number(zbGetScalar(inputs[2]) + (type == H5O_TYPE_DATASET ? 1 : 0))};
  });
  EXPECT_EQ(numberOf(GetParam().run(file_, look, number(0)).back()), 1);
}

TEST(Objects, AreVisitedByNameBelowAnObject) {
  const MemoryFile file;
  for (const char* path : {"a", "a/x", "a/y"}) makeGroup(file, path);
  Names names;
  call("H5Ovisit_by_name", file, "a", "H5_INDEX_NAME", "H5_ITER_DEC", noteNames(names), empty(),
       kDefault);
  EXPECT_EQ(names, Names({".", "y", "x"}));
  makeDataset(file, "d");
  const Owned dataset = make("H5Oopen", file, "d", kDefault);
  names.clear();
  call("H5Ovisit", dataset, 0, 0, noteNames(names), empty());
  EXPECT_EQ(names, Names({"."}));
}

}  // namespace
