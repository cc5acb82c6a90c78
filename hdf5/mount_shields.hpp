// Files that are mounted in each other. HDF5 keeps what is mounted with the file, and looks for
// circles by the identifier that it was mounted on: through H5Freopen a file comes to lie in
// what lies in itself, and whatever goes through the files then never comes to an end (all).
#pragma once

#include "hdf5/compat.hpp"

namespace hdf5 {

/// H5Fmount. 1.8 mounts on whatever has a name, and does not survive the end of the
/// library then; 1.10 mounts on whatever is open, and the library does not open again.
herr_t mount(hid_t location, const char* name, hid_t child, hid_t mountList);

/// H5Funmount.
herr_t unmount(hid_t location, const char* name);

}  // namespace hdf5
