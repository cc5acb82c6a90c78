"""`zembra`, and `python3 -m zembra`: a prompt, a script, or a command.

    zembra                        a prompt with everything imported
    zembra SCRIPT.py ...          a script with everything imported
    zembra COMMAND ...            tree, show, plot, check, diff, copy; --help lists them
"""

import code
import difflib
import os
import runpy
import signal
import sys
import warnings
from typing import Any

import numpy as np

import zembra
from zembra import _command_line, h5

INTERRUPTED = 128 + signal.SIGINT


def _names() -> dict[str, Any]:
    return {"zembra": zembra, "h5": h5, "np": np}


def _run(arguments: list[str]) -> None:
    """The script as Python itself would run it, with our names there already."""
    sys.argv[:] = arguments
    sys.path[0] = os.path.dirname(os.path.abspath(arguments[0]))
    runpy.run_path(arguments[0], init_globals=_names(), run_name="__main__")


def _prompt() -> None:
    names = {"__name__": "__console__", **_names()}
    try:
        import readline
        import rlcompleter

        readline.set_completer(rlcompleter.Completer(names).complete)
        readline.parse_and_bind("tab: complete")
    except ImportError:
        pass  # a Python without readline has no completion; all else works
    major, minor, release = (int(number) for number in h5.H5get_libversion())
    banner = (
        f"Zembra with HDF5 {major}.{minor}.{release}. Here are zembra, h5 and np;"
        " help(h5.H5Dread) explains a function."
    )
    code.interact(banner=banner, local=names, exitmsg="")


def _command(arguments: list[str]) -> int:
    """In a process of its own: HDF5 does not survive every file."""
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", DeprecationWarning)  # of forks: no thread of ours runs
        child = os.fork()
    if child == 0:
        status = INTERRUPTED
        try:
            signal.signal(signal.SIGPIPE, signal.SIG_DFL)  # as of other commands before `head`
            status = _command_line.main(arguments)
        except SystemExit as end:  # of argparse
            status = end.code if isinstance(end.code, int) else _command_line.FAILED
        except KeyboardInterrupt:
            pass
        finally:
            sys.stdout.flush()
            sys.stderr.flush()
            os._exit(status)
    return _ended(child, arguments[0])


def _ended(child: int, command: str) -> int:
    before = signal.signal(signal.SIGINT, signal.SIG_IGN)  # the command has it as well
    try:
        status = os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])
    finally:
        signal.signal(signal.SIGINT, before)
    if status >= 0:
        return status
    if -status not in (signal.SIGPIPE, signal.SIGTERM):
        print(
            f"zembra {command}: HDF5 did not survive the file"
            f" ({signal.strsignal(-status)}); 'zembra check' tells where",
            file=sys.stderr,
        )
        return _command_line.FAILED
    return 128 - status


def _unknown(word: str) -> int:
    near = difflib.get_close_matches(word, _command_line.command_names(), 1)
    advice = f"; did you mean {near[0]!r}?" if near else "; --help lists the commands"
    print(f"zembra: there is no command or script {word!r}{advice}", file=sys.stderr)
    return _command_line.FAILED


def main() -> int:
    """The exit status."""
    words = sys.argv[1:]
    if not words:
        _prompt()
    elif words[0].startswith("-") or words[0] in _command_line.command_names():
        return _command(words)
    elif os.path.exists(words[0]):
        _run(words)
    else:
        return _unknown(words[0])
    return 0


if __name__ == "__main__":
    sys.exit(main())
