"""Writes a dataset and reads it back; what is installed says what it is:

python3 -m zembra round_trip.py FILE VERSION FOLDER_OF_THE_LIBRARIES
"""

import sys
from pathlib import Path

import numpy as np
import zembra
from zembra import h5

filename, version, folder = sys.argv[1:]
assert zembra.__version__ == version, zembra.__version__

values = np.arange(12.0).reshape(3, 4)
file = h5.H5Fcreate(filename, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
space = h5.H5Screate_simple(2, [3, 4], [])
dataset = h5.H5Dcreate(file, "speed", "H5T_IEEE_F64LE", space, "H5P_DEFAULT")
h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", values)
read = h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")
assert np.array_equal(read, values), read

try:
    h5.H5Dopen(file, "height", "H5P_DEFAULT")
except zembra.LibraryError as error:
    assert error.stack
else:
    raise AssertionError("there is no such dataset")

loaded = {Path(line.split()[-1]) for line in Path("/proc/self/maps").read_text().splitlines()}
for name in ("libh5gate.so.1", "libzembra.so.1"):
    (path,) = (path for path in loaded if path.name == name)
    assert path.is_relative_to(Path(folder).resolve()), path
print(f"zembra {version}: the libraries are in {path.parent}")
