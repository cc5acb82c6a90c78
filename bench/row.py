"""What a line of the benchmark's table consists of."""

from collections.abc import Callable
from contextlib import AbstractContextManager
from dataclasses import dataclass
from typing import Any

from compiled import Compiled

Work = Callable[[], Any] | Compiled  # what is timed; what it gives is compared
Contestant = Callable[[str], AbstractContextManager[Work]]  # prepares it on the file of a path
File = Callable[[str], None]  # makes a file; equal ones are made once

SIDES = ("zembra", "h5py", "c")


@dataclass(frozen=True)
class Row:
    name: str  # what is done
    unit: str  # of its time: ns, us, ms or s
    zembra: Contestant
    h5py: Contestant | None = None
    c: Contestant | None = None  # HDF5's own functions
    file: File | None = None  # on which; None: the contestants make theirs
    writes: bool = False  # each has a copy of the file then
    alike: bool = True  # all give the same, in the same form
    peak: bool = True  # memory is measured, too

    def contestants(self) -> dict[str, Contestant]:
        """By side, those that there are."""
        each = {side: getattr(self, side) for side in SIDES}
        return {side: contestant for side, contestant in each.items() if contestant is not None}
