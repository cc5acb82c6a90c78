// Dataspaces and selections: extents, points, hyperslabs, and what is refused.
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "tests/unit/owned.hpp"

namespace {

using namespace h5test;
using Numbers = std::vector<double>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kTwoTo64 = 18446744073709551616.0;
constexpr double kNoIdentifier = 99;

Value rowOf(const Numbers& values) { return zembra::makeRow(values); }

Owned scalarSpace() { return make("H5Screate", "H5S_SCALAR"); }
Owned nullSpace() { return make("H5Screate", "H5S_NULL"); }

void select(const Owned& space, const char* op, Value start, Value stride, Value count,
            Value block) {
  call("H5Sselect_hyperslab", space, op, std::move(start), std::move(stride), std::move(count),
       std::move(block));
}

/// A 4-by-6 space in which `blocks` single elements of the first column are
/// selected, two apart.
Owned spaceOfBlocks(double blocks) {
  Owned space = makeSpace({2 * blocks, 6});
  select(space, "H5S_SELECT_SET", row({0, 0}), row({2, 1}), row({blocks, 1}), empty());
  return space;
}

// --- Every function: counts of inputs and the dataspace itself -------------------------

struct Function {
  const char* name;
  Arguments rest;  // after the dataspace
};

const std::vector<Function>& functionsOfOneSpace() {
  static const std::vector<Function> all = {
      {"H5Sclose", {}},
      {"H5Scopy", {}},
      {"H5Sextent_copy", {1.0}},
      {"H5Sget_select_bounds", {}},
      {"H5Sget_select_elem_npoints", {}},
      {"H5Sget_select_elem_pointlist", {0, 1}},
      {"H5Sget_select_hyper_blocklist", {0, 1}},
      {"H5Sget_select_hyper_nblocks", {}},
      {"H5Sget_select_npoints", {}},
      {"H5Sget_select_type", {}},
      {"H5Sget_simple_extent_dims", {}},
      {"H5Sget_simple_extent_ndims", {}},
      {"H5Sget_simple_extent_npoints", {}},
      {"H5Sget_simple_extent_type", {}},
      {"H5Sis_simple", {}},
      {"H5Soffset_simple", {row({0})}},
      {"H5Sselect_all", {}},
      {"H5Sselect_elements", {"H5S_SELECT_SET", row({0})}},
      {"H5Sselect_hyperslab", {"H5S_SELECT_SET", row({0}), empty(), empty(), empty()}},
      {"H5Sselect_none", {}},
      {"H5Sselect_valid", {}},
      {"H5Sset_extent_none", {}},
      {"H5Sset_extent_simple", {1, row({1}), empty()}},
  };
  return all;
}

Arguments on(const Argument& space, const Arguments& rest) {
  Arguments arguments = {space};
  arguments.insert(arguments.end(), rest.begin(), rest.end());
  return arguments;
}

std::shared_ptr<const zembra::HostError> failureOn(const Function& function,
                                                   const Argument& space) {
  return h5test::failureOf(function.name, on(space, function.rest));
}

TEST(Dataspaces, TakeExactCountsOfInputs) {
  for (const Function& function : functionsOfOneSpace()) {
    const int count = static_cast<int>(function.rest.size()) + 1;
    h5test::expectWrongCounts(function.name, {0, count - 1, count + 1});
  }
  h5test::expectWrongCounts("H5Screate", {0, 2});
  h5test::expectWrongCounts("H5Screate_simple", {0, 2, 4});
}

TEST(Dataspaces, AreIdentifiersOfNoOtherClass) {
  std::vector<Value> others = h5test::strangers();
  others.push_back(h5test::numeric(zbClass::Int32, {}));
  for (const Function& function : functionsOfOneSpace()) {
    for (const Value& other : others) {
      const auto error = failureOn(function, other);
      if (!error) continue;
      EXPECT_EQ((*error)->key, "doubleHidtMismatch") << function.name;
      EXPECT_EQ((*error)->parameters, std::vector<zembra::Parameter>{"dataspace identifier"});
    }
    const auto error = failureOn(function, "H5S_ALL");
    if (!error) continue;
    EXPECT_EQ((*error)->key, "unmatchedHidtString") << function.name;
    EXPECT_EQ((*error)->parameters,
              (std::vector<zembra::Parameter>{"H5S_ALL", "dataspace identifier"}));
  }
  const Owned space = scalarSpace();
  expectRaises("doubleHidtMismatch", {"dataspace identifier"}, "H5Sextent_copy", space, true);
}

TEST(Dataspaces, ThatHdf5DoesNotKnowFail) {
  for (const Function& function : functionsOfOneSpace()) {
    const std::string name = function.name;
    for (const Argument& space :
         {Argument(kNoIdentifier), Argument(h5test::identifier(kNoIdentifier)),
          Argument("H5P_DEFAULT"), Argument(empty()), Argument(kNaN), Argument(1e10)}) {
      if (name == "H5Sget_simple_extent_type") {
        EXPECT_EQ(callNumber(name, space), -1);
        continue;
      }
      const auto error = failureOn(function, space);
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
  EXPECT_EQ(callNumber("H5Sget_simple_extent_npoints", h5test::identifier(space.id())), 12);
  EXPECT_EQ(callNumber("H5Sget_simple_extent_npoints", rowOf({space.id() + 0.7, 1})), 12);
}

TEST(Dataspaces, CloseOnce) {
  const double space = callNumber("H5Screate", "H5S_SCALAR");
  EXPECT_TRUE(call("H5Sclose", space).empty());
  expectLibraryError("H5Sclose", space);
}

// --- Every vector: class and elements ----------------------------------------------------

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

std::shared_ptr<const zembra::HostError> failureOf(const VectorInput& input, const Owned& space,
                                                   const Argument& vector) {
  Arguments arguments = input.onSpace ? on(space, input.before) : input.before;
  arguments.push_back(vector);
  arguments.insert(arguments.end(), input.after.begin(), input.after.end());
  return h5test::failureOf(input.function, arguments);
}

TEST(DataspaceVectors, AreDoubles) {
  const Owned space = makeSpace({10});
  std::vector<Value> others = h5test::strangers();
  others.push_back(h5test::text("1"));
  for (const VectorInput& input : vectorInputs()) {
    for (const Value& other : others) {
      const auto error = failureOf(input, space, other);
      if (!error) continue;
      EXPECT_EQ((*error)->key, "notDoublePrecision") << input.function;
      EXPECT_EQ((*error)->parameters, std::vector<zembra::Parameter>{input.description});
    }
  }
}

TEST(DataspaceVectors, HoldNothingThatIsNoSize) {
  const Owned space = makeSpace({10});
  for (const VectorInput& input : vectorInputs()) {
    for (const double element : {kNaN, kInfinity, -kInfinity, -1.0, -1.5, -2.0, kTwoTo64, 1e300}) {
      const bool unlimited = element == -1.0 && input.description == std::string("MAXDIMS");
      if (unlimited) continue;
      const auto error = failureOf(input, space, row({element}));
      if (!error) continue;
      EXPECT_EQ((*error)->key, "numericCastError")
          << input.function << " " << input.description << " " << element;
    }
  }
}

TEST(DataspaceVectors, LoseTheirFractions) {
  const Owned space = makeSpace({2.9, -0.5}, row({3.99, 7.5}));
  const auto extent = call("H5Sget_simple_extent_dims", space);
  EXPECT_EQ(numbersOf(extent[1]), (Numbers{2, 0}));
  EXPECT_EQ(numbersOf(extent[2]), (Numbers{3, 7}));
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

// --- Making dataspaces ---------------------------------------------------------------------

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
      {{2, 0, 3}, {}},
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
  EXPECT_EQ(h5test::numberOf(results[0]), rank);
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
    const Owned space = make("H5Screate_simple", rank, rowOf(extent.dims), rowOf(extent.maxDims));
    expectExtent(space, extent);
  }
}

TEST(Dataspaces, TakeANewExtent) {
  const Owned space = makeSpace({7, 7, 7});
  for (const Extent& extent : extents()) {
    const auto rank = static_cast<double>(extent.dims.size());
    EXPECT_TRUE(call("H5Sset_extent_simple", space, rank, rowOf(extent.dims), rowOf(extent.maxDims))
                    .empty());
    expectExtent(space, extent);
  }
}

TEST(Dataspaces, TakeAnotherOnesExtent) {
  const Owned space = scalarSpace();
  for (const Extent& extent : extents()) {
    const auto rank = static_cast<double>(extent.dims.size());
    const Owned source = make("H5Screate_simple", rank, rowOf(extent.dims), rowOf(extent.maxDims));
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
    EXPECT_EQ(h5test::numberOf(results[0]), 0);
    EXPECT_EQ(shapeOf(results[1]), (Shape{0, 0}));
    EXPECT_EQ(shapeOf(results[2]), (Shape{0, 0}));
    EXPECT_EQ(h5test::classOf(results[1]), zbClass::Double);
  }
}

TEST(Dataspaces, GiveAllOfTheExtentHoweverLittleIsAsked) {
  const Owned space = makeSpace({3, 4});
  for (const int outputs : {0, 1, 2, 3}) {
    EXPECT_EQ(h5test::callWith(outputs, "H5Sget_simple_extent_dims", {space}).size(), 3U);
  }
}

TEST(Dataspaces, AskForAsManyDimensionsAsTheRank) {
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
    expectRaises("createSimpleSizeMismatch", {}, "H5Screate_simple", rank, rowOf(dims),
                 rowOf(maxDims));
    expectRaises("setExtentSimpleSizeMismatch", {}, "H5Sset_extent_simple", space, rank,
                 rowOf(dims), rowOf(maxDims));
  }
  expectExtent(space, {{9}, {}});
}

TEST(Dataspaces, HaveRanksThatAreIntegers) {
  const Owned space = makeSpace({9});
  for (const Argument& rank :
       {Argument(kNaN), Argument(kInfinity), Argument(1e10), Argument(-2147483649.0),
        Argument(2147483648.0), Argument(empty()), Argument("2"), Argument(h5test::cell({}))}) {
    expectRaises("scalarValueInputOutOfRange", {}, "H5Screate_simple", rank, true, true);
    expectRaises("scalarValueInputOutOfRange", {}, "H5Sset_extent_simple", space, rank, true, true);
  }
  for (const Argument& rank : {Argument(2.9), Argument(h5test::numeric(zbClass::Int8, {2})),
                               Argument(h5test::row({2, 7}))}) {
    const Owned made = make("H5Screate_simple", rank, row({3, 4}), empty());
    EXPECT_EQ(callNumber("H5Sget_simple_extent_ndims", made), 2);
  }
}

TEST(Dataspaces, HaveNoMoreDimensionsThanHdf5Has) {
  const Owned space = makeSpace({9});
  const Value ones = rowOf(Numbers(33, 1));
  expectLibraryError("H5Screate_simple", 33, ones, empty());
  expectLibraryError("H5Screate_simple", 33, ones, ones);
  expectLibraryError("H5Sset_extent_simple", space, 33, ones, empty());
}

TEST(Dataspaces, AreRefusedWhereHdf5RefusesThem) {
  const Owned space = makeSpace({9});
  // Larger than its maximum; unlimited already.
  for (const auto& [dims, maxDims] :
       {std::pair(row({5}), row({4})), {row({18446744073709549568.0}), row({1})}}) {
    expectLibraryError("H5Screate_simple", 1, dims, maxDims);
    expectLibraryError("H5Sset_extent_simple", space, 1, dims, maxDims);
  }
}

TEST(Dataspaces, WithEmptyMaximaOfAnyClassAreFixed) {
  for (const Value& maxDims :
       {h5test::cell({}), h5test::text(""), h5test::numeric(zbClass::Int8, {})}) {
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

// --- Selections as a whole --------------------------------------------------------------

TEST(Selections, HaveTypesByNumber) {
  const Owned space = makeSpace({4, 6});
  const auto expectSelected = [&](double type, double points) {
    EXPECT_EQ(callNumber("H5Sget_select_type", space), type);
    EXPECT_EQ(callNumber("H5Sget_select_npoints", space), points);
  };
  expectSelected(H5S_SEL_ALL, 24);
  EXPECT_TRUE(call("H5Sselect_none", space).empty());
  expectSelected(H5S_SEL_NONE, 0);
  EXPECT_TRUE(call("H5Sselect_elements", space, "H5S_SELECT_SET", row({0, 0})).empty());
  expectSelected(H5S_SEL_POINTS, 1);
  select(space, "H5S_SELECT_SET", row({0, 0}), empty(), row({2, 3}), empty());
  expectSelected(H5S_SEL_HYPERSLABS, 6);
  EXPECT_TRUE(call("H5Sselect_all", space).empty());
  expectSelected(H5S_SEL_ALL, 24);
}

TEST(Selections, HaveBounds) {
  const Owned space = makeSpace({4, 6});
  const auto expectBounds = [&](const Numbers& start, const Numbers& end) {
    const auto bounds = call("H5Sget_select_bounds", space);
    ASSERT_EQ(bounds.size(), 2U);
    EXPECT_EQ(numbersOf(bounds[0]), start);
    EXPECT_EQ(numbersOf(bounds[1]), end);
    EXPECT_EQ(shapeOf(bounds[0]), (Shape{1, 2}));
    EXPECT_EQ(shapeOf(bounds[1]), (Shape{1, 2}));
  };
  expectBounds({0, 0}, {3, 5});
  select(space, "H5S_SELECT_SET", row({1, 2}), row({2, 2}), row({2, 2}), empty());
  expectBounds({1, 2}, {3, 4});
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({3, 1, 0, 4}));
  expectBounds({0, 1}, {3, 4});
  call("H5Sselect_none", space);
  expectLibraryError("H5Sget_select_bounds", space);
}

TEST(Selections, OfScalarsHaveBoundsWithoutDimensions) {
  const auto bounds = call("H5Sget_select_bounds", scalarSpace());
  ASSERT_EQ(bounds.size(), 2U);
  EXPECT_EQ(shapeOf(bounds[0]), (Shape{1, 0}));
  EXPECT_EQ(shapeOf(bounds[1]), (Shape{1, 0}));
}

TEST(Selections, HaveBoundsInAllRanks) {
  for (const std::size_t rank : {std::size_t{1}, std::size_t{32}}) {
    const Owned space =
        make("H5Screate_simple", static_cast<double>(rank), rowOf(Numbers(rank, 2)), empty());
    const auto bounds = call("H5Sget_select_bounds", space);
    EXPECT_EQ(numbersOf(bounds[0]), Numbers(rank, 0));
    EXPECT_EQ(numbersOf(bounds[1]), Numbers(rank, 1));
    EXPECT_EQ(shapeOf(bounds[0]), (Shape{1, rank}));
  }
}

TEST(Selections, AreValidInsideOfTheExtent) {
  const Owned space = makeSpace({4, 6});
  EXPECT_EQ(callNumber("H5Sselect_valid", space), 1);
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({3, 5}));
  EXPECT_EQ(callNumber("H5Sselect_valid", space), 1);
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({5, 5}));
  EXPECT_EQ(callNumber("H5Sselect_valid", space), 0);
}

