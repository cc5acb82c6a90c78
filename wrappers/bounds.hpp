// What HDF5 leaves to its caller: whether the memory that it is handed holds what it
// will touch.
#pragma once

#include "hdf5/compat.hpp"
#include "hdf5/handle.hpp"

namespace h5gate {

/// Whether all that is selected, moved by the selection's offset, lies in the extent.
bool selectionFits(hid_t space);

/// Points of a memory space that has fewer dimensions than the file's, as the same
/// points of the same memory in as many dimensions; no space where nothing needs to be
/// done. HDF5 does this itself, but 1.10 copies the coordinates beyond its own memory.
hdf5::Space raisedPoints(hid_t memorySpace, hid_t fileSpace);

/// Whether elements of the datatype lead to memory of their own (variable-length data,
/// the references of later releases): a script's bytes must not stand for pointers.
bool holdsPointers(hid_t type);

}  // namespace h5gate
