"""`zembra diff`: what differs between two files, by path.

Compared is what a reader finds: links, extents, datatypes, values, attributes and comments.
How it is stored is not: chunks and filters may differ.
"""

import math
from collections.abc import Iterator, Sequence
from typing import Any, NamedTuple

import numpy as np

from . import h5
from ._errors import Error
from ._id import Id
from ._model import DATASET, DATATYPE, Entry, open_attribute, open_object, opened, walk
from ._tree import words_of
from ._values import AS_STORED, blocks, has_references, in_words, is_variable, read, with_names
from ._words import Identifier, by, describe_type, extent_of

FEW = 3  # values of a difference that are shown


class Difference(NamedTuple):
    """unknown: it could not be compared."""

    path: str
    text: str
    unknown: bool = False

    def __str__(self) -> str:
        return f"{self.path}: {self.text}"


def differences(first: Any, second: Any) -> Iterator[Difference]:
    """In the order of paths."""
    with opened(first) as one, opened(second) as two:
        yield from _Comparison(one, two).differences()


class _Comparison:
    def __init__(self, one: Id, two: Id) -> None:
        self._files = one, two

    def differences(self) -> Iterator[Difference]:
        entries = [{entry.path: entry for entry in walk(file)} for file in self._files]
        missing: set[str] = set()
        for path in sorted({*entries[0], *entries[1]}, key=lambda path: path.split("/")):
            if path.rpartition("/")[0] in missing:
                missing.add(path)  # told with its group
                continue
            pair = [found.get(path) for found in entries]
            if pair[0] is None or pair[1] is None:
                missing.add(path)
                yield Difference(path, f"only in the {'second' if pair[0] is None else 'first'}")
            else:
                yield from self._entries(pair[0], pair[1])

    def _entries(self, one: Entry, two: Entry) -> Iterator[Difference]:
        path = one.path
        for entry, place in ((one, "first"), (two, "second")):
            if entry.trouble and not entry.target:
                yield Difference(path, f"cannot be read in the {place}: {entry.trouble}", True)
                return
        if (one.kind, one.target) != (two.kind, two.target):
            yield Difference(path, f"{_short(one)}, and {_short(two)}")
            return
        if one.facts.comment != two.facts.comment:
            comments = f"{one.facts.comment!r}, and {two.facts.comment!r}"
            yield Difference(path, f"the comment is {comments}")
        try:
            yield from self._objects(one, two)
        except Error as error:
            yield Difference(path, f"cannot be compared: {error}", True)

    def _objects(self, one: Entry, two: Entry) -> Iterator[Difference]:
        if one.target:
            return
        path = one.path
        with open_object(self._files[0], path) as first:
            with open_object(self._files[1], path) as second:
                yield from _attributes(path, one, two, first, second)
                if one.kind == DATATYPE:
                    yield from _said(path, "the datatype", _datatypes(first, second))
                elif one.kind == DATASET:
                    yield from _datasets(path, first, second)


def _short(entry: Entry) -> str:
    return words_of(entry)[0] if entry.kind != DATASET else "dataset"


def _said(path: str, what: str, text: str) -> Iterator[Difference]:
    if text:
        yield Difference(path, f"{what} {text}")


def _attributes(path: str, one: Entry, two: Entry, first: Id, second: Id) -> Iterator[Difference]:
    names = [{item.name for item in entry.facts.attributes} for entry in (one, two)]
    for name in sorted(names[0] | names[1]):
        place = f"{path}@{name}"
        if name not in names[0] or name not in names[1]:
            yield Difference(place, f"only in the {'first' if name in names[0] else 'second'}")
            continue
        try:
            text = _attribute(first, second, name)
        except Error as error:
            yield Difference(place, f"cannot be compared: {error}", True)
        else:
            yield from _said(place, *text) if text else ()


def _attribute(first: Id, second: Id, name: str) -> tuple[str, str] | None:
    """What differs, and how."""
    with open_attribute(first, name) as one, open_attribute(second, name) as two:
        if text := _extents(one[2], two[2]):
            return "the extent", text
        if text := _datatypes(one[1], two[1]):
            return "the datatype", text
        extent = extent_of(one[2])
        if extent is None:
            return None
        values = [
            with_names(attribute, datatype, h5.H5Aread(attribute, AS_STORED))
            for attribute, datatype, _ in (one, two)
        ]
    if not unequal(values[0], values[1], tuple(extent[0])).any():
        return None
    return "the value", f"is {in_words(values[0])}, and {in_words(values[1])}"