TEST(Selections, AreMovedByOffsets) {
  const Owned space = makeSpace({4, 6});
  select(space, "H5S_SELECT_SET", row({0, 0}), empty(), row({2, 2}), empty());
  EXPECT_TRUE(call("H5Soffset_simple", space, row({1, 2})).empty());
  EXPECT_EQ(numbersOf(call("H5Sget_select_bounds", space)[0]), (Numbers{1, 2}));
  EXPECT_EQ(callNumber("H5Sselect_valid", space), 1);
  call("H5Soffset_simple", space, column({3, 0.9}));
  EXPECT_EQ(callNumber("H5Sselect_valid", space), 0);
}

TEST(Selections, TakeOffsetsOfTheRankOnly) {
  const Owned space = makeSpace({4, 6});
  expectRaises("numericCastError", {}, "H5Soffset_simple", space, row({-1, 0}));
  // The length is looked at before the class and the elements are.
  for (const Value& offset : {row({1, 2, 3}), row({-1}), empty(), row({kNaN, kNaN, kNaN}),
                              h5test::text("abc"), h5test::cell({}), rowOf(Numbers(40, 1))}) {
    expectRaises("rankMismatchForSimpleOffset", {}, "H5Soffset_simple", space, offset);
  }
  expectLibraryError("H5Soffset_simple", scalarSpace(), empty());
}

