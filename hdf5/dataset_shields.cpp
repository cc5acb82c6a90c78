#include "hdf5/dataset_shields.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <span>
#include <vector>

#include "hdf5/disk_room.hpp"
#include "hdf5/handle.hpp"
#include "hdf5/shields.hpp"

namespace hdf5 {
namespace {

using Coordinates = std::array<hsize_t, H5S_MAX_RANK>;

extern "C" void* countAndAllocate(size_t size, void* total) {
  *static_cast<hsize_t*>(total) += size;
  return std::malloc(size);  // NOLINT(cppcoreguidelines-no-malloc): HDF5 frees it by the other
}
extern "C" void freeCounted(void* memory, void* /*total*/) {
  std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc)
}

/// Of a dataset that is one element.
herr_t sizeOfScalar(hid_t dataset, hid_t type, hid_t space, hsize_t* size) {
  std::vector<char> element(H5Tget_size(type));
  PropertyList list(H5Pcreate(H5P_DATASET_XFER));
  *size = 0;
  herr_t status = H5Pset_vlen_mem_manager(list.get(), countAndAllocate, size, freeCounted, nullptr);
  if (status >= 0) status = H5Dread(dataset, type, space, space, list.get(), element.data());
  if (status >= 0) status = H5Dvlen_reclaim(type, space, list.get(), element.data());
  const KeepErrorStack keep;
  list.close();
  return status;
}

/// Whether all that is selected, wherever the selection's offset moves it, is in the extent.
bool liesWithin(hid_t space, const Coordinates& extent, int rank) {
  Coordinates start{};
  Coordinates end{};
  if (H5Sget_select_bounds(space, start.data(), end.data()) < 0) return false;
  for (std::size_t i = 0; i < static_cast<std::size_t>(rank); ++i) {
    if (end[i] >= extent[i]) return false;
  }
  return true;
}

/// HDF5 does not heed the offset in every release.
bool selectsPartOf(hid_t space, hid_t whole) {
  Coordinates extent{};
  const int rank = H5Sget_simple_extent_dims(whole, extent.data(), nullptr);
  if (rank < 1 || H5Sget_simple_extent_ndims(space) != rank) return false;
  const Space unmoved(H5Scopy(space));
  const std::array<hssize_t, H5S_MAX_RANK> none{};
  return selectionFits(space) && liesWithin(space, extent, rank) &&
         H5Soffset_simple(unmoved.get(), none.data()) >= 0 &&
         liesWithin(unmoved.get(), extent, rank);
}

enum class Case { Harmless, Scalar, Harmful };

Case caseOf(hid_t dataset, hid_t space) {
  if (H5Sget_select_npoints(space) <= 0) return Case::Harmless;
  const Space own(H5Dget_space(dataset));
  if (!own.valid()) return Case::Harmless;
  if (H5Sget_simple_extent_type(own.get()) == H5S_SCALAR &&
      H5Sget_simple_extent_type(space) == H5S_SCALAR) {
    return Case::Scalar;
  }
  return selectsPartOf(space, own.get()) ? Case::Harmless : Case::Harmful;
}

/// The last of the selected places counted on from the first element, as far as it can be.
double lastPlace(const Coordinates& end, const Coordinates& extent, int rank) {
  double place = 0;
  for (std::size_t i = 0; i < static_cast<std::size_t>(rank); ++i) {
    place = place * static_cast<double>(extent[i]) + static_cast<double>(end[i]);
  }
  return place;
}

constexpr double kMostChunksCutOff = 0x1p32;

/// In numbers that do not wrap: how many chunks lie, wholly or in part, outside the new extent.
double chunksCutOff(std::span<const hsize_t> extent, const hsize_t* size, const hsize_t* chunk) {
  double all = 1;
  double kept = 1;
  for (std::size_t i = 0; i < extent.size(); ++i) {
    const auto chunks = [&](hsize_t length) {
      return static_cast<double>(length) / static_cast<double>(chunk[i]);
    };
    all *= std::ceil(chunks(extent[i]));
    kept *= size[i] < extent[i] ? std::floor(chunks(size[i])) : std::ceil(chunks(extent[i]));
  }
  return all - kept;
}

bool shrinksForEver(hid_t dataset, const hsize_t* size) {
  const Space space(H5Dget_space(dataset));
  Coordinates places{};
  const int rank = H5Sget_simple_extent_dims(space.get(), places.data(), nullptr);
  if (rank < 1 || size == nullptr) return false;
  const std::span extent(places.data(), static_cast<std::size_t>(rank));
  // Most datasets are far from it, and are not asked for their chunks.
  Coordinates chunk{};
  chunk.fill(1);
  if (chunksCutOff(extent, size, chunk.data()) <= kMostChunksCutOff) return false;
  const PropertyList list(H5Dget_create_plist(dataset));
  return H5Pget_layout(list.get()) == H5D_CHUNKED &&
         H5Pget_chunk(list.get(), rank, chunk.data()) == rank &&
         chunksCutOff(extent, size, chunk.data()) > kMostChunksCutOff;
}

/// No extent becomes less by it.
Coordinates grownTo(hid_t dataset, const hsize_t* size) {
  const Space space(H5Dget_space(dataset));
  Coordinates grown{};
  const int rank = H5Sget_simple_extent_dims(space.get(), grown.data(), nullptr);
  for (int i = 0; i < rank; ++i) {
    const auto place = static_cast<std::size_t>(i);
    grown[place] = std::max(grown[place], size[place]);
  }
  return grown;
}

}  // namespace

