// What dataspaces can do to HDF5: what is answered in its place, what is refused, and
// what near it works.
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "tests/unit/bare_hdf5.hpp"
#include "tests/unit/datatypes.hpp"
#include "tests/unit/error_records.hpp"
#include "tests/unit/lists.hpp"
#include "tests/unit/memory_file.hpp"
#include "tests/unit/objects.hpp"
#include "tests/unit/transfers.hpp"

namespace {

using namespace h5test;

// --- Hyperslabs of an extent without points ------------------------------------------

TEST(HyperslabsOfNothing, KillHdf5) {
  for (const H5S_seloper_t op : {H5S_SELECT_XOR, H5S_SELECT_NOTB}) {
    const auto select = [op] {
      const hsize_t none = 0;
      const hsize_t unlimited = H5S_UNLIMITED;
      const hsize_t one = 1;
      H5Sselect_hyperslab(H5Screate_simple(1, &none, &unlimited), op, &none, nullptr, &one,
                          nullptr);
    };
    EXPECT_TRUE(kills(select)) << op;
  }
}

Owned growing(const Numbers& dims) {
  const auto rank = static_cast<double>(dims.size());
  return make("H5Screate_simple", rank, row(dims), row(Numbers(dims.size(), -1)));
}

void selectOne(const Owned& space, const char* op) {
  const auto rank = static_cast<std::size_t>(callNumber("H5Sget_simple_extent_ndims", space));
  call("H5Sselect_hyperslab", space, op, row(Numbers(rank, 0)), empty(), row(Numbers(rank, 1)),
       empty());
}

double pointsOf(const Owned& space) { return callNumber("H5Sget_select_npoints", space); }

TEST(HyperslabsOfNothing, AreCombinedWithAllOfIt) {
  for (const auto& dims : std::vector<Numbers>{{0}, {0, 3}, {3, 0, 2}}) {
    const Owned either = growing(dims);
    selectOne(either, "H5S_SELECT_XOR");
    EXPECT_EQ(pointsOf(either), 1);
    EXPECT_EQ(callNumber("H5Sselect_valid", either), 0);  // it is not in the extent
    const Owned without = growing(dims);
    selectOne(without, "H5S_SELECT_NOTB");
    EXPECT_EQ(pointsOf(without), 0);
    EXPECT_EQ(callNumber("H5Sget_select_type", without), H5S_SEL_NONE);
  }
}

TEST(HyperslabsOfNothing, AreCombinedWithOthers) {
  for (const char* op : {"H5S_SELECT_XOR", "H5S_SELECT_NOTB", "H5S_SELECT_NOTA"}) {
    const Owned space = growing({0, 3});
    selectOne(space, "H5S_SELECT_SET");
    selectOne(space, op);
    EXPECT_EQ(pointsOf(space), 0) << op;
  }
}

TEST(HyperslabsOfNothing, AreStillChecked) {
  for (const char* op : {"H5S_SELECT_XOR", "H5S_SELECT_NOTB"}) {
    const Owned space = growing({0});
    expectLibraryError("H5Sselect_hyperslab", space, op, row({0}), row({0}), row({1}), empty());
    EXPECT_EQ(callNumber("H5Sget_select_type", space), H5S_SEL_ALL);
    for (const Owned& other : {scalarSpace(), nullSpace()}) {
      const Failure error =
          failureOf("H5Sselect_hyperslab", {other, op, row({0}), empty(), row({1}), empty()});
      EXPECT_TRUE(error);
    }
  }
}

TEST(HyperslabsOfNothing, AreNoneOfAnExtentWithPoints) {
  const Owned space = makeSpace({2, 2});
  selectOne(space, "H5S_SELECT_XOR");
  EXPECT_EQ(pointsOf(space), 3);
  call("H5Sselect_all", space);
  selectOne(space, "H5S_SELECT_NOTB");
  EXPECT_EQ(pointsOf(space), 3);
}

// --- Sizes of variable-length data ---------------------------------------------------

/// A scalar text and five texts, the latter in chunks or not.
class VariableLengthSizes : public testing::TestWithParam<bool> {
 protected:
  VariableLengthSizes()
      : type_(variableText()),
        scalar_(makeDataset(file_, "scalar", type_)),
        five_(makeDataset(file_, "five", type_, makeSpace({5}),
                          GetParam() ? chunked({2}) : makeList("H5P_DATASET_CREATE"))) {
    writeAll(scalar_, text("hello"));
    writeAll(five_, cell({text("a"), text("b"), text("c"), text("d"), text("e")}));
  }