// --- Points ---------------------------------------------------------------------------------

TEST(Points, AreColumns) {
  const Owned space = makeSpace({4, 6});
  call("H5Sselect_elements", space, "H5S_SELECT_SET", matrix(2, 3, {0, 1, 3, 5, 2, 2}));
  EXPECT_EQ(callNumber("H5Sget_select_elem_npoints", space), 3);
  const Value points = result("H5Sget_select_elem_pointlist", space, 0, 3);
  EXPECT_EQ(shapeOf(points), (Shape{2, 3}));
  EXPECT_EQ(numbersOf(points), (Numbers{0, 1, 3, 5, 2, 2}));
}

TEST(Points, AreTakenInStorageOrderWhateverTheShape) {
  for (const Value& coordinates :
       {row({0, 1, 3, 5}), column({0, 1, 3, 5}), matrix(2, 2, {0, 1, 3, 5})}) {
    const Owned space = makeSpace({4, 6});
    call("H5Sselect_elements", space, H5S_SELECT_SET, coordinates);
    EXPECT_EQ(numbersOf(result("H5Sget_select_elem_pointlist", space, 0, 2)),
              (Numbers{0, 1, 3, 5}));
  }
}

TEST(Points, AreAddedAtEitherEnd) {
  const Owned space = makeSpace({9});
  call("H5Sselect_elements", space, "H5S_SELECT_SET", 4);
  call("H5Sselect_elements", space, "H5S_SELECT_APPEND", 5);
  call("H5Sselect_elements", space, "H5S_SELECT_PREPEND", 3);
  EXPECT_EQ(numbersOf(result("H5Sget_select_elem_pointlist", space, 0, 3)), (Numbers{3, 4, 5}));
  expectLibraryError("H5Sselect_elements", space, "H5S_SELECT_AND", 1);
}

