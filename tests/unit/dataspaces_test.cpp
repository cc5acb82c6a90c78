// Dataspaces: the functions of one, its extent, and vectors as they are given.
#include <gtest/gtest.h>

#include <functional>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/first_inputs.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/selections.hpp"
#include "tests/unit/strangers.hpp"

namespace {

using namespace h5test;

// --- The dataspace itself ------------------------------------------------------------

const std::vector<FirstInput>& functionsOfOneSpace() {
  static const std::string space = "dataspace identifier";
  static const std::vector<FirstInput> all = {
      {"H5Sclose", {}, space},
      {"H5Scopy", {}, space},
      {"H5Sextent_copy", {1.0}, space},
      {"H5Sget_select_bounds", {}, space},
      {"H5Sget_select_elem_npoints", {}, space},
      {"H5Sget_select_elem_pointlist", {0, 1}, space},
      {"H5Sget_select_hyper_blocklist", {0, 1}, space},
      {"H5Sget_select_hyper_nblocks", {}, space},
      {"H5Sget_select_npoints", {}, space},
      {"H5Sget_select_type", {}, space},
      {"H5Sget_simple_extent_dims", {}, space},
      {"H5Sget_simple_extent_ndims", {}, space},
      {"H5Sget_simple_extent_npoints", {}, space},
      {"H5Sget_simple_extent_type", {}, space},
      {"H5Sis_simple", {}, space},
      {"H5Soffset_simple", {row({0})}, space},
      {"H5Sselect_all", {}, space},
      {"H5Sselect_elements", {"H5S_SELECT_SET", row({0})}, space},
      {"H5Sselect_hyperslab", {"H5S_SELECT_SET", row({0}), empty(), empty(), empty()}, space},
      {"H5Sselect_none", {}, space},
      {"H5Sselect_valid", {}, space},
      {"H5Sset_extent_none", {}, space},
      {"H5Sset_extent_simple", {1, row({1}), empty()}, space},
  };
  return all;
}

TEST(Dataspaces, AreIdentifiersOfNoOtherClass) {
  std::vector<Value> others = strangers();
  others.push_back(numeric(zbClass::Int32, {}));
  for (const FirstInput& function : functionsOfOneSpace()) {
    for (const Value& other : others) {
      expectFailure(function, other, "doubleHidtMismatch", {function.description});
    }
    expectFailure(function, "H5S_ALL", "unmatchedHidtString", {"H5S_ALL", function.description});
  }
  const Owned space = scalarSpace();
  expectRaises("doubleHidtMismatch", {"dataspace identifier"}, "H5Sextent_copy", space, true);
}

TEST(Dataspaces, ThatHdf5DoesNotKnowFail) {
  for (const FirstInput& function : functionsOfOneSpace()) {
    const std::string name = function.function;
    for (const Argument& space :
         {Argument(kNoIdentifier), Argument(identifier(kNoIdentifier)), Argument("H5P_DEFAULT"),
          Argument(empty()), Argument(kNaN), Argument(1e10)}) {
      if (name == "H5Sget_simple_extent_type") {
        EXPECT_EQ(callNumber(name, space), -1);
        continue;
      }
      const Failure error = failureOn(function, space);
      if (!error) continue;
      // These look at the rank, which is negative then, before they call HDF5.
      const std::string key = name == "H5Soffset_simple"      ? "rankMismatchForSimpleOffset"
                              : name == "H5Sselect_elements"  ? "invalidRankForElementSelection"
                              : name == "H5Sselect_hyperslab" ? "badHyperslabSpecification"
                                                              : "libraryError";
      EXPECT_EQ((*error)->key, key) << name << ": " << error->what();
    }
  }
  const Owned space = scalarSpace();
  expectLibraryError("H5Sextent_copy", space, kNoIdentifier);
}

TEST(Dataspaces, AreTakenAsObjectsToo) {
  const Owned space = makeSpace({3, 4});
  EXPECT_EQ(callNumber("H5Sget_simple_extent_npoints", identifier(space.id())), 12);
  EXPECT_EQ(callNumber("H5Sget_simple_extent_npoints", row({space.id() + 0.7, 1})), 12);
}

TEST(Dataspaces, CloseOnce) {
  const double space = callNumber("H5Screate", "H5S_SCALAR");
  EXPECT_TRUE(call("H5Sclose", space).empty());
  expectLibraryError("H5Sclose", space);
}

// --- Every vector: class and elements ------------------------------------------------

struct VectorInput {
  const char* function;
  const char* description;
  bool onSpace;  // of rank 1, and first
  Arguments before;
  Arguments after;
};

const std::vector<VectorInput>& vectorInputs() {
  static const Arguments kOperator = {"H5S_SELECT_SET"};
  static const std::vector<VectorInput> all = {
      {"H5Screate_simple", "dims", false, {1}, {empty()}},
      {"H5Screate_simple", "MAXDIMS", false, {1, row({1})}, {}},
      {"H5Sset_extent_simple", "Current Size", true, {1}, {empty()}},
      {"H5Sset_extent_simple", "MAXDIMS", true, {1, row({1})}, {}},
      {"H5Sselect_elements", "coord", true, kOperator, {}},
      {"H5Sselect_hyperslab", "start", true, kOperator, {empty(), empty(), empty()}},
      {"H5Sselect_hyperslab", "stride", true, {"H5S_SELECT_SET", row({0})}, {empty(), empty()}},
      {"H5Sselect_hyperslab", "count", true, {"H5S_SELECT_SET", row({0}), empty()}, {empty()}},
      {"H5Sselect_hyperslab", "block", true, {"H5S_SELECT_SET", row({0}), empty(), empty()}, {}},
      {"H5Soffset_simple", "offset", true, {}, {}},
  };
  return all;
}

Failure failureWith(const VectorInput& input, const Owned& space, const Argument& vector) {
  Arguments arguments;
  if (input.onSpace) arguments.emplace_back(space);
  arguments.insert(arguments.end(), input.before.begin(), input.before.end());
  arguments.push_back(vector);
  arguments.insert(arguments.end(), input.after.begin(), input.after.end());
  return failureOf(input.function, arguments);
}

TEST(DataspaceVectors, AreDoubles) {
  const Owned space = makeSpace({10});
  std::vector<Value> others = strangers();
  others.push_back(text("1"));
  for (const VectorInput& input : vectorInputs()) {
    for (const Value& other : others) {
      const Failure error = failureWith(input, space, other);
      if (!error) continue;
      EXPECT_EQ((*error)->key, "notDoublePrecision") << input.function;
      EXPECT_EQ((*error)->parameters, Parameters{input.description});
    }
  }
}

TEST(DataspaceVectors, RefuseElementsThatAreNoSizes) {
  const Owned space = makeSpace({10});
  for (const VectorInput& input : vectorInputs()) {
    for (const double element : {kNaN, kInfinity, -kInfinity, -1.0, -1.5, -2.0, kTwo64, 1e300}) {
      const bool unlimited = element == -1.0 && input.description == std::string("MAXDIMS");
      if (unlimited) continue;
      const Failure error = failureWith(input, space, row({element}));
      if (!error) continue;
      EXPECT_EQ((*error)->key, "numericCastError")
          << input.function << " " << input.description << " " << element;
    }
  }
}

TEST(DataspaceVectors, TruncateFractions) {
  const Owned space = makeSpace({2.9, 1.5, -0.5}, row({3.99, 7.5, -1}));
  const auto extent = call("H5Sget_simple_extent_dims", space);
  EXPECT_EQ(numbersOf(extent[1]), (Numbers{2, 1, 0}));
  EXPECT_EQ(numbersOf(extent[2]), (Numbers{3, 7, -1}));
}

TEST(DataspaceVectors, HaveAnyShape) {
  for (const Value& dims : {row({2, 3, 4, 5}), column({2, 3, 4, 5}), matrix(2, 2, {2, 3, 4, 5})}) {
    const Owned space = make("H5Screate_simple", 4, dims, empty());
    EXPECT_EQ(numbersOf(call("H5Sget_simple_extent_dims", space)[1]), (Numbers{2, 3, 4, 5}));
  }
}

TEST(DataspaceVectors, GiveTheRealPartWhenComplexAndTheValuesWhenSparse) {
  const Value dims = row({3, 4});
  dims.get()->complex = true;
  const Value maxDims = row({5, 6});
  maxDims.get()->sparse = true;
  const Owned space = make("H5Screate_simple", 2, dims, maxDims);
  EXPECT_EQ(numbersOf(call("H5Sget_simple_extent_dims", space)[1]), (Numbers{3, 4}));
}

TEST(DataspaceVectors, AreCheckedInOrder) {
  const Owned space = makeSpace({10});
  const char* set = "H5S_SELECT_SET";
  expectRaises("unmatchedStringNoParam", {"SET"}, "H5Sselect_hyperslab", space, "SET", true, true,
               true, true);
  expectRaises("notDoublePrecision", {"start"}, "H5Sselect_hyperslab", space, set, true, true, true,
               true);
  // The length of start is looked at before any other vector is.
  expectRaises("badHyperslabSpecification", {"START"}, "H5Sselect_hyperslab", space, set,
               row({0, 0}), true, true, true);
  expectRaises("notDoublePrecision", {"stride"}, "H5Sselect_hyperslab", space, set, row({0}), true,
               true, true);
  expectRaises("notDoublePrecision", {"count"}, "H5Sselect_hyperslab", space, set, row({0}),
               row({1, 1}), true, true);
  // The others' lengths come after all classes and elements.
  expectRaises("notDoublePrecision", {"block"}, "H5Sselect_hyperslab", space, set, row({0}),
               row({1, 1}), row({1, 1}), true);
  expectRaises("numericCastError", {}, "H5Sselect_hyperslab", space, set, row({0}), row({1, 1}),
               row({1, 1}), row({-1}));
  expectRaises("badHyperslabSpecification", {"STRIDE"}, "H5Sselect_hyperslab", space, set, row({0}),
               row({1, 1}), row({1, 1}), row({1, 1}));
}

// --- Making dataspaces ---------------------------------------------------------------

TEST(Dataspaces, AreMadeByClass) {
  struct {
    const char* name;
    double type, points, simple;
  } const cases[] = {{"H5S_SCALAR", 0, 1, 1}, {"H5S_SIMPLE", 1, 0, 1}, {"H5S_NULL", 2, 0, 0}};
  for (const auto& [name, type, points, simple] : cases) {
    const Owned space = make("H5Screate", name);
    EXPECT_EQ(callNumber("H5Sget_simple_extent_type", space), type) << name;
    EXPECT_EQ(callNumber("H5Sget_simple_extent_npoints", space), points) << name;
    EXPECT_EQ(callNumber("H5Sget_simple_extent_ndims", space), 0) << name;
    EXPECT_EQ(callNumber("H5Sis_simple", space), simple) << name;
  }
  expectRaises("badEnumNumericInput", {3, 3}, "H5Screate", 3);
  expectRaises("unmatchedStringNoParam", {"H5S_NO_CLASS"}, "H5Screate", "H5S_NO_CLASS");
}

struct Extent {
  Numbers dims;
  Numbers maxDims;  // as given; none means fixed
};

const std::vector<Extent>& extents() {
  static const std::vector<Extent> all = {
      {{5}, {}},
      {{3, 4}, {}},
      {{3, 4}, {-1, 4}},
      {{3, 4}, {-1, -1}},
      {{0}, {-1}},
      {{2, 0, 3}, hdf5::kSince187 ? Numbers{} : Numbers{2, -1, 3}},
      {{3, 4}, {30, 4}},
      {{1, 2, 3, 4, 5}, {}},
      {{4294967296}, {}},
      {Numbers(32, 1), {}},
      {Numbers(32, 1), Numbers(32, -1)},
      {{1}, {9223372036854775808.0}},
  };
  return all;
}

void expectExtent(const Owned& space, const Extent& extent) {
  const auto results = call("H5Sget_simple_extent_dims", space);
  ASSERT_EQ(results.size(), 3U);
  const auto rank = static_cast<double>(extent.dims.size());
  EXPECT_EQ(numberOf(results[0]), rank);
  EXPECT_EQ(callNumber("H5Sget_simple_extent_ndims", space), rank);
  EXPECT_EQ(numbersOf(results[1]), extent.dims);
  EXPECT_EQ(numbersOf(results[2]), extent.maxDims.empty() ? extent.dims : extent.maxDims);
  EXPECT_EQ(shapeOf(results[1]), (Shape{1, extent.dims.size()}));
  EXPECT_EQ(shapeOf(results[2]), (Shape{1, extent.dims.size()}));
  const double points =
      std::accumulate(extent.dims.begin(), extent.dims.end(), 1.0, std::multiplies<>());
  EXPECT_EQ(callNumber("H5Sget_simple_extent_npoints", space), points);
}

TEST(Dataspaces, AreMadeByExtent) {
  for (const Extent& extent : extents()) {
    const auto rank = static_cast<double>(extent.dims.size());
    const Owned space = make("H5Screate_simple", rank, row(extent.dims), row(extent.maxDims));
    expectExtent(space, extent);
  }
}

TEST(Dataspaces, TakeANewExtent) {
  const Owned space = makeSpace({7, 7, 7});
  for (const Extent& extent : extents()) {
    const auto rank = static_cast<double>(extent.dims.size());
    EXPECT_TRUE(
        call("H5Sset_extent_simple", space, rank, row(extent.dims), row(extent.maxDims)).empty());
    expectExtent(space, extent);
  }
}

TEST(Dataspaces, TakeAnotherOnesExtent) {
  const Owned space = scalarSpace();
  for (const Extent& extent : extents()) {
    const auto rank = static_cast<double>(extent.dims.size());
    const Owned source = make("H5Screate_simple", rank, row(extent.dims), row(extent.maxDims));
    EXPECT_TRUE(call("H5Sextent_copy", space, source).empty());
    expectExtent(space, extent);
  }
}

TEST(Dataspaces, OfRankZeroAreScalars) {
  const Owned created = make("H5Screate_simple", 0, empty(), empty());
  const Owned changed = makeSpace({3});
  call("H5Sset_extent_simple", changed, 0, row({}), row({}));
  for (const Owned* space : {&created, &changed}) {
    EXPECT_EQ(callNumber("H5Sget_simple_extent_type", *space), H5S_SCALAR);
  }
}

TEST(Dataspaces, WithoutDimensionsGiveEmptyExtents) {
  for (const char* type : {"H5S_SCALAR", "H5S_SIMPLE", "H5S_NULL"}) {
    const auto results = call("H5Sget_simple_extent_dims", make("H5Screate", type));
    ASSERT_EQ(results.size(), 3U);
    EXPECT_EQ(numberOf(results[0]), 0);
    EXPECT_EQ(shapeOf(results[1]), (Shape{0, 0}));
    EXPECT_EQ(shapeOf(results[2]), (Shape{0, 0}));
    EXPECT_EQ(classOf(results[1]), zbClass::Double);
  }
}

TEST(Dataspaces, GiveAllOfTheExtentHoweverLittleIsAsked) {
  const Owned space = makeSpace({3, 4});
  for (const int outputs : {0, 1, 2, 3}) {
    EXPECT_EQ(callWith(outputs, "H5Sget_simple_extent_dims", {space}).size(), 3U);
  }
}

TEST(Dataspaces, NeedAsManyExtentsAsTheRank) {
  struct {
    double rank;
    Numbers dims, maxDims;
  } const cases[] = {
      {2, {1, 2, 3}, {}},
      {2, {1}, {}},
      {2, {1, 2}, {1}},
      {2, {1, 2}, {1, 2, 3}},
      {0, {1}, {}},
      {1, {}, {}},
      {-1, {}, {}},
      {0, {}, {1}},
      {3, {1, 2, 3}, {4}},
      {1, Numbers(40, 1), {}},
      {1, {1}, Numbers(40, 1)},
  };
  const Owned space = makeSpace({9});
  for (const auto& [rank, dims, maxDims] : cases) {
    expectRaises("createSimpleSizeMismatch", {}, "H5Screate_simple", rank, row(dims), row(maxDims));
    expectRaises("setExtentSimpleSizeMismatch", {}, "H5Sset_extent_simple", space, rank, row(dims),
                 row(maxDims));
  }
  expectExtent(space, {{9}, {}});
}

TEST(Dataspaces, HaveRanksThatAreIntegers) {
  const Owned space = makeSpace({9});
  for (const Argument& rank :
       {Argument(kNaN), Argument(kInfinity), Argument(1e10), Argument(-2147483649.0),
        Argument(2147483648.0), Argument(empty()), Argument("2"), Argument(cell({}))}) {
    expectRaises("scalarValueInputOutOfRange", {}, "H5Screate_simple", rank, true, true);
    expectRaises("scalarValueInputOutOfRange", {}, "H5Sset_extent_simple", space, rank, true, true);
  }
  for (const Argument& rank :
       {Argument(2.9), Argument(numeric(zbClass::Int8, {2})), Argument(row({2, 7}))}) {
    const Owned made = make("H5Screate_simple", rank, row({3, 4}), empty());
    EXPECT_EQ(callNumber("H5Sget_simple_extent_ndims", made), 2);
  }
}

TEST(Dataspaces, HaveNoMoreDimensionsThanHdf5Has) {
  const Owned space = makeSpace({9});
  const Value ones = row(Numbers(33, 1));
  expectLibraryError("H5Screate_simple", 33, ones, empty());
  expectLibraryError("H5Screate_simple", 33, ones, ones);
  expectLibraryError("H5Sset_extent_simple", space, 33, ones, empty());
}

TEST(Dataspaces, AreRefusedWhereHdf5RefusesThem) {
  const Owned space = makeSpace({9});
  // Larger than its maximum; unlimited already.
  for (const auto& [dims, maxDims] :
       {std::pair(row({5}), row({4})), {row({kBelowTwo64}), row({1})}}) {
    expectLibraryError("H5Screate_simple", 1, dims, maxDims);
    expectLibraryError("H5Sset_extent_simple", space, 1, dims, maxDims);
  }
}

TEST(Dataspaces, WithEmptyMaximaOfAnyClassAreFixed) {
  for (const Value& maxDims : {cell({}), text(""), numeric(zbClass::Int8, {})}) {
    const Owned space = make("H5Screate_simple", 1, 3, maxDims);
    expectExtent(space, {{3}, {}});
  }
}

TEST(Dataspaces, LoseTheirExtent) {
  const Owned space = makeSpace({3, 4});
  EXPECT_TRUE(call("H5Sset_extent_none", space).empty());
  EXPECT_EQ(callNumber("H5Sget_simple_extent_ndims", space), 0);
  EXPECT_EQ(callNumber("H5Sget_simple_extent_npoints", space), 0);
}

TEST(Dataspaces, AreCopiedWithTheirSelection) {
  const Owned space = spaceOfBlocks(2);
  const Owned copy = make("H5Scopy", space);
  EXPECT_NE(copy.id(), space.id());
  call("H5Sselect_all", space);
  expectExtent(copy, {{4, 6}, {}});
  EXPECT_EQ(callNumber("H5Sget_select_npoints", copy), 2);
}

}  // namespace
