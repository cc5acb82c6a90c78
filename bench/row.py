"""What a line of the benchmark's table consists of.

    Row("read gzip 6", "ms", READ, Grid(gzip=6))

A side is a function that is given the path of the row's file, makes ready in a with block, and
yields what is to be timed. The rows of a group stand at the end of rows_*.py, and every_row.py
has the groups.
"""

from collections.abc import Callable
from contextlib import AbstractContextManager
from dataclasses import dataclass, fields, replace
from typing import Any

from compiled import Compiled

Work = Callable[[], Any] | Compiled  # what is timed; what it gives is compared
Contestant = Callable[[str], AbstractContextManager[Work]]  # prepares it on the file of a path
PythonContestant = Callable[[str], AbstractContextManager[Callable[[], Any]]]
File = Callable[[str], None]  # makes a file; equal ones are made once


@dataclass(frozen=True)
class Sides:
    """Who does it."""

    zembra: Contestant
    h5py: Contestant | None = None
    c: Contestant | None = None  # HDF5's own functions

    def but(self, **others: Contestant) -> "Sides":
        """These with others in the place of some."""
        return replace(self, **others)

    def by_name(self) -> dict[str, Contestant]:
        """Those that there are."""
        each = {field.name: getattr(self, field.name) for field in fields(self)}
        return {side: contestant for side, contestant in each.items() if contestant is not None}


@dataclass(frozen=True)
class Row:
    name: str  # what is done
    unit: str  # of its time: ns, us, ms or s
    sides: Sides
    file: File | None = None  # on which; None: each makes its own
    writes: bool = False  # each has a copy of the file then
    alike: bool = True  # all give the same, in the same form
    peak: bool = True  # memory is measured, too
