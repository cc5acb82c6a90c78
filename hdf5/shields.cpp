#include "hdf5/shields.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "hdf5/external_link_shields.hpp"

namespace hdf5 {
namespace {

using Coordinates = std::array<hsize_t, H5S_MAX_RANK>;

/// The points with `high - low` zeros before the coordinates of each; `start` is where
/// the least of each coordinate goes.
std::vector<hsize_t> inMoreDimensions(const std::vector<hsize_t>& points, std::size_t low,
                                      std::size_t high, const Coordinates& start) {
  const std::size_t count = points.size() / low;
  std::vector<hsize_t> places(count * high);
  for (std::size_t i = 0; i < low; ++i) {
    hsize_t least = points[i];
    for (std::size_t k = 0; k < count; ++k) least = std::min(least, points[k * low + i]);
    for (std::size_t k = 0; k < count; ++k) {
      places[k * high + high - low + i] = points[k * low + i] - least + start[i];
    }
  }
  return places;
}

}  // namespace

hid_t listOrNothing(hid_t id) {
  if (id == H5P_DEFAULT) return id;
  if (H5Iget_type(id) != H5I_GENPROP_LST) return H5I_INVALID_HID;
  watchLinksBy(id);
  return id;
}

bool isDatasetCreationList(hid_t id) {
  return id != H5P_DEFAULT && H5Iget_type(id) == H5I_GENPROP_LST &&
         H5Pisa_class(id, H5P_DATASET_CREATE) > 0;
}

bool selectionFits(hid_t space) {
  if (H5Sselect_valid(space) <= 0) return false;
  if (H5Sget_select_type(space) != H5S_SEL_POINTS) return true;
  // HDF5 takes a point one past the end for a valid one.
  Coordinates extent{};
  Coordinates start{};
  Coordinates end{};
  const int rank = H5Sget_simple_extent_dims(space, extent.data(), nullptr);
  if (rank < 0 || H5Sget_select_bounds(space, start.data(), end.data()) < 0) return false;
  for (std::size_t i = 0; i < static_cast<std::size_t>(rank); ++i) {
    if (end[i] >= extent[i]) return false;
  }
  return true;
}

herr_t leaveAllInPlace(hid_t space) {
  if (H5Sget_select_type(space) != H5S_SEL_ALL || H5Sget_simple_extent_ndims(space) < 1) return 0;
  static constexpr std::array<hssize_t, H5S_MAX_RANK> kNone{};
  return H5Soffset_simple(space, kNone.data());
}

herr_t setExtentNone(hid_t space) {
  if constexpr (!kSince110) {
    Space null(H5Screate(H5S_NULL));
    if (H5Sextent_copy(space, null.get()) < 0) {
      const KeepErrorStack keep;
      null.close();
      return -1;
    }
  }
  return H5Sset_extent_none(space);
}

std::optional<Space> pointsInRankOf(hid_t fileSpace, hid_t memorySpace) {
  const int lowRank = H5Sget_simple_extent_ndims(memorySpace);
  const int highRank = H5Sget_simple_extent_ndims(fileSpace);
  if (lowRank < 1 || lowRank >= highRank || H5Sget_select_type(memorySpace) != H5S_SEL_POINTS)
    return Space();
  const auto low = static_cast<std::size_t>(lowRank);
  const auto high = static_cast<std::size_t>(highRank);

  const hssize_t count = H5Sget_select_elem_npoints(memorySpace);
  if (count < 0) return std::nullopt;
  std::vector<hsize_t> points(static_cast<std::size_t>(count) * low);
  // The selection's offset cannot be asked for; the bounds have it added.
  Coordinates start{};
  Coordinates end{};
  Coordinates extent{};
  std::fill_n(extent.begin(), high - low, 1);
  if (H5Sget_select_elem_pointlist(memorySpace, 0, static_cast<hsize_t>(count), points.data()) <
          0 ||
      H5Sget_select_bounds(memorySpace, start.data(), end.data()) < 0 ||
      H5Sget_simple_extent_dims(memorySpace, extent.data() + (high - low), nullptr) < 0) {
    return std::nullopt;
  }
  Space wider(H5Screate_simple(highRank, extent.data(), nullptr));
  const std::vector<hsize_t> places = inMoreDimensions(points, low, high, start);
  if (H5Sselect_elements(wider.get(), H5S_SELECT_SET, static_cast<std::size_t>(count),
                         places.data()) < 0) {
    const KeepErrorStack keep;
    wider.close();
    return std::nullopt;
  }
  return wider;
}

bool holdsPointers(hid_t type) {
  switch (H5Tget_class(type)) {
    case H5T_VLEN: return true;
    case H5T_STRING: return H5Tis_variable_str(type) > 0;
    case H5T_REFERENCE: return H5Tget_size(type) > sizeof(hdset_reg_ref_t);
    case H5T_ARRAY: return holdsPointers(Type(H5Tget_super(type)).get());
    case H5T_COMPOUND: {
      const auto members = static_cast<unsigned>(H5Tget_nmembers(type));
      for (unsigned i = 0; i < members; ++i) {
        if (holdsPointers(Type(H5Tget_member_type(type, i)).get())) return true;
      }
      return false;
    }
    default: return false;
  }
}

}  // namespace hdf5
