"""Records as a table: aligned lines for a terminal, HTML for a notebook."""

import html
from collections.abc import Iterable, Iterator, Mapping
from typing import Any

import numpy as np

from ._inspect import printable
from ._records import records
from ._values import in_words

MOST_ROWS = 100


class Table:
    """Names of columns and rows of words. `omitted` says how many rows are not shown."""

    def __init__(self, names: list[str], rows: list[list[str]], omitted: int = 0) -> None:
        self.names = names
        self.rows = rows
        self.omitted = omitted

    def __repr__(self) -> str:
        lines = aligned([self.names, *self.rows])
        return "\n".join(lines + [f"and {self.omitted:,} more"] * bool(self.omitted))

    def _repr_html_(self) -> str:
        def row(tag: str, words: Iterable[str]) -> str:
            return "<tr>" + "".join(f"<{tag}>{html.escape(word)}</{tag}>" for word in words)

        more = f"<caption>and {self.omitted:,} more</caption>" if self.omitted else ""
        body = "".join(row("td", words) for words in self.rows)
        return f"<table>{more}{row('th', self.names)}{body}</table>"


def table(data: Mapping[str, Any] | np.ndarray[Any, Any], most: int = MOST_ROWS) -> Table:
    """A table of records: of compound data as they were read, or of a structured array.

    most: how many records are shown.
    """
    array = records(data) if isinstance(data, Mapping) else np.asarray(data)
    if array.dtype.names is None:
        raise TypeError(f"a table is made of records, not of {array.dtype}")
    columns = dict(_columns(array))
    indices = [index for index, _ in zip(np.ndindex(array.shape), range(most))]
    rows = [[word(column[index]) for column in columns.values()] for index in indices]
    names = list(columns)
    if array.ndim > 1:  # a row says where it is from
        names.insert(0, "")
        for index, row in zip(indices, rows):
            row.insert(0, str(list(index)))
    return Table([printable(name) for name in names], rows, array.size - len(rows))


def _columns(array: np.ndarray[Any, Any], prefix: str = "") -> Iterator[tuple[str, Any]]:
    """Members of members under names with dots."""
    for name in array.dtype.names or ():
        if array.dtype[name].names:
            yield from _columns(array[name], f"{prefix}{name}.")
        else:
            yield prefix + name, array[name]


def word(value: Any) -> str:
    """One value as it is printed."""
    if isinstance(value, bytes):
        return printable(value.decode(errors="replace"))
    if isinstance(value, str):
        return printable(value)
    if isinstance(value, (float, np.floating)):
        return f"{value:.6g}"
    if isinstance(value, (list, dict)) or np.ndim(value) > 0:
        return printable(in_words(value))
    return str(value)


def aligned(rows: Iterable[Iterable[str]]) -> list[str]:
    """Rows of words as lines, each column as wide as its longest word."""
    rows = [list(row) for row in rows]
    widths = [max(map(len, column)) for column in zip(*rows)]
    return ["  ".join(map(str.ljust, row, widths)).rstrip() for row in rows]
