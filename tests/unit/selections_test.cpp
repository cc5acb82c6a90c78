// Selections: what all kinds have in common, and points.
#include <gtest/gtest.h>

#include <functional>
#include <utility>
#include <vector>

#include "tests/unit/failures.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/selections.hpp"

namespace {

using namespace h5test;

// --- Selections of every kind --------------------------------------------------------

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
        make("H5Screate_simple", static_cast<double>(rank), row(Numbers(rank, 2)), empty());
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
                              text("abc"), cell({}), row(Numbers(40, 1))}) {
    expectRaises("rankMismatchForSimpleOffset", {}, "H5Soffset_simple", space, offset);
  }
  expectLibraryError("H5Soffset_simple", scalarSpace(), empty());
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

// --- Points --------------------------------------------------------------------------

TEST(Points, AreColumnsOfCoordinates) {
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
  for (const auto& [start, count] : {std::pair(0.0, 5.0),
                                     {3.0, 2.0},
                                     {4.0, 1.0},
                                     {5.0, 0.0},
                                     {0.0, kBelowTwo64},
                                     {kBelowTwo64, 0.0},
                                     {kBelowTwo64, 4096.0},
                                     {2048.0, kBelowTwo64},
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
                              Argument(kTwo64), Argument(empty()), Argument("1")}) {
    expectRaises("scalarValueInputOutOfRange", {}, "H5Sget_select_elem_pointlist", space, bad, 1);
    expectRaises("scalarValueInputOutOfRange", {}, "H5Sget_select_elem_pointlist", space, 0, bad);
  }
}

TEST(Points, HaveAsManyCoordinatesAsTheSpaceHasDimensions) {
  const Owned space = makeSpace({4, 6});
  const char* set = "H5S_SELECT_SET";
  expectRaises("wrongNumberOfElementsForElementSelection", {7, 2}, "H5Sselect_elements", space, set,
               row(Numbers(7, 0)));
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

}  // namespace
