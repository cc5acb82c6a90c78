#include "hdf5/space_shields.hpp"

namespace hdf5 {
namespace {

bool isAllOfNothing(hid_t space) {
  return H5Sget_select_type(space) == H5S_SEL_ALL &&
         H5Sget_simple_extent_type(space) == H5S_SIMPLE && H5Sget_simple_extent_npoints(space) == 0;
}

}  // namespace

herr_t selectHyperslab(hid_t space, H5S_seloper_t op, const hsize_t* start, const hsize_t* stride,
                       const hsize_t* count, const hsize_t* block) {
  const auto select = [&](H5S_seloper_t by) {
    return H5Sselect_hyperslab(space, by, start, stride, count, block);
  };
  const bool crashes = op == H5S_SELECT_XOR || op == H5S_SELECT_NOTB;
  if (!crashes || !isAllOfNothing(space)) return select(op);
  // What is in one of nothing and the hyperslab is the hyperslab, and of nothing no part
  // is outside of it.
  const herr_t status = select(H5S_SELECT_SET);
  return status < 0 || op == H5S_SELECT_XOR ? status : H5Sselect_none(space);
}

}  // namespace hdf5
