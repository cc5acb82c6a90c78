#!/usr/bin/python3
"""Runs what the pages of the documents show, and holds it against what they say comes of it.

run_pages.py PAGE ...

The pages run in order in the current folder, each with names of its own. In a page,

    ```python     is run; prints what the ```text behind it shows, where there is one
    ```console    has lines "$ zembra ...", each run, with what it prints behind it

Everything else is for the eye. What a block of text shows may leave out lines by "...".
"""

import contextlib
import doctest
import io
import os
import re
import shlex
import sys
from collections.abc import Iterator
from pathlib import Path
from typing import Any, NamedTuple

_FENCE = re.compile(r"^```(\w*)[^\n]*\n(.*?)^```$", re.DOTALL | re.MULTILINE)


class Block(NamedTuple):
    """A fence: its language, what is in it, and the line that it begins on."""

    language: str
    text: str
    line: int
    follows: bool  # right behind the one before it


def blocks(page: str) -> Iterator[Block]:
    end = 0
    for found in _FENCE.finditer(page):
        follows = not page[end : found.start()].strip()
        yield Block(found[1], found[2], page.count("\n", 0, found.start()) + 2, follows)
        end = found.end()


def run(page: Path) -> None:
    """Raises what a block raises, and AssertionError where it prints something else."""
    names: dict[str, Any] = {"__name__": "__main__"}
    printed: str | None = None
    for block in blocks(page.read_text(encoding="utf-8")):
        if block.language == "python":
            check(page, block, "", printed)
            printed = _run_python(page, block, names)
        elif block.language == "text" and block.follows and printed is not None:
            check(page, block, block.text, printed)
            printed = None
        elif block.language == "console":
            _run_console(page, block)
        else:
            check(page, block, "", printed)
            printed = None
    if printed:
        raise AssertionError(
            f"{page}: the last block prints what the page does not show: {printed}"
        )


def check(page: Path, block: Block, shown: str, printed: str | None) -> None:
    if not doctest.OutputChecker().check_output(shown, printed or "", doctest.ELLIPSIS):
        raise AssertionError(f"{page}:{block.line}: shows\n{shown}\nand prints\n{printed}")


def _run_python(page: Path, block: Block, names: dict[str, Any]) -> str:
    out = io.StringIO()
    code = compile("\n" * (block.line - 1) + block.text, str(page), "exec")
    with contextlib.redirect_stdout(out):
        exec(code, names)
    return out.getvalue()


def _run_console(page: Path, block: Block) -> None:
    from zembra import _command_line

    os.environ["COLUMNS"] = "120"
    for part in re.split(r"^\$ ", block.text, flags=re.MULTILINE)[1:]:
        command, _, shown = part.partition("\n")
        program, *words = shlex.split(command)
        assert program == "zembra", f"{page}:{block.line}: {command}"
        out = io.StringIO()
        with contextlib.redirect_stdout(out), contextlib.redirect_stderr(out):
            _command_line.main(words)
        check(page, block, shown, out.getvalue())


if __name__ == "__main__":
    for name in sys.argv[1:]:
        run(Path(name))
