"""Datasets of numbers without filters, and with them, whole."""

from files import Grid
from row import Row
from whole import READ, WRITE

ARRAYS = [
    Row("read 64 MB contiguous", "ms", file=Grid(chunks=None), **READ),
    Row("write 64 MB contiguous", "ms", file=Grid(chunks=None), **WRITE),
    Row("read 64 MB chunked", "ms", file=Grid(), **READ),
    Row("write 64 MB chunked", "ms", file=Grid(), **WRITE),
    Row("read 32 MB big-endian int32", "ms", file=Grid(chunks=None, dtype=">i4"), **READ),
    Row("write 32 MB big-endian int32", "ms", file=Grid(chunks=None, dtype=">i4"), **WRITE),
]

FILTERED = {  # 64 MB in chunks of 512 KB
    "gzip 1": Grid(gzip=1),
    "gzip 6": Grid(gzip=6),
    "gzip 6, shuffle": Grid(gzip=6, shuffle=True),
    "gzip 6, shuffle, Fletcher-32": Grid(gzip=6, shuffle=True, fletcher32=True),
}

FILTERS = [
    *(Row(f"read {name}", "ms", file=grid, **READ) for name, grid in FILTERED.items()),
    *(Row(f"write {name}", "ms", file=grid, **WRITE) for name, grid in FILTERED.items()),
]
