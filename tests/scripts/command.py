"""`zembra` commands, in this process and in one of their own."""

import os
import subprocess
import sys
from pathlib import Path
from typing import NamedTuple

import zembra
from zembra import _command_line


class Done(NamedTuple):
    status: int
    out: str
    err: str


def run(capsys, *words):
    """A command in this process."""
    capsys.readouterr()
    try:
        status = _command_line.main([str(word) for word in words])
    except SystemExit as end:  # of argparse
        assert isinstance(end.code, int)
        status = end.code
    return Done(status, *capsys.readouterr())


def refused(capsys, *words):
    """The one sentence of a command that could not do it."""
    done = run(capsys, *words)
    assert done.status == 2 and done.out == "", done
    assert len(done.err.splitlines()) == 1 and "Traceback" not in done.err, done.err
    prefix = f"zembra {words[0]}: "
    assert done.err.startswith(prefix)
    return done.err.removeprefix(prefix).strip()


def process(*words, **environment):
    """A command in a process of its own."""
    done = subprocess.run(
        [sys.executable, "-m", "zembra", *map(str, words)],
        capture_output=True,
        text=True,
        encoding="utf-8",
        check=False,
        env={
            **os.environ,
            "PYTHONPATH": str(Path(zembra.__file__).parents[1]),
            "PYTHONUTF8": "1",
            **environment,
        },
    )
    return Done(done.returncode, done.stdout, done.stderr)
