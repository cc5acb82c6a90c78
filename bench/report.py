"""Results as text for a terminal, and as the part of docs/speed.md that is between two marks."""

import re
from collections.abc import Iterable, Iterator
from itertools import groupby

from result import UNITS, Result

HEADS = ("zembra", "h5py", "C", "to h5py", "to C", "MB zembra", "MB h5py")

_BEGIN, _END = "<!-- make bench PLOT=1 writes this -->", "<!-- up to here -->"


def cells(result: Result) -> list[str]:
    """Times, ratios and peaks; empty where there is none."""
    times = [_time(result, side) for side in ("zembra", "h5py", "c")]
    ratios = [_ratio(result.ratio(other)) for other in ("h5py", "c")]
    peaks = [f"{result.peaks[s]:.0f}" if s in result.peaks else "" for s in ("zembra", "h5py")]
    return times + ratios + peaks


def _time(result: Result, side: str) -> str:
    if side not in result.seconds:
        return ""
    value = result.seconds[side] * UNITS[result.unit]
    digits = 2 if value < 9.995 else 1 if value < 99.95 else 0
    return f"{value:.{digits}f} {result.unit}"


def _ratio(ratio: float | None) -> str:
    return "" if ratio is None else f"{ratio:.2f}"


# --- For a terminal -------------------------------------------------------------------------


def text_table(results: Iterable[Result], width: int) -> Iterator[str]:
    """Line by line, as results come; names are as wide as `width`."""
    yield _line("", HEADS, width)
    for group, of_group in groupby(results, lambda result: result.group):
        yield f"\n{group}"
        for result in of_group:
            yield _line("  " + result.name, cells(result), width + 2)


def _line(name: str, columns: Iterable[str], width: int) -> str:
    return (f"{name:{width}}" + "".join(f"{column:>11}" for column in columns)).rstrip()


# --- For the documents ----------------------------------------------------------------------


def markdown(facts: dict[str, str], results: Iterable[Result]) -> str:
    lines = ["| measured | on |", "|---|---|"]
    lines += [f"| {name} | {words} |" for name, words in facts.items()]
    lines += ["", _row("work", HEADS), "|---" + "|--:" * len(HEADS) + "|"]
    for group, of_group in groupby(results, lambda result: result.group):
        lines.append(_row(f"**{group}**", [""] * len(HEADS)))
        lines += [_row(result.name, cells(result)) for result in of_group]
    return "\n".join(lines) + "\n"


def _row(name: str, columns: Iterable[str]) -> str:
    return "| " + " | ".join([name, *columns]) + " |"


def renewed(page: str, part: str) -> str:
    """The page with this part between its marks."""
    pattern = re.compile(f"(?<={re.escape(_BEGIN)}\n).*(?={re.escape(_END)})", re.DOTALL)
    page, count = pattern.subn(lambda _: f"\n{part}\n", page)
    if count != 1:
        raise ValueError(f"the page has no {_BEGIN!r} and {_END!r} around what is to be renewed")
    return page
