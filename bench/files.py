"""Files that rows are done on: all have a dataset `x`, and h5py makes them."""

from dataclasses import dataclass
from typing import Any

import h5py
import numpy as np

import sizes


@dataclass(frozen=True)
class Grid:
    """Measurements with three decimals, which wander along a row."""

    chunks: tuple[int, int] | None = sizes.CHUNKS
    gzip: int | None = None
    shuffle: bool = False
    fletcher32: bool = False
    shape: tuple[int, int] = sizes.GRID
    dtype: str = "<f8"

    def __call__(self, path: str) -> None:
        values = np.random.default_rng(1).normal(size=self.shape).cumsum(1).round(3)
        filters: dict[str, Any] = {}
        if self.chunks is not None:
            filters = {"chunks": self.chunks, "compression": self.gzip}
            filters |= {"shuffle": self.shuffle, "fletcher32": self.fletcher32}
        with h5py.File(path, "w") as file:
            file.create_dataset("x", self.shape, self.dtype, **filters)[...] = values
