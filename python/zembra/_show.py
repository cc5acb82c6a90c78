"""`zembra show`: an object, its attributes, and the first values of a dataset or a range."""

import math
from collections.abc import Iterator, Sequence
from typing import Any

import numpy as np

from . import h5
from ._id import Id
from ._inspect import printable
from ._model import DATASET, GROUP, facts_of, kind_of_object, link_names, open_object, opened
from ._records import records
from ._table import aligned, table, word
from ._tree import attribute_words
from ._values import Block, read, with_names
from ._words import by

FIRST = 10  # values along each of the last two dimensions
MOST = 1_000_000  # values that a range may have


class Refused(Exception):
    """What is asked for cannot be had, for the reason that the text gives."""


def show(file: str, path: str, chosen: str | None) -> Iterator[str]:
    """Lines for a terminal."""
    with opened(file) as identifier, open_object(identifier, path) as thing:
        kind = kind_of_object(thing)
        if chosen is not None and kind != DATASET:
            raise Refused(f"{path} is a {kind}: only datasets have ranges")
        facts = facts_of(thing, kind)
        block = None
        if facts.shape is not None:
            block = _beginning(facts.shape) if chosen is None else parse(chosen, facts.shape)
        yield printable(f"{path} in {file}")
        said = {"type": facts.datatype, "extent": facts.extent, "storage": facts.storage}
        if kind == GROUP:
            count = len(link_names(thing))
            said = {"group": f"{count:,} member{'s' * (count != 1)}"}
        if facts.comment:
            said["comment"] = facts.comment
        attributes = {f"@{item.name}": attribute_words(item) for item in facts.attributes}
        pairs = [(name, text) for name, text in {**said, **attributes}.items() if text]
        yield from (f"  {line}" for line in aligned(map(_printable, pairs)))
        if facts.shape is not None and block is not None:
            yield from _values(thing, facts.shape, block)


def _printable(pair: tuple[str, str]) -> list[str]:
    return [printable(text) for text in pair]


def _beginning(shape: Sequence[int]) -> Block:
    rank = len(shape)
    most = [FIRST if axis >= rank - 2 else 1 for axis in range(rank)]
    return Block([0] * rank, [min(size, few) for size, few in zip(shape, most)], [1] * rank)


def parse(text: str, shape: Sequence[int]) -> Block:
    """A range such as "0:10,5,::2": an index or a slice a dimension, as in Python."""
    parts = text.split(",")
    if len(parts) != len(shape):
        extent = f"the extent {by(shape)} has {len(shape)}" if shape else "a single value has none"
        raise Refused(f"the range {text} has {len(parts)} dimensions, {extent}")
    found = [_dimension(part, size) for part, size in zip(parts, shape)]
    block = Block(*(list(numbers) for numbers in zip(*found)))
    if math.prod(block.size) > MOST:
        raise Refused(f"the range {text} has {math.prod(block.size):,} values, over {MOST:,}")
    return block


def _dimension(text: str, size: int) -> tuple[int, int, int]:
    """Start, count and step."""
    try:
        numbers = [int(word) if word.strip() else None for word in text.split(":")]
    except ValueError:
        numbers = []
    if not 1 <= len(numbers) <= 3 or numbers == [None]:
        raise Refused(f"{text!r} is no range: an index, START:STOP or START:STOP:STEP is")
    if len(numbers) == 1:
        (index,) = numbers
        assert index is not None
        if not -size <= index < size:
            raise Refused(f"there is no index {index} along a dimension of {size}")
        return index % size, 1, 1
    if len(numbers) == 3 and numbers[2] is not None and numbers[2] <= 0:
        raise Refused(f"the step of {text!r} is to be a positive number")
    chosen = range(*slice(*numbers).indices(size))
    return (chosen.start if len(chosen) else 0), len(chosen), chosen.step


def _values(dataset: Id, shape: Sequence[int], block: Block) -> Iterator[str]:
    if 0 in block.size:
        yield "  no values"
        return
    if math.prod(block.size) == math.prod(shape):
        yield "  values"
    elif not any(block.start) and max(block.step) == 1:
        yield "  begins with"
    else:
        yield f"  values at {_in_words(block)}"
    with Id(h5.H5Dget_type(dataset)) as datatype:
        values = with_names(dataset, datatype, read(dataset, block))
    yield from (f"    {line}" for line in value_lines(values, block.size))


def _in_words(block: Block) -> str:
    ends = [start + (count - 1) * step + 1 for start, count, step in zip(*block)]
    slices = [
        f"{start}:{end}" + f":{step}" * (step > 1)
        for start, end, step in zip(block.start, ends, block.step)
    ]
    return f"[{', '.join(slices)}]"


def value_lines(values: Any, shape: Sequence[int]) -> list[str]:
    """Values as lines of text: records are a table, a matrix has a line a row."""
    if isinstance(values, dict):
        shown = table(records(values, shape), math.prod(shape))
        if shape:
            return repr(shown).splitlines()
        return aligned(zip(shown.names, shown.rows[0]))
    if isinstance(values, list):  # texts or sequences: each has a length of its own
        return [word(value) for value in values]
    values = np.asarray(values)
    if values.ndim == 0:
        return word(values[()]).splitlines() or [""]
    if values.ndim == 1:
        return [", ".join(map(word, values))]
    found = []
    for index in np.ndindex(values.shape[:-2]):
        if index:
            found.append(f"[{', '.join(map(str, index))}, :, :]")
        found += aligned(map(word, row) for row in values[index])
    return found
