"""How much memory a row's work takes at most.

Each contestant does it once in a process of its own, a child of one that has loaded what all of
them need and done nothing. What counts is how much resident memory grows beyond what there is
when the work begins: data that are written are there by then, what is read is not.
"""

import multiprocessing
import os
import sys
from multiprocessing.connection import Connection

from every_row import GROUPS
from row import Work

_processes = multiprocessing.get_context("forkserver")


def prepare() -> None:
    """Has the children's parent load what they need, and find it where we do."""
    os.environ["PYTHONPATH"] = os.pathsep.join(sys.path)
    _processes.set_forkserver_preload([__name__])


def peak_memory(group: str, name: str, side: str, path: str) -> float:
    """MB."""
    receiver, sender = _processes.Pipe(duplex=False)
    child = _processes.Process(target=_tell, args=(sender, group, name, side, path))
    child.start()
    sender.close()
    try:
        return float(receiver.recv())
    except EOFError:
        raise RuntimeError(f"{name}: {side} has ended without telling its memory") from None
    finally:
        child.join()


def _tell(sender: Connection, group: str, name: str, side: str, path: str) -> None:
    row = next(row for row in GROUPS[group] if row.name == name)
    with row.sides.by_name()[side](path) as work:
        sender.send(_growth(work))


def _growth(work: Work) -> float:
    assert callable(work)
    before = _forget_peak()
    result = work()
    grown = _memory("VmHWM") - before
    del result
    return max(grown, 0.0)


def _forget_peak() -> float:
    """MB that are resident, which is the peak from here on; where Linux does not let us have it
    so, the peak that was."""
    try:
        with open("/proc/self/clear_refs", "w", encoding="ascii") as file:
            file.write("5")
    except OSError:
        pass
    return _memory("VmHWM")


def _memory(which: str) -> float:
    with open("/proc/self/status", encoding="ascii") as status:
        return next(int(line.split()[1]) / 1024 for line in status if line.startswith(which))
