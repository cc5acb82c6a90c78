"""Compound data as structured arrays."""

from collections.abc import Iterator, Mapping, Sequence
from typing import Any, Union

import numpy as np

Shape = tuple[int, ...]
Array = np.ndarray[Any, np.dtype[Any]]
Column = Union[Array, dict[str, "Column"]]

# Each column goes over all records. So many at a time stay in the cache until the last has.
_BYTES_AT_A_TIME = 512 << 10


def records(data: Mapping[str, Any], shape: int | Sequence[int] | None = None) -> Array:
    """The structured array of a compound dataset that was read as a dict.

    Fields become members in their order, nested dicts nested members, lists and
    object arrays members of dtype object. The shape of the dataset is what the
    shapes of all fields begin with; where they share more than that (a single
    member that is itself an array, say), `shape` tells.
    """
    columns = {name: _column(value) for name, value in data.items()}
    if shape is None:
        extent = _common_start([found for value in columns.values() for found in _shapes(value)])
    else:
        extent = (shape,) if isinstance(shape, (int, np.integer)) else tuple(shape)
    for name, value in columns.items():
        for found in _shapes(value):
            if found[: len(extent)] != extent:
                raise ValueError(
                    f"field {name!r} has the shape {found}, which does not begin with {extent}"
                )
    result = np.empty(extent, _dtype(columns, extent))
    leaves = _leaves(result, columns)
    for part in _parts(result):
        for place, values in leaves:
            place[part] = values[part]
    return result


def _column(value: Any) -> Column:
    """A field as an array, a nested structure as a dict of them."""
    if isinstance(value, dict):
        return {name: _column(inner) for name, inner in value.items()}
    if isinstance(value, list):
        column = np.empty(len(value), object)
        column[:] = value
        return column
    if isinstance(value, str):  # the fixed string of a scalar dataset
        return np.array(value.encode("utf-8", "surrogateescape"))
    return np.asarray(value)


def _shapes(column: Column) -> list[Shape]:
    if isinstance(column, dict):
        return [shape for inner in column.values() for shape in _shapes(inner)]
    return [column.shape]


def _common_start(shapes: list[Shape]) -> Shape:
    start: list[int] = []
    for lengths in zip(*shapes):
        if len(set(lengths)) > 1:
            break
        start.append(lengths[0])
    return tuple(start)


def _dtype(columns: dict[str, Column], extent: Shape) -> np.dtype[Any]:
    members: list[Any] = []
    for name, column in columns.items():
        if isinstance(column, dict):
            members.append((name, _dtype(column, extent)))
        else:
            members.append((name, column.dtype, column.shape[len(extent) :]))
    return np.dtype(members)


def _leaves(result: Array, columns: dict[str, Column]) -> list[tuple[Array, Array]]:
    """The places of all leaves' values in the records, and the values."""
    leaves: list[tuple[Array, Array]] = []
    for name, column in columns.items():
        if isinstance(column, dict):
            leaves += _leaves(result[name], column)
        else:
            leaves.append((result[name], column))
    return leaves


def _parts(result: Array) -> Iterator[Any]:
    """Indices of the first axis, part by part."""
    if result.ndim == 0 or result.nbytes <= _BYTES_AT_A_TIME:
        yield ...
        return
    rows = max(1, _BYTES_AT_A_TIME * len(result) // result.nbytes)
    for start in range(0, len(result), rows):
        yield slice(start, start + rows)
