#!/usr/bin/python3
"""What releases do differently, by differences.toml: which lines of every_call.py it
accounts for, and the table of it in docs/releases.md, which this script writes."""

import re
import tomllib
from pathlib import Path
from typing import NamedTuple

HERE = Path(__file__).resolve().parent
DOCUMENT = HERE.parents[1] / "docs" / "releases.md"
RELEASES = ["1.8.6", "1.10.8", "1.14.5"]
RECORDED = "1.10.8"  # the release whose lines stand in calls-1.10.8.txt
HEAD = "| call | 1.8.6 | 1.10.8 | 1.14.5 | test |\n|---|---|---|---|---|\n"


class Difference(NamedTuple):
    call: str
    outcomes: dict[str, str]
    matches: list[str]
    test: str

    def concerns(self, release):
        return self.outcomes[release] != self.outcomes[RECORDED]

    def accounts_for(self, line):
        return any(re.match(pattern, line) for pattern in self.matches)

    def row(self):
        cells = [self.call, *(self.outcomes[release] for release in RELEASES), self.test]
        return f"|{'|'.join(f' {cell} ' if cell else ' ' for cell in cells)}|\n"


def read():
    entries = tomllib.loads((HERE / "differences.toml").read_text())["difference"]
    return [
        Difference(
            entry["call"],
            {release: entry[release] for release in RELEASES},
            entry.get("matches", []),
            entry.get("test", ""),
        )
        for entry in entries
    ]


def in_document(text):
    """The document with the table that there is to be."""
    before, _, rest = text.partition(HEAD)
    if not rest:
        raise ValueError(f"{DOCUMENT} has no such table")
    after = rest[rest.index("\n\n") + 1 :]
    return before + HEAD + "".join(difference.row() for difference in read()) + after


if __name__ == "__main__":
    DOCUMENT.write_text(in_document(DOCUMENT.read_text()))
