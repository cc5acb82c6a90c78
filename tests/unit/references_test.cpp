// References: bytes that lead to objects and to regions.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/unit/failures.hpp"
#include "tests/unit/files.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/strangers.hpp"
#include "tests/unit/transfers.hpp"

namespace {

using namespace h5test;

constexpr const char* kQueries[] = {"H5Rdereference", "H5Rget_name", "H5Rget_obj_type",
                                    "H5Rget_region"};

/// A file with a group "g", a 4-by-6 dataset "d" in it and a committed datatype "t".
class References : public testing::Test {
 protected:
  References() {
    makeGroup(file, "g");
    const Owned space = makeSpace({4, 6});
    makeDataset(file, "g/d", "H5T_STD_I32LE", space);
    const Owned type = make("H5Tcopy", "H5T_STD_I32LE");
    call("H5Tcommit", file, "t", type);
  }

  [[nodiscard]] Value object(const char* name) const {
    return result("H5Rcreate", file, name, "H5R_OBJECT", -1);
  }
  [[nodiscard]] Value region() const {
    const Owned space = makeSpace({4, 6});
    call("H5Sselect_hyperslab", space, "H5S_SELECT_SET", row({1, 2}), empty(), row({2, 3}),
         empty());
    return result("H5Rcreate", file, "g/d", "H5R_DATASET_REGION", space);
  }

