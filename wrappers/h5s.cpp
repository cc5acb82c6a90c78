// H5S: dataspaces and selections. Vectors list the slowest-varying dimension
// first, as HDF5 does, in both directions.
#include "wrappers/row.hpp"
#include "wrappers/tables.hpp"

namespace h5gate {
namespace {

using SpaceId = Id<"dataspace identifier">;

/// The maximum extents of a new extent: none given means that it cannot grow.
Dims maxDimsOr(const zbArray* array, const Dims& dims) {
  return zbGetNumberOfElements(array) == 0 ? dims : getMaxDimsArg(array);
}

void createSimple(zbArray** outs, const zbArray** ins) {
  const int rank = getIntArg(ins[0]);
  const Dims dims = getDimsArg(ins[1], "dims");
  const Dims maxDims = maxDimsOr(ins[2], dims);
  if (dims.rank() != rank || maxDims.rank() != rank) raise<msg::createSimpleSizeMismatch>();
  outs[0] = makeHidResult(checked(H5Screate_simple(rank, dims.data(), maxDims.data())));
}

/// Changes an extent. HDF5 keeps what is selected, and the coordinates of another
/// rank would be read and written beyond the vectors that have this one: such a
/// selection ends with the extent that it was made in.
template <class Change>
void changeExtent(hid_t space, Change change) {
  const int rank = H5Sget_simple_extent_ndims(space);
  checked(change());
  const H5S_sel_type selected = H5Sget_select_type(space);
  if (H5Sget_simple_extent_ndims(space) != rank && selected != H5S_SEL_ALL &&
      selected != H5S_SEL_NONE) {
    checked(H5Sselect_all(space));
  }
}

void setExtentSimple(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t space = SpaceId::from(ins[0]);
  const int rank = getIntArg(ins[1]);
  const Dims size = getDimsArg(ins[2], "Current Size");
  const Dims maxSize = maxDimsOr(ins[3], size);
  if (size.rank() != rank || maxSize.rank() != rank) raise<msg::setExtentSimpleSizeMismatch>();
  changeExtent(space,
               [&] { return H5Sset_extent_simple(space, rank, size.data(), maxSize.data()); });
}

void setExtentNone(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t space = SpaceId::from(ins[0]);
  changeExtent(space, [&] { return H5Sset_extent_none(space); });
}

void copyExtent(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t destination = SpaceId::from(ins[0]);
  const hid_t source = SpaceId::from(ins[1]);
  changeExtent(destination, [&] { return H5Sextent_copy(destination, source); });
}

void getSimpleExtentDims(zbArray** outs, const zbArray** ins) {
  const hid_t space = SpaceId::from(ins[0]);
  const auto rank = static_cast<std::size_t>(checked(H5Sget_simple_extent_ndims(space)));
  Dims dims(rank);
  Dims maxDims(rank);
  const int given = checked(H5Sget_simple_extent_dims(space, dims.data(), maxDims.data()));
  outs[0] = zbCreateDoubleScalar(given);
  outs[1] = rank == 0 ? makeEmpty() : makeSizes(1, rank, dims.data());
  outs[2] = rank == 0 ? makeEmpty() : makeMaxDims(rank, maxDims.data());
}

/// A matrix of counts whose shape is settled after the values are there.
zbArray* makeReshaped(std::size_t rows, std::size_t columns, const hsize_t* values) {
  zbArray* array = makeSizes(rows * columns, 1, values);
  const std::size_t shape[] = {rows, columns};
  if (zbSetDimensions(array, 2, shape) != 0) raise<msg::resizeFailure>();
  return array;
}

void getSelectBounds(zbArray** outs, const zbArray** ins) {
  const hid_t space = SpaceId::from(ins[0]);
  const auto rank = static_cast<std::size_t>(checked(H5Sget_simple_extent_ndims(space)));
  Dims start(rank);
  Dims end(rank);
  checked(H5Sget_select_bounds(space, start.data(), end.data()));
  outs[0] = makeReshaped(1, rank, start.data());
  outs[1] = makeReshaped(1, rank, end.data());
}

/// Whether items start .. start+count-1 are more than there are; the sum may wrap.
bool exceeds(hsize_t start, hsize_t count, hsize_t available) {
  return start > available || count > available - start;
}

void getSelectElemPointlist(zbArray** outs, const zbArray** ins) {
  const hid_t space = SpaceId::from(ins[0]);
  const int rank = H5Sget_simple_extent_ndims(space);
  const hsize_t start = getSizeArg(ins[1]);
  const hsize_t count = getSizeArg(ins[2]);
  const hssize_t total = H5Sget_select_elem_npoints(space);
  // Later releases copy what there is and say nothing.
  if (total >= 0 && exceeds(start, count, static_cast<hsize_t>(total))) {
    raiseRefusal("H5Sget_select_elem_pointlist", "the selection has fewer points than asked for");
  }
  const auto rows = static_cast<std::size_t>(rank < 0 ? 0 : rank);
  const auto columns = static_cast<std::size_t>(total < 0 ? 0 : count);
  std::vector<hsize_t> points(rows * columns + 1);
  checked(H5Sget_select_elem_pointlist(space, start, count, points.data()));
  outs[0] = makeReshaped(rows, columns, points.data());
}

void getSelectHyperBlocklist(zbArray** outs, const zbArray** ins) {
  const hid_t space = SpaceId::from(ins[0]);
  const int rank = H5Sget_simple_extent_ndims(space);
  const hsize_t start = getSizeArg(ins[1]);
  const hsize_t count = getSizeArg(ins[2]);
  const hssize_t total = H5Sget_select_hyper_nblocks(space);
  if (total >= 0 && exceeds(start, count, static_cast<hsize_t>(total))) {
    raise<msg::blockListOutOfRange>(total);
  }
  const auto rows = static_cast<std::size_t>(rank < 0 ? 0 : rank);
  const auto columns = 2 * static_cast<std::size_t>(total < 0 ? 0 : count);
  std::vector<hsize_t> blocks(rows * columns + 1);
  checked(H5Sget_select_hyper_blocklist(space, start, count, blocks.data()));
  outs[0] = makeSizes(rows, columns, blocks.data());
}

void selectElements(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t space = SpaceId::from(ins[0]);
  const auto op = getEnumArg<H5S_seloper_t>(ins[1]);
  const Dims coordinates = getDimsArg(ins[2], "coord");
  const int rank = H5Sget_simple_extent_ndims(space);
  if (rank < 1) raise<msg::invalidRankForElementSelection>();
  const auto perPoint = static_cast<std::size_t>(rank);
  if (coordinates.size() % perPoint != 0) {
    raise<msg::wrongNumberOfElementsForElementSelection>(
        static_cast<std::int64_t>(coordinates.size()), rank);
  }
  checked(H5Sselect_elements(space, op, coordinates.size() / perPoint, coordinates.data()));
}

void selectHyperslab(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t space = SpaceId::from(ins[0]);
  const auto op = getEnumArg<H5S_seloper_t>(ins[1]);
  const int rank = H5Sget_simple_extent_ndims(space);
  const Dims start = getDimsArg(ins[2], "start");
  if (start.rank() != rank) raise<msg::badHyperslabSpecification>("START");
  const Dims stride = getDimsArg(ins[3], "stride");
  Dims count = getDimsArg(ins[4], "count");
  const Dims block = getDimsArg(ins[5], "block");
  if (!stride.empty() && stride.rank() != rank) raise<msg::badHyperslabSpecification>("STRIDE");
  if (count.empty()) {
    count = Dims(start.size());
    for (std::size_t i = 0; i < count.size(); ++i) count[i] = 1;
  }
  if (count.rank() != rank) raise<msg::badHyperslabSpecification>("COUNT");
  // The count's length is compared again, not the block's: scripts rely on a block
  // of another length passing.
  if (!block.empty() && count.rank() != rank) raise<msg::badHyperslabSpecification>("BLOCK");
  checked(H5Sselect_hyperslab(space, op, start.data(), stride.empty() ? nullptr : stride.data(),
                              count.data(), block.empty() ? nullptr : block.data()));
}

void offsetSimple(zbArray** /*outs*/, const zbArray** ins) {
  const hid_t space = SpaceId::from(ins[0]);
  const int rank = H5Sget_simple_extent_ndims(space);
  if (static_cast<int>(zbGetNumberOfElements(ins[1])) != rank) {
    raise<msg::rankMismatchForSimpleOffset>();
  }
  const Offsets offset = getOffsetsArg(ins[1], "offset");
  checked(H5Soffset_simple(space, offset.data()));
}

constexpr Row kDataspaceFunctions[] = {
    // name                          call                         gives       takes
    {"H5Sclose", wrap<H5Sclose, Nothing, SpaceId>},
    {"H5Scopy", wrap<H5Scopy, Identifier, SpaceId>},
    {"H5Screate", wrap<H5Screate, Identifier, Enum<H5S_class_t>>},
    {"H5Screate_simple", rule<3, createSimple>},
    {"H5Sextent_copy", rule<2, copyExtent>},
    {"H5Sget_select_bounds", rule<1, getSelectBounds>},
    {"H5Sget_select_elem_npoints", wrap<H5Sget_select_elem_npoints, Number, SpaceId>},
    {"H5Sget_select_elem_pointlist", rule<3, getSelectElemPointlist>},
    {"H5Sget_select_hyper_blocklist", rule<3, getSelectHyperBlocklist>},
    {"H5Sget_select_hyper_nblocks", wrap<H5Sget_select_hyper_nblocks, Number, SpaceId>},
    {"H5Sget_select_npoints", wrap<H5Sget_select_npoints, Number, SpaceId>},
    {"H5Sget_select_type", wrap<H5Sget_select_type, Number, SpaceId>},
    {"H5Sget_simple_extent_dims", rule<1, getSimpleExtentDims>},
    {"H5Sget_simple_extent_ndims", wrap<H5Sget_simple_extent_ndims, Number, SpaceId>},
    {"H5Sget_simple_extent_npoints", wrap<H5Sget_simple_extent_npoints, Number, SpaceId>},
    {"H5Sget_simple_extent_type", wrap<H5Sget_simple_extent_type, RawNumber, SpaceId>},
    {"H5Sis_simple", wrap<H5Sis_simple, YesNo, SpaceId>},
    {"H5Soffset_simple", rule<2, offsetSimple>},
    {"H5Sselect_all", wrap<H5Sselect_all, Nothing, SpaceId>},
    {"H5Sselect_elements", rule<3, selectElements>},
    {"H5Sselect_hyperslab", rule<6, selectHyperslab>},
    {"H5Sselect_none", wrap<H5Sselect_none, Nothing, SpaceId>},
    {"H5Sselect_valid", wrap<H5Sselect_valid, YesNo, SpaceId>},
    {"H5Sset_extent_none", rule<1, setExtentNone>},
    {"H5Sset_extent_simple", rule<4, setExtentSimple>},
};

}  // namespace

std::span<const Row> dataspaceFunctions() { return kDataspaceFunctions; }

}  // namespace h5gate