TEST(Points, AreListedInPart) {
  const Owned space = makeSpace({9});
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({8, 6, 4, 2}));
  EXPECT_EQ(numbersOf(result("H5Sget_select_elem_pointlist", space, 1, 2)), (Numbers{6, 4}));
  EXPECT_EQ(numbersOf(result("H5Sget_select_elem_pointlist", space, 1.9, 2.9)), (Numbers{6, 4}));
  EXPECT_EQ(shapeOf(result("H5Sget_select_elem_pointlist", space, 4, 0)), (Shape{1, 0}));
}

TEST(Points, BeyondTheSelectionAreALibraryError) {
  const Owned space = makeSpace({9});
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({8, 6, 4, 2}));
  constexpr double kMost = 18446744073709549568.0;  // the largest double below 2^64
  for (const auto& [start, count] : {std::pair(0.0, 5.0),
                                     {3.0, 2.0},
                                     {4.0, 1.0},
                                     {5.0, 0.0},
                                     {0.0, kMost},
                                     {kMost, 0.0},
                                     {kMost, 4096.0},
                                     {2048.0, kMost},
                                     {0.0, 9007199254740992.0}}) {
    expectLibraryError("H5Sget_select_elem_pointlist", space, start, count);
  }
}

TEST(Points, AreNotListedOfOtherSelections) {
  const Owned space = makeSpace({4, 6});
  for (const char* change : {"H5Sselect_all", "H5Sselect_none"}) {
    call(change, space);
    expectLibraryError("H5Sget_select_elem_npoints", space);
    expectLibraryError("H5Sget_select_elem_pointlist", space, 0, 0);
    expectLibraryError("H5Sget_select_elem_pointlist", space, 0, 1e15);
  }
  expectLibraryError("H5Sget_select_elem_pointlist", spaceOfBlocks(2), 0, 1);
  expectLibraryError("H5Sget_select_elem_pointlist", scalarSpace(), 0, 1);
}

