"""What a script wrote and forgot to close is on disk when the process ends."""

import subprocess
import sys

import h5py
import numpy as np
import pytest

WRITE = """
from zembra import h5
file = h5.H5Fcreate({path!r}, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
space = h5.H5Screate_simple(1, [1000], [])
dataset = h5.H5Dcreate(file, "d", "H5T_IEEE_F64LE", space, "H5P_DEFAULT")
values = list(range(1000))
h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", values)
"""
PEER = """
import h5py, numpy
other = h5py.File({path!r} + ".peer", "w")
other["d"] = numpy.arange(1000.0)
"""
USE_PEER = "assert other['d'][10] == 10\n"


def end(script, path):
    return subprocess.run(
        [sys.executable, "-c", script.format(path=path)], capture_output=True, text=True
    )


def check(path):
    with h5py.File(path) as file:
        assert np.array_equal(file["d"][()], np.arange(1000.0))


@pytest.mark.parametrize(
    "ending, status",
    [("", 0), ("import sys; sys.exit(3)\n", 3), ("raise ValueError\n", 1)],
    ids=["at the end", "by exit", "by an exception"],
)
@pytest.mark.parametrize(
    "script, peer",
    [
        (WRITE, False),
        ("import h5py\n" + WRITE, False),
        (PEER + WRITE + USE_PEER, True),
        (WRITE + PEER + USE_PEER, True),
        ("import zembra\n" + PEER + WRITE + USE_PEER, True),
    ],
    ids=["alone", "h5py imported", "h5py first", "h5py last", "h5py between"],
)
def test_files_left_open(path, script, peer, ending, status):
    done = end(script + ending, path)
    assert done.returncode == status, done.stderr
    assert "HDF5" not in done.stderr
    check(path)
    if peer:
        check(path + ".peer")


def test_a_file_left_open_by_a_thread(path):
    body = "".join("    " + line + "\n" for line in WRITE.strip().splitlines())
    script = (
        "import threading\ndef work():\n"
        + body
        + "thread = threading.Thread(target=work)\nthread.start()\nthread.join()\n"
    )
    done = end(script, path)
    assert done.returncode == 0, done.stderr
    check(path)


def test_the_interpreters_own_end(path):
    """What runs when the interpreter ends still finds the library open."""
    script = "import atexit\n" + WRITE + "atexit.register(lambda: print(h5.H5Iis_valid(file)))\n"
    done = end(script, path)
    assert done.returncode == 0 and done.stdout == "True\n", done.stderr
    check(path)


def test_a_library_that_is_closed_already(path):
    done = end(WRITE + "h5.H5close()\n", path)
    assert done.returncode == 0, done.stderr
    check(path)


def test_results_outlive_everything(path):
    """Arrays on the host's memory that are still referred to when the process ends."""
    script = WRITE + (
        "import builtins\n"
        'builtins.kept = h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")\n'
        "builtins.cycle = [builtins.kept]; builtins.cycle.append(builtins.cycle)\n"
    )
    done = end(script, path)
    assert done.returncode == 0, done.stderr
    check(path)
