"""Files from strangers: what is in them is read in a process that may die of it.

HDF5 does not survive every file. `_walk` reads one in an interpreter of its own, which tells
what it is about to touch; what becomes of it is seen from here, where the file is not opened.
A walk that died is followed by another one, which leaves out what the first one died of.
"""

import errno
import json
import os
import selectors
import signal
import stat
import subprocess
import sys
import time
from collections.abc import Callable, Iterator, Sequence
from dataclasses import dataclass, field
from pathlib import Path
from typing import NamedTuple

DAMAGE, SIGNAL, TIME, MEMORY, EXIT, NOTE = "damage", "signal", "time", "memory", "exit", "note"
FATAL = SIGNAL, TIME, MEMORY, EXIT
WHOLE, DAMAGED, DEADLY = "whole", "damaged", "fatal"

MEMORY_STATUS = 77  # the walk's exit status when it had no memory left to say so
FAILURE_STATUS = 70  # when it failed itself, for no fault of HDF5's
MOST_WALKS = 20  # through one file
MOST_FINDINGS = 100  # and as many notes
LONGEST_PATH = 1000
LONGEST_TEXT = 500
LONGEST_LINE = 32768  # of the walk's report: a path, a text, and all of them escaped
LARGEST_COUNT = 1 << 63
PATIENCE = 5.0  # seconds that a killed process may take to be gone
SHORTEST_WALK = 0.5  # seconds: with less there is no point in another one
LONGEST_INSPECTION = 20 * 86400.0  # seconds; the system waits no longer for a pipe

WALK = (sys.executable, "-P", "-m", "zembra._walk")


def shortened(text: str, length: int) -> str:
    """Without its middle, if need be."""
    if len(text) <= length:
        return text
    end = (length - 1) // 2
    return f"{text[: length - 1 - end]}…{text[len(text) - end :]}"


def printable(text: str) -> str:
    """What a terminal cannot be told to do anything by."""
    return "".join(
        letter if letter.isprintable() else letter.encode("unicode_escape").decode()
        for letter in text
    )


@dataclass(frozen=True)
class Finding:
    """Something about a file.

    path: the object or link in the file.
    kind: "damage": HDF5 refuses it. "signal", "time", "memory", "exit": reading it killed the
    process, took longer or more memory than allowed, ended the process. "note": left out,
    because it lies in other files, or for want of a filter or an array for it.
    text: what was being done, and what HDF5 said.
    """

    path: str
    kind: str
    text: str

    def __str__(self) -> str:
        return printable(f"{self.path}: {self.kind}: {self.text}")


@dataclass(frozen=True)
class Inspection:
    """What `zembra.inspect` found. True if the file is whole.

    path: the file.
    verdict: "whole"; "damaged": HDF5 refuses something in it; "fatal": reading it killed the
    process, or would have taken longer or more memory than allowed.
    findings: in the order of the walk, at most 100 besides as many notes.
    omitted: how many more there were.
    objects, links, attributes: how many were met, objects once each.
    bytes: of data that were read, as they are in memory.
    seconds: that it took.
    """

    path: str
    verdict: str
    findings: tuple[Finding, ...] = ()
    omitted: int = 0
    objects: int = 0
    links: int = 0
    attributes: int = 0
    bytes: int = 0
    seconds: float = 0.0

    def __bool__(self) -> bool:
        return self.verdict == WHOLE

    def __str__(self) -> str:
        counts = ", ".join(
            f"{number:,} {word if number == 1 else words}"
            for number, word, words in (
                (self.objects, "object", "objects"),
                (self.links, "link", "links"),
                (self.attributes, "attribute", "attributes"),
                (self.bytes, "byte of data", "bytes of data"),
            )
        )
        lines = [f"{printable(self.path)}: {self.verdict}: {counts} in {self.seconds:.1f} s"]
        lines += [f"  {finding}" for finding in self.findings]
        if self.omitted:
            lines.append(f"  and {self.omitted:,} more")
        return "\n".join(lines)


