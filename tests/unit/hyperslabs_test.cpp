// Hyperslabs: selecting them, and the blocks that they are listed as.
#include <gtest/gtest.h>

#include <utility>

#include "tests/unit/failures.hpp"
#include "tests/unit/limits.hpp"
#include "tests/unit/selections.hpp"

namespace {

using namespace h5test;

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
      {row(Numbers(40, 0)), empty(), empty(), "START"},
      {row({0, 0, 0}), row({1, 1}), empty(), "STRIDE"},
      {row({0, 0, 0}), row(Numbers(40, 1)), row({1}), "STRIDE"},
      {row({0, 0, 0}), empty(), row({1}), "COUNT"},
      {row({0, 0, 0}), row({1, 1, 1}), row(Numbers(40, 1)), "COUNT"},
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
  for (const Value& block : {row({2, 3}), row({2, 3, 9}), row(Numbers(40, 2))}) {
    select(space, "H5S_SELECT_SET", row({0, 0}), empty(), empty(), block);
    EXPECT_EQ(callNumber("H5Sget_select_npoints", space),
              numbersOf(block)[0] * numbersOf(block)[1]);
  }
  // What a short one lacks is zero: nothing is selected.
  select(space, "H5S_SELECT_SET", row({0, 0}), empty(), empty(), row({2}));
  EXPECT_EQ(callNumber("H5Sget_select_npoints", space), 0);
}

TEST(Hyperslabs, TakeShortBlocksInTheHighestRank) {
  const Value zeros = row(Numbers(32, 0));
  const Owned space = make("H5Screate_simple", 32, row(Numbers(32, 1)), empty());
  select(space, "H5S_SELECT_SET", zeros, empty(), empty(), row(Numbers(32, 1)));
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

// --- Blocks --------------------------------------------------------------------------

TEST(Blocks, AreListedAsPairsOfColumns) {
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
  const Owned space = spaceOfBlocks(4);
  for (const auto& [start, count] : {std::pair(kBelowTwo64, 2048.0),
                                     {kBelowTwo64, 2049.0},
                                     {2048.0, kBelowTwo64},
                                     {kBelowTwo64, kBelowTwo64},
                                     {1.0, kBelowTwo64},
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
