// Property lists and classes of every kind: making, comparing, raw bytes, iteration.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "tests/unit/complaints.hpp"
#include "tests/unit/list_classes.hpp"
#include "tests/unit/lists.hpp"

namespace {

using namespace h5test;

TEST(GenericProperties, NameTheInputThatIsWrong) {
  const Input list = listInput("property list identifier");
  const Input listOrClass = classInput("property list identifier");
  expectComplaints("H5Pcreate", {classInput("class identifier")});
  expectComplaints("H5Pcopy", {list});
  expectComplaints("H5Pclose", {listInput("property_list identifier")});
  expectComplaints("H5Pclose_class", {classInput("property class")});
  expectComplaints("H5Pget_class", {list});
  expectComplaints("H5Pget_class_name", {classInput("property list")});
  expectComplaints("H5Pget_class_parent", {classInput("property list")});
  expectComplaints("H5Pisa_class", {listOrClass, classInput("property class")});
  expectComplaints("H5Pequal", {listOrClass, listOrClass});
  expectComplaints("H5Pexist", {listOrClass, textInput("property name")});
  expectComplaints("H5Pget_size", {listOrClass, textInput("property name")});
  expectComplaints("H5Pget_nprops", {list});
  expectComplaints("H5Pget", {list, textInput("name")});
  expectComplaints("H5Pset", {list, textInput("name"), anyInput()});
  expectComplaints("H5Piterate", {listOrClass, intInput(), anyInput()});
}

TEST(GenericProperties, RaiseOnListsThatAreNone) {
  for (const char* name :
       {"H5Pcreate", "H5Pcopy", "H5Pclose", "H5Pclose_class", "H5Pget_class", "H5Pget_nprops"}) {
    expectLibraryError(name, kNoIdentifier);
  }
  expectLibraryError("H5Pget_size", kNoIdentifier, "rdcc_nbytes");
  expectLibraryError("H5Pget", kNoIdentifier, "rdcc_nbytes");
  expectLibraryError("H5Pset", kNoIdentifier, "rdcc_nbytes", numeric(zbClass::UInt8, {1}));
  expectLibraryError("H5Piterate", kNoIdentifier, 0, neverCalled());
}

TEST(GenericProperties, AnswerWithoutRaisingWhereAFailureIsAnAnswer) {
  EXPECT_LT(callNumber("H5Pexist", kNoIdentifier, "rdcc_nbytes"), 0);
  EXPECT_LT(callNumber("H5Pequal", kNoIdentifier, kNoIdentifier), 0);
  EXPECT_LT(callNumber("H5Pisa_class", kNoIdentifier, "H5P_FILE_ACCESS"), 0);
  EXPECT_LT(callNumber("H5Pget_class_parent", kNoIdentifier), 0);
  EXPECT_EQ(callText("H5Pget_class_name", kNoIdentifier), "");
}

TEST(GenericProperties, AreMadeOfNamedClasses) {
  for (const auto& [name, described] : kListClasses) {
    const Owned list = makeList(name);
    const Owned listClass = make("H5Pget_class", list);
    EXPECT_EQ(callText("H5Pget_class_name", listClass), described);
    EXPECT_EQ(callText("H5Pget_class_name", name), described);
    EXPECT_EQ(callNumber("H5Pisa_class", list, name), 1) << name;
    EXPECT_EQ(callNumber("H5Pequal", listClass, name), 1) << name;
  }
}

TEST(GenericProperties, KnowTheirClasses) {
  const Owned list = makeList("H5P_DATASET_CREATE");
  EXPECT_EQ(callNumber("H5Pisa_class", list, "H5P_OBJECT_CREATE"), 1);
  EXPECT_EQ(callNumber("H5Pisa_class", list, "H5P_FILE_ACCESS"), 0);
  const Owned parent = make("H5Pget_class_parent", "H5P_DATASET_CREATE");
  EXPECT_EQ(callText("H5Pget_class_name", parent), "object create");
  EXPECT_TRUE(call("H5Pclose_class", make("H5Pget_class", list).id()).empty());
}

TEST(GenericProperties, AreCopiedAndCompared) {
  const Owned list = makeList("H5P_FILE_CREATE");
  call("H5Pset_userblock", list, 512);
  const Owned copy = make("H5Pcopy", list);
  EXPECT_EQ(callNumber("H5Pequal", list, copy), 1);
  call("H5Pset_userblock", copy, 1024);
  EXPECT_EQ(callNumber("H5Pequal", list, copy), 0);
  EXPECT_EQ(callNumber("H5Pget_userblock", list), 512);
}

TEST(GenericProperties, AreGoneWhenClosed) {
  const double list = callNumber("H5Pcreate", "H5P_FILE_CREATE");
  EXPECT_TRUE(call("H5Pclose", list).empty());
  expectLibraryError("H5Pclose", list);
}

TEST(GenericProperties, ExistAndHaveSizes) {
  const Owned list = makeList("H5P_FILE_ACCESS");
  EXPECT_EQ(callNumber("H5Pexist", list, "rdcc_nbytes"), 1);
  EXPECT_EQ(callNumber("H5Pexist", list, "no such property"), 0);
  EXPECT_EQ(callNumber("H5Pexist", "H5P_FILE_ACCESS", "rdcc_nbytes"), 1);
  EXPECT_EQ(callNumber("H5Pget_size", list, "rdcc_nbytes"), sizeof(std::size_t));
  EXPECT_EQ(callNumber("H5Pget_size", "H5P_FILE_ACCESS", "rdcc_w0"), sizeof(double));
  expectLibraryError("H5Pget_size", list, "no such property");
  std::size_t count = 0;
  H5Pget_nprops(list.get(), &count);
  EXPECT_EQ(callNumber("H5Pget_nprops", list), static_cast<double>(count));
}

// --- Raw bytes -----------------------------------------------------------------------

Value bytesOf(std::size_t value, const Shape& shape) {
  return zembra::makeNumeric(zbClass::UInt8, shape, &value);
}

TEST(GenericProperties, GiveTheirBytes) {
  const Owned list = makeList("H5P_FILE_ACCESS");
  call("H5Pset_cache", list, 0, 521, 4328719365.0, 0.75);
  const Value bytes = result("H5Pget", list, "rdcc_nbytes");
  EXPECT_EQ(classOf(bytes), zbClass::UInt8);
  ASSERT_EQ(shapeOf(bytes), Shape({sizeof(std::size_t), 1}));
  std::size_t value = 0;
  std::memcpy(&value, zbGetData(bytes.get()), sizeof value);
  EXPECT_EQ(value, 0x0102030405U);
  expectLibraryError("H5Pget", list, "no such property");
}

TEST(GenericProperties, TakeBytesOfAnyShape) {
  const Owned list = makeList("H5P_FILE_ACCESS");
  for (const Shape& shape : {Shape{8, 1}, Shape{1, 8}, Shape{2, 4}, Shape{2, 2, 2}}) {
    const auto value = static_cast<std::size_t>(1000 + shape[0]);
    EXPECT_TRUE(call("H5Pset", list, "rdcc_nbytes", bytesOf(value, shape)).empty());
    EXPECT_EQ(numberOf(call("H5Pget_cache", list)[2]), static_cast<double>(value));
  }
}

TEST(GenericProperties, RefuseBytesThatAreNotTheirs) {
  const Owned list = makeList("H5P_FILE_ACCESS");
  const Numbers before = callNumbers("H5Pget_cache", list);
  const std::vector<Value> wrong = {
      row({0, 0, 0, 0, 0, 0, 0, 0}),
      numeric(zbClass::Int8, {0, 0, 0, 0, 0, 0, 0, 0}),
      numeric(zbClass::Logical, {0, 0, 0, 0, 0, 0, 0, 0}),
      numeric(zbClass::UInt64, {0}),
      text("12345678"),
      cell({}),
      empty(),
      numeric(zbClass::UInt8, {0, 0, 0, 0, 0, 0, 0}),
      numeric(zbClass::UInt8, {0, 0, 0, 0, 0, 0, 0, 0, 0}),
      numeric(zbClass::UInt8, {}),
  };
  for (const Value& value : wrong) {
    expectRaises("badInputArgumentForH5Pset", {std::string("rdcc_nbytes"), std::int64_t{8}},
                 "H5Pset", list, "rdcc_nbytes", value);
  }
  EXPECT_EQ(callNumbers("H5Pget_cache", list), before);
  // A property that is not there has no size to compare with.
  expectLibraryError("H5Pset", list, "no such property", cell({}));
}

TEST(GenericProperties, MayHaveNoBytes) {
  const Owned list = makeList("H5P_FILE_ACCESS");
  ASSERT_GE(H5Pinsert2(list.get(), "nothing", 0, nullptr, nullptr, nullptr, nullptr, nullptr,
                       nullptr, nullptr),
            0);
  EXPECT_EQ(callNumber("H5Pget_size", list, "nothing"), 0);
  const Value bytes = result("H5Pget", list, "nothing");
  EXPECT_EQ(classOf(bytes), zbClass::UInt8);
  EXPECT_EQ(shapeOf(bytes), Shape({0, 1}));
  expectRaises("badInputArgumentForH5Pset", {std::string("nothing"), std::int64_t{0}}, "H5Pset",
               list, "nothing", empty());
  expectLibraryError("H5Pset", list, "nothing", numeric(zbClass::UInt8, {}));
}

// --- Iteration -----------------------------------------------------------------------

/// The names in HDF5's own order.
Names namesOf(const Owned& list) {
  Names names;
  int index = 0;
  H5Piterate(
      list.get(), &index,
      [](hid_t, const char* name, void* data) {
        static_cast<Names*>(data)->emplace_back(name);
        return 0;
      },
      &names);
  return names;
}

TEST(PropertyIteration, NamesEveryProperty) {
  const Owned list = makeList("H5P_FILE_CREATE");
  Names names;
  const Results results = call("H5Piterate", list, 0, noteNames(names));
  EXPECT_EQ(names, namesOf(list));
  EXPECT_EQ(callNumber("H5Pget_nprops", list), static_cast<double>(names.size()));
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(numberOf(results[0]), 0);
  EXPECT_EQ(numberOf(results[1]), static_cast<double>(names.size()));
}

TEST(PropertyIteration, WalksThroughAClassByName) {
  Names names;
  call("H5Piterate", "H5P_LINK_CREATE", 0, noteNames(names));
  EXPECT_EQ(std::count(names.begin(), names.end(), "intermediate_group"), 1);
}

TEST(PropertyIteration, StopsAndGoesOn) {
  const Owned list = makeList("H5P_FILE_CREATE");
  const Names all = namesOf(list);
  Names names;
  double index = 0;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Results results = call("H5Piterate", list, index, noteNames(names, 2.7));
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(numberOf(results[0]), 2);
    index = numberOf(results[1]);
    EXPECT_EQ(index, static_cast<double>(i + 1));
  }
  EXPECT_EQ(names, all);
}

