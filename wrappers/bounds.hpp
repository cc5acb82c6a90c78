// What HDF5 leaves to its caller: whether the memory that it is handed holds what it
// will touch.
#pragma once

#include "hdf5/compat.hpp"

namespace h5gate {

/// Whether all that is selected, moved by the selection's offset, lies in the extent.
bool selectionFits(hid_t space);

/// Whether elements of the datatype lead to memory of their own (variable-length data,
/// the references of later releases): a script's bytes must not stand for pointers.
bool holdsPointers(hid_t type);

}  // namespace h5gate
