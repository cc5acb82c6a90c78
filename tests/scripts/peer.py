"""Whether h5py can be had here: it may belong to another HDF5 than the gateway."""

import h5py
import pytest

try:
    available = bool(h5py.version)
except pytest.skip.Exception:
    available = False

needs_h5py = pytest.mark.skipif(not available, reason="h5py belongs to another HDF5")