TEST(Points, AreListedByNumbersOfPoints) {
  const Owned space = makeSpace({9});
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({8, 6, 4, 2}));
  for (const Argument& bad : {Argument(-1), Argument(kNaN), Argument(kInfinity), Argument(1e20),
                              Argument(kTwoTo64), Argument(empty()), Argument("1")}) {
    expectRaises("scalarValueInputOutOfRange", {}, "H5Sget_select_elem_pointlist", space, bad, 1);
    expectRaises("scalarValueInputOutOfRange", {}, "H5Sget_select_elem_pointlist", space, 0, bad);
  }
}

TEST(Points, HaveAsManyCoordinatesAsTheSpaceHasDimensions) {
  const Owned space = makeSpace({4, 6});
  const char* set = "H5S_SELECT_SET";
  expectRaises("wrongNumberOfElementsForElementSelection", {7, 2}, "H5Sselect_elements", space, set,
               rowOf(Numbers(7, 0)));
  expectRaises("wrongNumberOfElementsForElementSelection", {1, 2}, "H5Sselect_elements", space, set,
               0);
  // The coordinates are converted first, then the rank is looked at.
  expectRaises("numericCastError", {}, "H5Sselect_elements", space, set, row({-1, 0, 0}));
  for (const Owned& scalar : {scalarSpace(), nullSpace()}) {
    expectRaises("notDoublePrecision", {"coord"}, "H5Sselect_elements", scalar, set, true);
    expectRaises("invalidRankForElementSelection", {}, "H5Sselect_elements", scalar, set, 0);
  }
  expectLibraryError("H5Sselect_elements", space, set, empty());
}

