"""`zembra copy`: a file anew, without what it no longer uses, and stored otherwise if asked to.

Objects with several names, links, committed datatypes, references, attributes and the order of
creation are kept. The copy is written beside its place and put there when it is complete.
"""

import math
import os
from collections.abc import Callable, Sequence
from contextlib import suppress
from dataclasses import dataclass, field
from typing import Any, NamedTuple

import numpy as np

from . import h5
from ._errors import Error
from ._id import Id
from ._model import (
    AGAIN,
    DATASET,
    DATATYPE,
    EXTERNAL,
    GROUP,
    LOST,
    SOFT,
    Entry,
    attribute_names,
    link_names,
    open_attribute,
    open_object,
    opened,
    walk,
)
from ._show import Refused
from ._values import (
    AS_STORED,
    DEFAULT,
    any_part,
    blocks,
    has_references,
    is_variable,
    read,
    space_of,
    with_references,
    write,
)
from ._words import Identifier, chunk_of, class_of, constant, extent_of

CHUNK_BYTES = 1 << 20  # of a chunk whose shape nobody has said
SMALLEST = 1024  # bytes: what has fewer stays as it is
EXACT_FLOAT = 8  # bytes that a float has at most in memory
IN_ORDER = "H5_INDEX_CRT_ORDER", "H5_ITER_INC"


@dataclass(frozen=True)
class Storage:
    """How datasets are to be stored; what says nothing keeps them as they are."""

    chunks: tuple[int, ...] = ()
    contiguous: bool = False
    gzip: int | None = None
    shuffle: bool = False
    fletcher32: bool = False
    unfiltered: bool = False

    @property
    def filtered(self) -> bool:
        return self.gzip is not None or self.shuffle or self.fletcher32

    @property
    def asks(self) -> bool:
        return bool(self.filtered or self.chunks or self.contiguous or self.unfiltered)


class Sizes(NamedTuple):
    before: int
    after: int


def copy(
    source: str,
    target: str,
    storage: Storage,
    *,
    replace: bool = False,
    begin: Callable[[int], object] = lambda total: None,
    progress: Callable[[int], object] = lambda done: None,
) -> Sizes:
    """Sizes of the files before and after. `begin` is told how many bytes of data there are in
    the file, `progress` how many more of them are copied."""
    if os.path.exists(target) and not replace:
        raise Refused(f"{target} is there already; --force replaces it")
    beside = f"{target}.part"
    try:
        with opened(source) as file:
            total = _Copy(file, beside, storage, progress)
            begin(total.data_size())
            total.run()
        _copy_user_block(source, beside)
        os.replace(beside, target)
    finally:
        with suppress(FileNotFoundError):
            os.remove(beside)
    return Sizes(total.file_size, os.path.getsize(target))


def _copy_user_block(source: str, target: str) -> None:
    """What stands before HDF5's own bytes belongs to others."""
    with opened(source) as file, Id(h5.H5Fget_create_plist(file)) as creation:
        size = h5.H5Pget_userblock(creation)
    if size:
        with open(source, "rb") as old, open(target, "r+b") as new:
            new.write(old.read(size))


