// Groups, and the first generation of links, objects and comments.
#include <gtest/gtest.h>

#include <span>
#include <string>
#include <tuple>

#include "tests/unit/complaints.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/structures.hpp"

namespace {

using namespace h5test;

// --- Inputs --------------------------------------------------------------------------

Input destinationInput() {
  Input input = identifierInput("H5G_SAME_LOC", "destination identifier");
  input.wrong.front() = {"H5G_SAME", "badDestinationName", {}};
  for (const char* words :
       {"", "h5g_same_loc", "H5G_SAME_LOC ", "H5G_SAME_LOCATION", "H5L_SAME_LOC", "H5P_DEFAULT"}) {
    input.wrong.push_back({words, "badDestinationName", {}});
  }
  return input;
}

TEST(Groups, NameTheInputThatIsWrong) {
  const MemoryFile file;
  const Input location = identifierInput(file, "location identifier");
  const Input group = identifierInput(file, "group identifier");
  const Input name = textInput("dataset name");
  const Input accessList = listInput("group access property list");

  expectComplaints("H5Gclose", {group});
  expectComplaints("H5Gcreate", {location, name, anyInput()});
  expectComplaints("H5Gcreate", {location, name, listInput("link creation property list"),
                                 listInput("group creation property list"), accessList});
  expectComplaints("H5Gget_comment", {location, textInput("parent of comment")});
  expectComplaints("H5Gget_info", {group});
  expectComplaints("H5Gget_linkval", {identifierInput(file, "link location identifier"),
                                      textInput("parent of comment")});
  expectComplaints("H5Gget_num_objs", {location});
  expectComplaints("H5Gget_objinfo", {location, textInput("group name"), anyInput()});
  expectComplaints("H5Gget_objname_by_idx", {location, scalarInput()});
  expectComplaints("H5Gget_objtype_by_idx", {location, scalarInput()});
  expectComplaints("H5Giterate", {location, textInput("group name"), scalarInput(), anyInput()});
  expectComplaints("H5Glink2", {identifierInput(file, "current location identifier"),
                                textInput("name of existing object"), enumInput(),
                                destinationInput(), textInput("new name for the object")});
  expectComplaints("H5Gmove2", {location, textInput("name of source object"), destinationInput(),
                                textInput("name of destination object")});
  expectComplaints("H5Gopen", {location, name});
  expectComplaints("H5Gopen", {location, name, accessList});
  expectComplaints("H5Gset_comment",
                   {location, textInput("parent object of comment"), textInput("comment")});
  expectComplaints("H5Gunlink", {location, textInput("name of object to unlink")});
}

TEST(Groups, LeaveFailuresToHdf5) {
  const double no = kNoIdentifier;
  expectLibraryError("H5Gclose", no);
  expectLibraryError("H5Gcreate", no, "g", 0);
  expectLibraryError("H5Gcreate", no, "g", kDefault, kDefault, kDefault);
  expectLibraryError("H5Gget_comment", no, "g");
  expectLibraryError("H5Gget_info", no);
  expectLibraryError("H5Gget_num_objs", no);
  expectLibraryError("H5Gget_objinfo", no, "g", 1);
  expectLibraryError("H5Glink2", no, "a", "H5G_LINK_HARD", "H5G_SAME_LOC", "b");
  expectLibraryError("H5Gmove2", no, "a", "H5G_SAME_LOC", "b");
  expectLibraryError("H5Gopen", no, "g");
  expectLibraryError("H5Gopen", no, "g", kDefault);
  expectLibraryError("H5Gset_comment", no, "g", "words");
  expectLibraryError("H5Gunlink", no, "g");
}

// --- Making, opening, linking --------------------------------------------------------

TEST(Groups, AreMadeInTwoWays) {
  const MemoryFile file;
  for (const Results& made : {call("H5Gcreate", file, "first", 100),
                              call("H5Gcreate", file, "second", kDefault, kDefault, kDefault)}) {
    ASSERT_EQ(made.size(), 1U);
    EXPECT_EQ(H5Iget_type(hdf5Id(numberOf(made[0]))), H5I_GROUP);
    EXPECT_TRUE(call("H5Gclose", made[0]).empty());
  }
  for (const Value& opened :
       {result("H5Gopen", file, "first"), result("H5Gopen", file, "second", kDefault)}) {
    EXPECT_EQ(H5Iget_type(hdf5Id(numberOf(opened))), H5I_GROUP);
    call("H5Gclose", opened);
  }
  expectLibraryError("H5Gcreate", file, "first", 0);
  expectLibraryError("H5Gopen", file, "third");
}

TEST(Groups, TakeAnySizeHintThatHdf5Takes) {
  const MemoryFile file;
  int count = 0;
  for (const double hint : {0.0, 0.9, 1.0, 4096.0}) {
    call("H5Gclose", callNumber("H5Gcreate", file, "g" + std::to_string(++count), hint));
  }
  // Read as unsigned 64-bit numbers, these are larger than the 32 bits that HDF5 allows.
  for (const double hint : {-1.0, 4294967296.0, 9223372036854775808.0, 1.2e19}) {
    expectLibraryError("H5Gcreate", file, "h", hint);
  }
}

TEST(Groups, AreLinkedAndMovedWithinALocation) {
  const MemoryFile file;
  makeGroup(file, "a");
  makeGroup(file, "other");
  EXPECT_TRUE(call("H5Glink2", file, "a", "H5G_LINK_HARD", "H5G_SAME_LOC", "b").empty());
  EXPECT_TRUE(call("H5Glink2", file, "nowhere", "H5G_LINK_SOFT", "H5G_SAME_LOC", "c").empty());
  EXPECT_EQ(callText("H5Gget_linkval", file, "c"), "nowhere");
  const Owned other = make("H5Gopen", file, "other");
  call("H5Glink2", file, "a", 0, other, "d");
  call("H5Gmove2", file, "b", "H5G_SAME_LOC", "e");
  call("H5Gmove2", file, "e", other, "f");
  EXPECT_EQ(callNumber("H5Gget_num_objs", file), 3);
  EXPECT_EQ(callNumber("H5Gget_num_objs", other), 2);
  EXPECT_TRUE(call("H5Gunlink", other, "f").empty());
  EXPECT_EQ(callNumber("H5Gget_num_objs", other), 1);
  expectLibraryError("H5Gunlink", other, "f");
  expectLibraryError("H5Glink2", file, "nowhere", "H5G_LINK_HARD", "H5G_SAME_LOC", "g");
  expectRaises("unmatchedStringNoParam", {std::string("H5L_TYPE_HARD")}, "H5Glink2", file, "a",
               "H5L_TYPE_HARD", "H5G_SAME_LOC", "g");
}

// --- Texts ---------------------------------------------------------------------------

TEST(Groups, HaveComments) {
  const MemoryFile file;
  makeGroup(file, "g");
  EXPECT_EQ(callText("H5Gget_comment", file, "g"), "");
  for (const std::string& words : {std::string("a comment"), std::string(5000, 'x'),
                                   std::string("B\xC3\xB6"), std::string()}) {
    EXPECT_TRUE(call("H5Gset_comment", file, "g", words).empty());
    EXPECT_EQ(callText("H5Gget_comment", file, "g"), words);
  }
  expectLibraryError("H5Gget_comment", file, "nothing");
}

TEST(Groups, GiveTheValuesOfLinks) {
  const MemoryFile file;
  makeGroup(file, "hard");
  const std::string path = "/" + std::string(2000, 'p');
  makeSoftLink(file, path, "soft");
  call("H5Lcreate_external", "other.h5", "/o", file, "external", kDefault, kDefault);
  EXPECT_EQ(callText("H5Gget_linkval", file, "soft"), path);
  // Packed, with a NUL before the names.
  EXPECT_EQ(callText("H5Gget_linkval", file, "external"), "");
  expectLibraryError("H5Gget_linkval", file, "hard");
  expectRaises("objectNotLink", Parameters{std::string("nothing")}, "H5Gget_linkval", file,
               "nothing");
  expectRaises("objectNotLink", Parameters{std::string("any")}, "H5Gget_linkval", kNoIdentifier,
               "any");
}

TEST(Groups, NameTheirMembersAndGiveEmptyTextBeyondThem) {
  const MemoryFile file;
  const std::string longName(300, 'n');
  makeGroup(file, "b");
  makeDataset(file, "a");
  makeSoftLink(file, "b", longName);
  EXPECT_EQ(callText("H5Gget_objname_by_idx", file, 0), "a");
  EXPECT_EQ(callText("H5Gget_objname_by_idx", file, 1), "b");
  EXPECT_EQ(callText("H5Gget_objname_by_idx", file, 2.9), longName);
  EXPECT_EQ(callText("H5Gget_objname_by_idx", file, 3), "");
  EXPECT_EQ(callText("H5Gget_objname_by_idx", kNoIdentifier, 0), "");
  EXPECT_EQ(callNumber("H5Gget_objtype_by_idx", file, 0), H5G_DATASET);
  EXPECT_EQ(callNumber("H5Gget_objtype_by_idx", file, 1), H5G_GROUP);
  EXPECT_EQ(callNumber("H5Gget_objtype_by_idx", file, 2), H5G_LINK);
  EXPECT_EQ(callNumber("H5Gget_objtype_by_idx", file, 3), -1);
  EXPECT_EQ(callNumber("H5Gget_objtype_by_idx", kNoIdentifier, 0), -1);
}

// --- Information records -------------------------------------------------------------

TEST(Groups, TellTheirLinksAndTheirCreationOrder) {
  const MemoryFile file;
  makeGroup(file, "a");
  makeGroup(file, "b");
  const Value info = result("H5Gget_info", file);
  EXPECT_EQ(shapeOf(info), Shape({1, 1}));
  EXPECT_EQ(fieldNames(info), Names({"storage_type", "nlinks", "max_corder"}));
  EXPECT_EQ(fieldNumber(info, "storage_type"), H5G_STORAGE_TYPE_SYMBOL_TABLE);
  EXPECT_EQ(fieldNumber(info, "nlinks"), 2);

  const Owned list = makeList("H5P_GROUP_CREATE");
  H5Pset_link_creation_order(list.get(), H5P_CRT_ORDER_TRACKED | H5P_CRT_ORDER_INDEXED);
  const Owned ordered = make("H5Gcreate", file, "ordered", kDefault, list, kDefault);
  for (const char* name : {"x", "y", "z"}) {
    call("H5Lcreate_soft", "t", ordered, name, kDefault, kDefault);
  }
  const Value order = field(result("H5Gget_info", ordered), "max_corder");
  EXPECT_EQ(classOf(order), zbClass::Int64);
  EXPECT_EQ(shapeOf(order), Shape({1, 1}));
  EXPECT_EQ(numberOf(order), 3);
  H5G_info_t untracked{};
  H5Gget_info(file.get(), &untracked);
  EXPECT_EQ(numberOf(field(info, "max_corder")), static_cast<double>(untracked.max_corder));
}

TEST(Groups, TellTheStatusOfObjects) {
  const MemoryFile file;
  makeGroup(file, "g");
  call("H5Glink2", file, "g", "H5G_LINK_HARD", "H5G_SAME_LOC", "again");
  makeSoftLink(file, "/g", "soft");
  const Value group = result("H5Gget_objinfo", file, "g", 0);
  EXPECT_EQ(shapeOf(group), Shape({1, 1}));
  EXPECT_EQ(fieldNames(group),
            Names({"fileno", "objno", "nlink", "type", "mtime", "linklen", "ohdr"}));
  for (const char* name : {"fileno", "objno"}) {
    EXPECT_EQ(classOf(field(group, name)), zbClass::Double);
    EXPECT_EQ(shapeOf(field(group, name)), Shape({1, 2}));
  }
  H5G_stat_t status{};
  ASSERT_GE(H5Gget_objinfo(file.get(), "g", 0, &status), 0);
  EXPECT_EQ(numbersOf(field(group, "fileno")), Numbers({static_cast<double>(status.fileno[0]), 0}));
  EXPECT_EQ(numbersOf(field(group, "objno")), Numbers({static_cast<double>(status.objno[0]), 0}));
  EXPECT_EQ(fieldNumber(group, "nlink"), 2);
  EXPECT_EQ(fieldNumber(group, "type"), H5G_GROUP);
  EXPECT_EQ(fieldNumber(group, "mtime"), static_cast<double>(status.mtime));
  EXPECT_EQ(fieldNumber(group, "linklen"), 0);
  const Value header = field(group, "ohdr");
  EXPECT_EQ(fieldNames(header), Names({"size", "free", "nmesgs", "nchunks"}));
  EXPECT_EQ(fieldNumber(header, "size"), static_cast<double>(status.ohdr.size));
  EXPECT_EQ(fieldNumber(header, "free"), static_cast<double>(status.ohdr.free));
  EXPECT_EQ(fieldNumber(header, "nmesgs"), status.ohdr.nmesgs);
  EXPECT_EQ(fieldNumber(header, "nchunks"), status.ohdr.nchunks);

  const auto typeOf = [&](double follow) {
    return fieldNumber(result("H5Gget_objinfo", file, "soft", follow), "type");
  };
  EXPECT_EQ(typeOf(0), H5G_LINK);
  EXPECT_EQ(typeOf(0.9), H5G_LINK);
  EXPECT_EQ(typeOf(-0.9), H5G_LINK);
  EXPECT_EQ(typeOf(1), H5G_GROUP);
  EXPECT_EQ(typeOf(-1), H5G_GROUP);
  EXPECT_EQ(typeOf(1e20), H5G_GROUP);
  EXPECT_EQ(fieldNumber(result("H5Gget_objinfo", file, "soft", 0), "linklen"), 3);
  expectLibraryError("H5Gget_objinfo", file, "nothing", 1);
}

// --- Iteration -----------------------------------------------------------------------

TEST(Groups, CallAFunctionForEachMember) {
  const MemoryFile file;
  for (const char* name : {"c", "a", "b"}) makeGroup(file, name);
  Names names;
  const Value note = function([&](int outputs, std::span<zbArray* const> inputs) {
    EXPECT_EQ(outputs, 1);
    EXPECT_EQ(inputs.size(), 2U);
    EXPECT_EQ(H5Iget_type(hdf5Id(zbGetScalar(inputs[0]))), H5I_GROUP);
    names.push_back(textOf(borrowed(inputs[1])));
    return Results{number(0)};
  });
  EXPECT_EQ(callNumber("H5Giterate", file, "/", 0, note), 0);
  EXPECT_EQ(names, Names({"a", "b", "c"}));
  names.clear();
  EXPECT_EQ(callNumber("H5Giterate", file, "/", empty(), note), 0);
  EXPECT_EQ(names, Names({"a", "b", "c"}));
  names.clear();
  EXPECT_EQ(callNumber("H5Giterate", file, "/", 1.5, note), 0);
  EXPECT_EQ(names, Names({"b", "c"}));
}

TEST(Groups, TakeTheFunctionsStatusTowardZero) {
  const MemoryFile file;
  for (const char* name : {"a", "b"}) makeGroup(file, name);
  for (const auto& [status, answer, calls] :
       {std::tuple(1.0, 1, 1), {2.7, 2, 1}, {0.3, 0, 2}, {-0.5, 0, 2}, {7.0, 7, 1}}) {
    Names names;
    EXPECT_EQ(callNumber("H5Giterate", file, "/", 0, noteNames(names, status)), answer);
    EXPECT_EQ(names.size(), static_cast<std::size_t>(calls)) << status;
  }
  // Whoever answers nothing goes on.
  int calls = 0;
  const Value silent = function([&](int /*outputs*/, std::span<zbArray* const> /*inputs*/) {
    ++calls;
    return Results{};
  });
  EXPECT_EQ(callNumber("H5Giterate", file, "/", 0, silent), 0);
  EXPECT_EQ(calls, 2);
}

TEST(Groups, GiveTheResultOfAnIterationEvenIfItFailed) {
  const MemoryFile file;
  EXPECT_EQ(callNumber("H5Giterate", file, "/", 0, neverCalled()), 0);
  makeGroup(file, "a");
  Names names;
  EXPECT_LT(callNumber("H5Giterate", file, "/", 0, noteNames(names, -1)), 0);
  EXPECT_LT(callNumber("H5Giterate", file, "nothing", 0, neverCalled()), 0);
  EXPECT_LT(callNumber("H5Giterate", kNoIdentifier, "/", 0, neverCalled()), 0);
  EXPECT_LT(callNumber("H5Giterate", file, "/", 5, neverCalled()), 0);
  EXPECT_LT(callNumber("H5Giterate", file, "/", 4294967295.0, neverCalled()), 0);
}

TEST(Groups, RaiseWhatAFunctionRaisesOnceHdf5HasReturned) {
  const MemoryFile file;
  for (const char* name : {"a", "b", "c"}) makeGroup(file, name);
  int calls = 0;
  expectRaises("H5GiteratorCallbackFailure", {}, "H5Giterate", file, "/", 0,
               throwAtCall(2, "no", &calls));
  EXPECT_EQ(calls, 2);
  // What is no function fails when it is called, not before.
  expectRaises("H5GiteratorCallbackFailure", {}, "H5Giterate", file, "/", 0, 17);
  makeGroup(file, "empty");
  EXPECT_EQ(callNumber("H5Giterate", file, "empty", 0, 17), 0);
}

TEST(Groups, MayBeIteratedOverFromWithin) {
  const MemoryFile file;
  for (const char* path : {"a", "a/x", "b", "b/y", "b/z"}) makeGroup(file, path);
  Names names;
  const Value descend = function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
    names.push_back(textOf(borrowed(inputs[1])));
    call("H5Giterate", borrowed(inputs[0]), borrowed(inputs[1]), 0, noteNames(names));
    return Results{number(0)};
  });
  EXPECT_EQ(callNumber("H5Giterate", file, "/", 0, descend), 0);
  EXPECT_EQ(names, Names({"a", "x", "b", "y", "z"}));
}

