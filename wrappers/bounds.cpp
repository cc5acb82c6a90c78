#include "wrappers/bounds.hpp"

#include "convert/numbers.hpp"
#include "hdf5/handle.hpp"

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
