// External links, which HDF5 follows by the driver of the file that they are in: where that
// driver takes names for formats, it takes theirs for formats too, and asks nobody.
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// From now on, links are followed only to files that could be opened by name as well. For a
/// process in which some file has a driver that prints names: only there it matters.
void watchExternalLinks();

/// The same for a script's own list to follow links by; others are left as they are.
void watchLinksBy(hid_t accessList);

}  // namespace hdf5
