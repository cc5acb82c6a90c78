"""A file as a tree: lines for a terminal, something that unfolds for a notebook."""

import html
import shutil
import textwrap
from collections.abc import Callable, Iterator, Sequence
from itertools import islice
from typing import Any

import numpy as np

from ._errors import Error
from ._id import Id
from ._inspect import printable
from ._model import (
    AGAIN,
    DATASET,
    DATATYPE,
    EXTERNAL,
    GROUP,
    LOST,
    SOFT,
    USER,
    Attribute,
    Entry,
    open_object,
    opened,
    walk,
)
from ._table import Table, table
from ._values import Block, read
from ._records import records

MOST_ENTRIES = 10_000
FIRST_RECORDS = 5  # of a dataset of records
OPEN_DEPTH = 1  # groups above are shown unfolded

Row = tuple[str, Sequence[str]]
Paint = Callable[[Entry | None, str], str]


class Tree:
    """What `zembra.tree` gives: text by `str` and `print`, HTML where a notebook shows it."""

    def __init__(self, entries: Sequence[Entry], tables: dict[str, Table], complete: bool) -> None:
        self.entries = tuple(entries)
        self._tables = tables
        self._complete = complete

    def __repr__(self) -> str:
        more = [] if self.complete else [f"the first {len(self.entries):,} are shown"]
        return "\n".join([*lines(self.entries), *more])

    @property
    def complete(self) -> bool:
        """Whether there was nothing more to show."""
        return self._complete

    def _repr_html_(self) -> str:
        body = _html(self.entries, self._tables)
        more = "" if self.complete else f"<p>The first {len(self.entries):,} are shown.</p>"
        return f'<div class="zembra-tree">{_STYLE}{body}{more}</div>'


def tree(file: Any, path: str = "/", *, most: int = MOST_ENTRIES) -> Tree:
    """Shows what is in a file: names, shapes, types, storage, attributes, the first records of
    tables. In a notebook it unfolds; `print` gives text.

    file: a file's name, or the identifier of a file that is open.
    path: where in the file to begin.
    most: how many links are shown.
    """
    with opened(file) as identifier:
        found = list(islice(walk(identifier, path), most + 1))
        entries = found[:most]
        tables = dict(_first_records(identifier, entries))
    return Tree(entries, tables, len(found) <= most)


def _first_records(file: Id, entries: Sequence[Entry]) -> Iterator[tuple[str, Table]]:
    for entry in entries:
        shape = entry.facts.shape
        if entry.facts.is_record and shape is not None and 0 not in shape:
            try:
                with open_object(file, entry.path) as dataset:
                    yield entry.path, _beginning(dataset, shape)
            except Error:
                continue  # `show` says what is wrong with the data


def _beginning(dataset: Id, shape: tuple[int, ...]) -> Table:
    count = [1] * len(shape)
    if shape:
        count[-1] = min(shape[-1], FIRST_RECORDS)
    values = read(dataset, Block([0] * len(shape), count, [1] * len(shape)))
    shown = table(records(values, count))
    shown.omitted = int(np.prod(shape, dtype=object)) - len(shown.rows)
    return shown


# --- Words ------------------------------------------------------------------------------


def words_of(entry: Entry) -> tuple[str, ...]:
    """What there is to say about it beside its name; of a dataset its extent, its storage and
    its datatype, and a comment."""
    facts = entry.facts
    comment = (f"# {facts.comment}",) if facts.comment else ()
    trouble = (f"({entry.trouble})",) if entry.trouble else ()
    if entry.kind == DATASET and not trouble:
        return (facts.extent, facts.storage, facts.datatype, *comment)
    said = {
        AGAIN: f"the same as {entry.target}",
        DATASET: "dataset",
        DATATYPE: f"datatype: {facts.datatype}",
        EXTERNAL: f"-> {entry.target}",
        GROUP: "group",
        LOST: "cannot be opened",
        SOFT: f"-> {entry.target}" + (f" ({entry.trouble})" if entry.trouble else ""),
        USER: f"link {entry.target}",
    }[entry.kind]
    return (said, *comment, *(trouble if entry.kind != SOFT else ()))