const char* whyNotSelected(hid_t dataset, hid_t fileSpace) {
  const Space own(H5Dget_space(dataset));
  if (H5Sextent_equal(own.get(), fileSpace) > 0 || H5Sget_select_npoints(fileSpace) <= 0) {
    return nullptr;
  }
  Coordinates extent{};
  const int rank = H5Sget_simple_extent_dims(fileSpace, extent.data(), nullptr);
  Coordinates start{};
  Coordinates end{};
  if (rank > 0 && H5Sget_select_bounds(fileSpace, start.data(), end.data()) < 0) return nullptr;
  const H5D_layout_t layout = H5Pget_layout(PropertyList(H5Dget_create_plist(dataset)).get());
  if (layout != H5D_CHUNKED) {
    const auto points = static_cast<double>(H5Sget_simple_extent_npoints(own.get()));
    // Without elements there is no storage, which HDF5 sees for itself.
    const bool sees = points == 0 && layout == H5D_CONTIGUOUS;
    return sees || lastPlace(end, extent, rank) < points ? nullptr
                                                         : "the file selection leaves the dataset";
  }
  if (rank != H5Sget_simple_extent_ndims(own.get())) {
    return "the file space has another rank than the chunked dataset";
  }
  H5Sget_simple_extent_dims(own.get(), extent.data(), nullptr);
  return liesWithin(fileSpace, extent, rank) ? nullptr : "the file selection leaves the dataset";
}

herr_t setExtent(hid_t dataset, const hsize_t* size) {
  if (shrinksForEver(dataset, size)) {
    return refuse("H5Dset_extent", "more than 2^32 chunks are cut off, each looked for by itself");
  }
  return hasRoomToGrow("H5Dset_extent", dataset, size) ? H5Dset_extent(dataset, size) : -1;
}

herr_t extend(hid_t dataset, const hsize_t* size) {
  const Coordinates grown = size == nullptr ? Coordinates{} : grownTo(dataset, size);
  return hasRoomToGrow("H5Dextend", dataset, grown.data()) ? H5Dextend(dataset, size) : -1;
}

herr_t variableLengthSize(hid_t dataset, hid_t type, hid_t space, hsize_t* size) {
  switch (caseOf(dataset, space)) {
    case Case::Scalar: return sizeOfScalar(dataset, type, space, size);
    case Case::Harmful:
      return refuse("H5Dvlen_get_buf_size", "the selection is no part of the dataset");
    default: return H5Dvlen_get_buf_size(dataset, type, space, size);
  }
}

}  // namespace hdf5