// --- Hyperslabs -----------------------------------------------------------------------------

/// Start and opposite corner of every block.
Numbers blocksOf(const Owned& space) {
  const double count = callNumber("H5Sget_select_hyper_nblocks", space);
  return numbersOf(result("H5Sget_select_hyper_blocklist", space, 0, count));
}

TEST(Hyperslabs, AreOneElementByDefault) {
  const Owned space = makeSpace({4, 6});
  select(space, "H5S_SELECT_SET", row({1, 2}), empty(), empty(), empty());
  EXPECT_EQ(blocksOf(space), (Numbers{1, 2, 1, 2}));
  EXPECT_EQ(callNumber("H5Sget_select_npoints", space), 1);
}

TEST(Hyperslabs, StepByOneByDefault) {
  const Owned space = makeSpace({4, 6});
  select(space, "H5S_SELECT_SET", row({1, 2}), empty(), row({2, 3}), empty());
  EXPECT_EQ(numbersOf(call("H5Sget_select_bounds", space)[1]), (Numbers{2, 4}));
  EXPECT_EQ(callNumber("H5Sget_select_npoints", space), 6);
}

TEST(Hyperslabs, HaveStartStrideCountAndBlock) {
  struct {
    Value start, stride, count, block;
    Numbers blocks;
  } const cases[] = {
      {row({0, 1}), row({2, 3}), row({2, 1}), empty(), {0, 1, 0, 1, 2, 1, 2, 1}},
      {row({0, 0}), empty(), empty(), row({2, 3}), {0, 0, 1, 2}},
      {row({0, 0}), row({2, 3}), row({1, 2}), row({2, 2}), {0, 0, 1, 1, 0, 3, 1, 4}},
      {column({0, 0}), column({2, 3}), column({1, 1}), column({1.9, 2.9}), {0, 0, 0, 1}},
  };
  for (const auto& [start, stride, count, block, blocks] : cases) {
    const Owned space = makeSpace({4, 6});
    select(space, "H5S_SELECT_SET", start, stride, count, block);
    EXPECT_EQ(blocksOf(space), blocks);
  }
}

TEST(Hyperslabs, AreCombined) {
  struct {
    const char* op;
    double points;
  } const cases[] = {{"H5S_SELECT_SET", 4}, {"H5S_SELECT_OR", 6},   {"H5S_SELECT_AND", 2},
                     {"H5S_SELECT_XOR", 4}, {"H5S_SELECT_NOTB", 2}, {"H5S_SELECT_NOTA", 2}};
  for (const auto& [op, points] : cases) {
    const Owned space = makeSpace({9});
    select(space, "H5S_SELECT_SET", row({0}), empty(), row({4}), empty());
    select(space, op, row({2}), empty(), row({4}), empty());
    EXPECT_EQ(callNumber("H5Sget_select_npoints", space), points) << op;
  }
}

TEST(Hyperslabs, MatchTheRank) {
  struct {
    Value start, stride, count;
    const char* name;
  } const cases[] = {
      {row({0, 0}), empty(), empty(), "START"},
      {empty(), empty(), empty(), "START"},
      {row({0, 0, 0, 0}), empty(), empty(), "START"},
      {rowOf(Numbers(40, 0)), empty(), empty(), "START"},
      {row({0, 0, 0}), row({1, 1}), empty(), "STRIDE"},
      {row({0, 0, 0}), rowOf(Numbers(40, 1)), row({1}), "STRIDE"},
      {row({0, 0, 0}), empty(), row({1}), "COUNT"},
      {row({0, 0, 0}), row({1, 1, 1}), rowOf(Numbers(40, 1)), "COUNT"},
  };
  const Owned space = makeSpace({4, 6, 8});
  for (const auto& [start, stride, count, name] : cases) {
    for (const Value& block : {empty(), row({1}), row({1, 1, 1})}) {
      expectRaises("badHyperslabSpecification", {name}, "H5Sselect_hyperslab", space,
                   "H5S_SELECT_SET", start, stride, count, block);
    }
  }
  EXPECT_EQ(callNumber("H5Sget_select_type", space), H5S_SEL_ALL);
}

