"""Which of the sample files that other people's software wrote can be opened how."""

import h5py

from zembra import h5

# Files of several parts, opened through their drivers: see test_properties.py.
IN_PARTS = ("family_", "tsplit_")
# Since 1.14.4 HDF5 takes some sound numbers for signs of corruption. The gateway tells it
# not to, h5py does not, and whoever opens a file first decides for both.
STRICT = ("tfilters.h5",) if h5.H5get_libversion() >= (1, 14, 4) else ()


def open_to_h5py(folder):
    """Those that h5py opens and reads as they are; what it does not is told."""
    found = []
    for path in sorted(folder.glob("*.h5")):
        if path.name.startswith(IN_PARTS):
            print(f"{path.name} is left out: one part of several, which takes a driver of its own")
        elif path.name in STRICT:
            print(f"{path.name} is left out: h5py opens it too strictly on this HDF5")
        elif not h5py.is_hdf5(path):
            print(f"{path.name} is left out: it is no HDF5 file")
        else:
            found.append(path)
    return found
