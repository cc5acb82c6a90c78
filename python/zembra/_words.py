"""HDF5 datatypes, dataspaces and storage in words."""

import functools
from collections.abc import Callable, Iterable, Sequence

from . import h5
from ._id import Id

Identifier = int | Id

FIRST_MEMBERS = 100  # of an enumeration or a compound; the rest are counted


@functools.cache
def constant(name: str) -> int:
    return int(h5.H5ZBget_constant_value(name))


# --- Datatypes ------------------------------------------------------------------------


def describe_type(datatype: Identifier) -> str:
    """One phrase, such as "64-bit float" or "record {code: text of 4 bytes}"."""
    return _DESCRIPTIONS[class_of(datatype)](datatype)


def class_of(datatype: Identifier) -> str:
    """The name of a datatype's class, such as "H5T_FLOAT"."""
    return _class_names()[h5.H5Tget_class(datatype)]


def class_in_words(name: str) -> str:
    return {"H5T_VLEN": "variable-length list", "H5T_BITFIELD": "bit field"}.get(
        name, name.removeprefix("H5T_").lower()
    )


@functools.cache
def _class_names() -> dict[int, str]:
    return {constant(name): name for name in _DESCRIPTIONS}


def base_of(datatype: Identifier) -> Id:
    """What an array, a sequence or an enumeration is made of."""
    return Id(h5.H5Tget_super(datatype))


def member_names(datatype: Identifier) -> list[str]:
    count = h5.H5Tget_nmembers(datatype)
    return [h5.H5Tget_member_name(datatype, index) for index in range(count)]


def member_type(datatype: Identifier, index: int) -> Id:
    return Id(h5.H5Tget_member_type(datatype, index))


def _bits(datatype: Identifier) -> str:
    return f"{8 * h5.H5Tget_size(datatype)}-bit"


def _order(datatype: Identifier) -> str:
    return " big-endian" if h5.H5Tget_order(datatype) == constant("H5T_ORDER_BE") else ""


def _integer(datatype: Identifier) -> str:
    unsigned = h5.H5Tget_sign(datatype) == constant("H5T_SGN_NONE")
    return f"{_bits(datatype)}{_order(datatype)} {'unsigned ' if unsigned else ''}integer"


def _float(datatype: Identifier) -> str:
    return f"{_bits(datatype)}{_order(datatype)} float"


def _string(datatype: Identifier) -> str:
    if h5.H5Tis_variable_str(datatype):
        return "text of any length"
    return f"text of {h5.H5Tget_size(datatype)} bytes"


def _opaque(datatype: Identifier) -> str:
    return f"{h5.H5Tget_size(datatype)} opaque bytes '{h5.H5Tget_tag(datatype)}'"


def _base(datatype: Identifier) -> str:
    with base_of(datatype) as base:
        return describe_type(base)


def _compound(datatype: Identifier) -> str:
    members = []
    for index, name in enumerate(_first(member_names(datatype))):
        if index < h5.H5Tget_nmembers(datatype) and index < FIRST_MEMBERS:
            with member_type(datatype, index) as member:
                name = f"{name}: {describe_type(member)}"
        members.append(name)
    return "record {" + "; ".join(members) + "}"


def _enumeration(datatype: Identifier) -> str:
    return f"one of {', '.join(_first(member_names(datatype)))} ({_base(datatype)})"


def _first(names: Sequence[str]) -> list[str]:
    more = len(names) - FIRST_MEMBERS
    return [*names[:FIRST_MEMBERS], *[f"and {more:,} more"] * (more > 0)]


def _reference(datatype: Identifier) -> str:
    to_objects = h5.H5Tequal(datatype, "H5T_STD_REF_OBJ")
    return "reference to an object" if to_objects else "reference to a region"


def _array(datatype: Identifier) -> str:
    return f"{by(h5.H5Tget_array_dims(datatype))} of {_base(datatype)}"


_DESCRIPTIONS: dict[str, Callable[[Identifier], str]] = {
    "H5T_INTEGER": _integer,
    "H5T_FLOAT": _float,
    "H5T_TIME": lambda datatype: f"{_bits(datatype)} time",
    "H5T_STRING": _string,
    "H5T_BITFIELD": lambda datatype: f"{_bits(datatype)} bit field",
    "H5T_OPAQUE": _opaque,
    "H5T_COMPOUND": _compound,
    "H5T_REFERENCE": _reference,
    "H5T_ENUM": _enumeration,
    "H5T_VLEN": lambda datatype: f"list of {_base(datatype)}",
    "H5T_ARRAY": _array,
}


# --- Dataspaces -----------------------------------------------------------------------


def by(dimensions: Iterable[int]) -> str:
    """Dimensions as "240 x 4"; -1 as "unlimited"."""
    return " x ".join("unlimited" if size == -1 else str(size) for size in dimensions)


def extent_of(space: Identifier) -> tuple[list[int], list[int]] | None:
    """Dimensions and the most that they can be; None where there are no data."""
    if h5.H5Sget_simple_extent_type(space) == constant("H5S_NULL"):
        return None
    _, dimensions, maximum = h5.H5Sget_simple_extent_dims(space)
    return [int(size) for size in dimensions], [int(size) for size in maximum]


def describe_space(space: Identifier) -> str:
    """One phrase, such as "240 x 4 (unlimited x 4 at most)", "single value" or "no data"."""
    extent = extent_of(space)
    if extent is None:
        return "no data"
    dimensions, maximum = extent
    if not dimensions:
        return "single value"
    growing = dimensions != maximum
    return by(dimensions) + (f" ({by(maximum)} at most)" if growing else "")


# --- Storage --------------------------------------------------------------------------


def describe_layout(dataset: Identifier) -> str:
    """One phrase, such as "contiguous" or "chunks of 24 x 4, deflate"."""
    with Id(h5.H5Dget_create_plist(dataset)) as creation:
        return ", ".join([_layout(creation), *filters_of(creation)])


def chunk_of(creation: Identifier) -> list[int]:
    """The shape of a dataset's chunks; empty where it has none."""
    if h5.H5Pget_layout(creation) != constant("H5D_CHUNKED"):
        return []
    return [int(size) for size in h5.H5Pget_chunk(creation)[1]]


def filters_of(creation: Identifier) -> list[str]:
    return [h5.H5Pget_filter(creation, index)[3] for index in range(h5.H5Pget_nfilters(creation))]


def _layout(creation: Identifier) -> str:
    if chunk := chunk_of(creation):
        return f"chunks of {by(chunk)}"
    if h5.H5Pget_layout(creation) == constant("H5D_COMPACT"):
        return "compact"
    if h5.H5Pget_layout(creation) != constant("H5D_CONTIGUOUS"):
        return "virtual"
    count = h5.H5Pget_external_count(creation)
    return f"in {count} other file{'s' * (count > 1)}" if count else "contiguous"