@dataclass
class _Copy:
    source: Id
    path: str
    storage: Storage
    progress: Callable[[int], object]
    target: Id = Id(-1)
    entries: list[Entry] = field(default_factory=list)
    _types: dict[tuple[int, int], str] = field(default_factory=dict)  # where they are kept
    _shelf: str = ""  # a group for committed datatypes, until they have their names
    _later: list[tuple[str, str]] = field(default_factory=list)  # references: object, attribute

    def __post_init__(self) -> None:
        self.file_size = h5.H5Fget_filesize(self.source)
        self.entries = list(walk(self.source, members=_members))

    def data_size(self) -> int:
        total = 0
        for entry in self.entries:
            if entry.kind == DATASET:
                with open_object(self.source, entry.path) as dataset:
                    total += h5.H5Dget_storage_size(dataset)
        return total

    def run(self) -> None:
        with Id(self._file_properties()) as creation, Id(self._access()) as access:
            self.target = Id(h5.H5Fcreate(self.path, "H5F_ACC_TRUNC", creation, access))
        with self.target:
            for entry in self.entries:
                self._entry(entry)
            for path, attribute in self._later:
                self._references(path, attribute)
            if self._shelf:
                h5.H5Ldelete(self.target, self._shelf, DEFAULT)

    def _file_properties(self) -> int:
        creation: int = h5.H5Fget_create_plist(self.source)
        _keep_order(creation, self.source)
        return creation

    def _access(self) -> int:
        """The format of HDF5 1.8 for what has it already: it has no limit for attributes."""
        access: int = h5.H5Pcreate("H5P_FILE_ACCESS")
        with Id(h5.H5Fget_create_plist(self.source)) as creation:
            if h5.H5Pget_version(creation)[0] >= 2:
                h5.H5Pset_libver_bounds(access, "H5F_LIBVER_LATEST", "H5F_LIBVER_LATEST")
        return access

    # --- Links and objects ------------------------------------------------------------

    def _entry(self, entry: Entry) -> None:
        path = entry.path
        if entry.kind == LOST or (entry.trouble and entry.kind != SOFT):
            raise Refused(f"{path} cannot be read: {entry.trouble}")
        make = {
            AGAIN: self._again,
            DATASET: self._dataset,
            DATATYPE: self._datatype,
            EXTERNAL: self._external,
            GROUP: self._group,
            SOFT: self._soft,
        }.get(entry.kind)
        if make is None:
            raise Refused(f"{path} is a link of a user's own class, which only its maker can copy")
        try:
            if path == "/":
                self._attributes(path)
                self._comment(entry)
                return
            with Id(self._link_properties(path)) as link:
                make(entry, link)
        except Error as error:
            raise Refused(f"{path} cannot be copied: {error}") from error

    def _link_properties(self, path: str) -> int:
        link: int = h5.H5Pcreate("H5P_LINK_CREATE")
        cset = h5.H5Lget_info(self.source, path, DEFAULT)["cset"]
        h5.H5Pset_char_encoding(link, cset)
        return link

    def _again(self, entry: Entry, link: Id) -> None:
        h5.H5Lcreate_hard(self.target, entry.target, self.target, entry.path, link, DEFAULT)

    def _soft(self, entry: Entry, link: Id) -> None:
        h5.H5Lcreate_soft(entry.target, self.target, entry.path, link, DEFAULT)

    def _external(self, entry: Entry, link: Id) -> None:
        file, target = list(h5.H5Lget_val(self.source, entry.path, DEFAULT))
        h5.H5Lcreate_external(file, target, self.target, entry.path, link, DEFAULT)

    def _group(self, entry: Entry, link: Id) -> None:
        with Id(h5.H5Pcreate("H5P_GROUP_CREATE")) as creation:
            with open_object(self.source, entry.path) as group:
                _keep_order(creation, group)
            Id(h5.H5Gcreate(self.target, entry.path, link, creation, DEFAULT)).close()
        self._attributes(entry.path)
        self._comment(entry)

    def _datatype(self, entry: Entry, link: Id) -> None:
        with open_object(self.source, entry.path) as datatype:
            place = self._committed(datatype)
        h5.H5Lcreate_hard(self.target, place, self.target, entry.path, link, DEFAULT)
        self._attributes(entry.path)
        self._comment(entry)

    def _comment(self, entry: Entry) -> None:
        if entry.facts.comment:
            with open_object(self.source, entry.path) as thing:
                comment = h5.H5Oget_comment(thing)
            with open_object(self.target, entry.path) as thing:
                h5.H5Oset_comment(thing, comment)

    # --- Datatypes ----------------------------------------------------------------------

    def _committed(self, datatype: Identifier) -> str:
        """Where the copy has a committed datatype: made when it is first met, and on the shelf."""
        info = h5.H5Oget_info(datatype)
        key = info["fileno"], info["addr"]
        if key not in self._types:
            if not self._shelf:
                self._shelf = _free_name(self.source)
                Id(h5.H5Gcreate(self.target, self._shelf, 0)).close()
            place = f"{self._shelf}/{len(self._types)}"
            with Id(h5.H5Tcopy(datatype)) as plain:
                h5.H5Tcommit(self.target, place, plain, DEFAULT, DEFAULT, DEFAULT)
            self._types[key] = place
        return self._types[key]

    def _type_in_target(self, datatype: Identifier) -> Id:
        if h5.H5Tcommitted(datatype):
            return Id(h5.H5Topen(self.target, self._committed(datatype), DEFAULT))
        return Id(h5.H5Tcopy(datatype))

    # --- Attributes ---------------------------------------------------------------------

    def _attributes(self, path: str) -> None:
        with open_object(self.source, path) as old, open_object(self.target, path) as new:
            for name in _in_order(old):
                self._attribute(path, old, new, name)

    def _attribute(self, path: str, old: Id, new: Id, name: str) -> None:
        with open_attribute(old, name) as (attribute, datatype, space):
            if not is_exact(datatype):
                raise Refused(f"{path}@{name} cannot be copied: its datatype has no exact like")
            with (
                self._type_in_target(datatype) as same,
                Id(h5.H5Pcreate("H5P_ATTRIBUTE_CREATE")) as creation,
            ):
                h5.H5Pset_char_encoding(creation, h5.H5Aget_info(attribute)["cset"])
                with Id(h5.H5Acreate(new, name, same, space, creation, DEFAULT)) as made:
                    if has_references(datatype):
                        self._later.append((path, name))
                    elif extent_of(space) is not None:
                        h5.H5Awrite(made, AS_STORED, h5.H5Aread(attribute, AS_STORED))

    # --- Datasets -----------------------------------------------------------------------

    def _dataset(self, entry: Entry, link: Id) -> None:
        path = entry.path
        with open_object(self.source, path) as old, Id(h5.H5Dget_type(old)) as datatype:
            size = h5.H5Dget_storage_size(old)
            with Id(self._creation(old, datatype)) as creation:
                if self._goes_as_it_is(old, datatype, creation):
                    h5.H5Ocopy(self.source, path, self.target, path, DEFAULT, link)
                    self._later += [(path, name) for name in _referring(old)]
                    self.progress(size)
                    return
                with self._type_in_target(datatype) as same, Id(h5.H5Dget_space(old)) as space:
                    new = Id(h5.H5Dcreate(self.target, path, same, space, link, creation, DEFAULT))
            with new:
                if has_references(datatype):
                    self._later.append((path, ""))
                elif size:
                    self._data(old, new, size)
        self._attributes(path)
        self._comment(entry)

    def _goes_as_it_is(self, old: Id, datatype: Id, creation: Id) -> bool:
        """Copied by HDF5 itself: byte for byte, whatever it is made of."""
        with Id(h5.H5Dget_create_plist(old)) as before:
            if h5.H5Pget_layout(before) not in map(constant, _LAYOUTS) or not is_exact(datatype):
                return True
            same = bool(h5.H5Pequal(before, creation))
        return same and not (h5.H5Tcommitted(datatype) or has_references(datatype))

    def _data(self, old: Id, new: Id, size: int) -> None:
        extent = space_of(old)
        if extent is None:
            return
        elements, told, done = math.prod(extent[0]), 0, 0
        for block in blocks(old, extent[0]):
            write(new, block, read(old, block))
            done += math.prod(block.size)
            self.progress(size * done // elements - told)
            told = size * done // elements

    def _creation(self, old: Id, datatype: Id) -> int:
        """The creation list of the dataset's copy."""
        creation: int = h5.H5Dget_create_plist(old)
        if h5.H5Pget_layout(creation) not in map(constant, _LAYOUTS):
            return creation
        if h5.H5Pget_external_count(creation):  # the copy has its data itself
            creation = _without_files(creation, datatype)
        extent = space_of(old)
        if extent is None or not extent[0] or not self.storage.asks:
            return creation
        element = h5.H5Tget_size(datatype)
        if math.prod(extent[0]) * element < SMALLEST and -1 not in extent[1]:
            return creation
        self._store(creation, *extent, element, is_variable(datatype))
        return creation

    def _store(
        self,
        creation: int,
        dimensions: Sequence[int],
        most: Sequence[int],
        element: int,
        variable: bool,
    ) -> None:
        storage = self.storage
        fixed = list(dimensions) == list(most)
        if storage.filtered or storage.unfiltered or (storage.contiguous and fixed):
            if h5.H5Pget_nfilters(creation):
                h5.H5Premove_filter(creation, "H5Z_FILTER_ALL")
        if storage.contiguous and fixed:
            h5.H5Pset_layout(creation, "H5D_CONTIGUOUS")
            return
        chunks = chunk_of(creation)
        filtered = storage.filtered and not variable  # which have nothing but addresses here
        if len(storage.chunks) == len(dimensions):
            chunks = list(storage.chunks)
            chunks = [min(*pair) if pair[1] > 0 else pair[0] for pair in zip(chunks, most)]
            h5.H5Pset_chunk(creation, chunks)
        elif filtered and not chunks:
            h5.H5Pset_chunk(creation, guessed_chunk(dimensions, element))
        if filtered:
            if storage.shuffle:
                h5.H5Pset_shuffle(creation)
            if storage.gzip is not None:
                h5.H5Pset_deflate(creation, storage.gzip)
            if storage.fletcher32:
                h5.H5Pset_fletcher32(creation)

    # --- References -----------------------------------------------------------------------

    def _references(self, path: str, attribute: str) -> None:
        """When everything that they can refer to is there."""
        with open_object(self.source, path) as old, open_object(self.target, path) as new:
            if attribute:
                with open_attribute(old, attribute) as (one, datatype, space):
                    if extent_of(space) is not None:
                        value = self._translated(one, datatype, h5.H5Aread(one, AS_STORED))
                        with Id(h5.H5Aopen(new, attribute, DEFAULT)) as other:
                            h5.H5Awrite(other, AS_STORED, value)
                return
            extent = space_of(old)
            with Id(h5.H5Dget_type(old)) as datatype:
                for block in blocks(old, extent[0]) if extent else ():
                    write(new, block, self._translated(old, datatype, read(old, block)))
            self.progress(h5.H5Dget_storage_size(old))

    def _translated(self, owner: Id, datatype: Id, value: Any) -> Any:
        return with_references(datatype, value, lambda *what: self._one(owner, *what), _bytes)

    def _one(self, owner: Id, kind: str, reference: Any) -> Any:
        if not reference.any():
            return reference
        try:
            name = h5.H5Rget_name(owner, kind, reference)
        except Error:
            name = ""
        if not name:  # it leads nowhere, and so does its copy
            return np.zeros_like(reference)
        if kind == "H5R_OBJECT":
            return h5.H5Rcreate(self.target, name, kind, -1)
        with Id(h5.H5Rget_region(owner, kind, reference)) as space:
            return h5.H5Rcreate(self.target, name, kind, space)


def _bytes(references: list[Any], shape: tuple[int, ...]) -> Any:
    size = references[0].shape[-1] if references else 0
    return np.array(references, np.uint8).reshape(*shape, size)


_LAYOUTS = "H5D_COMPACT", "H5D_CONTIGUOUS", "H5D_CHUNKED"


def is_exact(datatype: Identifier) -> bool:
    """Whether values of it survive the way through memory."""
    return not _is_inexact(datatype)


def _is_inexact(datatype: Identifier) -> bool:
    name = class_of(datatype)
    if name == "H5T_FLOAT":
        return bool(h5.H5Tget_size(datatype) > EXACT_FLOAT)
    return name == "H5T_TIME" or any_part(datatype, _is_inexact)


def guessed_chunk(dimensions: Sequence[int], element: int) -> list[int]:
    """The extent, its longest side halved until a chunk is not too large."""
    chunk = [max(1, size) for size in dimensions]
    while math.prod(chunk) * element > CHUNK_BYTES and max(chunk) > 1:
        longest = chunk.index(max(chunk))
        chunk[longest] = -(-chunk[longest] // 2)
    return chunk


def _without_files(creation: int, datatype: Id) -> int:
    """The like without external storage."""
    with Id(creation):
        plain: int = h5.H5Pcreate("H5P_DATASET_CREATE")
        if h5.H5Pfill_value_defined(creation) == constant("H5D_FILL_VALUE_USER_DEFINED"):
            h5.H5Pset_fill_value(plain, datatype, h5.H5Pget_fill_value(creation, datatype))
    return plain


# --- The order of creation ----------------------------------------------------------------


def _members(group: Identifier) -> list[str]:
    return _created_links(group) or link_names(group)


def _created_links(group: Identifier) -> list[str]:
    """Names in the order of creation; empty where that is not known."""
    names: list[str] = []

    def note(_group: object, name: str, nothing: object) -> tuple[int, object]:
        names.append(name)
        return 0, nothing

    try:
        h5.H5Literate(group, *IN_ORDER, [], note, None)
    except Error:
        return []
    return names


def _created_attributes(thing: Identifier) -> list[str]:
    names: list[str] = []

    def note(_thing: object, name: str, _info: object, nothing: object) -> tuple[int, object]:
        names.append(name)
        return 0, nothing

    try:
        h5.H5Aiterate(thing, *IN_ORDER, 0, note, None)
    except Error:
        return []
    return names


def _in_order(thing: Identifier) -> list[str]:
    return _created_attributes(thing) or attribute_names(thing)


def _keep_order(creation: Identifier, group: Identifier) -> None:
    flags = constant("H5P_CRT_ORDER_TRACKED") | constant("H5P_CRT_ORDER_INDEXED")
    with open_object(group, ".") as thing:
        names = _created_links(thing)
        if names and h5.H5Lget_info(thing, names[0], DEFAULT)["corder_valid"]:
            h5.H5Pset_link_creation_order(creation, flags)
        attributes = _created_attributes(thing)
        if attributes:
            with open_attribute(thing, attributes[0]) as (attribute, _, _):
                if h5.H5Aget_info(attribute)["corder_valid"]:
                    h5.H5Pset_attr_creation_order(creation, flags)


def _referring(thing: Identifier) -> list[str]:
    """Attributes with references, which HDF5 copies as ones to nothing."""
    found = []
    for name in attribute_names(thing):
        with open_attribute(thing, name) as (_, datatype, _):
            if has_references(datatype):
                found.append(name)
    return found


def _free_name(file: Id) -> str:
    with open_object(file, "/") as root:
        taken = set(link_names(root))
    return next(
        name for name in map("/datatypes {}".format, range(len(taken) + 1)) if name[1:] not in taken
    )
