"""Stands in for h5py where the gateway runs on an HDF5 that h5py does not share: two
releases of it in one process are one too many. A test that wants anything of h5py is
skipped when it gets there."""

import pytest


class HLObject:
    """The base of h5py's objects, which nobody has one of."""


def __getattr__(name):
    if name.startswith("__"):
        raise AttributeError(name)
    pytest.skip("h5py belongs to another HDF5", allow_module_level=True)
