"""The command line.

    python3 -m zembra [script.py ...]     a script or a prompt with everything imported
    python3 -m zembra check FILE ...      whether files are whole, by zembra.inspect
"""

import code
import os
import runpy
import sys
from typing import Any

import numpy as np

import zembra
from zembra import h5


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


if sys.argv[1:2] == ["check"]:
    from zembra import _check

    sys.exit(_check.main(sys.argv[2:]))
elif len(sys.argv) > 1:
    _run(sys.argv[1:])
else:
    _prompt()
