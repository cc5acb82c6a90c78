"""What is in a file: the model that the tree, the commands and the notebook share.

A walk gives one entry a link, in the order of names, members behind their group. Each object
is described once, under the first of its names; so a file may lead back into itself.
"""

import os
from collections.abc import Callable, Iterator, Sequence
from contextlib import contextmanager
from dataclasses import dataclass
from typing import Any, NamedTuple

from . import h5
from ._errors import Error
from ._h5py import identifier_of
from ._id import Id
from ._values import AS_STORED, DEFAULT, in_words, with_names
from ._words import (
    Identifier,
    class_of,
    describe_layout,
    describe_space,
    describe_type,
    extent_of,
)

GROUP, DATASET, DATATYPE = "group", "dataset", "datatype"
SOFT, EXTERNAL, USER = "soft link", "external link", "user-defined link"
AGAIN = "again"  # an object that was met under another name
LOST = "lost"  # what cannot be opened

BY_NAME = "H5_INDEX_NAME", "H5_ITER_INC"
LARGEST_ATTRIBUTE = 1 << 20  # bytes; what has more is not read only to be shown
_OBJECTS = (GROUP, DATASET, DATATYPE)  # as H5Oget_info numbers them
_HARD, _SOFT, _EXTERNAL = 0, 1, 64  # as H5Lget_info numbers them


@dataclass(frozen=True)
class Attribute:
    """One in words. trouble: why its value is not told."""

    name: str
    datatype: str = ""
    extent: str = ""
    value: str = ""
    trouble: str = ""


@dataclass(frozen=True)
class Facts:
    """What there is to say about an object; of groups and datatypes less than of datasets."""

    datatype: str = ""
    extent: str = ""
    storage: str = ""
    shape: tuple[int, ...] | None = None
    is_record: bool = False
    comment: str = ""
    attributes: tuple[Attribute, ...] = ()


@dataclass(frozen=True)
class Entry:
    """A link and what it leads to.

    target: of a link, where it leads; of what was met before, its first path.
    trouble: why there is no more to say.
    """

    path: str
    depth: int
    kind: str
    target: str = ""
    trouble: str = ""
    facts: Facts = Facts()

    @property
    def name(self) -> str:
        return self.path.rpartition("/")[2] or "/"


@contextmanager
def opened(file: Any) -> Iterator[Id]:
    """A file by its name, for reading; one that is open already, or an object in it, as it is."""
    if isinstance(file, (str, bytes, os.PathLike)):
        with Id(h5.H5Fopen(file, "H5F_ACC_RDONLY", DEFAULT)) as identifier:
            yield identifier
    else:
        theirs = identifier_of(file)
        yield Id(file if theirs is None else theirs)


def open_object(file: Identifier, path: str) -> Id:
    return Id(h5.H5Oopen(file, path, DEFAULT))


def kind_of_object(identifier: Identifier) -> str:
    return _OBJECTS[h5.H5Oget_info(identifier)["type"]]


def link_names(group: Identifier) -> list[str]:
    names: list[str] = []

    def note(_group: object, name: str, nothing: object) -> tuple[int, object]:
        names.append(name)
        return 0, nothing

    h5.H5Literate(group, *BY_NAME, [], note, None)
    return names


def attribute_names(thing: Identifier) -> list[str]:
    names: list[str] = []
    if h5.H5Oget_info(thing)["num_attrs"] == 0:
        return names

    def note(_thing: object, name: str, _info: object, nothing: object) -> tuple[int, object]:
        names.append(name)
        return 0, nothing

    h5.H5Aiterate(thing, *BY_NAME, 0, note, None)
    return names


def joined(path: str, name: str) -> str:
    return path.rstrip("/") + "/" + name


def walk(
    file: Identifier, path: str = "/", members: Callable[[Identifier], list[str]] | None = None
) -> Iterator[Entry]:
    """The entries at and below a path, which has to be there. `members` gives the names in a
    group in another order."""
    return _Walk(file, members or link_names).entries(path)


