"""Parts of compressed data."""

from collections.abc import Callable, Iterator, Sequence
from contextlib import contextmanager
from dataclasses import dataclass
from typing import Any

import h5py
import numpy as np

import bare_c
import sizes
import zembra
from files import Grid
from opened import DEFAULT, by_h5py, by_zembra
from row import Row, Sides
from zembra import h5

Works = Iterator[Callable[[], Any]]
Corner = tuple[int, int]

ROWS, COLUMNS = sizes.GRID
GRID = Grid(gzip=6, shuffle=True)
SMALL_CHUNKS = Grid(chunks=sizes.SMALL_CHUNKS, gzip=6, shuffle=True, shape=(ROWS, COLUMNS // 4))


@dataclass(frozen=True)
class Blocks:
    """Blocks of one size, read one after the other; given is the last one."""

    size: Corner
    corners: Sequence[Corner]

    @contextmanager
    def by_zembra(self, path: str) -> Works:
        with by_zembra(path) as (_, dataset):
            space = zembra.Id(h5.H5Dget_space(dataset))
            memory = zembra.Id(h5.H5Screate_simple(2, self.size, []))

            def work() -> Any:
                for corner in self.corners:
                    h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", corner, [], self.size, [])
                    values = h5.H5Dread(dataset, "H5ZB_DEFAULT", memory, space, DEFAULT)
                return values

            with space, memory:
                yield work

    @contextmanager
    def by_h5py(self, path: str) -> Works:
        with by_h5py(path) as (_, dataset):
            space, memory = dataset.get_space(), h5py.h5s.create_simple(self.size)

            def work() -> Any:
                for corner in self.corners:
                    space.select_hyperslab(corner, self.size)
                    values = np.empty(self.size)
                    dataset.read(memory, space, values)
                return values

            yield work

    @contextmanager
    def by_c(self, path: str) -> Works:
        with by_h5py(path) as (_, dataset):
            space, memory = dataset.get_space(), h5py.h5s.create_simple(self.size)
            corners, size = [bare_c.sizes(at) for at in self.corners], bare_c.sizes(self.size)
            datatype = bare_c.memory_type("f8")

            def work() -> Any:
                for corner in corners:
                    bare_c.select(space, corner, size)
                    values = np.empty(self.size)
                    bare_c.read(dataset, datatype, values, memory.id, space.id)
                return values

            yield work

    def sides(self) -> Sides:
        return Sides(self.by_zembra, self.by_h5py, self.by_c)


def slab(rows: float, columns: float) -> Blocks:
    """A share of the rows and of the columns, in the middle."""
    size = int(ROWS * rows), int(COLUMNS * columns)
    return Blocks(size, [((ROWS - size[0]) // 2, (COLUMNS - size[1]) // 2)])


def windows(columns: int) -> Blocks:
    """One after the other, of which most was in the one before."""
    height, step = 3 * ROWS // 16, ROWS // 32
    return Blocks((height, columns), [(at, 0) for at in range(0, ROWS // 2 - height, step)])


def small_reads() -> Blocks:
    """Near one another for a while, as somebody who looks around reads them."""
    random = np.random.default_rng(3)
    extent = SMALL_CHUNKS.shape
    reach = [min(250, most // 4) for most in extent]
    corners: list[Corner] = []
    while len(corners) < sizes.SMALL_READS:
        centre = [random.integers(0, most - near - 16) for most, near in zip(extent, reach)]
        for steps in random.integers(0, reach, (50, 2)):
            corners.append((int(centre[0] + steps[0]), int(centre[1] + steps[1])))
    return Blocks((4, 16), corners)


PARTS = [
    Row("read 1 %, rows", "ms", slab(0.01, 1).sides(), GRID),
    Row("read 1 %, a square", "ms", slab(0.1, 0.1).sides(), GRID),
    Row("read 10 %, rows", "ms", slab(0.1, 1).sides(), GRID),
    Row("read 50 %, columns", "ms", slab(1, 0.5).sides(), GRID),
    Row("read overlapping windows of 12 MB", "ms", windows(COLUMNS).sides(), GRID),
    Row(
        "the same of 3 MB, in chunks of 64 KB", "ms", windows(COLUMNS // 4).sides(), SMALL_CHUNKS,
    ),
    Row("10,000 random small reads", "ms", small_reads().sides(), SMALL_CHUNKS),
]  # fmt: skip
