"""HDF5 datatypes of NumPy's."""

from typing import Any

import numpy as np

from . import h5
from ._id import Id

_NUMBERS = {"f4": "FLOAT", "f8": "DOUBLE", "b1": "UINT8"}
_NUMBERS |= {f"i{size}": f"INT{8 * size}" for size in (1, 2, 4, 8)}
_NUMBERS |= {f"u{size}": f"UINT{8 * size}" for size in (1, 2, 4, 8)}


def datatype_of(dtype: np.dtype[Any]) -> Id:
    """The datatype that a dataset of such values has: numbers, bytes of a fixed length, records
    of these, and `object` for texts."""
    if dtype.names:
        return _record(dtype)
    if dtype.subdtype is not None:
        base, shape = dtype.subdtype
        with datatype_of(base) as element:
            return Id(h5.H5Tarray_create(element, len(shape), list(shape)))
    if dtype == object:
        return _text("H5T_VARIABLE")
    if dtype.kind == "S":
        return _text(max(dtype.itemsize, 1))
    name = _NUMBERS.get(f"{dtype.kind}{dtype.itemsize}")
    if name is None:
        raise TypeError(
            f"there is no datatype for {dtype}: there are some for integers, bool, float32,"
            " float64, bytes, object (texts), and records of these"
        )
    return Id(h5.H5Tcopy(f"H5T_NATIVE_{name}"))


def _text(size: int | str) -> Id:
    datatype = Id(h5.H5Tcopy("H5T_C_S1"))
    h5.H5Tset_size(datatype, size)
    if size == "H5T_VARIABLE":
        h5.H5Tset_cset(datatype, "H5T_CSET_UTF8")
    else:
        h5.H5Tset_strpad(datatype, "H5T_STR_NULLPAD")
    return datatype


def _record(dtype: np.dtype[Any]) -> Id:
    names = dtype.names or ()
    members = [datatype_of(dtype[name]) for name in names]
    try:
        record = Id(h5.H5Tcreate("H5T_COMPOUND", sum(h5.H5Tget_size(member) for member in members)))
        offset = 0
        for name, member in zip(names, members):
            h5.H5Tinsert(record, name, offset, member)
            offset += h5.H5Tget_size(member)
    finally:
        for member in members:
            member.close()
    return record
