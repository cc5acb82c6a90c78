"""Work that bench/call_bench.cpp does and times, because Python's own nanoseconds are in the way
of measuring C's."""

import subprocess
from collections.abc import Callable, Iterator
from contextlib import AbstractContextManager, contextmanager, suppress
from pathlib import Path

import zembra

PROGRAM = Path(zembra.__file__).parents[2] / "bin/call_bench"  # of the same build


class Compiled:
    """A running call_bench, which is asked as timeit.Timer is."""

    def __init__(self, process: subprocess.Popen[bytes]) -> None:
        self._process = process

    def timeit(self, number: int) -> float:
        """Seconds of doing it so many times."""
        assert self._process.stdin is not None and self._process.stdout is not None
        with suppress(BrokenPipeError):  # then there is no answer either
            self._process.stdin.write(b"%d\n" % number)
        answer = self._process.stdout.readline()
        if not answer:
            raise RuntimeError(f"{PROGRAM.name} has ended with {self._process.wait()}")
        return float(answer)


def compiled(subject: str, side: str) -> Callable[[str], AbstractContextManager[Compiled]]:
    """A subject of call_bench, `bare` or through the `gateway`'s symbol."""

    @contextmanager
    def contestant(path: str) -> Iterator[Compiled]:
        if not PROGRAM.exists():
            raise FileNotFoundError(f"there is no {PROGRAM}, which make bench builds")
        command = [str(PROGRAM), path, subject, side]
        pipe = subprocess.PIPE
        with subprocess.Popen(command, stdin=pipe, stdout=pipe, bufsize=0) as process:
            yield Compiled(process)

    return contestant
