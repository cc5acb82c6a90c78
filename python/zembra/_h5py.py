"""Objects of h5py in the place of identifiers, where h5py is loaded at all."""

import sys
from typing import Any

from ._zembra import encode_identifier


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
    return encode_identifier(low.id)