TEST(Hyperslabs, TakeBlocksOfAnyLength) {
  const Owned space = makeSpace({4, 6});
  for (const Value& block : {row({2, 3}), row({2, 3, 9}), rowOf(Numbers(40, 2))}) {
    select(space, "H5S_SELECT_SET", row({0, 0}), empty(), empty(), block);
    EXPECT_EQ(callNumber("H5Sget_select_npoints", space),
              numbersOf(block)[0] * numbersOf(block)[1]);
  }
  // What a short one lacks is zero: nothing is selected.
  select(space, "H5S_SELECT_SET", row({0, 0}), empty(), empty(), row({2}));
  EXPECT_EQ(callNumber("H5Sget_select_npoints", space), 0);
}

TEST(Hyperslabs, TakeShortBlocksInTheHighestRank) {
  const Value zeros = rowOf(Numbers(32, 0));
  const Owned space = make("H5Screate_simple", 32, rowOf(Numbers(32, 1)), empty());
  select(space, "H5S_SELECT_SET", zeros, empty(), empty(), rowOf(Numbers(32, 1)));
  EXPECT_EQ(callNumber("H5Sget_select_npoints", space), 1);
  select(space, "H5S_SELECT_SET", zeros, empty(), empty(), row({1}));
  EXPECT_EQ(callNumber("H5Sget_select_npoints", space), 0);
}

TEST(Hyperslabs, NeedDimensions) {
  for (const Owned& space : {scalarSpace(), nullSpace()}) {
    expectLibraryError("H5Sselect_hyperslab", space, "H5S_SELECT_SET", empty(), empty(), empty(),
                       empty());
    expectRaises("badHyperslabSpecification", {"START"}, "H5Sselect_hyperslab", space,
                 "H5S_SELECT_SET", 0, empty(), empty(), empty());
  }
}

TEST(Hyperslabs, AreRefusedWhereHdf5RefusesThem) {
  const Owned space = makeSpace({9});
  struct {
    double start, stride, count, block;
  } const cases[] = {{0, 0, 2, 1}, {0, 1, 2, 2}};  // no step; blocks on top of each other
  for (const auto& [start, stride, count, block] : cases) {
    expectLibraryError("H5Sselect_hyperslab", space, "H5S_SELECT_SET", start, stride, count, block);
  }
}

TEST(Blocks, ArePairsOfColumns) {
  const Owned space = makeSpace({4, 6});
  select(space, "H5S_SELECT_SET", row({0, 0}), row({2, 3}), row({2, 2}), row({1, 2}));
  EXPECT_EQ(callNumber("H5Sget_select_hyper_nblocks", space), 4);
  const Value two = result("H5Sget_select_hyper_blocklist", space, 1, 2);
  EXPECT_EQ(shapeOf(two), (Shape{2, 4}));
  EXPECT_EQ(numbersOf(two), (Numbers{0, 3, 0, 4, 2, 0, 2, 1}));
  EXPECT_EQ(shapeOf(result("H5Sget_select_hyper_blocklist", space, 0, 4)), (Shape{2, 8}));
  EXPECT_EQ(shapeOf(result("H5Sget_select_hyper_blocklist", space, 4, 0)), (Shape{2, 0}));
}

TEST(Blocks, AreListedOfIrregularSelections) {
  const Owned space = makeSpace({4, 6});
  select(space, "H5S_SELECT_SET", row({0, 0}), empty(), row({1, 2}), empty());
  select(space, "H5S_SELECT_OR", row({2, 3}), empty(), row({2, 1}), empty());
  EXPECT_EQ(blocksOf(space), (Numbers{0, 0, 0, 1, 2, 3, 3, 3}));
}

