#include "hdf5/property_shields.hpp"

#include <algorithm>
#include <string_view>

#include "hdf5/identifier_shields.hpp"

namespace hdf5 {
namespace {

/// In any release; names are of one thing in all lists that have them.
constexpr std::string_view kHoldPointers[] = {
    // Files
    "driver_id", "driver_info", "vfd_info", "vfl_id", "vfl_info", "vol_connector_info", "info",
    "fapl", "file_image_info", "mdc_log_location", "object_flush_cb",
    // Datasets
    "layout", "efl", "fill_value", "pline", "vds_prefix", "external file prefix", "append_flush",
    // Links and copies
    "external link callback", "external link prefix", "external link fapl",
    "committed dtype list search", "merge committed dtype list",
    // Transfers
    "bkgr_buf", "tconv_buf", "vlen_alloc", "vlen_alloc_info", "vlen_free", "vlen_free_info",
    "data_transform", "type_conv_cb", "filter_cb", "dset_io_selection"};

}  // namespace

herr_t setRawProperty(hid_t list, const char* name, const void* value) {
  if (isLibrarys(list)) return refuse("H5Pset", "a default list of HDF5's cannot be changed");
  if (std::ranges::find(kHoldPointers, std::string_view(name)) != std::end(kHoldPointers)) {
    return refuse("H5Pset", "the property holds pointers or identifiers");
  }
  return setProperty(list, name, value);
}

}  // namespace hdf5
