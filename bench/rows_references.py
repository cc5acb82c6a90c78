"""Object references: bytes in zembra and C, an object each in h5py."""

from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import h5py
import numpy as np

import bare_c
import sizes
from opened import WHOLE, by_h5py, by_zembra
from row import Row, Sides
from whole import READ
from zembra import h5

Works = Iterator[Callable[[], Any]]

FOLLOWED = min(1000, sizes.REFERENCES)


def references(path: str) -> None:
    """To a hundred groups, again and again."""
    with h5py.File(path, "w") as file:
        targets = [file.create_group(f"group {i}").ref for i in range(100)]
        values = [targets[i % 100] for i in range(sizes.REFERENCES)]
        file.create_dataset("x", data=values, dtype=h5py.ref_dtype)


def as_objects(dataset: Any) -> Any:
    return h5py.Dataset(dataset)[()]


def as_bytes(dataset: Any) -> Any:
    values = np.empty((*dataset.shape, 8), np.uint8)
    bare_c.read(dataset, h5py.h5t.STD_REF_OBJ, values)
    return values


# --- Reading and writing --------------------------------------------------------------------


@contextmanager
def h5py_reads(path: str) -> Works:
    with by_h5py(path) as (_, dataset):
        yield lambda: as_objects(dataset)


@contextmanager
def c_reads(path: str) -> Works:
    with by_h5py(path) as (_, dataset):
        yield lambda: as_bytes(dataset)


@contextmanager
def zembra_writes(path: str) -> Works:
    with by_zembra(path, writes=True) as (file, dataset):
        values = h5.H5Dread(dataset, *WHOLE)

        def work() -> None:
            h5.H5Dwrite(dataset, *WHOLE, values)
            h5.H5Fflush(file, "H5F_SCOPE_LOCAL")

        yield work


@contextmanager
def h5py_writes(path: str) -> Works:
    with by_h5py(path, writes=True) as (file, dataset):
        values = as_objects(dataset)

        def work() -> None:
            h5py.Dataset(dataset)[...] = values
            h5py.h5f.flush(file, h5py.h5f.SCOPE_LOCAL)

        yield work


@contextmanager
def c_writes(path: str) -> Works:
    with by_h5py(path, writes=True) as (file, dataset):
        values = as_bytes(dataset)

        def work() -> None:
            bare_c.write(dataset, h5py.h5t.STD_REF_OBJ, values)
            bare_c.flush(file)

        yield work


# --- Opening what they lead to ----------------------------------------------------------------


@contextmanager
def zembra_follows(path: str) -> Works:
    with by_zembra(path) as (file, dataset):
        values = list(h5.H5Dread(dataset, *WHOLE)[:FOLLOWED])

        def work() -> None:
            for reference in values:
                h5.H5Oclose(h5.H5Rdereference(file, "H5R_OBJECT", reference))

        yield work


@contextmanager
def h5py_follows(path: str) -> Works:
    with by_h5py(path) as (file, dataset):
        values = list(as_objects(dataset)[:FOLLOWED])

        def work() -> None:
            for reference in values:
                h5py.h5r.dereference(reference, file)

        yield work


@contextmanager
def c_follows(path: str) -> Works:
    with by_h5py(path) as (file, dataset):
        values = list(as_bytes(dataset)[:FOLLOWED])

        def work() -> None:
            for reference in values:
                bare_c.open_and_close(file, reference)

        yield work


# --- The rows -------------------------------------------------------------------------------

REFERENCES = [
    Row(
        "read 100,000 references", "ms",
        READ.but(h5py=h5py_reads, c=c_reads), references, alike=False,
    ),
    Row(
        "write 100,000 references", "ms",
        Sides(zembra_writes, h5py_writes, c_writes), references, writes=True,
    ),
    Row(
        "follow 1,000 references", "ms",
        Sides(zembra_follows, h5py_follows, c_follows), references, peak=False,
    ),
]  # fmt: skip
