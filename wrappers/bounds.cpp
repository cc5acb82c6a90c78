#include "wrappers/bounds.hpp"

#include <algorithm>
#include <vector>

#include "convert/numbers.hpp"
#include "gateway/failure.hpp"

namespace h5gate {

bool selectionFits(hid_t space) {
  if (H5Sselect_valid(space) <= 0) return false;
  if (H5Sget_select_type(space) != H5S_SEL_POINTS) return true;
  // HDF5 takes a point one past the end for a valid one.
  Dims extent;
  Dims start;
  Dims end;
  const int rank = H5Sget_simple_extent_dims(space, extent.data(), nullptr);
  if (rank < 0 || H5Sget_select_bounds(space, start.data(), end.data()) < 0) return false;
  for (std::size_t i = 0; i < static_cast<std::size_t>(rank); ++i) {
    if (end[i] >= extent[i]) return false;
  }
  return true;
}

hdf5::Space raisedPoints(hid_t memorySpace, hid_t fileSpace) {
  const int lowRank = H5Sget_simple_extent_ndims(memorySpace);
  const int highRank = H5Sget_simple_extent_ndims(fileSpace);
  if (lowRank >= highRank || H5Sget_select_type(memorySpace) != H5S_SEL_POINTS) return {};
  const auto low = static_cast<std::size_t>(lowRank);
  const auto high = static_cast<std::size_t>(highRank);
  const auto count = static_cast<std::size_t>(checked(H5Sget_select_elem_npoints(memorySpace)));
  std::vector<hsize_t> given(count * low);
  checked(H5Sget_select_elem_pointlist(memorySpace, 0, count, given.data()));

  // The selection's offset cannot be asked for; the bounds have it added.
  Dims start;
  Dims end;
  checked(H5Sget_select_bounds(memorySpace, start.data(), end.data()));
  std::vector<hsize_t> points(count * high);
  for (std::size_t i = 0; i < low; ++i) {
    hsize_t least = given[i];
    for (std::size_t k = 0; k < count; ++k) least = std::min(least, given[k * low + i]);
    for (std::size_t k = 0; k < count; ++k) {
      points[k * high + high - low + i] = given[k * low + i] - least + start[i];
    }
  }

  Dims extent(high);
  for (std::size_t i = 0; i < high - low; ++i) extent[i] = 1;
  checked(H5Sget_simple_extent_dims(memorySpace, extent.data() + (high - low), nullptr));
  hdf5::Space raised(checked(H5Screate_simple(highRank, extent.data(), nullptr)));
  checked(H5Sselect_elements(raised.get(), H5S_SELECT_SET, count, points.data()));
  return raised;
}

bool holdsPointers(hid_t type) {
  switch (H5Tget_class(type)) {
    case H5T_VLEN: return true;
    case H5T_STRING: return H5Tis_variable_str(type) > 0;
    case H5T_REFERENCE: return H5Tget_size(type) > sizeof(hdset_reg_ref_t);
    case H5T_ARRAY: return holdsPointers(hdf5::Type(H5Tget_super(type)).get());
    case H5T_COMPOUND: {
      const auto members = static_cast<unsigned>(H5Tget_nmembers(type));
      for (unsigned i = 0; i < members; ++i) {
        if (holdsPointers(hdf5::Type(H5Tget_member_type(type, i)).get())) return true;
      }
      return false;
    }
    default: return false;
  }
}

}  // namespace h5gate
