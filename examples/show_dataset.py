#!/usr/bin/env python3
"""Says what a dataset of an HDF5 file is and prints its first values.

    show_dataset.py FILE DATASET
"""

import sys
from collections.abc import Iterable
from typing import Any

import numpy as np

from describing import closing, describe_layout, describe_space, describe_type
from zembra import LibraryError, h5

SHOWN = 10  # values, counted along the last dimension


def read_first(dataset: int) -> Any:
    """The values at the beginning: only they are read, however large the dataset is."""
    file_space = h5.H5Dget_space(dataset)
    memory_space: int | str = "H5S_ALL"
    rank, dimensions, _ = h5.H5Sget_simple_extent_dims(file_space)
    if rank > 0:
        count = np.minimum(dimensions, [SHOWN if axis >= rank - 2 else 1 for axis in range(rank)])
        if count.min() > 0:
            h5.H5Sselect_hyperslab(file_space, "H5S_SELECT_SET", [0] * rank, [], count, [])
        else:
            h5.H5Sselect_none(file_space)
        memory_space = h5.H5Screate_simple(rank, count, [])
    try:
        return h5.H5Dread(dataset, "H5ZB_DEFAULT", memory_space, file_space, "H5P_DEFAULT")
    finally:
        if isinstance(memory_space, int):
            h5.H5Sclose(memory_space)
        h5.H5Sclose(file_space)


def word(value: Any) -> str:
    """One value as it is printed."""
    if isinstance(value, bytes):
        return value.decode(errors="replace")
    if isinstance(value, (float, np.floating)):
        return f"{value:.6g}"
    if isinstance(value, np.ndarray) and value.ndim > 0:
        return np.array2string(value, separator=", ", threshold=SHOWN)
    return str(value)


def aligned(rows: Iterable[tuple[str, ...]]) -> list[str]:
    """Rows of words as lines, each column as wide as its longest word."""
    rows = list(rows)
    widths = [max(map(len, column)) for column in zip(*rows)]
    return ["  ".join(map(str.ljust, row, widths)).rstrip() for row in rows]


def lines(values: Any) -> list[str]:
    """Values as lines of text: a table has a line a record under its names."""
    if isinstance(values, dict):
        single = not all(
            isinstance(column, list) or getattr(column, "ndim", 0) > 0 for column in values.values()
        )
        if single:  # one record, or records inside records
            return aligned([(name, word(value)) for name, value in values.items()])
        records = zip(*values.values())
        return aligned([tuple(values), *(tuple(map(word, record)) for record in records)])
    if isinstance(values, list):  # texts or sequences: each has a length of its own
        return [word(value) for value in values]
    if np.ndim(values) == 2:
        return aligned([tuple(map(word, row)) for row in values])
    if np.ndim(values) == 1:
        return [", ".join(map(word, values))]
    return word(values).splitlines()


def show(path: str, name: str) -> None:
    file = h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")
    dataset = h5.H5Dopen(file, name)
    print(f"{name} in {path}")
    print("  type    ", closing(h5.H5Tclose, h5.H5Dget_type(dataset), describe_type))
    print("  shape   ", closing(h5.H5Sclose, h5.H5Dget_space(dataset), describe_space))
    print("  storage ", describe_layout(dataset))
    print("  begins with")
    for line in lines(read_first(dataset)):
        print("    " + line)
    h5.H5Dclose(dataset)
    h5.H5Fclose(file)


def main() -> None:
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    try:
        show(sys.argv[1], sys.argv[2])
    except LibraryError as error:
        sys.exit(f"{sys.argv[0]}: {error}")


if __name__ == "__main__":
    main()
