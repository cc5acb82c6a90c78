"""The commands of `zembra`.

Exit status: 0 if done, and nothing is wrong; 1 if files differ (diff), are damaged (check), or
something in them could not be read (tree); 2 if it could not be done. What a command cannot do
it says in one sentence.
"""

import argparse
import io
import os
import sys
from collections.abc import Callable, Sequence
from typing import Any

from . import _check, h5
from ._errors import Error
from ._inspect import printable
from ._model import GROUP, LOST, Entry, opened, walk
from ._show import Refused
from ._version import __version__

DONE, DIFFERENT, FAILED = range(3)

FILE_MINORS = {
    "Not an HDF5 file": "is no HDF5 file",
    "File has been truncated": "is cut off: a part of it is missing",
}


def main(arguments: Sequence[str]) -> int:
    """The exit status of a command."""
    options = parser().parse_args(arguments)
    if isinstance(sys.stdout, io.TextIOWrapper):
        sys.stdout.reconfigure(errors="backslashreplace")  # names are in any language
    try:
        status: int = options.run(options)
        sys.stdout.flush()
        return status
    except Refused as error:
        return _failed(options, str(error))
    except Error as error:
        return _failed(options, _sentence(options, error))
    except OSError as error:
        place = f"{error.filename}: " if error.filename else ""
        return _failed(options, f"{place}{error.strerror or error}")
    except MemoryError:
        return _failed(options, "there is not enough memory for that")
    except RecursionError:
        return _failed(options, "a datatype in there is nested too deeply")
    except ValueError as error:  # a name that no file or object can have
        return _failed(options, str(error))


def _failed(options: argparse.Namespace, sentence: str) -> int:
    sys.stdout.flush()
    print(printable(f"zembra {options.command}: {sentence}"), file=sys.stderr)
    return FAILED


def _sentence(options: argparse.Namespace, error: Error) -> str:
    """What HDF5 says, in the words that a person would use."""
    if isinstance(error, OSError) and error.errno:
        return f"{error.filename}: {error.strerror}"
    names = [getattr(options, name, None) for name in ("file", "source", "first", "second")]
    files = [name for name in names if name]
    for name in files:
        if os.path.isdir(name):
            return f"{name} is a folder"
    for record in error.stack:
        if record.minor in FILE_MINORS:
            bad = [name for name in files if not _opens(name)] or files
            return f"{bad[0]} {FILE_MINORS[record.minor]}"
    path = getattr(options, "path", None)
    if path is not None and _is_missing(files[0], path):
        return f"there is no {path} in {files[0]}"
    return f"{files[0]} cannot be read: {error}" if files else str(error)


def _opens(file: str) -> bool:
    try:
        with opened(file):
            return True
    except (Error, ValueError):
        return False


def _is_missing(file: str, path: str) -> bool:
    try:
        with opened(file) as identifier:
            h5.H5Gget_objinfo(identifier, path, True)
    except Error as error:
        return any(record.minor == "Object not found" for record in error.stack)
    return False


# --- The commands -------------------------------------------------------------------------


def _tree(options: argparse.Namespace) -> int:
    from . import _tree as trees

    with opened(options.file) as file:
        entries = list(walk(file, options.path))
    if options.names:
        for entry in entries:
            print(printable(entry.path))
    else:
        paint = _painted if _in_colour() else trees.plain
        for line in trees.lines(entries, paint):
            print(line)
    return DIFFERENT if any(map(_is_wrong, entries)) else DONE


def _is_wrong(entry: Entry) -> bool:
    """A link to nothing is none of the file's damage."""
    if entry.trouble and not entry.target:
        return True
    return entry.kind == LOST or any(item.trouble for item in entry.facts.attributes)


def _in_colour() -> bool:
    return sys.stdout.isatty() and not os.environ.get("NO_COLOR")


def _painted(entry: Entry | None, name: str) -> str:
    if entry is None:
        return f"\x1b[36m{name}\x1b[0m"
    if entry.trouble:
        return f"\x1b[31m{name}\x1b[0m"
    return f"\x1b[1;34m{name}\x1b[0m" if entry.kind == GROUP else name


def _show(options: argparse.Namespace) -> int:
    from ._show import show

    for line in show(options.file, options.path, options.range):
        print(line)
    return DONE


def _plot(options: argparse.Namespace) -> int:
    from ._plot import plot

    plot(options.file, options.path, options.output)
    return DONE


def _diff(options: argparse.Namespace) -> int:
    from ._diff import differences

    status = DONE
    for found in differences(options.first, options.second):
        print(printable(str(found)))
        status = max(status, FAILED if found.unknown else DIFFERENT)
    return status


def _copy(options: argparse.Namespace) -> int:
    from ._copy import Storage, copy

    storage = Storage(
        options.chunks,
        options.contiguous,
        options.gzip,
        options.shuffle,
        options.fletcher32,
        options.no_filters,
    )
    bar = _Bar()
    try:
        sizes = copy(
            options.source,
            options.target,
            storage,
            replace=options.force,
            begin=bar.begin,
            progress=bar.add,
        )
    finally:
        bar.close()
    share = f" ({100 * sizes.after / sizes.before:.1f} %)" if sizes.before else ""
    before = f"{options.source}: {sizes.before:,} bytes"
    print(printable(f"{before} -> {options.target}: {sizes.after:,} bytes{share}"))
    return DONE


