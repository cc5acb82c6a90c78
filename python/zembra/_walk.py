"""The walk through a file that `zembra.inspect` starts in a process of its own.

    python3 -m zembra._walk FILE SECONDS MEMORY FROM [SKIPPED ...]

Says on stdout, a line of JSON each, what it is about to touch, what it found, and that it
came to the end:

    ["at", step, path, what, objects, links, attributes, bytes]
    ["found", kind, path, text]
    ["end", objects, links, attributes, bytes]

Steps have numbers, the same in every walk through the same file. A walk that is to go on
where another one died is given the numbers that are not to be touched again, and the one
to start FROM: what comes before it is only passed through, not read and not counted again.

Links are followed only where they are hard: nothing but the file itself is opened, neither
what external links name nor what the data of a dataset are said to be in.
"""

import functools
import itertools
import json
import math
import os
import resource
import sys
from collections.abc import Callable, Collection, Iterator, Sequence
from contextlib import contextmanager
from pathlib import Path
from typing import Any, NamedTuple

import numpy as np

import zembra
from zembra import h5
from zembra._inspect import (
    DAMAGE,
    FAILURE_STATUS,
    LARGEST_COUNT,
    LONGEST_PATH,
    LONGEST_TEXT,
    MEMORY,
    MEMORY_STATUS,
    NOTE,
    shortened,
)

DEFAULT = "H5P_DEFAULT"
BY_NAME = "H5_INDEX_NAME", "H5_ITER_INC"
PIECE = 4 << 20  # bytes that are read at once
VARIABLE_PIECE = 1024  # elements, where they have more bytes than they show
BAD_PIECES = 8  # of one dataset; then the rest of it is left alone

NO_MEMORY = "No space available for allocation"  # HDF5's minor error

HARD, SOFT, EXTERNAL = 0, 1, 64
VIRTUAL = 3  # a layout that HDF5 1.8 does not know


def limit(seconds: float, memory: int) -> None:
    """This process, from here on; memory counts beyond what it has already."""
    _limit(resource.RLIMIT_CORE, 0)
    _limit(resource.RLIMIT_CPU, math.ceil(seconds))
    pages = int(Path("/proc/self/statm").read_text().split()[0])
    _limit(resource.RLIMIT_AS, pages * resource.getpagesize() + memory)


def _limit(what: int, value: int) -> None:
    hard = resource.getrlimit(what)[1]
    most = LARGEST_COUNT - 1 if hard == resource.RLIM_INFINITY else hard
    resource.setrlimit(what, (min(value, most), hard))


class Report:
    """What the walk says of itself."""

    def __init__(self, say: Callable[[bytes], object], begin: int, skipped: Collection[int]):
        self._say = say
        self._begin = begin
        self._skipped = skipped
        self._next = 0
        self._number = 0
        self._place = "/", ""
        self.objects = self.links = self.attributes = self.bytes = 0

    @property
    def fresh(self) -> bool:
        """Whether no earlier walk has been here."""
        return self._number >= self._begin

    def step(self, path: str, what: str, *, way: bool = False) -> bool:
        """Says where the walk is; whether it may touch that. What is on the way to other
        things is touched in every walk."""
        self._number = self._next
        self._next += 1
        if self._number in self._skipped or not (way or self.fresh):
            return False
        self.at(path, what)
        return True

    def at(self, path: str, what: str) -> None:
        """Says where within the step the walk is."""
        self._place = path, what
        self._line("at", self._number, path, what, *self._counts())

    def found(self, kind: str, text: str) -> None:
        if self.fresh:
            path, what = self._place
            self._line("found", kind, path, shortened(f"{what}: {text}", LONGEST_TEXT))

    def end(self) -> None:
        self._line("end", *self._counts())

    def count(
        self, *, objects: int = 0, links: int = 0, attributes: int = 0, read: int = 0
    ) -> None:
        if self.fresh:
            self.objects += objects
            self.links += links
            self.attributes += attributes
            self.bytes += read

    @contextmanager
    def failures(self, kinds: list[str] | None = None) -> Iterator[None]:
        """What fails in here is found, and no more than that; `kinds` collects of what kind."""
        try:
            yield
            return
        except MemoryError:
            kind, text = MEMORY, "there is not enough of it"
        except zembra.Error as error:
            kind, text = _kind(error), _text(error)
        self.found(kind, text)
        if kinds is not None:
            kinds.append(kind)

    def _counts(self) -> tuple[int, int, int, int]:
        return self.objects, self.links, self.attributes, self.bytes

    def _line(self, *words: str | int) -> None:
        self._say(json.dumps(words).encode() + b"\n")