def inspect(
    path: str | bytes | os.PathLike[str], *, seconds: float = 60, memory: int = 2 << 30
) -> Inspection:
    """Reads a whole file, all its links, objects, attributes and data, in another process, and
    tells whether it is whole, what of it is damaged, or what of it kills. This process never
    opens the file: whatever is in it, it neither dies nor hangs nor grows.

    path: a file. Other files, named by external links or as places of data, are not opened.
    seconds: how long it may take, on the clock and of the processor. What takes more than half
    of what is left is left out, for the sake of the rest of the file.
    memory: bytes that reading may take.
    """
    return Inspector(path, seconds, memory).inspect()


class Counts(NamedTuple):
    objects: int = 0
    links: int = 0
    attributes: int = 0
    bytes: int = 0

    def __add__(self, other: object) -> "Counts":
        if not isinstance(other, Counts):
            return NotImplemented
        return Counts(*(one + two for one, two in zip(self, other)))


@dataclass
class _Findings:
    """As many as there is room for."""

    kept: list[Finding] = field(default_factory=list)
    omitted: int = 0
    verdict: str = WHOLE
    _numbers: dict[bool, int] = field(default_factory=lambda: {True: 0, False: 0})

    def add(self, path: str, kind: str, text: str) -> None:
        if kind in FATAL:
            self.verdict = DEADLY
        elif kind == DAMAGE and self.verdict == WHOLE:
            self.verdict = DAMAGED
        if self._numbers[kind == NOTE] == MOST_FINDINGS:
            self.omitted += 1
        else:
            self._numbers[kind == NOTE] += 1
            self.kept.append(Finding(path, kind, text))


class _Nonsense(Exception):
    """The walk says what no walk says."""


class Inspector:
    """Walks through one file as often as it takes. `progress` is told each path, `command` is
    what is run with the walk's arguments."""

    def __init__(
        self,
        path: str | bytes | os.PathLike[str],
        seconds: float,
        memory: int,
        *,
        progress: Callable[[str], object] = lambda path: None,
        command: Sequence[str] = WALK,
    ) -> None:
        if not seconds > 0:
            raise ValueError(f"seconds is to be a positive number, not {seconds}")
        if not memory > 0:
            raise ValueError(f"memory is to be a positive number of bytes, not {memory}")
        self._path = os.fsdecode(path)
        self._seconds = min(seconds, LONGEST_INSPECTION)
        self._memory = int(memory)
        self._progress = progress
        self._command = command
        self._findings = _Findings()

    def inspect(self) -> Inspection:
        begin = time.monotonic()
        counts = self._walks(begin + self._seconds) if self._is_there() else Counts()
        return Inspection(
            self._path,
            self._findings.verdict,
            tuple(self._findings.kept),
            self._findings.omitted,
            *counts,
            time.monotonic() - begin,
        )

    def _is_there(self) -> bool:
        """Whether it is a file at all; not being there is the caller's mistake."""
        mode = os.stat(self._path).st_mode
        if stat.S_ISDIR(mode):
            raise _os_error(errno.EISDIR, self._path)
        if not os.access(self._path, os.R_OK):
            raise _os_error(errno.EACCES, self._path)
        if not stat.S_ISREG(mode):
            self._findings.add("/", DAMAGE, "is no regular file")
        return stat.S_ISREG(mode)

    def _walks(self, deadline: float) -> Counts:
        counts = Counts()
        skipped: set[int] = set()
        begin = 0
        for _ in range(MOST_WALKS):
            walk = _Walk(self._findings, self._progress, deadline)
            walk.run(self._walk_command(deadline, begin, skipped))
            counts += walk.counts
            if walk.ended or walk.step is None:
                return counts
            skipped.add(walk.step)
            begin = max(begin, walk.step + 1)
            if deadline - time.monotonic() < SHORTEST_WALK:
                break
        self._findings.add("/", NOTE, "what comes behind the last end was left out")
        return counts

    def _walk_command(self, deadline: float, begin: int, skipped: set[int]) -> list[str]:
        seconds = max(deadline - time.monotonic(), 1e-3)
        numbers = (str(number) for number in (seconds, self._memory, begin, *sorted(skipped)))
        return [*self._command, os.path.abspath(self._path), *numbers]


def _os_error(number: int, path: str) -> OSError:
    return OSError(number, os.strerror(number), path)


