"""Texts of variable length, in zembra a list of str, and fixed ones.

C reads pointers into HDF5's memory, which it frees, and writes from pointers that it has; the
strings of Python are what it is spared.
"""

import ctypes
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import h5py
import numpy as np

import bare_c
import sizes
import zembra
from opened import DEFAULT, WHOLE, by_h5py, by_zembra
from row import Row, Sides
from whole import READ, WRITE
from zembra import h5

Works = Iterator[Callable[[], Any]]


def words() -> list[str]:
    return [f"text {i:06}" for i in range(sizes.TEXTS)]


def varying(path: str) -> None:
    with h5py.File(path, "w") as file:
        file.create_dataset("x", data=words(), dtype=h5py.string_dtype())


def fixed(path: str) -> None:
    with h5py.File(path, "w") as file:
        file["x"] = np.array(words(), "S")


# --- Reading --------------------------------------------------------------------------------


@contextmanager
def h5py_reads_bytes(path: str) -> Works:
    with by_h5py(path) as (_, dataset):
        yield lambda: h5py.Dataset(dataset)[()]


@contextmanager
def h5py_reads_str(path: str) -> Works:
    with by_h5py(path) as (_, dataset):
        yield lambda: h5py.Dataset(dataset).asstr()[()]


@contextmanager
def c_reads_pointers(path: str) -> Works:
    with by_h5py(path) as (_, dataset):
        datatype, space = dataset.get_type(), dataset.get_space()

        def work() -> None:
            pointers = np.empty(dataset.shape, np.uintp)
            bare_c.read(dataset, datatype, pointers)
            bare_c.reclaim(datatype, space, pointers)

        yield work


# --- Writing over what there is -------------------------------------------------------------


@contextmanager
def zembra_writes_over(path: str) -> Works:
    values = words()
    with by_zembra(path, writes=True) as (file, dataset):

        def work() -> None:
            h5.H5Dwrite(dataset, *WHOLE, values)
            h5.H5Fflush(file, "H5F_SCOPE_LOCAL")

        yield work


@contextmanager
def h5py_writes_over(path: str) -> Works:
    values = words()
    with by_h5py(path, writes=True) as (file, dataset):

        def work() -> None:
            h5py.Dataset(dataset)[...] = values
            h5py.h5f.flush(file, h5py.h5f.SCOPE_LOCAL)

        yield work


class Pointers:
    """Texts as C has them."""

    def __init__(self) -> None:
        self._bytes = [ctypes.create_string_buffer(word.encode()) for word in words()]
        self.array = np.array([ctypes.addressof(word) for word in self._bytes], np.uintp)


@contextmanager
def c_writes_over(path: str) -> Works:
    values = Pointers()
    with by_h5py(path, writes=True) as (file, dataset):
        datatype = dataset.get_type()

        def work() -> None:
            bare_c.write(dataset, datatype, values.array)
            bare_c.flush(file)

        yield work


# --- Writing a new file -----------------------------------------------------------------------


@contextmanager
def zembra_writes_new(path: str) -> Works:
    values = words()
    with zembra.Id(h5.H5Tcopy("H5T_C_S1")) as datatype:
        h5.H5Tset_size(datatype, "H5T_VARIABLE")
        h5.H5Tset_cset(datatype, h5.H5ZBget_constant_value("H5T_CSET_UTF8"))

        def work() -> None:
            file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
            space = h5.H5Screate_simple(1, [len(values)], [])
            dataset = h5.H5Dcreate(file, "x", datatype, space, DEFAULT)
            h5.H5Dwrite(dataset, *WHOLE, values)
            h5.H5Dclose(dataset)
            h5.H5Sclose(space)
            h5.H5Fclose(file)

        yield work


@contextmanager
def h5py_writes_new(path: str) -> Works:
    values = words()

    def work() -> None:
        with h5py.File(path, "w") as file:
            file.create_dataset("x", data=values, dtype=h5py.string_dtype())

    yield work


@contextmanager
def c_writes_new(path: str) -> Works:
    values = Pointers()
    datatype = h5py.h5t.py_create(h5py.string_dtype(), logical=True)

    def work() -> None:
        file = h5py.h5f.create(path.encode())
        space = h5py.h5s.create_simple(values.array.shape)
        dataset = h5py.h5d.create(file, b"x", datatype, space)
        bare_c.write(dataset, datatype, values.array)
        dataset.close()
        file.close()

    yield work


# --- The rows -------------------------------------------------------------------------------

TEXTS = [
    Row(
        "read 500,000 texts (h5py: bytes)", "ms",
        Sides(READ.zembra, h5py_reads_bytes, c_reads_pointers), varying, alike=False,
    ),
    Row(
        "read 500,000 texts as str", "ms",
        Sides(READ.zembra, h5py_reads_str, c_reads_pointers), varying,
    ),
    Row(
        "write 500,000 texts, a new file", "ms",
        Sides(zembra_writes_new, h5py_writes_new, c_writes_new), writes=True,
    ),
    Row(
        "write 500,000 texts over others", "ms",
        Sides(zembra_writes_over, h5py_writes_over, c_writes_over), varying, writes=True,
    ),
    Row("read 500,000 fixed texts", "ms", READ, fixed),
    Row("write 500,000 fixed texts", "ms", WRITE, fixed, writes=True),
]  # fmt: skip
