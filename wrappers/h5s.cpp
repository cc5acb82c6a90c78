// H5S: dataspaces and selections. Vectors list the slowest-varying dimension
// first, as HDF5 does, in both directions.
#include <algorithm>
#include <optional>
#include <tuple>
#include <vector>

#include "hdf5/space_shields.hpp"
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using SpaceId = Id<"dataspace identifier">;
using Operator = Enum<H5S_seloper_t>;

/// None given means that the extent cannot grow: the same as the extents.
struct MaxDims {
  static std::optional<PaddedSizes> from(const zbArray* array) {
    if (zbGetNumberOfElements(array) == 0) return std::nullopt;
    return getMaxDimsArg(array);
  }
};

// --- Extents --------------------------------------------------------------------------

void createSimple(Inputs ins, Results& outs) {
  const auto [rank, dims, given] = take<Int, Dims<"dims">, MaxDims>(ins);
  const PaddedSizes& maxDims = given ? *given : dims;
  if (dims.rank() != rank) raiseAbout<msg::createSimpleSizeMismatch>(ins[1]);
  if (maxDims.rank() != rank) raiseAbout<msg::createSimpleSizeMismatch>(ins[2]);
  outs.give(makeHidResult(checked(H5Screate_simple(rank, dims.data(), maxDims.data()))));
}

/// Changes an extent. HDF5 keeps what is selected, and the coordinates of another rank
/// would be read and written beyond the vectors that have this one: such a selection
/// ends with the extent that it was made in.
template <class Change>
void changeExtent(hid_t space, Change change) {
  const int rankBefore = H5Sget_simple_extent_ndims(space);
  checked(change());
  const H5S_sel_type selected = H5Sget_select_type(space);
  if (H5Sget_simple_extent_ndims(space) != rankBefore && selected != H5S_SEL_ALL &&
      selected != H5S_SEL_NONE) {
    checked(H5Sselect_all(space));
  }
}

/// No output; the extent of the first identifier changes.
struct ChangedExtent {
  template <class Rule, class Call, class Taken>
  static void run(Results& /*outs*/, Call call, Taken& taken) {
    changeExtent(std::get<0>(taken), call);
  }
};

void setExtentSimple(Inputs ins, Results& /*outs*/) {
  const auto [space, rank, size, given] = take<SpaceId, Int, Dims<"Current Size">, MaxDims>(ins);
  const PaddedSizes& maxSize = given ? *given : size;
  if (size.rank() != rank) raiseAbout<msg::setExtentSimpleSizeMismatch>(ins[2]);
  if (maxSize.rank() != rank) raiseAbout<msg::setExtentSimpleSizeMismatch>(ins[3]);
  changeExtent(space, [&, id = space, count = rank, dims = size.data()] {
    return H5Sset_extent_simple(id, count, dims, maxSize.data());
  });
}

std::size_t rankOf(hid_t space) {
  return static_cast<std::size_t>(checked(H5Sget_simple_extent_ndims(space)));
}

void getSimpleExtentDims(Inputs ins, Results& outs) {
  const auto [space] = take<SpaceId>(ins);
  const std::size_t rank = rankOf(space);
  PaddedSizes dims(rank);
  PaddedSizes maxDims(rank);
  outs.give(makeNumber(checked(H5Sget_simple_extent_dims(space, dims.data(), maxDims.data()))));
  outs.give(rank == 0 ? makeEmpty() : makeSizes(1, rank, dims.data()));
  outs.give(rank == 0 ? makeEmpty() : makeMaxDims(rank, maxDims.data()));
}

// --- What is selected -----------------------------------------------------------------

/// A matrix of counts whose shape is settled after the values are there.
zbArray* makeReshaped(std::size_t rows, std::size_t columns, const hsize_t* values) {
  zbArray* array = makeSizes(rows * columns, 1, values);
  const std::size_t shape[] = {rows, columns};
  if (zbSetDimensions(array, 2, shape) != 0) raise<msg::resizeFailure>();
  return array;
}

void getSelectBounds(Inputs ins, Results& outs) {
  const auto [space] = take<SpaceId>(ins);
  const std::size_t rank = rankOf(space);
  PaddedSizes start(rank);
  PaddedSizes end(rank);
  checked(H5Sget_select_bounds(space, start.data(), end.data()));
  outs.give(makeReshaped(1, rank, start.data()));
  outs.give(makeReshaped(1, rank, end.data()));
}

/// Whether items start .. start+count-1 are more than there are; the sum may wrap.
bool exceeds(hsize_t start, hsize_t count, hsize_t available) {
  return start > available || count > available - start;
}

void getSelectElemPointlist(Inputs ins, Results& outs) {
  const auto [space, start, count] = take<SpaceId, Size, Size>(ins);
  const int rank = H5Sget_simple_extent_ndims(space);
  const hssize_t total = H5Sget_select_elem_npoints(space);
  // Later releases copy what there is and say nothing.
  if (total >= 0 && exceeds(start, count, static_cast<hsize_t>(total))) {
    raiseRefusal("H5Sget_select_elem_pointlist", "the selection has fewer points than asked for");
  }
  const auto rows = static_cast<std::size_t>(std::max(rank, 0));
  const std::size_t columns = total < 0 ? 0 : count;
  std::vector<hsize_t> points(rows * columns + 1);
  checked(H5Sget_select_elem_pointlist(space, start, count, points.data()));
  outs.give(makeReshaped(rows, columns, points.data()));
}

