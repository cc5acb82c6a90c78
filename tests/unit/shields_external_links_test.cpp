// External links from files whose drivers take names for formats.
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/stored.hpp"

namespace {

using namespace h5test;

constexpr int kFamilyMemberSize = 5000;

Owned splitOfFamilies() {
  Owned list = makeList("H5P_FILE_ACCESS");
  call("H5Pset_fapl_split", list, "-m%%d", familyOf(kFamilyMemberSize), "-r%%d",
       familyOf(kFamilyMemberSize));
  return list;
}

void linkTo(const std::string& target, const Owned& file) {
  call("H5Lcreate_external", target, "/", file, "link", kDefault, kDefault);
}

TEST(ExternalLinks, ToFormatsKillHdf5) {
  EXPECT_TRUE(kills([] {
    // The gateway may have been here before.
    H5Pset_elink_cb(H5P_LINK_ACCESS_DEFAULT, nullptr, nullptr);
    H5Pset_elink_cb(H5P_GROUP_ACCESS_DEFAULT, nullptr, nullptr);
    const hid_t list = H5Pcreate(H5P_FILE_ACCESS);
    H5Pset_fapl_family(list, kFamilyMemberSize, H5P_DEFAULT);
    const hid_t file =
        H5Fcreate(temporaryPath("kills%d").c_str(), H5F_ACC_TRUNC, H5P_DEFAULT, list);
    H5Lcreate_external("a%s%s%s%s", "/", file, "link", H5P_DEFAULT, H5P_DEFAULT);
    H5Gopen2(file, "link", H5P_DEFAULT);
  }));
}

TEST(ExternalLinks, ToFormatsAreNotFollowedByFormats) {
  // A list that is older than the file, and one that is not.
  const Owned before = makeList("H5P_LINK_ACCESS");
  for (const bool split : {false, true}) {
    const Owned file = createFile(temporaryPath(split ? "from" : "from%d"), "H5F_ACC_TRUNC",
                                  split ? splitOfFamilies() : familyOf(kFamilyMemberSize));
    const Owned after = makeList("H5P_LINK_ACCESS");
    const Owned ofDatasets = makeList("H5P_DATASET_ACCESS");
    linkTo("a%s%s%s%s", file);
    for (const std::string path : {"link", "link/deeper"}) {
      expectStack(failureOf("H5Gopen", {file, path}));
      expectStack(failureOf("H5Gopen", {file, path, kDefault}));
      expectStack(failureOf("H5Dopen", {file, path}));
      expectStack(failureOf("H5Dopen", {file, path, kDefault}));
      expectStack(failureOf("H5Dopen", {file, path, ofDatasets}));
      expectStack(failureOf("H5Topen", {file, path, kDefault}));
      expectStack(failureOf("H5Oopen", {file, path, kDefault}));
      expectStack(failureOf("H5Oopen", {file, path, before}));
      expectStack(failureOf("H5Oopen", {file, path, after}));
      expectStack(failureOf("H5Rcreate", {file, path, "H5R_OBJECT", -1}));
    }
  }
}

TEST(ExternalLinks, ToFormatsAreNotFollowedOnceTheLibraryWasClosed) {
  tryAlone([] {
    for (int i = 0; i < 2; ++i) {
      {
        const Owned file =
            createFile(temporaryPath("again%d"), "H5F_ACC_TRUNC", familyOf(kFamilyMemberSize));
        linkTo("a%s%s%s%s", file);
        expectStack(failureOf("H5Oopen", {file, "link", kDefault}));
      }
      call("H5close");
    }
  });
}

TEST(ExternalLinks, ToSoundNamesAreFollowed) {
  const Owned access = familyOf(kFamilyMemberSize);
  makeGroup(createFile(temporaryPath("to%d"), "H5F_ACC_TRUNC", access), "g");
  const Owned file = createFile(temporaryPath("from%d"), "H5F_ACC_TRUNC", access);
  linkTo(temporaryPath("to%d"), file);
  make("H5Gopen", file, "link/g");
  make("H5Oopen", file, "link/g", makeList("H5P_LINK_ACCESS"));

  makeGroup(createFile(temporaryPath("a%s%n.h5")), "g");
  const Owned plain = createFile(temporaryPath("plain.h5"));
  linkTo("a%s%n.h5", plain);
  make("H5Gopen", plain, "link/g");
}

}  // namespace