def _kind(error: zembra.Error) -> str:
    if error.key == "outOfMemory" or any(r.minor == NO_MEMORY for r in error.stack):
        return MEMORY
    if any(record.description.startswith("required filter ") for record in error.stack):
        return NOTE  # a filter that is not installed here
    return NOTE if error.key == "unsupportedDatatype" else DAMAGE


def _text(error: zembra.Error) -> str:
    """With HDF5's own words, where the error's text has none of them."""
    if isinstance(error, zembra.LibraryError) or not error.stack:
        return str(error)
    first = error.stack[0]
    return f"{first.function}: {first.description} ({first.minor})"


class _Group(NamedTuple):
    """One that the walk is in."""

    identifier: zembra.Id
    path: str
    names: Iterator[str]


class Walk:
    """Through one file, each object once."""

    def __init__(self, report: Report, memory: int) -> None:
        self._report = report
        self._memory = memory
        self._seen: set[int] = set()  # addresses of objects
        self._groups: list[_Group] = []

    def file(self, name: bytes) -> None:
        report = self._report
        if report.step("/", "opening the file", way=True):
            with report.failures():
                file = _open(name)
                if file is None:
                    report.found(DAMAGE, "is no HDF5 file")
                    return
                self._tree(file)
                if report.step("/", "closing the file", way=True):
                    file.close()

    def _tree(self, file: zembra.Id) -> None:
        report = self._report
        if report.step("/", "creation list of the file"):
            with report.failures(), zembra.Id(h5.H5Fget_create_plist(file)) as properties:
                h5.H5Pget_userblock(properties)
                h5.H5Pget_sizes(properties)
                h5.H5Pget_version(properties)
                h5.H5Pget_sym_k(properties)
                h5.H5Pget_istore_k(properties)
        if report.step("/", "opening", way=True):
            with report.failures():
                self._object(zembra.Id(h5.H5Oopen(file, "/", DEFAULT)), "/")
        while self._groups:
            group = self._groups[-1]
            name = next(group.names, None)
            if name is not None:
                self._link(group, name)
            else:
                self._groups.pop()
                self._close(group.identifier, group.path)

    def _link(self, group: _Group, name: str) -> None:
        report = self._report
        path = shortened(group.path.rstrip("/") + "/" + name, LONGEST_PATH)
        if not report.step(path, "opening", way=True):
            return
        report.count(links=1)
        if "/" in name or name in ("", "."):
            report.found(DAMAGE, "no link can have this name")
            return
        with report.failures():
            info = h5.H5Lget_info(group.identifier, name, DEFAULT)
            if info["type"] == HARD:
                if info["address"] not in self._seen:
                    self._seen.add(info["address"])
                    self._object(zembra.Id(h5.H5Oopen(group.identifier, name, DEFAULT)), path)
            elif info["type"] == SOFT:
                h5.H5Lget_val(group.identifier, name, DEFAULT)
            elif info["type"] == EXTERNAL:
                place = ":".join(h5.H5Lget_val(group.identifier, name, DEFAULT))
                report.found(NOTE, f"an external link to {place}, not followed")
            else:
                report.found(NOTE, f"a link of the user-defined type {info['type']}, not followed")

    def _object(self, identifier: zembra.Id, path: str) -> None:
        """Looks at all there is of an object; a group stays open, and is gone into later."""
        self._report.count(objects=1)
        with self._report.failures():
            self._seen.add(h5.H5Oget_info(identifier)["addr"])
        with self._report.failures():
            h5.H5Oget_comment(identifier)
        self._attributes(identifier, path)
        kind = h5.H5Iget_type(identifier)
        if kind == _constant("H5I_GROUP"):
            names = self._names(path, "links", lambda note: _each_link(identifier, note))
            self._groups.append(_Group(identifier, path, iter(names)))
            return
        if kind == _constant("H5I_DATASET"):
            self._dataset(identifier, path)
        else:
            self._datatype(identifier, path)
        self._close(identifier, path)

    def _close(self, identifier: zembra.Id, path: str) -> None:
        if self._report.step(path, "closing", way=True):
            with self._report.failures():
                identifier.close()

    def _names(
        self, path: str, what: str, each: Callable[[Callable[[str], object]], object]
    ) -> list[str]:
        """As many as there are before anything fails."""
        names: list[str] = []
        if self._report.step(path, what, way=True):
            with self._report.failures():
                each(names.append)
        return names

    def _attributes(self, identifier: zembra.Id, path: str) -> None:
        report = self._report
        names = self._names(path, "attributes", lambda note: _each_attribute(identifier, note))
        for name in names:
            if report.step(path, shortened(f"attribute {name!r}", LONGEST_TEXT // 2)):
                report.count(attributes=1)
                with report.failures():
                    with zembra.Id(h5.H5Aopen(identifier, name, DEFAULT)) as attribute:
                        values = h5.H5Aread(attribute, "H5ZB_DEFAULT")
                        with zembra.Id(h5.H5Aget_type(attribute)) as datatype:
                            self._references(attribute, _reference_kind(datatype), values)
                        report.count(read=h5.H5Aget_info(attribute)["data_size"])

    def _datatype(self, identifier: zembra.Id, path: str) -> None:
        if self._report.step(path, "datatype"):
            with self._report.failures():
                h5.H5Tget_size(identifier)
                with zembra.Id(h5.H5Tget_create_plist(identifier)):
                    pass

    def _dataset(self, identifier: zembra.Id, path: str) -> None:
        report = self._report
        chunk: list[int] | None = None
        if report.step(path, "creation list"):
            with report.failures(), zembra.Id(h5.H5Dget_create_plist(identifier)) as properties:
                chunk = _look_at(properties)
                if elsewhere := _elsewhere(properties):
                    report.found(NOTE, f"its data are in {elsewhere}, not looked at")
                    chunk = None
        if report.step(path, "data") and chunk is not None:
            with report.failures():
                self._data(identifier, path, chunk)

    def _data(self, dataset: zembra.Id, path: str, chunk: Sequence[int]) -> None:
        report = self._report
        with zembra.Id(h5.H5Dget_type(dataset)) as datatype:
            variable = _is_variable(datatype)
            references = _reference_kind(datatype)
        with zembra.Id(h5.H5ZBget_mem_datatype(dataset)) as datatype:
            size = h5.H5Tget_size(datatype)
        with zembra.Id(h5.H5Dget_space(dataset)) as space:
            if h5.H5Sget_simple_extent_type(space) == _constant("H5S_NULL"):
                return
            sizes = [int(number) for number in h5.H5Sget_simple_extent_dims(space)[1]]
            if not sizes:
                values = h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", DEFAULT)
                self._references(dataset, references, values)
                report.count(read=size)
                return
            most = VARIABLE_PIECE if variable else min(PIECE, self._memory // 32) // max(1, size)
            fits = 0 < math.prod(chunk) * size <= self._memory // 8
            if not (fits and len(chunk) == len(sizes)):
                chunk = [1] * len(sizes)
            found = pieces(sizes, chunk, most)
            if h5.H5Dget_storage_size(dataset) == 0:
                found = itertools.islice(found, 1)  # nothing but fill values
            bad: list[str] = []
            for start, count in found:
                report.at(path, f"data from {start}")
                with report.failures(bad):
                    values = _read(dataset, space, start, count)
                    self._references(dataset, references, values)
                    report.count(read=math.prod(count) * size)
                if MEMORY in bad or len(bad) == BAD_PIECES:
                    report.found(NOTE, "the rest of the data was left out")
                    return

    def _references(self, source: zembra.Id, kind: str, values: Any) -> None:
        """Whether there is something where they lead."""
        if not kind:
            return
        references = {row.tobytes() for row in values.reshape(-1, values.shape[-1]) if row.any()}
        lost = sum(not _leads_somewhere(source, kind, reference) for reference in references)
        if lost:
            self._report.found(NOTE, f"{lost} of {len(references)} references lead nowhere")


def _reference_kind(datatype: zembra.Id) -> str:
    """Empty where it is none."""
    for kind, name in (("H5R_OBJECT", "OBJ"), ("H5R_DATASET_REGION", "DSETREG")):
        if h5.H5Tequal(datatype, f"H5T_STD_REF_{name}"):
            return kind
    return ""


def _leads_somewhere(source: zembra.Id, kind: str, reference: bytes) -> bool:
    value = np.frombuffer(reference, np.uint8)
    try:
        if h5.H5Rget_obj_type(source, kind, value) < 0:
            return False
        if kind == "H5R_DATASET_REGION":
            zembra.Id(h5.H5Rget_region(source, kind, value)).close()
        return True
    except zembra.LibraryError:
        return False


def _open(name: bytes) -> zembra.Id | None:
    try:
        return zembra.Id(h5.H5Fopen(name, "H5F_ACC_RDONLY", DEFAULT))
    except zembra.LibraryError as error:
        if any(record.minor == "Not an HDF5 file" for record in error.stack):
            return None
        raise


def _each_link(group: zembra.Id, note: Callable[[str], object]) -> None:
    def one(_group: object, name: str, nothing: object) -> tuple[int, object]:
        note(name)
        return 0, nothing

    h5.H5Literate(group, *BY_NAME, [], one, None)


def _each_attribute(identifier: zembra.Id, note: Callable[[str], object]) -> None:
    def one(_object: object, name: str, _info: object, nothing: object) -> tuple[int, object]:
        note(name)
        return 0, nothing

    h5.H5Aiterate(identifier, *BY_NAME, 0, one, None)


def _look_at(properties: zembra.Id) -> list[int]:
    """A dataset's creation list; how large its chunks are, empty where it has none."""
    for index in range(h5.H5Pget_nfilters(properties)):
        h5.H5Pget_filter(properties, index)
    h5.H5Pfill_value_defined(properties)
    if h5.H5Pget_layout(properties) != _constant("H5D_CHUNKED"):
        return []
    return [int(number) for number in h5.H5Pget_chunk(properties)[1]]


def _elsewhere(properties: zembra.Id) -> str:
    """The files that the data are said to be in, where it is not the dataset's own."""
    if h5.H5Pget_layout(properties) == VIRTUAL:
        return "other datasets"
    count = h5.H5Pget_external_count(properties)
    if count == 0:
        return ""
    name: str = h5.H5Pget_external(properties, 0)[0]
    return name if count == 1 else f"{name} and {count - 1} more"


@functools.cache
def _constant(name: str) -> int:
    return int(h5.H5ZBget_constant_value(name))


def _is_variable(datatype: zembra.Id) -> bool:
    """Whether elements may have more bytes than they show. Texts within a compound are taken
    to be so."""
    if h5.H5Tget_class(datatype) == _constant("H5T_STRING"):
        return bool(h5.H5Tis_variable_str(datatype))
    return any(h5.H5Tdetect_class(datatype, name) for name in ("H5T_VLEN", "H5T_STRING"))


def pieces(
    sizes: Sequence[int], unit: Sequence[int], most: int
) -> Iterator[tuple[list[int], list[int]]]:
    """Covers an extent by blocks of whole units, each of `most` elements unless a unit has
    more: where each starts, and how large it is."""
    block = list(unit)
    for axis in reversed(range(len(sizes))):
        times = min(most // math.prod(block), -(-sizes[axis] // block[axis]))
        block[axis] *= max(1, times)
        if block[axis] < sizes[axis]:
            break
    for start in _starts(sizes, block):
        yield start, [min(step, n - at) for n, step, at in zip(sizes, block, start)]


def _starts(sizes: Sequence[int], block: Sequence[int]) -> Iterator[list[int]]:
    if not sizes:
        yield []
        return
    for first in range(0, sizes[0], block[0]):
        for others in _starts(sizes[1:], block[1:]):
            yield [first, *others]


def _read(dataset: zembra.Id, space: zembra.Id, start: list[int], count: list[int]) -> Any:
    h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", start, [], count, [])
    with zembra.Id(h5.H5Screate_simple(len(count), count, [])) as memory:
        return h5.H5Dread(dataset, "H5ZB_DEFAULT", memory, space, DEFAULT)


def main(arguments: list[str]) -> None:
    path, seconds, memory, begin, *skipped = arguments
    channel = os.dup(1)
    nowhere = os.open(os.devnull, os.O_WRONLY)
    os.dup2(nowhere, 1)  # nothing but the report is said there
    report = Report(lambda line: _write(channel, line), int(begin), {int(n) for n in skipped})
    limit(float(seconds), int(memory))
    Walk(report, int(memory)).file(os.fsencode(path))
    report.end()


def _write(channel: int, line: bytes) -> None:
    while line:
        line = line[os.write(channel, line) :]


def _run(what: Callable[[list[str]], Any]) -> int:
    try:
        what(sys.argv[1:])
    except MemoryError:
        return MEMORY_STATUS
    except Exception:  # stderr is nobody's
        return FAILURE_STATUS
    return 0


if __name__ == "__main__":
    os._exit(_run(main))  # at once: HDF5 has nothing left to tidy up, or would die of it
