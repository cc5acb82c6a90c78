"""100,000 links and what they lead to, with a Python callback for each; in C with one that does
nothing."""

from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import h5py

import sizes
import zembra
from compiled import compiled
from opened import file_by_h5py, file_by_zembra
from row import Row, Sides
from zembra import h5

Works = Iterator[Callable[[], Any]]


def links(path: str) -> None:
    """A group each: visiting calls for no object twice."""
    with h5py.File(path, "w", libver="latest") as file:
        group = file.create_group("links").id
        for i in range(sizes.LINKS):
            h5py.h5g.create(group, f"link {i:06}".encode())


class Counter:
    """What is called for each."""

    def __init__(self) -> None:
        self.count = 0

    def by_zembra(self, _group: int, _name: str, _data: object) -> tuple[int, None]:
        self.count += 1
        return 0, None

    def by_h5py(self, _name: bytes) -> None:
        self.count += 1

    def counted(self) -> int:
        """Since it was asked last."""
        count, self.count = self.count, 0
        return count


@contextmanager
def zembra_iterates(path: str) -> Works:
    counter = Counter()

    def work() -> int:
        h5.H5Literate(group, "H5_INDEX_NAME", "H5_ITER_INC", 0, counter.by_zembra, None)
        return counter.counted()

    with file_by_zembra(path) as file:
        with zembra.Id(h5.H5Gopen(file, "links")) as group:
            yield work


@contextmanager
def h5py_iterates(path: str) -> Works:
    counter = Counter()

    def work() -> int:
        group.links.iterate(counter.by_h5py)
        return counter.counted()

    with file_by_h5py(path) as file:
        group = h5py.h5g.open(file, b"links")
        yield work


@contextmanager
def zembra_visits(path: str) -> Works:
    counter = Counter()

    def work() -> int:
        h5.H5Ovisit(group, "H5_INDEX_NAME", "H5_ITER_INC", counter.by_zembra, None)
        return counter.counted()

    with file_by_zembra(path) as file:
        with zembra.Id(h5.H5Gopen(file, "links")) as group:
            yield work


@contextmanager
def h5py_visits(path: str) -> Works:
    counter = Counter()

    def work() -> int:
        h5py.h5o.visit(group, counter.by_h5py)
        return counter.counted()

    with file_by_h5py(path) as file:
        group = h5py.h5g.open(file, b"links")
        yield work


WALKS = [
    Row(
        "iterate 100,000 links", "ms",
        Sides(zembra_iterates, h5py_iterates, compiled("iterate", "bare")), links, peak=False,
    ),
    Row(
        "visit 100,000 objects", "ms",
        Sides(zembra_visits, h5py_visits, compiled("visit", "bare")), links,
        alike=False, peak=False,
    ),
]  # fmt: skip
