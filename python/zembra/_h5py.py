"""Objects of h5py in the place of identifiers, where h5py is loaded at all."""

import functools
import sys
from typing import Any

from ._zembra import call, encode_identifier


def identifier_of(value: Any) -> float | None:
    """The identifier that scripts see of an object of h5py; None for anything else."""
    h5py = sys.modules.get("h5py")
    if h5py is None:
        return None
    low = value.id if isinstance(value, h5py.HLObject) else value
    if not isinstance(low, h5py._objects.ObjectID):
        return None
    if not low:
        raise ValueError(f"{value!r} of h5py is closed")
    if not _one_library():
        raise TypeError(f"{value!r} is of an h5py that has an HDF5 library of its own")
    return encode_identifier(low.id)


@functools.lru_cache(maxsize=None)
def _one_library() -> bool:
    """Whether h5py and we run on one HDF5: what it does to an identifier shows here."""
    from h5py import h5i, h5s

    theirs = h5s.create(h5s.SCALAR)
    ours = encode_identifier(theirs.id)
    before = call("H5Iget_ref", ours)
    h5i.inc_ref(theirs)
    seen = call("H5Iget_ref", ours) == before + 1
    h5i.dec_ref(theirs)
    return bool(seen and before > 0)
