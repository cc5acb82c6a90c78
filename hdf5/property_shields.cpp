#include "hdf5/property_shields.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>
#include <vector>

#include "hdf5/identifier_shields.hpp"

namespace hdf5 {
namespace {

constexpr std::uint64_t kMostSlots = std::uint64_t{1} << 59;  // of sizes, or pairs of them
constexpr unsigned kHighestRank = 32767;

// --- Raw properties ---------------------------------------------------------------------

/// In any release; a name is of one thing in all lists that have it.
constexpr std::string_view kHoldPointers[] = {
    // Files
    "driver_id", "driver_info", "vfd_info", "vfl_id", "vfl_info", "vol_connector_info", "info",
    "fapl", "file_image_info", "mdc_log_location", "use_mdc_logging", "object_flush_cb",
    "mdc_initCacheCfg", "mdc_initCacheImageCfg",
    // Datasets and groups
    "layout", "efl", "fill_value", "pline", "vds_prefix", "external file prefix", "append_flush",
    "link info", "group info",
    // Links and copies
    "external link callback", "external link prefix", "external link fapl",
    "committed dtype list search", "merge committed dtype list",
    // Transfers
    "bkgr_buf", "tconv_buf", "vlen_alloc", "vlen_alloc_info", "vlen_free", "vlen_free_info",
    "data_transform", "type_conv_cb", "filter_cb", "dset_io_selection"};

/// Numbers, one or several, between these.
struct Limits {
  std::string_view name;
  std::size_t width;
  std::uint64_t least;
  std::uint64_t most;
};
constexpr Limits kLimits[] = {
    {"max_temp_buf", 8, 1, kMostSlots},
    {"vec_size", 8, 1, kMostSlots},
    {"rdcc_nslots", 8, 0, kMostSlots},
    {"libver_low_bound", 4, 0, H5F_LIBVER_LATEST},
    {"libver_high_bound", 4, 0, H5F_LIBVER_LATEST},
    {"btree_rank", 4, 1, kHighestRank},
    {"symbol_leaf", 4, 1, kHighestRank},
    {"num_shmsg_indexes", 4, 0, 8},
    {"addr_byte_num", 1, 2, 8},
    {"obj_byte_num", 1, 2, 8},
};

bool areWithin(const Limits& limits, hid_t list, const char* name, const void* values) {
  std::size_t size = 0;
  if (H5Pget_size(list, name, &size) < 0) return true;
  for (std::size_t at = 0; at + limits.width <= size; at += limits.width) {
    std::uint64_t value = 0;
    std::memcpy(&value, static_cast<const char*>(values) + at, limits.width);
    // A dataset's list says so that the file's is meant.
    const bool isDefault =
        value == std::numeric_limits<std::uint64_t>::max() && limits.name == "rdcc_nslots";
    if (!isDefault && (value < limits.least || value > limits.most)) return false;
  }
  return true;
}

bool isSzipOfNothing(H5Z_filter_t filter, size_t count, const unsigned* data) {
  return filter == H5Z_FILTER_SZIP && (count < 2 || data[1] == 0);
}

// --- Filters ----------------------------------------------------------------------------

struct Filter {
  H5Z_filter_t id;
  unsigned flags;
  size_t count;  // of client data
};

std::vector<Filter> filtersOf(hid_t list) {
  std::vector<Filter> filters(static_cast<std::size_t>(std::max(H5Pget_nfilters(list), 0)));
  for (std::size_t i = 0; i < filters.size(); ++i) {
    Filter& filter = filters[i];
    unsigned config = 0;
    filter.id = H5Pget_filter2(list, static_cast<unsigned>(i), &filter.flags, &filter.count,
                               nullptr, 0, nullptr, &config);
  }
  return filters;
}

herr_t refuseSzip(const char* function) {
  return refuse(function, "szip needs the number of pixels of a block");
}

}  // namespace

herr_t setRawProperty(hid_t list, const char* name, const void* value) {
  if (isLibrarys(list)) return refuseToChange(list);
  if (std::ranges::find(kHoldPointers, std::string_view(name)) != std::end(kHoldPointers)) {
    return refuse("H5Pset", "the property holds pointers, identifiers or a structure");
  }
  const auto* limits = std::ranges::find(kLimits, std::string_view(name), &Limits::name);
  if (limits != std::end(kLimits) && !areWithin(*limits, list, name, value)) {
    return refuse("H5Pset", "the property cannot have that value");
  }
  return setProperty(list, name, value);
}

htri_t equalLists(hid_t one, hid_t other) {
  return one == other && H5Iget_type(one) == H5I_GENPROP_LST ? 1 : H5Pequal(one, other);
}

herr_t setCache(hid_t list, int elements, size_t slots, size_t bytes, double preemption) {
  if (slots > kMostSlots) return refuse("H5Pset_cache", "so many slots do not fit into memory");
  return H5Pset_cache(list, elements, slots, bytes, preemption);
}

herr_t setChunkCache(hid_t list, size_t slots, size_t bytes, double preemption) {
  if (slots > kMostSlots && slots != H5D_CHUNK_CACHE_NSLOTS_DEFAULT) {
    return refuse("H5Pset_chunk_cache", "so many slots do not fit into memory");
  }
  return H5Pset_chunk_cache(list, slots, bytes, preemption);
}

herr_t setVectorSize(hid_t list, size_t size) {
  if (size > kMostSlots) {
    return refuse("H5Pset_hyper_vector_size", "so large a vector does not fit into memory");
  }
  return H5Pset_hyper_vector_size(list, size);
}

herr_t setSymbolRanks(hid_t list, unsigned tree, unsigned leaf) {
  if (tree > kHighestRank || leaf > kHighestRank) {
    return refuse("H5Pset_sym_k", "a rank is too high for the entries of a node");
  }
  return H5Pset_sym_k(list, tree, leaf);
}

herr_t setChunkRank(hid_t list, unsigned tree) {
  if (tree > kHighestRank) {
    return refuse("H5Pset_istore_k", "the rank is too high for the entries of a node");
  }
  return H5Pset_istore_k(list, tree);
}

herr_t setFilter(hid_t list, H5Z_filter_t filter, unsigned flags, size_t count,
                 const unsigned* data) {
  if (isSzipOfNothing(filter, count, data)) return refuseSzip("H5Pset_filter");
  return H5Pset_filter(list, filter, flags, count, data);
}

herr_t modifyFilter(hid_t list, H5Z_filter_t filter, unsigned flags, size_t count,
                    const unsigned* data) {
  if (isSzipOfNothing(filter, count, data)) return refuseSzip("H5Pmodify_filter");
  return H5Pmodify_filter(list, filter, flags, count, data);
}

herr_t removeFilter(hid_t list, H5Z_filter_t filter) {
  if (filter == H5Z_FILTER_ALL) return H5Premove_filter(list, filter);
  std::vector<Filter> rest = filtersOf(list);
  const auto removed = std::ranges::find(rest, filter, &Filter::id);
  if (removed == rest.end()) return H5Premove_filter(list, filter);
  const auto moved = rest.erase(removed);
  const auto hasNoData = [](const Filter& one) { return one.count == 0; };
  for (auto one = moved; one != rest.end(); ++one) {
    // Filters are changed by their names: of several the first one would be.
    if (hasNoData(*one) && std::ranges::count(rest, one->id, &Filter::id) > 1) {
      return refuse("H5Premove_filter", "a filter without client data is there twice behind it");
    }
  }
  if (H5Premove_filter(list, filter) < 0) return -1;
  const bool all = std::all_of(moved, rest.end(), [&](const Filter& one) {
    return !hasNoData(one) || H5Pmodify_filter(list, one.id, one.flags, 0, nullptr) >= 0;
  });
  return all ? 0 : -1;
}

}  // namespace hdf5
