"""Values of datasets and attributes: reading parts of them, references in them, and values in
words."""

import math
from collections.abc import Callable, Iterator, Sequence
from typing import Any, NamedTuple

import numpy as np

from . import h5
from ._errors import Error
from ._id import Id
from ._walk import pieces
from ._words import Identifier, base_of, chunk_of, class_of, extent_of, member_names, member_type

DEFAULT = "H5P_DEFAULT"
ALL = "H5S_ALL"
AS_STORED = "H5ZB_DEFAULT"
PIECE = 8 << 20  # bytes that are read at once
VARIABLE = 256  # bytes that an element of variable length is taken to have


# --- Reading ----------------------------------------------------------------------------


class Block(NamedTuple):
    """A regular part of an extent, an entry a dimension."""

    start: list[int]
    size: list[int]
    step: list[int]


def whole(dimensions: Sequence[int]) -> Block:
    rank = len(dimensions)
    return Block([0] * rank, list(dimensions), [1] * rank)


def read(dataset: Identifier, block: Block) -> Any:
    """The values of a block; of a scalar, its value."""
    if not block.size:
        return h5.H5Dread(dataset, AS_STORED, ALL, ALL, DEFAULT)
    with Id(h5.H5Dget_space(dataset)) as space:
        with Id(h5.H5Screate_simple(len(block.size), block.size, [])) as memory:
            select(space, block)
            return h5.H5Dread(dataset, AS_STORED, memory, space, DEFAULT)


def write(dataset: Identifier, block: Block, values: Any) -> None:
    if not block.size:
        h5.H5Dwrite(dataset, AS_STORED, ALL, ALL, DEFAULT, values)
        return
    with Id(h5.H5Dget_space(dataset)) as space:
        with Id(h5.H5Screate_simple(len(block.size), block.size, [])) as memory:
            select(space, block)
            h5.H5Dwrite(dataset, AS_STORED, memory, space, DEFAULT, values)


def select(space: Identifier, block: Block) -> None:
    if 0 in block.size:
        h5.H5Sselect_none(space)
    else:
        step = block.step if max(block.step) > 1 else []
        h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", block.start, step, block.size, [])


