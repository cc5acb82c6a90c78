"""HDF5 datatypes and dataspaces in words: what the examples that inspect files share."""

from collections.abc import Callable, Iterable
from typing import Any, TypeVar

from zembra import h5

Said = TypeVar("Said")


def closing(close: Callable[[int], Any], identifier: int, describe: Callable[[int], Said]) -> Said:
    """What `describe` says of an identifier that is then closed."""
    try:
        return describe(identifier)
    finally:
        close(identifier)


def _bits(datatype: int) -> str:
    return f"{8 * h5.H5Tget_size(datatype)}-bit"


def _order(datatype: int) -> str:
    big = h5.H5ZBget_constant_value("H5T_ORDER_BE")
    return " big-endian" if h5.H5Tget_order(datatype) == big else ""


def _integer(datatype: int) -> str:
    unsigned = h5.H5Tget_sign(datatype) == h5.H5ZBget_constant_value("H5T_SGN_NONE")
    return f"{_bits(datatype)}{_order(datatype)} {'unsigned ' if unsigned else ''}integer"


def _string(datatype: int) -> str:
    if h5.H5Tis_variable_str(datatype):
        return "text of any length"
    return f"text of {h5.H5Tget_size(datatype)} bytes"


def _opaque(datatype: int) -> str:
    return f"{h5.H5Tget_size(datatype)} opaque bytes '{h5.H5Tget_tag(datatype)}'"


def _base(datatype: int) -> str:
    return closing(h5.H5Tclose, h5.H5Tget_super(datatype), describe_type)


def _compound(datatype: int) -> str:
    members = []
    for index in range(h5.H5Tget_nmembers(datatype)):
        member = closing(h5.H5Tclose, h5.H5Tget_member_type(datatype, index), describe_type)
        members.append(f"{h5.H5Tget_member_name(datatype, index)}: {member}")
    return "record {" + "; ".join(members) + "}"


def _enumeration(datatype: int) -> str:
    names = [
        h5.H5Tget_member_name(datatype, index) for index in range(h5.H5Tget_nmembers(datatype))
    ]
    return f"one of {', '.join(names)} ({_base(datatype)})"


def _reference(datatype: int) -> str:
    to_objects = h5.H5Tequal(datatype, "H5T_STD_REF_OBJ")
    return "reference to an object" if to_objects else "reference to a region"


DESCRIPTIONS: dict[str, Callable[[int], str]] = {
    "H5T_INTEGER": _integer,
    "H5T_FLOAT": lambda datatype: f"{_bits(datatype)}{_order(datatype)} float",
    "H5T_TIME": lambda datatype: f"{_bits(datatype)} time",
    "H5T_STRING": _string,
    "H5T_BITFIELD": lambda datatype: f"{_bits(datatype)} bit field",
    "H5T_OPAQUE": _opaque,
    "H5T_COMPOUND": _compound,
    "H5T_REFERENCE": _reference,
    "H5T_ENUM": _enumeration,
    "H5T_VLEN": lambda datatype: f"list of {_base(datatype)}",
    "H5T_ARRAY": lambda datatype: f"{by(h5.H5Tget_array_dims(datatype))} of {_base(datatype)}",
}

# h5.H5Tget_class gives numbers; their names are HDF5's own constants.
CLASSES = {h5.H5ZBget_constant_value(name): name for name in DESCRIPTIONS}


def describe_type(datatype: int) -> str:
    """One phrase, such as "64-bit float" or "record {code: text of 4 bytes}"."""
    return DESCRIPTIONS[CLASSES[h5.H5Tget_class(datatype)]](datatype)


def by(dimensions: Iterable[int]) -> str:
    """Dimensions as "240 x 4"; -1 as "unlimited"."""
    return " x ".join("unlimited" if size == -1 else str(size) for size in dimensions)


def describe_space(space: int) -> str:
    """One phrase, such as "240 x 4 (unlimited x 4 at most)", "single value" or "no data"."""
    if h5.H5Sget_simple_extent_type(space) == h5.H5ZBget_constant_value("H5S_NULL"):
        return "no data"
    rank, dimensions, maximum = h5.H5Sget_simple_extent_dims(space)
    if rank == 0:
        return "single value"
    growing = list(dimensions) != list(maximum)
    return by(dimensions) + (f" ({by(maximum)} at most)" if growing else "")


def describe_layout(dataset: int) -> str:
    """One phrase, such as "contiguous" or "chunks of 24 x 4, deflate"."""
    return closing(h5.H5Pclose, h5.H5Dget_create_plist(dataset), _layout)


def _layout(creation: int) -> str:
    layouts = {
        h5.H5ZBget_constant_value(f"H5D_{name}"): name.lower()
        for name in ("COMPACT", "CONTIGUOUS", "CHUNKED")
    }
    layout = layouts.get(h5.H5Pget_layout(creation), "virtual")
    if layout != "chunked":
        return layout
    _, dimensions = h5.H5Pget_chunk(creation)
    filters = [
        h5.H5Pget_filter(creation, index)[3] for index in range(h5.H5Pget_nfilters(creation))
    ]
    return ", ".join([f"chunks of {by(dimensions)}", *filters])
