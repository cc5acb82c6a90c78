"""Datasets of numbers without filters, and with them, whole."""

from files import Grid
from row import Row
from whole import READ, WRITE

ARRAYS = [
    Row("read 64 MB contiguous", "ms", READ, Grid(chunks=None)),
    Row("write 64 MB contiguous", "ms", WRITE, Grid(chunks=None), writes=True),
    Row("read 64 MB chunked", "ms", READ, Grid()),
    Row("write 64 MB chunked", "ms", WRITE, Grid(), writes=True),
    Row("read 32 MB big-endian int32", "ms", READ, Grid(chunks=None, dtype=">i4")),
    Row("write 32 MB big-endian int32", "ms", WRITE, Grid(chunks=None, dtype=">i4"), writes=True),
]

FILTERED = {  # 64 MB in chunks of 512 KB
    "gzip 1": Grid(gzip=1),
    "gzip 6": Grid(gzip=6),
    "gzip 6, shuffle": Grid(gzip=6, shuffle=True),
    "gzip 6, shuffle, Fletcher-32": Grid(gzip=6, shuffle=True, fletcher32=True),
}

FILTERS = [
    *(Row(f"read {name}", "ms", READ, grid) for name, grid in FILTERED.items()),
    *(Row(f"write {name}", "ms", WRITE, grid, writes=True) for name, grid in FILTERED.items()),
]
