// Functions of identifiers of every kind: type, name, file, references.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/complaints.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"

namespace {

using namespace h5test;

TEST(IdentifierFunctions, TellTheType) {
  const MemoryFile file;
  const Owned group = makeGroup(file, "g");
  const Owned dataset = makeDataset(file, "d");
  const Owned space = nullSpace();
  const Owned list = makeList("H5P_DATASET_XFER");
  const Owned type = make("H5Tcopy", "H5T_NATIVE_INT");
  const Owned attribute = make("H5Acreate", file, "a", "H5T_NATIVE_INT", space, kDefault, kDefault);
  const Owned listClass = make("H5Pget_class", list);
  // 1.8's numbers on every release.
  const std::vector<std::pair<Argument, int>> cases = {{file, 1},      {group, 2},   {type, 3},
                                                       {space, 4},     {dataset, 5}, {attribute, 6},
                                                       {listClass, 9}, {list, 10}};
  for (const auto& [id, number] : cases) {
    EXPECT_EQ(callNumber("H5Iget_type", id.array), number);
    EXPECT_EQ(std::floor(numberOf(id.array) / (1 << 24)), number);
    EXPECT_EQ(callNumber("H5Iis_valid", id.array), 1);
    EXPECT_EQ(callNumber("H5Iget_ref", id.array), 1);
  }
  for (const double none : {-1.0, 0.0, 1e10}) expectLibraryError("H5Iget_type", none);
}

TEST(IdentifierFunctions, KnowWhichAreValid) {
  const double space = callNumber("H5Screate", "H5S_NULL");
  EXPECT_EQ(callNumber("H5Iis_valid", space), 1);
  call("H5Sclose", space);
  for (const Argument& none : Arguments{space, 0, -1, 1e10, kNaN, "H5P_DEFAULT"}) {
    EXPECT_EQ(callNumber("H5Iis_valid", none.array), 0);
  }
}

TEST(IdentifierFunctions, GiveTheFileOfAnObject) {
  const MemoryFile file;
  const Owned dataset = makeDataset(file, "d");
  const Owned same = make("H5Iget_file_id", dataset);
  EXPECT_EQ(callNumber("H5Iget_type", same), 1);
  EXPECT_EQ(callText("H5Fget_name", same), callText("H5Fget_name", file));
  const Owned space = nullSpace();
  expectLibraryError("H5Iget_file_id", space);
  expectLibraryError("H5Iget_file_id", -1);
}

TEST(IdentifierFunctions, GiveTheNameOfAnObject) {
  const MemoryFile file;
  const std::string deep(300, 'n');
  const Owned group = makeGroup(file, "g");
  const Owned inner = makeGroup(group, deep);
  const Owned dataset = makeDataset(group, "\xc3\xbc");
  EXPECT_EQ(callText("H5Iget_name", file), "/");
  EXPECT_EQ(callText("H5Iget_name", group), "/g");
  EXPECT_EQ(callText("H5Iget_name", inner), "/g/" + deep);
  EXPECT_EQ(callText("H5Iget_name", dataset), "/g/\xc3\xbc");
}

TEST(IdentifierFunctions, GiveEmptyTextWhereThereIsNoName) {
  const MemoryFile file;
  const Owned group = makeGroup(file, "g");
  H5Ldelete(file.get(), "g", H5P_DEFAULT);
  const Owned type = make("H5Tcopy", "H5T_NATIVE_INT");
  const Owned space = nullSpace();
  for (const Argument& nameless : Arguments{type, group, space, -1, 0, 1e10}) {
    const Value name = result("H5Iget_name", nameless.array);
    EXPECT_EQ(classOf(name), zbClass::Char);
    EXPECT_EQ(zbGetNumberOfElements(name.get()), 0U);
  }
}

TEST(IdentifierFunctions, CountReferences) {
  const Owned space = nullSpace();
  EXPECT_EQ(callNumber("H5Iinc_ref", space), 2);
  EXPECT_EQ(callNumber("H5Iinc_ref", identifier(space.id())), 3);
  EXPECT_EQ(callNumber("H5Iget_ref", space), 3);
  EXPECT_EQ(callNumber("H5Idec_ref", space), 2);
  EXPECT_EQ(callNumber("H5Idec_ref", space), 1);
  const Owned gone = make("H5Scopy", space);
  EXPECT_EQ(callNumber("H5Idec_ref", gone), 0);
  EXPECT_EQ(callNumber("H5Iis_valid", gone), 0);
}

TEST(IdentifierFunctions, GiveMinusOneWhereCountingReferencesFails) {
  for (const char* name : {"H5Iinc_ref", "H5Idec_ref", "H5Iget_ref"}) {
    for (const double none : {-1.0, 0.0, 1e10, 83886079.0}) {
      EXPECT_EQ(callNumber(name, none), -1) << name << " " << none;
    }
  }
}

TEST(IdentifierFunctions, CallTheirInputAnObject) {
  for (const char* name : {"H5Iget_type", "H5Iis_valid", "H5Iget_file_id", "H5Iget_name",
                           "H5Iinc_ref", "H5Idec_ref", "H5Iget_ref"}) {
    expectComplaints(name, {identifierInput(-1, "object identifier")});
  }
}

}  // namespace