  MemoryFile file;
};

TEST_F(References, AreRowsOfBytes) {
  const Value toObject = object("g/d");
  EXPECT_EQ(classOf(toObject), zbClass::UInt8);
  EXPECT_EQ(shapeOf(toObject), (Shape{1, 8}));
  const Value toRegion = region();
  EXPECT_EQ(classOf(toRegion), zbClass::UInt8);
  EXPECT_EQ(shapeOf(toRegion), (Shape{1, 12}));
  EXPECT_EQ(numbersOf(result("H5Rcreate", file, "g/d", 0, -1)), numbersOf(toObject));
}

TEST_F(References, LeadToObjects) {
  EXPECT_EQ(callText("H5Rget_name", file, "H5R_OBJECT", object("g/d")), "/g/d");
  EXPECT_EQ(callText("H5Rget_name", file, 0, object("g")), "/g");
  EXPECT_EQ(callNumber("H5Rget_obj_type", file, "H5R_OBJECT", object("g")), H5G_GROUP);
  EXPECT_EQ(callNumber("H5Rget_obj_type", file, "H5R_OBJECT", object("g/d")), H5G_DATASET);
  EXPECT_EQ(callNumber("H5Rget_obj_type", file, "H5R_OBJECT", object("t")), H5G_TYPE);
  const Owned dataset = make("H5Rdereference", file, "H5R_OBJECT", object("g/d"));
  EXPECT_EQ(H5Iget_type(dataset.get()), H5I_DATASET);
  EXPECT_EQ(callText("H5Iget_name", dataset), "/g/d");
}

TEST_F(References, LeadToRegions) {
  const Value reference = region();
  const Owned space = make("H5Rget_region", file, "H5R_DATASET_REGION", reference);
  EXPECT_EQ(callNumber("H5Sget_select_npoints", space), 6);
  EXPECT_EQ(numbersOf(call("H5Sget_select_bounds", space)[0]), (Numbers{1, 2}));
  EXPECT_EQ(numbersOf(call("H5Sget_select_bounds", space)[1]), (Numbers{2, 4}));
  const Owned dataset = make("H5Rdereference", file, "H5R_DATASET_REGION", reference);
  EXPECT_EQ(H5Iget_type(dataset.get()), H5I_DATASET);
  EXPECT_EQ(callText("H5Rget_name", dataset, "H5R_DATASET_REGION", reference), "/g/d");
  EXPECT_EQ(callNumber("H5Rget_obj_type", dataset, 1, reference), H5G_DATASET);
  expectLibraryError("H5Rget_region", file, "H5R_OBJECT", object("g/d"));
}

TEST_F(References, AreOfAnyShape) {
  const Value flat = object("g/d");
  for (const Shape& shape : {Shape{8, 1}, Shape{2, 4}, Shape{2, 2, 2}}) {
    const Value reference = zembra::makeNumeric(zbClass::UInt8, shape, zbGetData(flat.get()));
    EXPECT_EQ(callText("H5Rget_name", file, "H5R_OBJECT", reference), "/g/d");
    const Owned dataset = make("H5Rdereference", file, "H5R_OBJECT", reference);
    EXPECT_EQ(H5Iget_type(dataset.get()), H5I_DATASET);
  }
}

TEST_F(References, AreBytesAndNothingElse) {
  std::vector<Value> others = strangers();
  others.push_back(numeric(zbClass::Double, {1, 2, 3, 4, 5, 6, 7, 8}));
  others.push_back(numeric(zbClass::Int8, {1, 2, 3, 4, 5, 6, 7, 8}));
  others.push_back(text("12345678"));
  others.push_back(empty());
  for (const char* query : kQueries) {
    for (const Value& other : others) {
      expectRaises("assertReference", {}, query, file, "H5R_OBJECT", other);
      expectRaises("assertReference", {}, query, file, "H5R_DATASET_REGION", other);
    }
  }
}

TEST_F(References, HaveTheSizeOfTheirType) {
  for (const char* query : kQueries) {
    expectRaises("assertReferenceSize", {}, query, file, "H5R_OBJECT", region());
    expectRaises("assertReferenceSize", {}, query, file, "H5R_DATASET_REGION", object("g/d"));
    expectRaises("assertReferenceSize", {}, query, file, "H5R_OBJECT",
                 numeric(zbClass::UInt8, {1, 2, 3, 4, 5, 6, 7}));
    expectRaises("assertReferenceSize", {}, query, file, "H5R_OBJECT", numeric(zbClass::UInt8, {}));
  }
}

TEST_F(References, AreOfTwoTypes) {
  for (const char* query : kQueries) {
    for (const int type : {-1, 2, 3}) {
      expectRaises("badEnumNumericInput", {std::int64_t{type}, std::int64_t{2}}, query, file, type,
                   object("g/d"));
    }
    expectRaises("unmatchedStringNoParam", {std::string("H5R_BADTYPE")}, query, file, "H5R_BADTYPE",
                 object("g/d"));
  }
  expectRaises("badEnumNumericInput", {std::int64_t{2}, std::int64_t{2}}, "H5Rcreate", file, "g", 2,
               -1);
}

TEST_F(References, NameTheInputThatIsWrong) {
  const Parameters noReference = {std::string("reference")};
  const auto about = [](const char* description) {
    return Parameters{std::string("x"), std::string(description)};
  };
  expectRaises("unmatchedHidtString", about("location identifier"), "H5Rcreate", "x", 1, "x", "x");
  expectRaises("notString", noReference, "H5Rcreate", file, 1, "x", "x");
  expectRaises("unmatchedStringNoParam", {std::string("x")}, "H5Rcreate", file, "g", "x", "x");
  expectRaises("unmatchedHidtString", about("dataspace identifier"), "H5Rcreate", file, "g", 0,
               "x");
  for (const auto& [query, description] : {std::pair("H5Rdereference", "object identifier"),
                                           std::pair("H5Rget_name", "location identifier"),
                                           std::pair("H5Rget_obj_type", "location identifier"),
                                           std::pair("H5Rget_region", "dataset identifier")}) {
    expectRaises("unmatchedHidtString", about(description), query, "x", "x", "x");
    expectRaises("doubleHidtMismatch", {std::string(description)}, query, true, "x", "x");
    expectRaises("unmatchedStringNoParam", {std::string("x")}, query, file, "x", "x");
    expectRaises("assertReference", {}, query, file, 0, "x");
  }
}

TEST_F(References, ThatCannotBeMadeFail) {
  const Owned space = makeSpace({4, 6});
  expectLibraryError("H5Rcreate", file, "nowhere", "H5R_OBJECT", -1);
  expectLibraryError("H5Rcreate", kNoIdentifier, "g", "H5R_OBJECT", -1);
  expectLibraryError("H5Rcreate", file, "g/d", "H5R_DATASET_REGION", -1);
  // Later releases look at no space where they need none.
  if (hdf5::kSince112) {
    EXPECT_EQ(shapeOf(result("H5Rcreate", file, "g/d", "H5R_OBJECT", kNoIdentifier)),
              (Shape{1, 8}));
  } else {
    expectLibraryError("H5Rcreate", file, "g/d", "H5R_OBJECT", kNoIdentifier);
  }
  EXPECT_EQ(shapeOf(result("H5Rcreate", file, "g/d", "H5R_OBJECT", space)), (Shape{1, 8}));
}

TEST_F(References, ThatLeadNowhereGiveANegativeIdentifier) {
  const Value zeros = numeric(zbClass::UInt8, {0, 0, 0, 0, 0, 0, 0, 0});
  const Value wild = numeric(zbClass::UInt8, {255, 255, 255, 7, 0, 0, 0, 0});
  for (const Value& reference : {zeros, wild}) {
    EXPECT_LT(callNumber("H5Rdereference", file, "H5R_OBJECT", reference), 0);
    EXPECT_EQ(callNumber("H5Rget_obj_type", file, "H5R_OBJECT", reference), H5G_UNKNOWN);
  }
  EXPECT_LT(callNumber("H5Rdereference", kNoIdentifier, "H5R_OBJECT", object("g/d")), 0);
  expectLibraryError("H5Rdereference", -1, "H5R_OBJECT", object("g/d"));
  expectLibraryError("H5Rdereference", 1e10, "H5R_OBJECT", object("g/d"));
  EXPECT_EQ(callNumber("H5Rget_obj_type", kNoIdentifier, 0, object("g/d")), H5G_UNKNOWN);
  expectLibraryError("H5Rget_name", kNoIdentifier, "H5R_OBJECT", object("g/d"));
  expectLibraryError("H5Rget_region", kNoIdentifier, "H5R_DATASET_REGION", region());
}

TEST_F(References, IntoAClosedFileGiveANegativeIdentifier) {
  const std::string path = temporaryPath();
  const double other = callNumber("H5Fcreate", path, "H5F_ACC_TRUNC", kDefault, kDefault);
  const Value reference = result("H5Rcreate", other, "/", "H5R_OBJECT", -1);
  call("H5Fclose", other);
  EXPECT_LT(callNumber("H5Rdereference", other, "H5R_OBJECT", reference), 0);
}

TEST_F(References, ToAnonymousObjectsHaveNoName) {
  const Owned space = makeSpace({2});
  const Owned dataset(
      H5Dcreate_anon(file.get(), H5T_STD_I32LE, space.get(), H5P_DEFAULT, H5P_DEFAULT));
  const Value reference = result("H5Rcreate", dataset, ".", "H5R_OBJECT", -1);
  EXPECT_EQ(callText("H5Rget_name", file, "H5R_OBJECT", reference), "");
}

TEST_F(References, HaveLongNames) {
  const std::string name(5000, 'x');
  makeGroup(file, name);
  EXPECT_EQ(callText("H5Rget_name", file, "H5R_OBJECT", object(name.c_str())), "/" + name);
}

TEST_F(References, TravelThroughDatasets) {
  for (const auto& [type, space, reference] :
       {std::tuple("H5T_STD_REF_OBJ", "H5R_OBJECT", object("g/d")),
        std::tuple("H5T_STD_REF_DSETREG", "H5R_DATASET_REGION", region())}) {
    const Owned dataset = makeDataset(file, space, type, makeSpace({1}));
    writeAll(dataset, reference);
    const Value back = readAll(dataset);
    EXPECT_EQ(numbersOf(back), numbersOf(reference));
    EXPECT_EQ(callText("H5Rget_name", dataset, space, back), "/g/d");
    const Owned object = make("H5Rdereference", dataset, space, back);
    EXPECT_EQ(H5Iget_type(object.get()), H5I_DATASET);
  }
}

}  // namespace