TEST(Blocks, AreListedWithinTheSelectionOnly) {
  const Owned space = spaceOfBlocks(4);
  for (const auto& [start, count] : {std::pair(2.0, 3.0), {0.0, 5.0}, {4.0, 1.0}, {5.0, 0.0}}) {
    expectRaises("blockListOutOfRange", {4}, "H5Sget_select_hyper_blocklist", space, start, count);
  }
}

TEST(Blocks, AreCountedWithoutWrappingAround) {
  constexpr double kMost = 18446744073709549568.0;  // the largest double below 2^64
  const Owned space = spaceOfBlocks(4);
  for (const auto& [start, count] : {std::pair(kMost, 2048.0),
                                     {kMost, 2049.0},
                                     {2048.0, kMost},
                                     {kMost, kMost},
                                     {1.0, kMost},
                                     {9223372036854775808.0, 9223372036854775808.0}}) {
    expectRaises("blockListOutOfRange", {4}, "H5Sget_select_hyper_blocklist", space, start, count);
  }
}

TEST(Blocks, AreNotListedOfOtherSelections) {
  const Owned space = makeSpace({9});
  for (const char* change : {"H5Sselect_all", "H5Sselect_none"}) {
    call(change, space);
    expectLibraryError("H5Sget_select_hyper_nblocks", space);
    expectLibraryError("H5Sget_select_hyper_blocklist", space, 0, 0);
    expectLibraryError("H5Sget_select_hyper_blocklist", space, 0, 1e15);
  }
  call("H5Sselect_elements", space, "H5S_SELECT_SET", 1);
  expectLibraryError("H5Sget_select_hyper_blocklist", space, 0, 1);
  expectLibraryError("H5Sget_select_hyper_blocklist", scalarSpace(), 0, 1);
}

TEST(Selections, EndWithTheRankThatTheyWereMadeIn) {
  const Owned scalar = scalarSpace();
  const Owned cube = makeSpace({3, 3, 3});
  const std::vector<std::function<void(const Owned&)>> changes = {
      [](const Owned& space) { call("H5Sset_extent_simple", space, 1, 5, empty()); },
      [](const Owned& space) { call("H5Sset_extent_none", space); },
      [&](const Owned& space) { call("H5Sextent_copy", space, scalar); },
      [&](const Owned& space) { call("H5Sextent_copy", space, cube); },
  };
  for (const auto& change : changes) {
    const Owned blocks = makeSpace({4, 6});
    select(blocks, "H5S_SELECT_SET", row({0, 0}), empty(), row({1, 2}), empty());
    select(blocks, "H5S_SELECT_OR", row({2, 3}), empty(), row({2, 1}), empty());
    change(blocks);
    expectLibraryError("H5Sget_select_hyper_blocklist", blocks, 0, 2);
    const Owned points = makeSpace({4, 6});
    call("H5Sselect_elements", points, "H5S_SELECT_SET", row({0, 1, 2, 3}));
    change(points);
    expectLibraryError("H5Sget_select_elem_pointlist", points, 0, 2);
    EXPECT_EQ(callNumber("H5Sget_select_type", points), H5S_SEL_ALL);
  }
}

TEST(Selections, StayWhereTheRankStays) {
  const Owned space = spaceOfBlocks(2);
  call("H5Sset_extent_simple", space, 2, row({8, 8}), empty());
  EXPECT_EQ(callNumber("H5Sget_select_hyper_nblocks", space), 2);
  call("H5Sselect_none", space);
  call("H5Sset_extent_simple", space, 1, 8, empty());
  EXPECT_EQ(callNumber("H5Sget_select_type", space), H5S_SEL_NONE);
}

TEST(Blocks, AreListedByNumbersOfBlocks) {
  const Owned space = spaceOfBlocks(4);
  for (const Argument& bad : {Argument(-1), Argument(kNaN), Argument(kInfinity), Argument(1e20),
                              Argument(empty()), Argument("1")}) {
    expectRaises("scalarValueInputOutOfRange", {}, "H5Sget_select_hyper_blocklist", space, bad, 1);
    expectRaises("scalarValueInputOutOfRange", {}, "H5Sget_select_hyper_blocklist", space, 0, bad);
  }
  EXPECT_EQ(numbersOf(result("H5Sget_select_hyper_blocklist", space, 1.9, 1.9)),
            (Numbers{2, 0, 2, 0}));
}

}  // namespace
