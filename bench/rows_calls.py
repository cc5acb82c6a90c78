"""Small calls: by the gateway's one symbol, where Python is not in the way, and from Python."""

from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import h5py
import numpy as np

from compiled import compiled
from opened import NAME, WHOLE, by_h5py, by_zembra, file_by_h5py, file_by_zembra
from row import Contestant, Row, Sides
from zembra import h5

ALL = h5py.h5s.ALL
Works = Iterator[Callable[[], Any]]


def small(path: str) -> None:
    """500 numbers, less than a page of 4 KB, with attributes."""
    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("x", data=np.arange(500.0))
        dataset.attrs["number"] = 2.5
        dataset.attrs["text"] = "metres"


# --- The number of elements of a dataspace --------------------------------------------------


@contextmanager
def zembra_extent(_path: str) -> Works:
    space, query = h5.H5Screate_simple(2, [3, 4], []), h5.H5Sget_simple_extent_npoints
    yield lambda: query(space)
    h5.H5Sclose(space)


@contextmanager
def h5py_extent(_path: str) -> Works:
    space = h5py.h5s.create_simple((3, 4))
    yield lambda: space.get_simple_extent_npoints()


# --- Making a dataspace and closing it ------------------------------------------------------


@contextmanager
def zembra_space(_path: str) -> Works:
    create, close = h5.H5Screate, h5.H5Sclose
    yield lambda: close(create("H5S_SIMPLE"))


@contextmanager
def h5py_space(_path: str) -> Works:
    def work() -> None:  # what an identifier object names is closed when the object goes away
        h5py.h5s.create(h5py.h5s.SIMPLE)

    yield work


# --- A dataset, opened and closed, and read in between --------------------------------------


@contextmanager
def zembra_open(path: str) -> Works:
    open_, close = h5.H5Dopen, h5.H5Dclose
    with file_by_zembra(path) as file:
        yield lambda: close(open_(file, NAME))


@contextmanager
def h5py_open(path: str) -> Works:
    def work() -> None:
        h5py.h5d.open(file, b"x")

    with file_by_h5py(path) as file:
        yield work


@contextmanager
def zembra_small(path: str) -> Works:
    def work() -> Any:
        dataset = h5.H5Dopen(file, NAME)
        values = h5.H5Dread(dataset, *WHOLE)
        h5.H5Dclose(dataset)
        return values

    with file_by_zembra(path) as file:
        yield work


@contextmanager
def h5py_small(path: str) -> Works:
    def work() -> Any:
        dataset = h5py.h5d.open(file, b"x")
        values = np.empty(dataset.shape, dataset.dtype)
        dataset.read(ALL, ALL, values)
        return values

    with file_by_h5py(path) as file:
        yield work


# --- An attribute: opened, read or written, closed ------------------------------------------


def zembra_attribute(name: str, value: object = None) -> Contestant:
    """Written if there is a value."""

    @contextmanager
    def contestant(path: str) -> Works:
        def read() -> Any:
            attribute = h5.H5Aopen(dataset, name, "H5P_DEFAULT")
            found = h5.H5Aread(attribute, "H5ZB_DEFAULT")
            h5.H5Aclose(attribute)
            return found

        def write() -> None:
            attribute = h5.H5Aopen(dataset, name, "H5P_DEFAULT")
            h5.H5Awrite(attribute, "H5ZB_DEFAULT", value)
            h5.H5Aclose(attribute)

        with by_zembra(path, writes=value is not None) as (_, dataset):
            yield read if value is None else write

    return contestant


def h5py_attribute(name: str, value: object = None) -> Contestant:
    encoded = name.encode()

    @contextmanager
    def contestant(path: str) -> Works:
        def read() -> Any:
            attribute = h5py.h5a.open(dataset, encoded)
            found = np.empty(attribute.shape, attribute.dtype)
            attribute.read(found)
            return found[()]

        def read_text() -> str:
            return str(read().decode())

        def write() -> None:
            attribute = h5py.h5a.open(dataset, encoded)
            attribute.write(np.asarray(value, attribute.dtype))

        with by_h5py(path, writes=value is not None) as (_, dataset):
            is_text = h5py.h5a.open(dataset, encoded).dtype == object
            yield write if value is not None else read_text if is_text else read

    return contestant


# --- The rows -------------------------------------------------------------------------------

CALLS = [
    Row(
        "number of elements of a dataspace", "ns",
        Sides(zembra_extent, h5py_extent, compiled("extent", "bare")), small, peak=False,
    ),
    Row(
        "create and close a dataspace", "ns",
        Sides(zembra_space, h5py_space, compiled("space", "bare")), small, peak=False,
    ),
    Row(
        "open and close a dataset", "us",
        Sides(zembra_open, h5py_open, compiled("open", "bare")), small, peak=False,
    ),
    Row(
        "open, read, close 4 KB", "us",
        Sides(zembra_small, h5py_small, compiled("small dataset", "bare")), small, peak=False,
    ),
    Row(
        "open, read, close an attribute", "us",
        Sides(
            zembra_attribute("number"), h5py_attribute("number"),
            compiled("attribute read", "bare"),
        ),
        small, peak=False,
    ),
    Row(
        "open, write, close an attribute", "us",
        Sides(
            zembra_attribute("number", 2.5), h5py_attribute("number", 2.5),
            compiled("attribute write", "bare"),
        ),
        small, writes=True, peak=False,
    ),
    Row(
        "open, read, close a text", "us",
        Sides(zembra_attribute("text"), h5py_attribute("text")), small, peak=False,
    ),
    Row(
        "open, write, close a text", "us",
        Sides(zembra_attribute("text", "metres"), h5py_attribute("text", "metres")),
        small, writes=True, peak=False,
    ),
]  # fmt: skip

SYMBOL = [
    Row(
        f"{name}, by the symbol", unit,
        Sides(compiled(subject, "gateway"), c=compiled(subject, "bare")), small,
        writes="write" in name, peak=False,
    )
    for subject, name, unit in [
        ("extent", "number of elements", "ns"),
        ("space", "create and close a dataspace", "ns"),
        ("open", "open and close a dataset", "us"),
        ("small dataset", "open, read, close 4 KB", "us"),
        ("attribute read", "open, read, close an attribute", "us"),
        ("attribute write", "open, write, close an attribute", "us"),
    ]
]  # fmt: skip