def attribute_words(attribute: Attribute) -> str:
    return f"({attribute.trouble})" if attribute.trouble else attribute.value


def _rows(entries: Sequence[Entry]) -> Iterator[tuple[Entry | None, Row]]:
    for entry in entries:
        indent = "  " * entry.depth
        name = entry.name if entry.depth else entry.path
        yield entry, (indent + printable(name), [printable(word) for word in words_of(entry)])
        for attribute in entry.facts.attributes:
            said = printable(attribute_words(attribute))
            yield None, (f"{indent}  @{printable(attribute.name)}", (said,))


# --- Lines ------------------------------------------------------------------------------


def plain(_entry: Entry | None, name: str) -> str:
    return name


def lines(entries: Sequence[Entry], paint: Paint = plain) -> Iterator[str]:
    """Names in one column and what is said about them beside it; shapes and storage, the first
    two words of three, in columns of their own. Names of attributes are painted as no entry."""
    rows = list(_rows(entries))
    total = shutil.get_terminal_size((100, 24)).columns
    beside = 2 + min(max(len(name) for _, (name, _) in rows), total // 2)
    widths = [
        min(max((len(said[at]) for _, (_, said) in rows if len(said) >= 3), default=0), total // 3)
        for at in range(2)
    ]
    for entry, (name, said) in rows:
        if len(said) >= 3:
            said = [word.ljust(width) for word, width in zip(said, widths)] + list(said[2:])
        shown = name
        if len(name) + 2 > beside:
            yield paint(entry, name)
            shown = ""
        wrapped = textwrap.wrap(
            "  ".join(said),
            max(total, beside + 40),
            initial_indent=shown.ljust(beside),
            subsequent_indent=" " * (beside + 2),
            break_long_words=False,
            break_on_hyphens=False,
        ) or [shown]
        yield paint(entry, shown) + wrapped[0][len(shown) :]
        yield from wrapped[1:]


# --- HTML -------------------------------------------------------------------------------

_STYLE = """<style>
.zembra-tree { font-family: monospace; overflow-x: auto; line-height: 1.5; }
.zembra-tree div, .zembra-tree details { margin-left: 1.2em; }
.zembra-tree > div, .zembra-tree > details { margin-left: 0; }
.zembra-tree .said { opacity: 0.7; margin-left: 1em; }
.zembra-tree .attribute { opacity: 0.8; font-style: italic; }
.zembra-tree table { margin-left: 1.2em; font-size: 90%; }
</style>"""


def _html(entries: Sequence[Entry], tables: dict[str, Table]) -> str:
    """Each entry that has something below it unfolds."""
    parts: list[str] = []
    unclosed: list[int] = []  # depths of entries whose members are still coming
    for index, entry in enumerate(entries):
        while unclosed and unclosed[-1] >= entry.depth:
            parts.append("</details>")
            unclosed.pop()
        below = entries[index + 1 : index + 2]
        has_members = bool(below) and below[0].depth > entry.depth
        inner = [_attribute(attribute) for attribute in entry.facts.attributes]
        if entry.path in tables:
            inner.append(tables[entry.path]._repr_html_())
        if not (inner or has_members):
            parts.append(f"<div>{_line(entry)}</div>")
            continue
        state = " open" if entry.depth < OPEN_DEPTH else ""
        parts += [f"<details{state}><summary>{_line(entry)}</summary>", *inner]
        unclosed.append(entry.depth)
    return "".join(parts) + "</details>" * len(unclosed)


def _line(entry: Entry) -> str:
    name = _text(entry.name if entry.depth else entry.path)
    said = "".join(f'<span class="said">{_text(word)}</span>' for word in words_of(entry))
    return f"<b>{name}</b>{said}"


def _attribute(attribute: Attribute) -> str:
    said = _text(attribute_words(attribute))
    name = f'<span class="attribute">@{_text(attribute.name)}</span>'
    return f'<div>{name}<span class="said">{said}</span></div>'


def _text(text: str) -> str:
    return html.escape(printable(text))