class _Walk:
    def __init__(self, file: Identifier, members: Callable[[Identifier], list[str]]) -> None:
        self._file = file
        self._members = members
        self._paths: dict[tuple[int, int], str] = {}  # of the objects that were met

    def entries(self, path: str) -> Iterator[Entry]:
        # The links ahead are listed instead of descended into, and groups on the way to them
        # stay open: however deep the file is, it is one loop, and each name is looked up once.
        ahead = [(path, 0)]
        groups: list[Id] = []
        try:
            while ahead:
                path, depth = ahead.pop()
                while len(groups) > depth:
                    groups.pop().close()
                entry, names, group = self._entry(groups[-1] if groups else None, path, depth)
                if group is not None:
                    groups.append(group)
                yield entry
                ahead += [(joined(path, name), depth + 1) for name in reversed(names)]
        finally:
            for group in reversed(groups):
                group.close()

    def _entry(self, group: Id | None, path: str, depth: int) -> "_Found":
        """What a walk begins at is an object, whatever led there."""
        if group is None:
            return self._object(open_object(self._file, path), path, depth)
        name = path.rpartition("/")[2]
        try:
            kind = h5.H5Lget_info(group, name, DEFAULT)["type"]
            if kind != _HARD:
                return _Found(self._link(group, name, path, depth, kind))
            return self._object(open_object(group, name), path, depth)
        except Error as error:
            return _Found(Entry(path, depth, LOST, trouble=str(error)))

    def _link(self, group: Id, name: str, path: str, depth: int, kind: int) -> Entry:
        if kind == _SOFT:
            (target,) = list(h5.H5Lget_val(group, name, DEFAULT))
            trouble = "" if _leads_on(group, name) else "nothing there"
            return Entry(path, depth, SOFT, target, trouble)
        if kind == _EXTERNAL:
            place, target = list(h5.H5Lget_val(group, name, DEFAULT))
            return Entry(path, depth, EXTERNAL, f"{target} in {place}")
        return Entry(path, depth, USER, f"of class {kind}")

    def _object(self, thing: Id, path: str, depth: int) -> "_Found":
        """The identifier stays open where there is something below."""
        names: list[str] = []
        try:
            info = h5.H5Oget_info(thing)
            first = self._paths.setdefault((info["fileno"], info["addr"]), path)
            if first != path:
                return _Found(Entry(path, depth, AGAIN, first))
            kind = _OBJECTS[info["type"]]
            try:
                if kind == GROUP:
                    names = self._members(thing)
                entry = Entry(path, depth, kind, facts=facts_of(thing, kind))
            except Error as error:
                entry = Entry(path, depth, kind, trouble=str(error))
            return _Found(entry, names, thing if names else None)
        finally:
            if not names:
                thing.close()


class _Found(NamedTuple):
    """An entry, the names below it, and the group that they are in."""

    entry: Entry
    names: Sequence[str] = ()
    group: Id | None = None


def _leads_on(group: Id, name: str) -> bool:
    try:
        h5.H5Gget_objinfo(group, name, True)
        return True
    except Error:
        return False


def facts_of(thing: Identifier, kind: str) -> Facts:
    comment = " ".join(h5.H5Oget_comment(thing).split())
    attributes = tuple(attribute_of(thing, name) for name in attribute_names(thing))
    if kind == DATATYPE:
        return Facts(datatype=describe_type(thing), comment=comment, attributes=attributes)
    if kind == GROUP:
        return Facts(comment=comment, attributes=attributes)
    with Id(h5.H5Dget_space(thing)) as space, Id(h5.H5Dget_type(thing)) as datatype:
        extent = extent_of(space)
        return Facts(
            describe_type(datatype),
            describe_space(space),
            describe_layout(thing),
            None if extent is None else tuple(extent[0]),
            class_of(datatype) == "H5T_COMPOUND",
            comment,
            attributes,
        )


@contextmanager
def open_attribute(owner: Identifier, name: str) -> Iterator[tuple[Id, Id, Id]]:
    """An attribute, its datatype and its dataspace."""
    with Id(h5.H5Aopen_by_name(owner, ".", name, DEFAULT, DEFAULT)) as attribute:
        with Id(h5.H5Aget_type(attribute)) as datatype, Id(h5.H5Aget_space(attribute)) as space:
            yield attribute, datatype, space


def attribute_of(owner: Identifier, name: str) -> Attribute:
    try:
        with open_attribute(owner, name) as (attribute, datatype, space):
            kind, extent = describe_type(datatype), describe_space(space)
            try:
                return Attribute(name, kind, extent, _value_in_words(attribute, datatype, space))
            except Error as error:
                return Attribute(name, kind, extent, trouble=str(error))
    except Error as error:
        return Attribute(name, trouble=str(error))


def _value_in_words(attribute: Id, datatype: Id, space: Id) -> str:
    if extent_of(space) is None:
        return f"no data ({describe_type(datatype)})"
    size = h5.H5Aget_info(attribute)["data_size"]
    if size > LARGEST_ATTRIBUTE:
        return f"{size:,} bytes: {describe_space(space)} of {describe_type(datatype)}"
    return in_words(with_names(attribute, datatype, h5.H5Aread(attribute, AS_STORED)))
