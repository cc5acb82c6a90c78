#!/usr/bin/env python3
"""Shows what is in an HDF5 file as a tree.

    tree.py FILE

Each object is shown once, under the first of its names, and named again under the
others; so a file may lead back into itself. Attributes are marked with @, comments
with #, and links with -> and what they lead to.
"""

import io
import shutil
import sys
import textwrap
from collections.abc import Iterator, Sequence
from typing import Any

import numpy as np

from describing import closing, describe_layout, describe_space, describe_type
from zembra import Error, h5

SHOWN = 6  # values of an attribute

GROUP, DATASET, DATATYPE = 0, 1, 2  # what H5Oget_info calls objects
HARD, SOFT, EXTERNAL = 0, 1, 64  # what H5Lget_info calls links
BY_NAME = "H5_INDEX_NAME", "H5_ITER_INC"

Row = tuple[str, Sequence[str]]


class Tree:
    """Rows of a name and what is said about it, in the order of a walk by name."""

    def __init__(self, file: int) -> None:
        self.rows: list[Row] = []
        self._file = file
        self._names: dict[tuple[int, int], str] = {}  # of the objects that were met
        self._ahead = [("/", 0)]
        # The links ahead are listed instead of descended into: however deep the
        # file is, it is one loop.
        while self._ahead:
            self._link(*self._ahead.pop())

    def _row(self, depth: int, name: str, *words: str) -> None:
        self.rows.append(("  " * depth + name, words))

    def _link(self, path: str, depth: int) -> None:
        name = path.rpartition("/")[2] or "/"
        kind = HARD if path == "/" else h5.H5Lget_info(self._file, path, "H5P_DEFAULT")["type"]
        if kind == HARD:
            closing(
                h5.H5Oclose,
                h5.H5Oopen(self._file, path, "H5P_DEFAULT"),
                lambda thing: self._object(thing, path, name, depth),
            )
        elif kind == SOFT:
            (target,) = list(h5.H5Lget_val(self._file, path, "H5P_DEFAULT"))
            broken = "" if self._leads_on(path) else " (nothing there)"
            self._row(depth, name, f"-> {target}{broken}")
        elif kind == EXTERNAL:
            file, target = list(h5.H5Lget_val(self._file, path, "H5P_DEFAULT"))
            self._row(depth, name, f"-> {target} in {file}")
        else:
            self._row(depth, name, f"link of class {kind}")

    def _leads_on(self, path: str) -> bool:
        try:
            h5.H5Gget_objinfo(self._file, path, True)
            return True
        except Error:
            return False

    def _object(self, thing: int, path: str, name: str, depth: int) -> None:
        info = h5.H5Oget_info(thing)
        first = self._names.setdefault((info["fileno"], info["addr"]), path)
        if first != path:
            self._row(depth, name, f"the same as {first}")
            return
        comment = " ".join(h5.H5Oget_comment(thing).split())
        self._row(depth, name, *describe(thing, info["type"]), *[f"# {comment}"] * bool(comment))
        if info["num_attrs"]:

            def show(owner: int, attribute: str, _info: Any, data: None) -> tuple[int, None]:
                self._attribute(owner, attribute, depth)
                return 0, data

            h5.H5Aiterate(thing, *BY_NAME, 0, show, None)
        if info["type"] == GROUP:
            names = []

            def collect(_group: int, member: str, data: None) -> tuple[int, None]:
                names.append(member)
                return 0, data

            h5.H5Literate(thing, *BY_NAME, 0, collect, None)
            parent = path if path.endswith("/") else path + "/"
            self._ahead += [(parent + member, depth + 1) for member in reversed(names)]

    def _attribute(self, owner: int, name: str, depth: int) -> None:
        attribute = h5.H5Aopen_by_name(owner, ".", name, "H5P_DEFAULT", "H5P_DEFAULT")
        self._row(depth + 1, f"@{name}", closing(h5.H5Aclose, attribute, attribute_value))


# --- In words ---------------------------------------------------------------------


def describe(thing: int, kind: int) -> tuple[str, ...]:
    """What there is to say about an object, a dataset's shape and storage apart."""
    if kind == DATASET:
        return (
            closing(h5.H5Sclose, h5.H5Dget_space(thing), describe_space),
            describe_layout(thing),
            closing(h5.H5Tclose, h5.H5Dget_type(thing), describe_type),
        )
    if kind == DATATYPE:
        return (f"datatype: {describe_type(thing)}",)
    return ("group",)


def attribute_value(attribute: int) -> str:
    shape = closing(h5.H5Sclose, h5.H5Aget_space(attribute), describe_space)
    datatype = closing(h5.H5Tclose, h5.H5Aget_type(attribute), describe_type)
    if shape == "no data":
        return f"no data ({datatype})"
    try:
        value = h5.H5Aread(attribute, "H5ZB_DEFAULT")
    except Error as error:
        return f"({error})"
    if datatype.endswith("reference to an object"):  # or a list of them
        value = names_of(attribute, value)
    return in_words(value)


def names_of(attribute: int, references: Any) -> Any:
    """The names of what object references, eight bytes each, refer to."""
    if isinstance(references, list) or references.ndim > 1:
        return [names_of(attribute, reference) for reference in references]
    try:
        return h5.H5Rget_name(attribute, "H5R_OBJECT", references)
    except Error:
        return None


def in_words(value: Any) -> str:
    """A value as one line, cut short where it is long."""
    if isinstance(value, dict):
        return "{" + ", ".join(f"{name}: {in_words(item)}" for name, item in value.items()) + "}"
    if isinstance(value, list) or (isinstance(value, np.ndarray) and value.ndim > 0):
        shown = [in_words(item) for item in value[:SHOWN]]
        return "[" + ", ".join(shown + ["..."] * (len(value) > SHOWN)) + "]"
    if isinstance(value, bytes):
        value = value.decode("utf-8", "surrogateescape")
    if isinstance(value, str):
        return repr(value)
    if isinstance(value, (float, np.floating)):
        return f"{value:.15g}" if isinstance(value, float) else str(value)
    return "nothing" if value is None else str(value)


# --- On paper ---------------------------------------------------------------------


def columns(rows: list[Row]) -> Iterator[str]:
    """Lines with the names in one column and what is said about them beside it; shapes
    and storage, the first two words of three, in columns of their own."""
    total = shutil.get_terminal_size((100, 24)).columns
    beside = 2 + min(max(len(name) for name, _ in rows), total // 2)
    widths = [
        min(max((len(words[place]) for _, words in rows if len(words) >= 3), default=0), total // 3)
        for place in range(2)
    ]
    for name, words in rows:
        if len(words) >= 3:
            words = [word.ljust(width) for word, width in zip(words, widths)] + list(words[2:])
        if len(name) + 2 > beside:
            yield name
            name = ""
        yield from textwrap.wrap(
            "  ".join(words),
            max(total, beside + 40),
            initial_indent=name.ljust(beside),
            subsequent_indent=" " * (beside + 2),
            break_long_words=False,
            break_on_hyphens=False,
        )


def main() -> None:
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    # Names need not be text at all.
    if isinstance(sys.stdout, io.TextIOWrapper):
        sys.stdout.reconfigure(errors="backslashreplace")
    try:
        file = h5.H5Fopen(sys.argv[1], "H5F_ACC_RDONLY", "H5P_DEFAULT")
        rows = closing(h5.H5Fclose, file, lambda opened: Tree(opened).rows)
    except Error as error:
        sys.exit(f"{sys.argv[0]}: {error}")
    for line in columns(rows):
        print(line)


if __name__ == "__main__":
    main()
