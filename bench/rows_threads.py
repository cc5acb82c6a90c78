"""Compressed data by one thread, by two, by four, up to as many as there are cores; h5py and C
have one always."""

import os
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import zembra
from files import Grid
from row import Contestant, PythonContestant, Row
from whole import READ, WRITE, zembra_reads, zembra_writes

GRID = Grid(gzip=6, shuffle=True)
CORES = len(os.sched_getaffinity(0))


def counts(cores: int) -> list[int]:
    doubled = [1 << power for power in range(cores.bit_length())]
    return sorted({*doubled, cores})


def with_threads(count: int, does: PythonContestant) -> Contestant:
    """The same by so many threads."""

    @contextmanager
    def contestant(path: str) -> Iterator[Callable[[], Any]]:
        def threaded() -> Any:
            before = os.environ.get("H5GATE_THREADS")
            zembra.set_threads(count)
            try:
                return work()
            finally:
                zembra.set_threads(None if before is None else int(before))

        with does(path) as work:
            yield threaded

    return contestant


def threads(count: int) -> str:
    return "1 thread" if count == 1 else f"{count} threads"


THREADS = [
    *(
        Row(f"read by {threads(n)}", "ms", READ.but(zembra=with_threads(n, zembra_reads)), GRID)
        for n in counts(CORES)
    ),
    *(
        Row(
            f"write by {threads(n)}", "ms",
            WRITE.but(zembra=with_threads(n, zembra_writes)), GRID, writes=True,
        )
        for n in counts(CORES)
    ),
]  # fmt: skip