class _Bar:
    """How far a copy has come, on a terminal, where tqdm is installed."""

    def __init__(self) -> None:
        self._bar: Any = None

    def begin(self, total: int) -> None:
        try:
            from tqdm import tqdm
        except ImportError:
            return
        self._bar = tqdm(
            total=total, unit="B", unit_scale=True, disable=not sys.stderr.isatty(), leave=False
        )

    def add(self, done: int) -> None:
        if self._bar is not None:
            self._bar.update(done)

    def close(self) -> None:
        if self._bar is not None:
            self._bar.close()


# --- What they are asked ------------------------------------------------------------------


def parser() -> argparse.ArgumentParser:
    top = argparse.ArgumentParser(
        prog="zembra",
        description="HDF5 at the command line. Without arguments: a prompt with zembra, h5 and"
        " numpy imported; with a SCRIPT.py and its arguments: that script.",
        epilog="Exit status: 0 if done and nothing is wrong, 1 if files differ or something in"
        " them is damaged, 2 if it could not be done. 'zembra COMMAND --help' tells more.",
    )
    top.add_argument("--version", action="version", version=_version())
    commands = top.add_subparsers(dest="command", metavar="COMMAND", required=True)

    def command(
        name: str, run: Callable[[argparse.Namespace], int], text: str, **more: Any
    ) -> argparse.ArgumentParser:
        added = commands.add_parser(name, help=text, description=f"{text}.", **more)
        added.set_defaults(run=run)
        return added

    _tree_arguments(command("tree", _tree, "Shows what is in a file"))
    _show_arguments(command("show", _show, "Shows an object, its attributes and first values"))
    _plot_arguments(command("plot", _plot, "Draws a dataset of numbers"))
    _check.add_arguments(command("check", _check.run, _check.DESCRIPTION, epilog=_check.EPILOG))
    _diff_arguments(command("diff", _diff, "Tells what differs between two files, by path"))
    _copy_arguments(
        command("copy", _copy, "Copies a file, stored otherwise if asked to", aliases=["repack"])
    )
    return top


def _version() -> str:
    major, minor, release = h5.H5get_libversion()
    return f"zembra {__version__} with HDF5 {major}.{minor}.{release}"


def command_names() -> list[str]:
    return ["check", "copy", "diff", "plot", "repack", "show", "tree"]


def _tree_arguments(added: argparse.ArgumentParser) -> None:
    added.add_argument("file", metavar="FILE", help="an HDF5 file")
    added.add_argument("path", metavar="PATH", nargs="?", default="/", help="where to begin")
    added.add_argument("--names", action="store_true", help="only the paths, one a line")
    added.epilog = (
        "Attributes are marked with @, comments with #, links with -> and what they lead to."
        " Exit status: 0, 1 if something in the file cannot be read, 2 if there is no tree."
    )


def _show_arguments(added: argparse.ArgumentParser) -> None:
    added.add_argument("file", metavar="FILE", help="an HDF5 file")
    added.add_argument("path", metavar="PATH", help="an object in it")
    added.add_argument(
        "--range",
        metavar="RANGE",
        help="the values to show, an index or START:STOP:STEP a dimension, as in 0:10,5",
    )


def _plot_arguments(added: argparse.ArgumentParser) -> None:
    added.description = (
        "Draws a dataset of numbers: a line for one dimension, an image for two, a histogram"
        " otherwise. Dimension scales become axes. Of large datasets one value of so many"
        " is drawn."
    )
    added.add_argument("file", metavar="FILE", help="an HDF5 file")
    added.add_argument("path", metavar="PATH", help="a dataset in it")
    added.add_argument("-o", "--output", metavar="PICTURE", help="a file, such as out.png")


def _diff_arguments(added: argparse.ArgumentParser) -> None:
    added.add_argument("first", metavar="A", help="an HDF5 file")
    added.add_argument("second", metavar="B", help="another one")
    added.epilog = (
        "Compared are links, extents, datatypes, values, attributes and comments, not how it is"
        " stored. Exit status: 0 if nothing differs, 1 if something does, 2 if something could"
        " not be compared."
    )


def _copy_arguments(added: argparse.ArgumentParser) -> None:
    added.add_argument("source", metavar="SRC", help="an HDF5 file")
    added.add_argument("target", metavar="DST", help="the file to be made")
    added.add_argument("--gzip", type=_level, metavar="LEVEL", help="compress, 0 to 9")
    added.add_argument("--shuffle", action="store_true", help="shuffle bytes before that")
    added.add_argument("--fletcher32", action="store_true", help="add checksums")
    added.add_argument("--no-filters", action="store_true", help="take all filters away")
    added.add_argument(
        "--chunks",
        type=_chunks,
        default=(),
        metavar="NxN",
        help="chunks of this shape for the datasets with as many dimensions, as in 24x4",
    )
    added.add_argument("--contiguous", action="store_true", help="no chunks for what cannot grow")
    added.add_argument("--force", action="store_true", help="replace DST")
    added.epilog = (
        "Filters that are given take the place of those that were there; small datasets and"
        " those of variable length keep theirs. DST appears when it is complete."
    )


def _level(text: str) -> int:
    if not (text.isdecimal() and 0 <= int(text) <= 9):
        raise argparse.ArgumentTypeError(f"{text} is no level from 0 to 9")
    return int(text)


def _chunks(text: str) -> tuple[int, ...]:
    parts = text.replace(",", "x").split("x")
    if not all(part.isdecimal() and int(part) > 0 for part in parts):
        raise argparse.ArgumentTypeError(f"{text} is no shape such as 24x4")
    return tuple(map(int, parts))