class _Walk:
    """One process, from its start to its end."""

    def __init__(
        self, findings: _Findings, progress: Callable[[str], object], deadline: float
    ) -> None:
        self._findings = findings
        self._progress = progress
        self._deadline = deadline
        self._place = "/", "starting"
        self.step: int | None = None  # the last that it began
        self.counts = Counts()
        self.ended = False  # by itself, having seen all

    def run(self, command: list[str]) -> None:
        with subprocess.Popen(
            command,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            env=_environment(),
            process_group=0,  # Ctrl-C is for this process, which ends the other
        ) as process:
            try:
                for line in self._lines(process):
                    self._take(line)
                process.wait(self._patience())
            except (subprocess.TimeoutExpired, TimeoutError):
                process.kill()
                self._fatal(TIME, "takes longer than allowed")
            except _Nonsense:
                process.kill()
                self._fatal(EXIT, "the process was no longer itself")
            else:
                self._judge(process.returncode)
            finally:
                process.kill()
                _bury(process)

    def _patience(self) -> float:
        """What the walk touches may keep it busy for half of the time there is: the rest is for
        the rest of the file."""
        left = max(self._deadline - time.monotonic(), 0)
        return left if self.step is None else left / 2

    def _lines(self, process: subprocess.Popen[bytes]) -> Iterator[bytes]:
        assert process.stdout is not None
        pipe = process.stdout.fileno()
        rest = b""
        with selectors.DefaultSelector() as selector:
            selector.register(pipe, selectors.EVENT_READ)
            while True:
                patience = self._patience()
                if patience == 0 or not selector.select(patience):
                    raise TimeoutError
                data = os.read(pipe, LONGEST_LINE)
                if not data:
                    return
                *lines, rest = (rest + data).split(b"\n")
                if len(rest) > LONGEST_LINE:
                    raise _Nonsense
                yield from lines

    def _take(self, line: bytes) -> None:
        match _words(line):
            case ["at", int(step), str(path), str(what), *numbers]:
                self.step = step
                self._place = path, what
                self.counts = _counts(numbers)
                self._progress(path)
            case ["found", ("damage" | "memory" | "note") as kind, str(path), str(text)]:
                self._add(path, str(kind), text)
            case ["end", *numbers]:
                self.counts = _counts(numbers)
                self.ended = True
            case _:
                raise _Nonsense

    def _judge(self, status: int) -> None:
        if status == 0 and self.ended:
            return
        self.ended = False
        if status == -signal.SIGXCPU:
            self._fatal(TIME, "takes more of the processor's time than allowed")
        elif status < 0:
            self._fatal(SIGNAL, _signal_name(-status))
        elif status == MEMORY_STATUS:
            self._fatal(MEMORY, "there is not enough of it")
        else:
            self._fatal(EXIT, f"the process ended with status {status}")

    def _fatal(self, kind: str, text: str) -> None:
        path, what = self._place
        self.ended = False
        self._add(path, kind, f"{what}: {text}")

    def _add(self, path: str, kind: str, text: str) -> None:
        self._findings.add(shortened(path, LONGEST_PATH), kind, shortened(text, LONGEST_TEXT))


def _words(line: bytes) -> object:
    try:
        return json.loads(line)
    except (ValueError, RecursionError):
        raise _Nonsense from None


def _counts(numbers: list[object]) -> Counts:
    match numbers:
        case [int(), int(), int(), int()] if all(
            isinstance(number, int) and 0 <= number < LARGEST_COUNT for number in numbers
        ):
            return Counts(*(number for number in numbers if isinstance(number, int)))
    raise _Nonsense


def _signal_name(number: int) -> str:
    try:
        name = signal.Signals(number).name
    except ValueError:
        name = f"signal {number}"
    description = signal.strsignal(number)
    return f"{name} ({description})" if description else name


def _bury(process: subprocess.Popen[bytes]) -> None:
    """A process that the kernel does not let go of is not waited for."""
    try:
        process.wait(PATIENCE)
    except subprocess.TimeoutExpired:
        process.returncode = -signal.SIGKILL  # or leaving the context would wait


def _environment() -> dict[str, str]:
    """The packages are found where this process finds them, and a file that somebody is writing
    is looked at none the less."""
    package = str(Path(__file__).resolve().parent.parent)
    return {
        **os.environ,
        "PYTHONPATH": os.pathsep.join([package, *(entry for entry in sys.path if entry)]),
        "HDF5_USE_FILE_LOCKING": "FALSE",
        "OPENBLAS_NUM_THREADS": "1",  # each thread would take its share of the memory
    }
