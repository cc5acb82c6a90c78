"""The mean of 128 MB of compressed doubles by dask, whose tasks go to processes.

h5py's dataset cannot go there; its contestant opens the file where a task runs, which is what
zembra.dask does.
"""

import concurrent.futures
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass
from typing import Any

import dask.array as da
import h5py
import numpy as np

import sizes
from files import Grid
from row import Contestant, PythonContestant, Row, Sides
from whole import c_reads, h5py_reads, zembra_reads
from zembra.dask import from_dataset

Works = Iterator[Callable[[], Any]]

SHAPE = (2 * sizes.GRID[0], sizes.GRID[1])
GRID = Grid(gzip=6, shuffle=True, shape=SHAPE)
BLOCK = SHAPE[0] // 8, SHAPE[1] // 2


@dataclass(frozen=True)
class Source:
    """A dataset of h5py's that can go to another process."""

    path: str
    shape: tuple[int, int] = SHAPE
    dtype: Any = np.dtype("f8")
    ndim: int = 2

    def __getitem__(self, index: Any) -> Any:
        with h5py.File(self.path) as file:
            return file["x"][index]


def by_h5py(path: str) -> Any:
    return da.from_array(Source(path), BLOCK, lock=False, name=False)


def by_zembra(path: str) -> Any:
    return from_dataset(path, "x", BLOCK)


def mean_by(workers: int, array: Callable[[str], Any]) -> Contestant:
    @contextmanager
    def contestant(path: str) -> Works:
        mean = array(path).mean()
        with concurrent.futures.ProcessPoolExecutor(workers) as pool:
            mean.compute(scheduler="processes", pool=pool)  # which starts them
            yield lambda: mean.compute(scheduler="processes", pool=pool)

    return contestant


def without_dask(reads: PythonContestant) -> Contestant:
    @contextmanager
    def contestant(path: str) -> Works:
        with reads(path) as read:
            yield lambda: read().mean()

    return contestant


DASK = [
    Row(
        "mean of 128 MB, without dask", "ms",
        Sides(*map(without_dask, (zembra_reads, h5py_reads, c_reads))), GRID, peak=False,
    ),
    *(
        Row(
            f"mean of 128 MB, dask, {workers} worker{'s' * (workers > 1)}", "ms",
            Sides(mean_by(workers, by_zembra), mean_by(workers, by_h5py)), GRID, peak=False,
        )
        for workers in range(1, 5)
    ),
]  # fmt: skip
