"""`zembra check FILE ...`: whether files are whole."""

import argparse
import shutil
import sys
import time
from typing import TextIO

from ._inspect import DEADLY, WHOLE, Inspector, printable, shortened

DESCRIPTION = (
    "Reads whole files, each in a process of its own, and tells which are damaged, and which"
    " kill those who read them"
)
EPILOG = (
    "Exit status: 0 if all files are whole, 1 if any is damaged, 2 if any is fatal or cannot be"
    " looked at."
)
EXIT_WHOLE, EXIT_DAMAGED, EXIT_FATAL = range(3)
PROGRESS_PERIOD = 0.1  # seconds


class _Progress:
    """The line on a terminal that says which path is being looked at."""

    def __init__(self, stream: TextIO) -> None:
        self._stream = stream
        self._shown = stream.isatty()
        self._next = 0.0

    def show(self, file: str, path: str) -> None:
        now = time.monotonic()
        if self._shown and now >= self._next:
            self._next = now + PROGRESS_PERIOD
            width = shutil.get_terminal_size().columns - 1
            self._rewrite(shortened(printable(f"{file}: {path}"), width))

    def clear(self) -> None:
        if self._shown:
            self._rewrite("")

    def _rewrite(self, text: str) -> None:
        self._stream.write(f"\r\x1b[K{text}")
        self._stream.flush()


def run(options: argparse.Namespace) -> int:
    """The exit status: 0 if all are whole, 1 if any is damaged, 2 if any is fatal or cannot be
    looked at."""
    progress = _Progress(sys.stderr)
    worst = EXIT_WHOLE
    for file in options.files:
        worst = max(worst, _check(file, options.seconds, options.memory, progress))
    return worst


def _check(file: str, seconds: float, memory: int, progress: _Progress) -> int:
    try:
        inspector = Inspector(
            file, seconds, memory, progress=lambda path: progress.show(file, path)
        )
        inspection = inspector.inspect()
    except (OSError, ValueError) as error:  # a ValueError of the system: no file's name
        reason = error.strerror if isinstance(error, OSError) else error
        print(f"{printable(file)}: {reason}", file=sys.stderr)
        return EXIT_FATAL
    finally:
        progress.clear()
    print(inspection, flush=True)
    if inspection.verdict == WHOLE:
        return EXIT_WHOLE
    return EXIT_FATAL if inspection.verdict == DEADLY else EXIT_DAMAGED


def add_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("files", nargs="+", metavar="FILE", help="an HDF5 file")
    parser.add_argument(
        "--seconds",
        type=_positive_number,
        default=60.0,
        help="how long a file may take, 60 unless said otherwise",
    )
    parser.add_argument(
        "--memory",
        type=_size,
        default=2 << 30,
        metavar="BYTES",
        help="how much memory reading may take, 2G unless said otherwise",
    )


def _positive_number(text: str) -> float:
    try:
        number = float(text)
    except ValueError:
        number = 0.0
    if not number > 0:
        raise argparse.ArgumentTypeError(f"{text} is no positive number")
    return number


def _size(text: str) -> int:
    """1000000, 500K, 64M, 2G."""
    digits, power = text, 0
    if text and text[-1].upper() in "KMG":
        digits, power = text[:-1], "KMG".index(text[-1].upper()) + 1
    if not digits.isdecimal() or int(digits) == 0:
        raise argparse.ArgumentTypeError(f"{text} is no positive number of bytes, such as 64M")
    return int(digits) << 10 * power