def _extents(one: Identifier, two: Identifier) -> str:
    extents = extent_of(one), extent_of(two)
    if extents[0] == extents[1]:
        return ""
    words = ["no data" if found is None else by(found[0]) or "a single value" for found in extents]
    if words[0] == words[1]:
        words = [f"{by(found[1])} at most" for found in extents if found]
    return f"is {words[0]}, and {words[1]}"


def _datatypes(one: Identifier, two: Identifier) -> str:
    words = describe_type(one), describe_type(two)
    if words[0] != words[1]:
        return f"is {words[0]}, and {words[1]}"
    # HDF5 holds what points into a file to be of that file's own type.
    comparable = not (is_variable(one) or has_references(one))
    if comparable and not h5.H5Tequal(one, two):
        return f"is laid out in different ways: {words[0]}"
    return ""


def _datasets(path: str, first: Id, second: Id) -> Iterator[Difference]:
    with Id(h5.H5Dget_space(first)) as one, Id(h5.H5Dget_space(second)) as two:
        extent = extent_of(one)
        if text := _extents(one, two):
            yield Difference(path, f"the extent {text}")
            if extent is None or extent[0] != (extent_of(two) or [None])[0]:
                return
    with Id(h5.H5Dget_type(first)) as one, Id(h5.H5Dget_type(second)) as two:
        if text := _datatypes(one, two):
            yield Difference(path, f"the datatype {text}")
            return
        if extent is not None:
            yield from _values(path, (first, one), (second, two), extent[0])


def _values(
    path: str, one: tuple[Id, Id], two: tuple[Id, Id], dimensions: Sequence[int]
) -> Iterator[Difference]:
    count, shown = 0, ""
    for block in blocks(one[0], dimensions):
        values = [with_names(dataset, kind, read(dataset, block)) for dataset, kind in (one, two)]
        wrong = unequal(values[0], values[1], tuple(block.size))
        if wrong.any() and not shown:
            inner = tuple(int(number) for number in np.argwhere(wrong)[0])
            place = [start + offset for start, offset in zip(block.start, inner)]
            words = [in_words(_at(value, inner), FEW) for value in values]
            shown = f"the first at {place}: " * bool(place) + f"{words[0]}, and {words[1]}"
        count += int(np.count_nonzero(wrong))
    if count and not dimensions:
        yield Difference(path, f"the value is {shown}")
    elif count:
        yield Difference(path, f"{count:,} of {math.prod(dimensions):,} values, {shown}")


def unequal(one: Any, two: Any, shape: tuple[int, ...]) -> np.ndarray[Any, np.dtype[np.bool_]]:
    """Where in an extent values differ; what is no number is equal to what is none."""
    result = np.zeros(shape, bool)
    if isinstance(one, dict):
        for name in one:
            result |= unequal(one[name], two[name], shape)
        return result
    if isinstance(one, list) or getattr(one, "dtype", None) == object:
        for index in np.ndindex(shape):
            result[index] = not _equal(_at(one, index), _at(two, index))
        return result
    if np.shape(one) != np.shape(two):  # one sequence, longer than the other
        return np.ones(shape, bool)
    found = _wrong(np.asarray(one), np.asarray(two))
    return np.asarray(found.reshape(shape + (-1,)).any(axis=-1))


def _wrong(one: np.ndarray[Any, Any], two: np.ndarray[Any, Any]) -> np.ndarray[Any, Any]:
    wrong: np.ndarray[Any, Any] = one != two
    if one.dtype.kind in "fc":
        wrong &= ~(np.isnan(one) & np.isnan(two))
    return wrong


def _equal(one: Any, two: Any) -> bool:
    """Elements, each with a length of its own."""
    if isinstance(one, dict) and isinstance(two, dict):
        return all(_equal(one[name], two[name]) for name in one)
    if isinstance(one, list) and isinstance(two, list):
        return len(one) == len(two) and all(map(_equal, one, two))
    if isinstance(one, np.ndarray) and isinstance(two, np.ndarray):
        if one.shape != two.shape:
            return False
        if one.dtype == object:
            return all(map(_equal, one.ravel(), two.ravel()))
        return not _wrong(one, two).any()
    return bool(one == two)


def _at(value: Any, index: tuple[int, ...]) -> Any:
    if isinstance(value, dict):
        return {name: _at(member, index) for name, member in value.items()}
    if not index:
        return value
    return value[index[0]] if isinstance(value, list) else value[index]