TEST(Groups, TakeAnInputOfTheFunctionForItsStatus) {
  const MemoryFile file;
  makeGroup(file, "a");
  const Value identity = function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
    return Results{borrowed(inputs[0])};
  });
  EXPECT_GT(callNumber("H5Giterate", file, "/", 0, identity), 0);
}

// --- Many members --------------------------------------------------------------------

/// A file on disk with 20,000 groups in it.
class ManyMembers : public testing::Test {
 protected:
  static constexpr int kMembers = 20000;

  ManyMembers() : path_(temporaryPath()), file_(create(path_)) {
    for (int i = 0; i < kMembers; ++i) {
      H5Gclose(H5Gcreate2(file_, ("member " + std::to_string(i)).c_str(), H5P_DEFAULT, H5P_DEFAULT,
                          H5P_DEFAULT));
    }
  }
  ~ManyMembers() override {
    EXPECT_EQ(H5Fget_obj_count(file_, H5F_OBJ_ALL), 1);
    EXPECT_GE(H5Fclose(file_), 0);
    // HDF5 overwrites no file that anything still holds open.
    const hid_t again = create(path_);
    EXPECT_GE(again, 0);
    H5Fclose(again);
  }

  static hid_t create(const std::string& path) {
    return H5Fcreate(path.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
  }
  [[nodiscard]] double file() const { return h5gate::identifierToHost(file_); }

  Value failing(int last) { return throwAtCall(last, "the last one", &calls_); }

  std::string path_;
  hid_t file_;
  int calls_ = 0;
};

TEST_F(ManyMembers, FailOnceWhereTheLastOneFails) {
  const Parameters report = {std::string("the last one")};
  expectRaises("H5GiteratorCallbackFailure", {}, "H5Giterate", file(), "/", 0, failing(kMembers));
  EXPECT_EQ(calls_, kMembers);
  expectRaises("linkIterationFailure", report, "H5Literate", file(), 0, 0, 0, failing(kMembers),
               empty());
  EXPECT_EQ(calls_, kMembers);
  expectRaises("linkVisitFailure", report, "H5Lvisit", file(), 0, 0, failing(kMembers), empty());
  EXPECT_EQ(calls_, kMembers);
  // The visited object itself comes first.
  expectRaises("visitFailure", report, "H5Ovisit", file(), 0, 0, failing(kMembers + 1), empty());
  EXPECT_EQ(calls_, kMembers + 1);
}

TEST_F(ManyMembers, CarryUserDataThroughToTheEnd) {
  const Value count = function([](int /*outputs*/, std::span<zbArray* const> inputs) {
    return Results{number(0), number(zbGetScalar(inputs[2]) + 1)};
  });
  const Results results = call("H5Literate", file(), 0, 0, empty(), count, 0);
  ASSERT_EQ(results.size(), 3U);
  EXPECT_EQ(numberOf(results[0]), 0);
  EXPECT_EQ(numberOf(results[1]), kMembers);
  EXPECT_EQ(numberOf(results[2]), kMembers);
}

/// How many arrays of its making still live.
class Census {
 public:
  Value make() {
    ++living_;
    return zembra::makeForeign(
        zembra::Origin(&living_, [](void* living) { --*static_cast<int*>(living); }));
  }
  [[nodiscard]] int living() const { return living_; }

