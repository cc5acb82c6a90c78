"""HDF5's own C functions, in the very library that zembra has in the process.

They are called by ctypes, whose microsecond does not count where data are moved. Identifiers are
h5py's, made beforehand.
"""

import ctypes
from typing import Any

import h5py
import numpy as np

from zembra import _zembra

_library = ctypes.CDLL(_zembra.__file__)  # looks for functions in what that is linked to, too
_id = ctypes.c_int64 if h5py.version.hdf5_version_tuple >= (1, 10, 0) else ctypes.c_int
_sizes = ctypes.POINTER(ctypes.c_ulonglong)
_data = ctypes.c_void_p

DEFAULT = ALL = 0  # H5P_DEFAULT, H5S_ALL
SELECT_SET = SCOPE_LOCAL = REFERENCE_OBJECT = 0


def _function(name: str, result: Any, *arguments: Any) -> Any:
    function = getattr(_library, name)
    function.restype, function.argtypes = result, arguments
    function.errcheck = _refuse_failure
    return function


def _refuse_failure(result: int, function: Any, _arguments: Any) -> int:
    if result < 0:
        raise OSError(f"{function.__name__} fails")
    return result


_read = _function("H5Dread", ctypes.c_int, _id, _id, _id, _id, _id, _data)
_write = _function("H5Dwrite", ctypes.c_int, _id, _id, _id, _id, _id, _data)
_select = _function(
    "H5Sselect_hyperslab", ctypes.c_int, _id, ctypes.c_int, _sizes, _sizes, _sizes, _sizes
)
_reclaim = _function("H5Dvlen_reclaim", ctypes.c_int, _id, _id, _id, _data)
_flush = _function("H5Fflush", ctypes.c_int, _id, ctypes.c_int)
_close = _function("H5Oclose", ctypes.c_int, _id)
# 1.10.0 numbered it; the first form is the older function.
_dereference = _function(
    "H5Rdereference1" if h5py.version.hdf5_version_tuple >= (1, 10, 0) else "H5Rdereference",
    _id, _id, ctypes.c_int, _data,
)  # fmt: skip


def sizes(values: Any) -> Any:
    """As HDF5 takes extents."""
    return (ctypes.c_ulonglong * len(values))(*values)


def memory_type(dtype: Any) -> Any:
    """An object of h5py whose identifier is to be used."""
    return h5py.h5t.py_create(np.dtype(dtype))


def read(dataset: Any, datatype: Any, values: Any, memory: int = ALL, file: int = ALL) -> None:
    _read(dataset.id, datatype.id, memory, file, DEFAULT, values.ctypes.data)


def write(dataset: Any, datatype: Any, values: Any) -> None:
    _write(dataset.id, datatype.id, ALL, ALL, DEFAULT, values.ctypes.data)


def select(space: Any, start: Any, count: Any) -> None:
    _select(space.id, SELECT_SET, start, None, count, None)


def reclaim(datatype: Any, space: Any, values: Any) -> None:
    """Frees what elements of variable length have been read into."""
    _reclaim(datatype.id, space.id, DEFAULT, values.ctypes.data)


def flush(file: Any) -> None:
    _flush(file.id, SCOPE_LOCAL)


def open_and_close(file: Any, reference: Any) -> None:
    """What an object reference leads to."""
    _close(_dereference(file.id, REFERENCE_OBJECT, reference.ctypes.data))
