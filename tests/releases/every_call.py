#!/usr/bin/python3
"""Calls every function with whatever it may be called with, and prints what became of
each call, a line a call:

    PYTHONPATH=build/python:tests/scripts tests/releases/every_call.py [FUNCTION...]

A call has good arguments, or one that is anything else of its pool. It finds the same
objects open and the same files as all others: a process ends with the first call that
does not just fail, and closes HDF5. What a failed call leaves open, and by which signal a
process dies, stands in the call's line.
"""

import gc
import os
import shutil
import signal
import sys
import tempfile
import traceback
import warnings
from concurrent.futures import ProcessPoolExecutor
from pathlib import Path

import zembra
from zembra import _reference, call

from argument_pools import Pools
from one_of_each import DEFAULT, OneOfEach
from open_ids import OpenIds
from outcomes import Wording

SECONDS = 60  # until a call has hung: none takes a hundredth of it
CLOSING = "closing"


def forms():
    """Of every function: the lists of its arguments' names."""
    reference = Path(zembra.__file__).with_name("reference.txt")
    entries = _reference.parse(reference.read_text().splitlines()).entries
    for function, entry in entries.items():
        lists = []
        for form in entry.forms:
            required, optional = ([value.name for value in values] for values in form[2:4])
            lists.append(required)
            if optional:
                lists.append(required + optional)
        yield function, lists


def one_other_each(pools):
    """The first of all pools, then one after the other replaced by the rest of its pool."""
    first = [pool[0] for pool in pools]
    yield first
    for place, pool in enumerate(pools):
        for value in pool[1:]:
            yield first[:place] + [value] + first[place + 1 :]


class Caller:
    """What all calls begin with, made once a process."""

    def __init__(self, folder):
        self._folder = Path(folder)
        self._complaints = self._folder / "complaints"  # of the last process
        os.chdir(folder)
        one = OneOfEach()
        self._pools = Pools(one)
        self._wording = Wording(one.names(), one.values())
        self._small_file = self._make_small_file()
        self._open_ids = OpenIds()
        self._open_before = self._open_ids()

    def _make_small_file(self):
        call("H5Fclose", call("H5Fcreate", "a.h5", "H5F_ACC_TRUNC", DEFAULT, DEFAULT))
        return Path("a.h5").read_bytes()

    def lines(self, function, lists_of_names):
        """What became of all calls of the function."""
        calls: dict[str, list] = {}
        for names in lists_of_names:
            for arguments in one_other_each([self._pools.of(function, name) for name in names]):
                calls.setdefault(self._wording.of_call(function, arguments), arguments)
        arguments = list(calls.values())
        outcomes: list[str] = []
        while len(outcomes) < len(calls):
            outcomes += self._in_a_process(function, arguments[len(outcomes) :])
        return [f"{words} {outcome}" for words, outcome in zip(calls, outcomes)]

    def _in_a_process(self, function, lists_of_arguments):
        """The outcomes of calls up to the first that does not just fail."""
        folder = tempfile.mkdtemp(dir=self._folder)
        for name in ("a.h5", "b.h5"):
            Path(folder, name).write_bytes(self._small_file)
        reading, writing = os.pipe()
        child = os.fork()
        if child == 0:
            os.chdir(folder)
            self._tell_and_die(function, lists_of_arguments, writing)
        os.close(writing)
        with open(reading, encoding="utf-8") as pipe:
            *outcomes, unfinished = pipe.read().split("\n")
        status = os.waitpid(child, 0)[1]
        shutil.rmtree(folder)
        if os.WIFSIGNALED(status):
            killed = f"killed by {signal.Signals(os.WTERMSIG(status)).name}"
            if unfinished == CLOSING:
                outcomes[-1] += f" and is {killed} at the end"
            else:
                outcomes.append(f"is {killed}")
        elif status != 0:
            place = len(outcomes) - (unfinished == CLOSING)
            words = self._wording.of_call(function, lists_of_arguments[place])
            raise RuntimeError(f"{words}: {self._complaints.read_text()}")
        return outcomes

    def _tell_and_die(self, function, lists_of_arguments, writing):
        signal.alarm(SECONDS)
        os.dup2(os.open(self._complaints, os.O_CREAT | os.O_TRUNC | os.O_WRONLY), 2)
        try:
            with open(writing, "w", encoding="utf-8", errors="backslashreplace") as pipe:
                for arguments in lists_of_arguments:
                    outcome, failed = self._wording.of_outcome(function, arguments)
                    left_open = self._left_open() if failed else ""
                    print(outcome + left_open, file=pipe, flush=True)
                    if not failed or left_open:
                        break
                pipe.write(CLOSING)
            call("H5close")
            os._exit(0)
        except BaseException:
            traceback.print_exc()
        finally:
            os._exit(1)

    def _left_open(self):
        now = self._open_ids()
        changes = {kind: now[kind] - self._open_before[kind] for kind in now}
        words = [f"{change:+} {kind}" for kind, change in changes.items() if change]
        return f" and leaves open {', '.join(words)}" if words else ""


_callers: list[Caller] = []  # of this process: one


def _prepare(folder):
    _callers.append(Caller(tempfile.mkdtemp(dir=folder)))
    gc.freeze()  # children share what they do not touch
    warnings.simplefilter("error")  # of what NumPy and Python are going to take away
    warnings.simplefilter("ignore", zembra.GatewayWarning)


def _call(function, lists_of_names):
    return _callers[0].lines(function, lists_of_names)


def every_call(functions=()):
    """The lines of these functions, or of all; sorted."""
    chosen = [form for form in forms() if not functions or form[0] in functions]
    with tempfile.TemporaryDirectory() as folder:
        with ProcessPoolExecutor(os.cpu_count(), initializer=_prepare, initargs=(folder,)) as pool:
            lines = [line for lines in pool.map(_call, *zip(*chosen)) for line in lines]
    return sorted(lines)


if __name__ == "__main__":
    print(*every_call(sys.argv[1:]), sep="\n")
