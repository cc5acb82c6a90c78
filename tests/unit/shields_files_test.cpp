// What files that consist of files can do to HDF5: names that are formats or too long,
// members that are such files again.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/stored.hpp"

namespace {

using namespace h5test;

Owned plain() { return makeList("H5P_FILE_ACCESS"); }

Owned splitOf(const Owned& meta, const Owned& raw, const char* metaName = "-m",
              const char* rawName = "-r") {
  Owned list = plain();
  call("H5Pset_fapl_split", list, metaName, meta, rawName, raw);
  return list;
}
Owned multiOf(const Owned& member) {
  Owned list = plain();
  const Value names = cell({text("%s-x"), text("%s-s"), text("%s-b"), text("%s-r"), text("%s-g"),
                            text("%s-l"), text("%s-o")});
  Numbers addresses = {0};
  for (int i = 0; i < 6; ++i) addresses.push_back(i * 0x1p60);
  call("H5Pset_fapl_multi", list, row(Numbers(7, 0)), row(Numbers(7, member.id())), names,
       row(addresses), 1);
  return list;
}
Owned familyOf(const Owned& member) { return h5test::familyOf(5000, member); }

/// Written, closed and read back.
void expectKeeps(const std::string& path, const Owned& list) {
  const Numbers values = ramp(3000);
  {
    const Owned file = createFile(path, "H5F_ACC_TRUNC", list);
    makeGroup(file, "g");
    writeDoubles(file, "d", values);
  }
  const Owned file = openFile(path, "H5F_ACC_RDONLY", list);
  EXPECT_EQ(readDoubles(file, "d"), values);
}

void expectRefused(const std::string& path, const Owned& list) {
  expectStack(failureOf("H5Fcreate", {path, "H5F_ACC_TRUNC", kDefault, list}));
  expectStack(failureOf("H5Fopen", {path, "H5F_ACC_RDONLY", list}));
}

// --- Names ---------------------------------------------------------------------------

hid_t bareSplit(hid_t member) {
  const hid_t list = H5Pcreate(H5P_FILE_ACCESS);
  H5Pset_fapl_split(list, "-m", member, "-r", member);
  return list;
}

TEST(NamesOfMembers, ThatAreTooLongKillHdf5) {
  const auto create = [] {
    const hid_t member = H5Pcreate(H5P_FILE_ACCESS);
    const std::string name(5000, 'x');
    H5Fcreate(name.c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, bareSplit(member));
  };
  EXPECT_EQ(kills(create), !hdf5::kSince112);  // 1.14 cuts the name off
}

TEST(NamesOfMembers, ThatAreFormatsKillHdf5) {
  const auto create = [] {
    const hid_t member = H5Pcreate(H5P_FILE_ACCESS);
    H5Pset_fapl_family(member, 5000, H5P_DEFAULT);
    H5Fcreate("a%s%s%s%s", H5F_ACC_TRUNC, H5P_DEFAULT, bareSplit(member));
  };
  EXPECT_TRUE(kills(create));
}

/// A path to a file of this name in the test's own folder, of so many bytes.
std::string pathOf(std::size_t size, const std::string& name) {
  std::string path = temporaryPath(name);
  const std::size_t folder = path.size() - name.size();
  while (path.size() + 2 <= size) path.insert(folder, "./");
  if (path.size() < size) path.insert(folder, "/");
  return path;
}

TEST(NamesOfMembers, AreAsLongAsTheDriverHasRoom) {
  expectKeeps(pathOf(1000, "split"), splitOf(plain(), plain()));
  expectKeeps(pathOf(1021, "split"), splitOf(plain(), plain()));
  for (const std::size_t size : {1022UL, 1023UL, 1024UL, 5000UL, 70000UL}) {
    expectRefused(pathOf(size, "split"), splitOf(plain(), plain()));
  }
  expectKeeps(pathOf(3900, "family%d"), familyOf(plain()));
  for (const std::size_t size : {4096UL, 5000UL, 70000UL}) {
    expectRefused(pathOf(size, "family%d"), familyOf(plain()));
  }
}

TEST(NamesOfMembers, AreFormatsOnEveryFloor) {
  expectKeeps(temporaryPath("a%d"), splitOf(familyOf(plain()), familyOf(plain())));
  expectKeeps(temporaryPath("a"), splitOf(familyOf(plain()), plain(), "%s-m%%d"));
  for (const char* name : {"a", "a%s%s", "a%n", "a%d%d", "a%999d", "a%"}) {
    expectRefused(temporaryPath(name), splitOf(familyOf(plain()), plain()));
    expectRefused(temporaryPath(name), splitOf(plain(), familyOf(plain())));
  }
  // The inner family's number is where the outer one's name has two signs.
  expectKeeps(temporaryPath("a%d-%%d"), familyOf(familyOf(plain())));
  expectRefused(temporaryPath("a%d"), familyOf(familyOf(plain())));
}

// --- Members -------------------------------------------------------------------------

TEST(WideAddresses, OfAFileAreRefused) {
  const Owned list = make("H5Pcreate", "H5P_FILE_CREATE");
  call("H5Pset_sizes", list, 16, 8);
  expectStack(failureOf("H5Fcreate", {temporaryPath(), "H5F_ACC_TRUNC", list, kDefault}));
  call("H5Pset_sizes", list, 8, 16);
  make("H5Fcreate", temporaryPath(), "H5F_ACC_TRUNC", list, kDefault);
}

TEST(FilesOfFiles, ThatAreTheirOwnMembersKillHdf5) {
  const auto create = [] {
    const hid_t list = H5Pcreate(H5P_FILE_ACCESS);
    H5Pset_fapl_split(list, "-m", list, "-r", list);
    // What is left open would kill 1.8 as well, which keeps a copy.
    H5Fclose(H5Fcreate(temporaryPath().c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, list));
    H5Pclose(list);
  };
  EXPECT_EQ(kills(create), hdf5::kSince110);
}

TEST(FilesOfFiles, HaveMembersAsTheirListsWere) {
  const Owned own = plain();
  call("H5Pset_fapl_split", own, "-m", own, "-r", own);
  expectKeeps(temporaryPath("own"), own);

  const Owned one = plain();
  const Owned other = splitOf(one, one);
  call("H5Pset_fapl_split", one, "-o", other, "-p", plain());
  expectKeeps(temporaryPath("one"), one);
  expectKeeps(temporaryPath("other"), other);

  const Owned all = plain();
  call("H5Pset_fapl_multi", all, 1);
  call("H5Pset_fapl_multi", all, row(Numbers(7, 0)), row(Numbers(7, all.id())),
       cell({text("%s-x"), text("%s-s"), text("%s-b"), text("%s-r"), text("%s-g"), text("%s-l"),
             text("%s-o")}),
       row({0, 0, 0x1p60, 0x2p60, 0x3p60, 0x4p60, 0x5p60}), 1);
  expectRefused(temporaryPath("all"), all);
}

TEST(FilesOfFiles, WhoseMembersCannotHoldWhatTheyGetAreLost) {
  const auto write = [] {
    const hid_t member = H5Pcreate(H5P_FILE_ACCESS);
    const hid_t list = bareSplit(bareSplit(member));
    const hid_t file = H5Fcreate(temporaryPath().c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, list);
    const hid_t type = H5Tcopy(H5T_C_S1);
    H5Tset_size(type, H5T_VARIABLE);
    const hid_t dataset =
        H5Dcreate2(file, "d", type, H5Screate(H5S_SCALAR), H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    const char* words = "hello";
    H5Dwrite(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, &words);
    H5Dclose(dataset);
    H5Fclose(file);
    if (H5Fopen(temporaryPath().c_str(), H5F_ACC_RDONLY, list) < 0) std::abort();
  };
  // 1.8 keeps the file and loses the words.
  EXPECT_EQ(kills(write), hdf5::kSince110);
}

TEST(FilesOfFiles, AreFilesOfFilesAsFarAsTheyCanBeWritten) {
  expectKeeps(temporaryPath("ss"), splitOf(splitOf(plain(), plain()), plain(), "-n", "-s"));
  expectKeeps(temporaryPath("f%d-%%d"), familyOf(familyOf(plain())));
  const Owned ofFamilies = multiOf(familyOf(plain()));
  expectKeeps(temporaryPath("mf%d"), ofFamilies);
  expectRefused(temporaryPath("s"), splitOf(plain(), splitOf(plain(), plain())));
  expectRefused(temporaryPath("s"), splitOf(multiOf(plain()), plain()));
  expectRefused(temporaryPath("m"), multiOf(splitOf(plain(), plain())));
  expectRefused(temporaryPath("m"), multiOf(multiOf(plain())));
  expectRefused(temporaryPath("f%d"), familyOf(splitOf(plain(), plain())));
  expectRefused(temporaryPath("f%d"), familyOf(multiOf(plain())));
}

TEST(FilesOfFiles, HaveNotTooManyFloors) {
  Owned list = plain();
  for (int floor = 0; floor < 10; ++floor) list = splitOf(list, plain(), "%s", "%s-r");
  expectRefused(temporaryPath("tower"), list);
}

// --- Groups that were deleted ----------------------------------------------------------

TEST(DeletedGroups, KillHdf5WhenLinksAreMovedThere) {
  EXPECT_TRUE(kills([] {
    const hid_t file = H5Fcreate(temporaryPath().c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    const hid_t group = H5Gcreate2(file, "g", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    H5Gclose(H5Gcreate2(file, "a", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    H5Ldelete(file, "g", H5P_DEFAULT);
    H5Lmove(file, "a", group, "b", H5P_DEFAULT, H5P_DEFAULT);
  }));
}

TEST(DeletedGroups, TakeNoLinks) {
  const Owned file = createFile(temporaryPath());
  makeGroup(file, "a");
  makeGroup(file, "g");
  const Owned group = make("H5Gopen", file, "g");
  call("H5Lmove", file, "a", group, "b", kDefault, kDefault);
  call("H5Lmove", group, "b", file, "a", kDefault, kDefault);
  call("H5Ldelete", file, "g", kDefault);
  expectStack(failureOf("H5Lmove", {file, "a", group, "b", kDefault, kDefault}));
  expectStack(failureOf("H5Gmove2", {file, "a", group, "b"}));
  EXPECT_EQ(callNumber("H5Gget_num_objs", file), 1);
}

// --- Groups without a path -----------------------------------------------------------------

TEST(GroupsByReference, KillHdf5WhenLinksAreMovedThere) {
  EXPECT_TRUE(kills([] {
    const hid_t file =
        H5Fcreate(temporaryPath("kills").c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, H5P_DEFAULT);
    H5Gclose(H5Gcreate2(file, "g", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    H5Gclose(H5Gcreate2(file, "g/a", H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT));
    hobj_ref_t reference = 0;
    H5Rcreate(&reference, file, "g", H5R_OBJECT, -1);
    const hid_t group = hdf5::dereference(file, H5R_OBJECT, &reference);
    H5Lmove(group, "a", group, "b", H5P_DEFAULT, H5P_DEFAULT);
  }));
}

TEST(GroupsByReference, TakeLinks) {
  const Owned file = createFile(temporaryPath("to"));
  makeGroup(file, "g");
  makeGroup(file, "g/a");
  const Value reference = result("H5Rcreate", file, "g", "H5R_OBJECT", -1);
  const Owned group = make("H5Rdereference", file, "H5R_OBJECT", reference);
  call("H5Lmove", group, "a", group, "b", kDefault, kDefault);
  call("H5Gmove2", group, "b", group, "c");
  call("H5Lmove", group, "c", "H5L_SAME_LOC", "d", kDefault, kDefault);
  make("H5Gopen", file, "g/d");
  EXPECT_EQ(callNumber("H5Gget_num_objs", group), 1);
}

}  // namespace
