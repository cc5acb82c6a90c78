// What HDF5 does not survive and does not look for itself: questions that are asked
// before it is called, and what it is given instead.
#pragma once

#include <optional>

#include "hdf5/handle.hpp"

namespace hdf5 {

/// Later releases look into an access list without asking whether it is a list: an
/// identifier of anything else becomes one of nothing, which every release refuses. Links are
/// followed by the list only where HDF5 survives it.
hid_t listOrNothing(hid_t id);

/// Whether it is one, and not the default.
bool isDatasetCreationList(hid_t id);

/// Whether all that is selected, moved by the selection's offset, lies in the extent.
bool selectionFits(hid_t space);

/// Where all of a space is selected, an offset moves nothing; but looking for chunks HDF5 adds it,
/// and reads and writes outside of memory: the space is to have none.
herr_t leaveAllInPlace(hid_t space);

/// H5Sset_extent_none. 1.8 keeps the rank and the number of points of the extent that it
/// gives up, and whatever asks for its sizes follows null pointers.
herr_t setExtentNone(hid_t space);

/// Points of a memory space that has fewer dimensions than the file's, as the same
/// points of the same memory in as many dimensions; an invalid space where nothing
/// needs to be done, none where HDF5 fails. HDF5 adds the dimensions itself, but 1.10
/// copies the coordinates beyond its own memory.
std::optional<Space> pointsInRankOf(hid_t fileSpace, hid_t memorySpace);

/// Whether elements of the datatype lead to memory of their own (variable-length data,
/// the references of later releases): a script's bytes must not stand for pointers.
bool holdsPointers(hid_t type);

}  // namespace hdf5