TEST(PropertyIteration, GivesOneAndOneWhenTheFirstPropertyAnswersOne) {
  Names names;
  const Results results = call("H5Piterate", makeList("H5P_FILE_ACCESS"), 0, noteNames(names, 1));
  EXPECT_EQ(names.size(), 1U);
  ASSERT_EQ(results.size(), 2U);
  EXPECT_EQ(numberOf(results[0]), 1);
  EXPECT_EQ(numberOf(results[1]), 1);
}

TEST(PropertyIteration, BeginsWhereItIsTold) {
  const Owned list = makeList("H5P_FILE_CREATE");
  Names all = namesOf(list);
  Names names;
  call("H5Piterate", list, 2.9, noteNames(names, 0.9));
  all.erase(all.begin(), all.begin() + 2);
  EXPECT_EQ(names, all);
  // Before the first is at the first.
  EXPECT_EQ(callNumbers("H5Piterate", list, -1, noteNames(names, 1)), Numbers({1, 1}));
}

TEST(PropertyIteration, CallsWithTheListAndTheName) {
  const Owned list = makeList("H5P_FILE_CREATE");
  const Value check = function([&](int outputs, std::span<zbArray* const> inputs) {
    EXPECT_EQ(outputs, 1);
    EXPECT_EQ(inputs.size(), 2U);
    EXPECT_EQ(classOf(borrowed(inputs[0])), zbClass::Double);
    EXPECT_EQ(zbGetScalar(inputs[0]), list.id());
    // The gateway may be called from here.
    EXPECT_EQ(callNumber("H5Pexist", borrowed(inputs[0]), borrowed(inputs[1])), 1);
    return Results{number(0)};
  });
  EXPECT_EQ(numberOf(call("H5Piterate", list, 0, check)[0]), 0);
}

TEST(PropertyIteration, FailsWithTheFunction) {
  const Owned list = makeList("H5P_FILE_CREATE");
  expectRaises("propertyListIteratorCallback", {}, "H5Piterate", list, 0,
               throwAtCall(2, "no more"));
  expectRaises("propertyListIteratorCallback", {}, "H5Piterate", list, 0, number(1));
  Names names;
  expectLibraryError("H5Piterate", list, 0, noteNames(names, -1));
  EXPECT_EQ(names.size(), 1U);
  // Nothing is left over for the next one.
  EXPECT_EQ(numberOf(call("H5Piterate", list, 0, noteNames(names))[0]), 0);
}

}  // namespace
