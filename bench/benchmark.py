#!/usr/bin/python3
"""Measures zembra against h5py and against bare C, all in one run, and prints one table.

    benchmark.py [--only WORD ...] [--json FILE] [--no-peak] [--plot]

Words choose groups of rows by name, and rows that have the word in theirs. Times are the best of
several turns (contest.py says how), ratios zembra's time to another's: below 1 zembra is faster.
MB is what the work takes at most of memory (peak.py). --plot puts table and picture into the
documents. Files are made in a folder of their own where $TMPDIR says, which takes 2 GB.
"""

import argparse
import json
import sys
import tempfile
from collections.abc import Iterable, Iterator, Sequence
from pathlib import Path
from typing import Any

import peak
from every_row import GROUPS
from machine import busy_share, machine
from measure import measure
from report import markdown, renewed, text_table
from result import Result
from row import Row

DOCS = Path(__file__).resolve().parents[1] / "docs"
PAGE, PICTURE = "speed.md", "static/speed.svg"


def main(arguments: Sequence[str]) -> None:
    options = parsed(arguments)
    rows = chosen(options.only)
    if options.plot:
        from draw import draw  # before minutes go by: matplotlib may be missing
    facts = machine(busy_share())
    print("\n".join(f"{name:8} {words}" for name, words in facts.items()), end="\n\n", flush=True)
    results = measured(rows, options.peak)
    if options.json is not None:
        write_json(options.json, facts, results)
    if options.plot:
        page = options.docs / PAGE
        text = renewed(page.read_text(encoding="utf-8"), markdown(facts, results))
        page.write_text(text, encoding="utf-8")
        draw(results, facts, str(options.docs / PICTURE))
        print(f"\n{page} and {options.docs / PICTURE} are new")


def parsed(arguments: Sequence[str]) -> Any:
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("--only", nargs="+", default=[], metavar="WORD", help="what to measure")
    parser.add_argument("--json", type=Path, metavar="FILE", help="also write results there")
    parser.add_argument("--no-peak", dest="peak", action="store_false", help="time alone")
    parser.add_argument("--plot", action="store_true", help="renew table and picture in docs/")
    parser.add_argument("--docs", type=Path, default=DOCS, metavar="FOLDER", help="docs/ itself")
    options = parser.parse_args(arguments)
    if options.plot and (options.only or not options.peak):
        parser.error("--plot takes the whole table: it goes without --only and --no-peak")
    return options


def chosen(words: Sequence[str]) -> list[tuple[str, Row]]:
    """Groups and their rows."""
    rows = [(group, row) for group, members in GROUPS.items() for row in members]
    for word in words:
        if not any(matches(word, group, row) for group, row in rows):
            raise SystemExit(f"nothing is called {word!r}; groups are {', '.join(GROUPS)}")
    if not words:
        return rows
    return [(group, row) for group, row in rows if any(matches(w, group, row) for w in words)]


def matches(word: str, group: str, row: Row) -> bool:
    return word == group or (word not in GROUPS and word in row.name)


def measured(rows: list[tuple[str, Row]], peaks: bool) -> list[Result]:
    """Printed while they come."""
    results: list[Result] = []
    peak.prepare()
    with tempfile.TemporaryDirectory(prefix="bench-") as folder:
        seen = measure(rows, folder, peaks)
        for line in text_table(kept(seen, results), width_of(rows)):
            print(line, flush=True)
    return results


def kept(seen: Iterable[Result], results: list[Result]) -> Iterator[Result]:
    for result in seen:
        results.append(result)
        yield result


def width_of(rows: list[tuple[str, Row]]) -> int:
    return max(len(row.name) for _, row in rows)


def write_json(path: Path, facts: dict[str, str], results: list[Result]) -> None:
    content = {"measured": facts, "rows": [result.as_json() for result in results]}
    path.write_text(json.dumps(content, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main(sys.argv[1:])
