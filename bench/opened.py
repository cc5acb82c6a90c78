"""Files and their dataset `x`, opened by zembra and by h5py's low-level interface."""

from collections.abc import Iterator
from contextlib import contextmanager
from typing import Any

import h5py

import zembra
from zembra import h5

DEFAULT = "H5P_DEFAULT"
WHOLE = "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", DEFAULT  # arguments of H5Dread and H5Dwrite
NAME = "x"


@contextmanager
def file_by_zembra(path: str, writes: bool = False) -> Iterator[zembra.Id]:
    flags = "H5F_ACC_RDWR" if writes else "H5F_ACC_RDONLY"
    with zembra.Id(h5.H5Fopen(path, flags, DEFAULT)) as file:
        yield file


@contextmanager
def by_zembra(path: str, writes: bool = False) -> Iterator[tuple[zembra.Id, zembra.Id]]:
    """File and dataset."""
    with file_by_zembra(path, writes) as file, zembra.Id(h5.H5Dopen(file, NAME)) as dataset:
        yield file, dataset


@contextmanager
def file_by_h5py(path: str, writes: bool = False) -> Iterator[Any]:
    flags = h5py.h5f.ACC_RDWR if writes else h5py.h5f.ACC_RDONLY
    file = h5py.h5f.open(path.encode(), flags)
    yield file
    file.close()


@contextmanager
def by_h5py(path: str, writes: bool = False) -> Iterator[tuple[Any, Any]]:
    """File and dataset."""
    with file_by_h5py(path, writes) as file:
        dataset = h5py.h5d.open(file, NAME.encode())
        yield file, dataset
        dataset.close()