void getSelectHyperBlocklist(Inputs ins, Results& outs) {
  const auto [space, start, count] = take<SpaceId, Size, Size>(ins);
  const int rank = H5Sget_simple_extent_ndims(space);
  const hssize_t total = H5Sget_select_hyper_nblocks(space);
  if (total >= 0 && exceeds(start, count, static_cast<hsize_t>(total))) {
    raise<msg::blockListOutOfRange>(total);
  }
  const auto rows = static_cast<std::size_t>(std::max(rank, 0));
  const std::size_t columns = total < 0 ? 0 : 2 * count;
  std::vector<hsize_t> blocks(rows * columns + 1);
  checked(H5Sget_select_hyper_blocklist(space, start, count, blocks.data()));
  outs.give(makeSizes(rows, columns, blocks.data()));
}

// --- Selecting ------------------------------------------------------------------------

void selectElements(Inputs ins, Results& /*outs*/) {
  const auto [space, op, coordinates] = take<SpaceId, Operator, Dims<"coord">>(ins);
  const int rank = H5Sget_simple_extent_ndims(space);
  if (rank < 0) raiseFailed<msg::invalidRankForElementSelection>();
  if (rank < 1) raiseAbout<msg::invalidRankForElementSelection>(ins[0]);
  const auto perPoint = static_cast<std::size_t>(rank);
  if (coordinates.size() % perPoint != 0) {
    raiseAbout<msg::wrongNumberOfElementsForElementSelection>(
        ins[2], static_cast<std::int64_t>(coordinates.size()), rank);
  }
  checked(H5Sselect_elements(space, op, coordinates.size() / perPoint, coordinates.data()));
}

const hsize_t* orNull(const PaddedSizes& values) {
  return values.empty() ? nullptr : values.data();
}

void selectHyperslab(Inputs ins, Results& /*outs*/) {
  const auto [space, op, starts, strides, counts, blocks] =
      take<SpaceId, Operator, Any, Any, Any, Any>(ins);
  const int rank = H5Sget_simple_extent_ndims(space);
  const PaddedSizes start = getDimsArg(starts, "start");
  if (rank < 0) raiseFailed<msg::badHyperslabSpecification>("START");
  if (start.rank() != rank) raiseAbout<msg::badHyperslabSpecification>(starts, "START");
  const PaddedSizes stride = getDimsArg(strides, "stride");
  PaddedSizes count = getDimsArg(counts, "count");
  const PaddedSizes block = getDimsArg(blocks, "block");
  if (!stride.empty() && stride.rank() != rank) {
    raiseAbout<msg::badHyperslabSpecification>(strides, "STRIDE");
  }
  if (count.empty()) count = PaddedSizes(start.size(), 1);
  if (count.rank() != rank) raiseAbout<msg::badHyperslabSpecification>(counts, "COUNT");
  // The count's length is compared again, not the block's: scripts rely on a block
  // of another length passing.
  if (!block.empty() && count.rank() != rank) {
    raiseAbout<msg::badHyperslabSpecification>(blocks, "BLOCK");
  }
  checked(
      hdf5::selectHyperslab(space, op, start.data(), orNull(stride), count.data(), orNull(block)));
}

void offsetSimple(Inputs ins, Results& /*outs*/) {
  const auto [space, offsets] = take<SpaceId, Any>(ins);
  const int rank = H5Sget_simple_extent_ndims(space);
  if (rank < 0) raiseFailed<msg::rankMismatchForSimpleOffset>();
  if (static_cast<int>(zbGetNumberOfElements(offsets)) != rank) {
    raiseAbout<msg::rankMismatchForSimpleOffset>(offsets);
  }
  checked(H5Soffset_simple(space, getOffsetsArg(offsets, "offset").data()));
}

constexpr Row kDataspaceFunctions[] = {
    // clang-format off
    //  name                           gives              takes
    ROW(H5Sclose,                      Nothing,           SpaceId),
    ROW(H5Scopy,                       Identifier,        SpaceId),
    ROW(H5Screate,                     Identifier,        Enum<H5S_class_t>),
    OWN(H5Screate_simple,              createSimple),
    ROW(H5Sextent_copy,                ChangedExtent,     SpaceId, SpaceId),
    OWN(H5Sget_select_bounds,          getSelectBounds),
    ROW(H5Sget_select_elem_npoints,    Number,            SpaceId),
    OWN(H5Sget_select_elem_pointlist,  getSelectElemPointlist),
    OWN(H5Sget_select_hyper_blocklist, getSelectHyperBlocklist),
    ROW(H5Sget_select_hyper_nblocks,   Number,            SpaceId),
    ROW(H5Sget_select_npoints,         Number,            SpaceId),
    ROW(H5Sget_select_type,            Number,            SpaceId),
    OWN(H5Sget_simple_extent_dims,     getSimpleExtentDims),
    ROW(H5Sget_simple_extent_ndims,    Number,            SpaceId),
    ROW(H5Sget_simple_extent_npoints,  Number,            SpaceId),
    ROW(H5Sget_simple_extent_type,     Unchecked<Number>, SpaceId),
    ROW(H5Sis_simple,                  YesNo,             SpaceId),
    OWN(H5Soffset_simple,              offsetSimple),
    ROW(H5Sselect_all,                 Nothing,           SpaceId),
    OWN(H5Sselect_elements,            selectElements),
    OWN(H5Sselect_hyperslab,           selectHyperslab),
    ROW(H5Sselect_none,                Nothing,           SpaceId),
    ROW(H5Sselect_valid,               YesNo,             SpaceId),
    CALL(H5Sset_extent_none, hdf5::setExtentNone, ChangedExtent, SpaceId),
    OWN(H5Sset_extent_simple,          setExtentSimple),
};  // clang-format on

}  // namespace

std::span<const Row> dataspaceFunctions() { return kDataspaceFunctions; }

}  // namespace h5gate
