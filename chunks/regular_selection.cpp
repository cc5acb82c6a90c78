#include "chunks/regular_selection.hpp"

#include <array>

namespace chunks {
namespace {

using Corner = std::array<hsize_t, H5S_MAX_RANK>;

bool describe(hid_t space, std::vector<Axis>& axes) {
  Corner start{};
  Corner stride{};
  Corner count{};
  Corner block{};
  Corner low{};
  Corner high{};
  if (hdf5::getRegularHyperslab(space, start.data(), stride.data(), count.data(), block.data()) <
          0 ||
      H5Sget_select_bounds(space, low.data(), high.data()) < 0) {
    return false;
  }
  for (std::size_t i = 0; i < axes.size(); ++i) {
    Axis& axis = axes[i];
    if (count[i] == 0 || block[i] == 0) return false;
    if (count[i] == 1 || stride[i] == block[i]) {
      axis = {start[i], 1, 0, 0};
      if (__builtin_mul_overflow(count[i], block[i], &axis.points)) return false;
      axis.block = axis.stride = axis.points;
    } else {
      axis = {start[i], stride[i], block[i], 0};
      if (__builtin_mul_overflow(count[i], block[i], &axis.points)) return false;
    }
    // A selection that was moved by an offset has other bounds than its blocks say.
    if (low[i] != axis.start || high[i] != axis.last()) return false;
  }
  return true;
}

}  // namespace

std::optional<RegularSelection> RegularSelection::of(hid_t space) {
  const int rank = H5Sget_simple_extent_ndims(space);
  if (rank < 1) return std::nullopt;
  RegularSelection selection;
  selection.axes.resize(static_cast<std::size_t>(rank));
  selection.extent.resize(selection.axes.size());
  H5Sget_simple_extent_dims(space, selection.extent.data(), nullptr);
  switch (H5Sget_select_type(space)) {
    case H5S_SEL_ALL:
      for (std::size_t i = 0; i < selection.rank(); ++i) {
        const hsize_t points = selection.extent[i];
        selection.axes[i] = {0, points, points, points};
      }
      break;
    case H5S_SEL_HYPERSLABS:
      if (!describe(space, selection.axes)) return std::nullopt;
      break;
    default: return std::nullopt;
  }
  for (std::size_t i = 0; i < selection.rank(); ++i) {
    const Axis& axis = selection.axes[i];
    if (axis.points == 0 || axis.last() >= selection.extent[i]) return std::nullopt;
  }
  return selection;
}

}  // namespace chunks