def blocks(dataset: Identifier, dimensions: Sequence[int]) -> Iterator[Block]:
    """All of an extent in pieces that fit memory, along the borders of chunks where they do."""
    if 0 in dimensions:
        return
    if not dimensions:
        yield whole([])
        return
    most = max(1, PIECE // element_size(dataset))
    with Id(h5.H5Dget_create_plist(dataset)) as creation:
        unit = chunk_of(creation)
    if not unit or math.prod(unit) > most:
        unit = [1] * len(dimensions)
    for start, count in pieces(dimensions, unit, most):
        yield Block(start, count, [1] * len(start))


def element_size(dataset: Identifier) -> int:
    """About how many bytes of memory an element takes."""
    with Id(h5.H5Dget_type(dataset)) as datatype:
        size: int = h5.H5Tget_size(datatype)
        return max(size, VARIABLE) if is_variable(datatype) else max(size, 1)


def is_variable(datatype: Identifier) -> bool:
    """Whether there is anything in it whose length is its own."""
    name = class_of(datatype)
    if name == "H5T_STRING":
        return bool(h5.H5Tis_variable_str(datatype))
    return name == "H5T_VLEN" or any_part(datatype, is_variable)


def any_part(datatype: Identifier, holds: Callable[[Id], bool]) -> bool:
    """Whether something is true of any of the datatypes that this one is made of."""
    name = class_of(datatype)
    if name in ("H5T_ARRAY", "H5T_VLEN"):
        with base_of(datatype) as base:
            return holds(base)
    if name == "H5T_COMPOUND":
        for index in range(h5.H5Tget_nmembers(datatype)):
            with member_type(datatype, index) as member:
                if holds(member):
                    return True
    return False


def space_of(owner: Identifier) -> tuple[list[int], list[int]] | None:
    """The extent of a dataset, as `extent_of` gives it."""
    with Id(h5.H5Dget_space(owner)) as space:
        return extent_of(space)


# --- References -------------------------------------------------------------------------

One = Callable[[str, Any], Any]
Gather = Callable[[list[Any], tuple[int, ...]], Any]


def has_references(datatype: Identifier) -> bool:
    return class_of(datatype) == "H5T_REFERENCE" or any_part(datatype, has_references)


def with_references(datatype: Identifier, value: Any, one: One, gather: Gather) -> Any:
    """The value with every reference in it replaced: `one` makes something of its kind and its
    bytes, `gather` an array of these."""
    name = class_of(datatype)
    if name == "H5T_REFERENCE":
        kind = "H5R_OBJECT" if h5.H5Tequal(datatype, "H5T_STD_REF_OBJ") else "H5R_DATASET_REGION"
        rows = value.reshape(-1, value.shape[-1])
        return gather([one(kind, row) for row in rows], value.shape[:-1])
    if name == "H5T_ARRAY":
        with base_of(datatype) as base:
            return with_references(base, value, one, gather)
    if name == "H5T_VLEN":
        with base_of(datatype) as base:
            if not has_references(base):
                return value
            return each(value, lambda item: with_references(base, item, one, gather))
    if name == "H5T_COMPOUND":
        result = {}
        for index, member in enumerate(member_names(datatype)):
            with member_type(datatype, index) as inner:
                result[member] = with_references(inner, value[member], one, gather)
        return result
    return value


def each(value: Any, change: Callable[[Any], Any]) -> Any:
    """The elements of a list or of an object array, changed; of anything else, itself changed."""
    if isinstance(value, list):
        return [change(item) for item in value]
    if isinstance(value, np.ndarray) and value.dtype == object:
        result = np.empty(value.shape, object)
        for index in np.ndindex(value.shape):
            result[index] = change(value[index])
        return result
    return change(value)


def with_names(owner: Identifier, datatype: Identifier, value: Any) -> Any:
    """References as the names of what they refer to."""
    if not has_references(datatype):
        return value
    return with_references(datatype, value, lambda *what: _name(owner, *what), _names)


def _names(names: list[Any], shape: tuple[int, ...]) -> Any:
    result = np.empty(len(names), object)
    result[:] = names
    return result.reshape(shape) if shape else names[0]


def _name(owner: Identifier, kind: str, reference: Any) -> str | None:
    if not reference.any():
        return None
    try:
        name: str = h5.H5Rget_name(owner, kind, reference)
        if kind == "H5R_OBJECT":
            return name
        with Id(h5.H5Rget_region(owner, kind, reference)) as space:
            return name + region_in_words(space)
    except Error:
        return "nothing there"


def region_in_words(space: Identifier) -> str:
    """The corners of what is selected: "[0:2, 3:5]"; points as "[0, 3] [1, 4]"."""
    extent = extent_of(space)
    chosen = h5.H5Sget_select_npoints(space)
    if not extent or chosen == 0:
        return "[]"
    if chosen == math.prod(extent[0]):
        return "[all]"
    kind = h5.H5Sget_select_type(space)
    if kind == h5.H5ZBget_constant_value("H5S_SEL_POINTS"):
        points = h5.H5Sget_select_elem_pointlist(space, 0, chosen)
        return " ".join(str(point.tolist()) for point in np.atleast_2d(points))
    count = h5.H5Sget_select_hyper_nblocks(space)
    corners = h5.H5Sget_select_hyper_blocklist(space, 0, count).reshape(count, 2, -1)
    return " ".join(
        "[" + ", ".join(f"{low}:{high + 1}" for low, high in zip(*block)) + "]" for block in corners
    )


# --- Words ------------------------------------------------------------------------------

FEW = 6  # values of an attribute that are shown
LONGEST_TEXT = 200


def in_words(value: Any, few: int = FEW) -> str:
    """A value as one line, cut short where it is long."""
    if isinstance(value, dict):
        members = (f"{name}: {in_words(item, few)}" for name, item in value.items())
        return "{" + ", ".join(members) + "}"
    if isinstance(value, list) or (isinstance(value, np.ndarray) and value.ndim > 0):
        shown = [in_words(item, few) for item in value[:few]]
        return "[" + ", ".join(shown + ["..."] * (len(value) > few)) + "]"
    if isinstance(value, bytes):
        value = value.decode("utf-8", "surrogateescape")
    if isinstance(value, str):
        return repr(value if len(value) <= LONGEST_TEXT else value[:LONGEST_TEXT] + "…")
    if isinstance(value, float):
        return f"{value:.15g}"
    return "nothing" if value is None else str(value)