  double size(const Owned& dataset, const Owned& space) {
    return callNumber("H5Dvlen_get_buf_size", dataset, type_, space);
  }
  void expectRefused(const Owned& dataset, const Owned& space) {
    expectStack(failureOf("H5Dvlen_get_buf_size", {dataset, type_, space}));
  }

  MemoryFile file_;
  Owned type_;
  Owned scalar_;
  Owned five_;
};

TEST_P(VariableLengthSizes, AreToldOfScalars) {
  EXPECT_EQ(size(scalar_, scalarSpace()), 6);
  EXPECT_EQ(size(scalar_, nullSpace()), 0);
  const Owned none = scalarSpace();
  call("H5Sselect_none", none);
  EXPECT_EQ(size(scalar_, none), 0);
  const Owned sequences = sequenceOf(H5T_NATIVE_INT);
  const Owned dataset = makeDataset(file_, "numbers", sequences);
  EXPECT_EQ(callNumber("H5Dvlen_get_buf_size", dataset, sequences, scalarSpace()), 0);
  writeAll(dataset, cell({numeric(zbClass::Int32, {1, 2, 3})}));
  EXPECT_EQ(callNumber("H5Dvlen_get_buf_size", dataset, sequences, scalarSpace()), 12);
  const Owned number = make("H5Tcopy", "H5T_NATIVE_INT");
  expectStack(failureOf("H5Dvlen_get_buf_size", {dataset, number, scalarSpace()}));
}

TEST_P(VariableLengthSizes, AreToldOfSelections) {
  EXPECT_EQ(size(five_, makeSpace({5})), 10);
  EXPECT_EQ(size(five_, makeSpace({3})), 6);
  EXPECT_EQ(size(five_, nullSpace()), 0);
  const Owned space = makeSpace({5});
  call("H5Sselect_elements", space, "H5S_SELECT_SET", row({1, 4}));
  EXPECT_EQ(size(five_, space), 4);
  call("H5Sselect_none", space);
  EXPECT_EQ(size(five_, space), 0);
}

TEST_P(VariableLengthSizes, AreRefusedOfWhatIsNoPart) {
  expectRefused(scalar_, makeSpace({1}));
  expectRefused(five_, scalarSpace());
  expectRefused(five_, makeSpace({2, 2}));
  expectRefused(five_, makeSpace({6}));
  const Owned points = makeSpace({50});
  call("H5Sselect_elements", points, "H5S_SELECT_SET", row({1, 5}));
  expectRefused(five_, points);
  call("H5Sselect_elements", points, "H5S_SELECT_SET", row({1, 40}));
  expectRefused(five_, points);
  call("H5Sset_extent_simple", points, 1, row({5}), empty());
  expectRefused(five_, points);
  const Owned moved = makeSpace({50});
  call("H5Sselect_elements", moved, "H5S_SELECT_SET", row({20}));
  const hssize_t back = -17;
  H5Soffset_simple(moved.get(), &back);
  expectRefused(five_, moved);
  const Owned none = makeDataset(file_, "none", type_, nullSpace());
  expectRefused(none, makeSpace({2}));
  EXPECT_EQ(size(none, nullSpace()), 0);
}

INSTANTIATE_TEST_SUITE_P(Layouts, VariableLengthSizes, testing::Bool(), [](const auto& layout) {
  return std::string(layout.param ? "Chunked" : "Contiguous");
});

TEST(VariableLengthSizesOfBareHdf5, OfAScalarKill) {
  const auto ask = [] {
    const hid_t type = H5Tcopy(H5T_C_S1);
    H5Tset_size(type, H5T_VARIABLE);
    const hid_t space = H5Screate(H5S_SCALAR);
    const hid_t dataset =
        H5Dcreate2(MemoryFile().get(), "d", type, space, H5P_DEFAULT, H5P_DEFAULT, H5P_DEFAULT);
    hsize_t size = 0;
    H5Dvlen_get_buf_size(dataset, type, space, &size);
  };
  EXPECT_EQ(kills(ask), hdf5::kSince110);  // 1.8 fails
}

// --- File spaces that are not the dataset's -------------------------------------------------

TEST(ForeignSpaces, KillHdf5WhereTheDataAreInMemory) {
  const auto read = [] {
    const hid_t list = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_layout(list, H5D_COMPACT);
    const hid_t dataset = H5Dcreate2(MemoryFile().get(), "d", H5T_NATIVE_INT, H5Screate(H5S_NULL),
                                     H5P_DEFAULT, list, H5P_DEFAULT);
    int value = 0;
    const hid_t scalar = H5Screate(H5S_SCALAR);
    H5Dread(dataset, H5T_NATIVE_INT, scalar, scalar, H5P_DEFAULT, &value);
  };
  EXPECT_TRUE(kills(read));
}

Owned withLayout(const char* layout) {
  Owned list = makeList("H5P_DATASET_CREATE");
  call("H5Pset_layout", list, layout);
  return list;
}

void expectNoTransfer(const Owned& dataset, const Owned& space) {
  const std::size_t points = static_cast<std::size_t>(callNumber("H5Sget_select_npoints", space));
  expectStack(failureOf("H5Dread", {dataset, "H5ZB_DEFAULT", "H5S_ALL", space, kDefault}));
  expectStack(failureOf(
      "H5Dwrite", {dataset, "H5ZB_DEFAULT", "H5S_ALL", space, kDefault, row(Numbers(points, 7))}));
}

TEST(ForeignSpaces, ReachNothingBehindTheData) {
  const MemoryFile file;
  for (const char* layout : {"H5D_COMPACT", "H5D_CONTIGUOUS"}) {
    const Owned list = withLayout(layout);
    const std::string name = layout;
    const Owned before =
        make("H5Dcreate", file, name + "1", "H5T_STD_I32LE", makeSpace({2, 3}), list);
    const Owned behind = make("H5Dcreate", file, name + "2", "H5T_STD_I32LE", makeSpace({6}), list);
    writeAll(behind, row({1, 2, 3, 4, 5, 6}));
    writeAll(before, matrix(3, 2, {1, 2, 3, 4, 5, 6}));
    expectNoTransfer(before, makeSpace({7}));
    expectNoTransfer(before, makeSpace({1000}));
    expectNoTransfer(before, makeSpace({3, 3}));
    expectNoTransfer(before, makeSpace({2, 4}));
    const Owned moved = makeSpace({100});  // to the last of them, and behind it
    call("H5Sselect_elements", moved, "H5S_SELECT_SET", row({5}));
    EXPECT_EQ(numbersOf(readFrom(before, scalarSpace(), moved)), Numbers{6});
    call("H5Soffset_simple", moved, row({1}));
    expectNoTransfer(before, moved);
    EXPECT_EQ(numbersOf(readFrom(before, kAll, makeSpace({6}))).size(), 6U);
    EXPECT_EQ(numbersOf(readAll(behind)), (Numbers{1, 2, 3, 4, 5, 6}));
  }
}

TEST(ForeignSpaces, MakeNoChunksBeyondTheExtent) {
  const MemoryFile file;
  const Owned dataset =
      makeDataset(file, "d", "H5T_STD_I32LE", makeSpace({4}, row({-1})), chunked({2}));
  writeAll(dataset, row({1, 2, 3, 4}));
  expectNoTransfer(dataset, makeSpace({5}));
  expectNoTransfer(dataset, makeSpace({2, 2}));
  const Owned old = make("H5Dget_space", dataset);
  call("H5Dset_extent", dataset, 6);
  EXPECT_EQ(numbersOf(readFrom(dataset, kAll, old)), (Numbers{1, 2, 3, 4}));
  call("H5Dset_extent", dataset, 2);
  expectNoTransfer(dataset, old);
}

TEST(ForeignSpaces, OfDatasetsWithoutElementsReachNone) {
  const MemoryFile file;
  const Owned contiguous = makeDataset(file, "contiguous", "H5T_STD_I32LE", nullSpace());
  EXPECT_EQ(zbGetNumberOfElements(readFrom(contiguous, scalarSpace(), scalarSpace()).get()), 0U);
  const Owned compact =
      make("H5Dcreate", file, "compact", "H5T_STD_I32LE", nullSpace(), withLayout("H5D_COMPACT"));
  expectNoTransfer(compact, scalarSpace());
}

TEST(SpacesWithoutExtent, FillNothing) {
  const Owned space = makeSpace({3, 4});
  call("H5Sset_extent_none", space);
  const Owned type = make("H5Tcopy", "H5T_NATIVE_DOUBLE");
  if (hdf5::kSince110) {
    expectStack(failureOf("H5Dfill", {7, type, 0, type, space}));
  } else {  // which has no answer where there is no extent
    expectRaises("failureToRetrieveDataspace", {}, "H5Dfill", 7, type, 0, type, space);
  }
}

// --- Extents that shrink ---------------------------------------------------------------

constexpr double kManyRows = 0x1p52;

TEST(ShrinkingExtents, OfManyChunksNeverEndInBareHdf5) {
  const auto shrink = [] {
    const hsize_t rows = hsize_t{1} << 52;
    const hsize_t unlimited = H5S_UNLIMITED;
    const hsize_t one = 1;
    const hid_t list = H5Pcreate(H5P_DATASET_CREATE);
    H5Pset_chunk(list, 1, &one);
    const hid_t dataset =
        H5Dcreate2(MemoryFile().get(), "d", H5T_NATIVE_INT, H5Screate_simple(1, &rows, &unlimited),
                   H5P_DEFAULT, list, H5P_DEFAULT);
    const hid_t first = H5Screate_simple(1, &rows, nullptr);
    const hsize_t start = 0;
    H5Sselect_hyperslab(first, H5S_SELECT_SET, &start, nullptr, &one, nullptr);
    const int value = 1;
    H5Dwrite(dataset, H5T_NATIVE_INT, H5Screate_simple(1, &one, nullptr), first, H5P_DEFAULT,
             &value);  // one chunk, so that there is an index of them
    H5Dset_extent(dataset, &one);
  };
  EXPECT_TRUE(kills(shrink));
}

TEST(ShrinkingExtents, CutOffSoManyChunksAsHdf5LooksForInTime) {
  const MemoryFile file;
  const Owned dataset =
      makeDataset(file, "d", "H5T_NATIVE_INT", makeSpace({4, 4}, row({-1, -1})), chunked({2, 4}));
  call("H5Dset_extent", dataset, row({kManyRows, 4}));  // growing costs nothing
  for (const Value& less : {row({3, 4}), row({kManyRows - 0x1p34, 4}), row({kManyRows, 3})}) {
    expectStack(failureOf("H5Dset_extent", {dataset, less}));
  }
  // 2^20 chunks of two rows, of the first of which one stays.
  call("H5Dset_extent", dataset, row({kManyRows - 0x1p21 + 1, 4}));
  EXPECT_EQ(numbersOf(call("H5Sget_simple_extent_dims", make("H5Dget_space", dataset))[1]),
            (Numbers{kManyRows - 0x1p21 + 1, 4}));
  const Owned large = make("H5Dcreate", file, "large", "H5T_NATIVE_INT",
                           makeSpace({0x1p30, 0x1p30}, row({-1, -1})), chunked({0x1p15, 0x1p10}));
  call("H5Dset_extent", large, row({0x1p30, 0x1p30 - 0x1p10}));
  call("H5Dset_extent", large, row({0x1p30 - 0x1p15, 0x1p30 - 0x1p10}));
  expectStack(failureOf("H5Dset_extent", {large, 0}));
}

// --- Offsets of all --------------------------------------------------------------------

TEST(OffsetsOfAll, MoveNothing) {
  const MemoryFile file;
  const Owned space = make("H5Screate_simple", 2, row({3, 4}), row({3, 4}));
  const Owned dataset = make("H5Dcreate", file, "d", "H5T_IEEE_F64LE", space, chunked({2, 2}));
  Numbers values(12);
  std::iota(values.begin(), values.end(), 1);
  const Value matrix = zembra::makeNumeric(zbClass::Double, {4, 3}, values.data());
  for (const auto& offset : {row({3, 0}), row({1, 2}), row({100, 100})}) {
    const Owned moved = make("H5Scopy", space);
    call("H5Soffset_simple", moved, offset);
    for (const Argument& memory : {Argument(moved), Argument("H5S_ALL")}) {
      for (const Argument& stored : {Argument(moved), Argument("H5S_ALL")}) {
        call("H5Dwrite", dataset, "H5ZB_DEFAULT", memory, stored, kDefault, matrix);
        EXPECT_EQ(numbersOf(result("H5Dread", dataset, "H5ZB_DEFAULT", memory, stored, kDefault)),
                  values);
      }
    }
  }
}

}  // namespace