 private:
  int living_ = 0;
};

TEST_F(ManyMembers, KeepNoUserDataOfBefore) {
  Census census;
  int most = 0;
  const Value renew = function([&](int /*outputs*/, std::span<zbArray* const> /*inputs*/) {
    most = std::max(most, census.living());
    return Results{number(0), census.make()};
  });
  for (const char* name : {"H5Literate", "H5Lvisit", "H5Ovisit"}) {
    Arguments arguments = {file(), 0, 0, renew, census.make()};
    if (std::string(name) == "H5Literate") arguments.insert(arguments.begin() + 3, empty());
    const Results results = callWith(5, name, arguments);
    EXPECT_EQ(census.living(), 2) << name;  // what was given, and the last
  }
  EXPECT_LE(most, 3);
  EXPECT_EQ(census.living(), 0);
}

TEST(UserData, AreWhateverArraysThereAre) {
  const MemoryFile file;
  for (int i = 0; i < 40; ++i) makeGroup(file, std::to_string(i));
  const auto iterate = [&](const Value& function, const Value& data) {
    return call("H5Literate", file, 0, 0, empty(), function, data).back();
  };
  const Value given = number(0);
  const Value other = number(0);
  int calls = 0;
  // One array as both answers, those of before, inputs, what is given again and again.
  const Value shuffle = function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
    const Value answers[] = {given, other, borrowed(inputs.back()), number(0)};
    const int turn = ++calls;
    const Value data = turn % 7 == 0 ? borrowed(inputs[1]) : answers[turn % 4];
    const Value status = answers[turn / 4 % 4];
    return Results{classOf(status) == zbClass::Double ? status : number(0), data};
  });
  for (int i = 0; i < 20; ++i) iterate(shuffle, given);
  EXPECT_EQ(calls, 800);
  // The user data of the iteration around this one.
  const Value outer = function([&](int /*outputs*/, std::span<zbArray* const> inputs) {
    const Value data = borrowed(inputs.back());
    const Value inner = function([&](int /*outputs*/, std::span<zbArray* const> /*inputs*/) {
      return Results{number(0), ++calls % 2 == 0 ? data : number(1)};
    });
    iterate(inner, data);
    EXPECT_EQ(numberOf(data), numberOf(borrowed(inputs.back())));
    return Results{number(0), number(numberOf(data) + 1)};
  });
  EXPECT_EQ(numberOf(iterate(outer, number(0))), 40);
  EXPECT_EQ(numberOf(given), 0);
  EXPECT_EQ(numberOf(other), 0);
}

}  // namespace
