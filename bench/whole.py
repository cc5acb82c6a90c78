"""A dataset of numbers, read and written whole, by each."""

from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import h5py
import numpy as np

import bare_c
from opened import WHOLE, by_h5py, by_zembra
from row import Sides
from zembra import h5

ALL = h5py.h5s.ALL


def native(dataset: Any) -> Any:
    return dataset.dtype.newbyteorder("=")


@contextmanager
def zembra_reads(path: str) -> Iterator[Callable[[], Any]]:
    with by_zembra(path) as (_, dataset):
        yield lambda: h5.H5Dread(dataset, *WHOLE)


@contextmanager
def h5py_reads(path: str) -> Iterator[Callable[[], Any]]:
    with by_h5py(path) as (_, dataset):

        def work() -> Any:
            values = np.empty(dataset.shape, native(dataset))
            dataset.read(ALL, ALL, values)
            return values

        yield work


@contextmanager
def c_reads(path: str) -> Iterator[Callable[[], Any]]:
    with by_h5py(path) as (_, dataset):
        shape, dtype = dataset.shape, native(dataset)
        datatype = bare_c.memory_type(dtype)

        def work() -> Any:
            values = np.empty(shape, dtype)
            bare_c.read(dataset, datatype, values)
            return values

        yield work


def contents(dataset: Any) -> Any:
    """What is in it, in memory that was made for nothing else."""
    values = np.empty(dataset.shape, native(dataset))
    dataset.read(ALL, ALL, values)
    return values


@contextmanager
def zembra_writes(path: str) -> Iterator[Callable[[], Any]]:
    with by_h5py(path) as (_, dataset):
        values = contents(dataset)
    with by_zembra(path, writes=True) as (file, dataset):

        def work() -> None:
            h5.H5Dwrite(dataset, *WHOLE, values)
            h5.H5Fflush(file, "H5F_SCOPE_LOCAL")

        yield work


@contextmanager
def h5py_writes(path: str) -> Iterator[Callable[[], Any]]:
    with by_h5py(path, writes=True) as (file, dataset):
        values = contents(dataset)

        def work() -> None:
            dataset.write(ALL, ALL, values)
            h5py.h5f.flush(file, h5py.h5f.SCOPE_LOCAL)

        yield work


@contextmanager
def c_writes(path: str) -> Iterator[Callable[[], Any]]:
    with by_h5py(path, writes=True) as (file, dataset):
        values = contents(dataset)
        datatype = bare_c.memory_type(values.dtype)

        def work() -> None:
            bare_c.write(dataset, datatype, values)
            bare_c.flush(file)

        yield work


READ = Sides(zembra_reads, h5py_reads, c_reads)
WRITE = Sides(zembra_writes, h5py_writes, c_writes)
