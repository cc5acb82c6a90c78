"""Several threads at once, with h5py in others, and threads that are left when it ends."""

import os
import subprocess
import sys
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from multiprocessing import get_context
from pathlib import Path

import numpy as np
import pytest

import zembra
from peer import needs_h5py
from zembra import h5

HERE = Path(__file__).parent
DEFAULT = "H5P_DEFAULT"
SECONDS = float(os.environ.get("H5GATE_THREAD_SECONDS", "2"))  # at work


WITH_H5PY = pytest.param("h5py", id="with h5py", marks=needs_h5py)
ALONE = pytest.param("", id="alone")


def run(*arguments):
    return subprocess.run(
        [sys.executable, *map(str, arguments)], capture_output=True, text=True, timeout=120
    )


@pytest.mark.parametrize("peer", [ALONE, WITH_H5PY])
def test_many_threads_at_work(tmp_path, peer):
    """Two and eight threads, alone and beside as many of h5py's."""

    def at_work(threads):
        folder = tmp_path / str(threads)
        folder.mkdir()
        return run(HERE / "threads_at_work.py", folder, threads, SECONDS, *peer.split())

    with ThreadPoolExecutor() as pool:
        for done in pool.map(at_work, (2, 8)):
            assert done.returncode == 0, done.stdout + done.stderr


# Threads that are inside HDF5, in a callback or waiting for either when the process ends.
DAEMONS = """
import sys, threading, time
{imports}
from zembra import h5
file = h5.H5Fcreate({path!r}, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
for name in "abcdefgh":
    h5.H5Gcreate(file, name, "H5P_DEFAULT", "H5P_DEFAULT", "H5P_DEFAULT")
def callback(group, name, data):
    {in_callback}
    return 0, data
def iterate():
    while True:
        h5.H5Literate(file, "H5_INDEX_NAME", "H5_ITER_INC", 0, callback, None)
def ask():
    while True:
        h5.H5Iis_valid(file)
def fail():
    while True:
        try:
            h5.H5Literate(file, "H5_INDEX_NAME", "H5_ITER_INC", 0, lambda *_: 1 / 0, None)
        except Exception:
            pass
def create():
    while True:
        h5.H5Gclose(h5.H5Gopen(file, "a"))
for work in (iterate, ask, fail, create) * 2:
    threading.Thread(target=work, daemon=True).start()
time.sleep(0.05)
"""


@pytest.mark.parametrize("peer", [ALONE, WITH_H5PY])
@pytest.mark.parametrize("in_callback", ["pass", "time.sleep(0.001)"], ids=["quick", "sleeping"])
def test_daemon_threads_when_the_process_ends(tmp_path, peer, in_callback):
    def one(number):
        path = str(tmp_path / f"{number}.h5")
        script = DAEMONS.format(
            imports=peer and f"import {peer}", in_callback=in_callback, path=path
        )
        return path, run("-c", script)

    with ThreadPoolExecutor(4) as pool:
        for path, done in pool.map(one, range(13)):
            assert (done.returncode, done.stderr) == (0, "")
            file = h5.H5Fopen(path, "H5F_ACC_RDONLY", DEFAULT)
            assert h5.H5Gget_num_objs(file) == 8
            h5.H5Fclose(file)


def test_a_callback_that_never_ends_does_not_keep_the_process(tmp_path):
    script = DAEMONS.format(
        imports="", in_callback="time.sleep(1000)", path=str(tmp_path / "endless.h5")
    )
    done = run("-c", script + "sys.exit(7)")
    assert done.returncode == 7
    assert done.stderr == (
        "zembra: a thread is still inside HDF5: files that are open may be incomplete\n"
    )


@pytest.fixture
def compressed(path):
    """A dataset that takes a moment to read."""
    values = np.random.default_rng(1).integers(0, 1000, 8_000_000)
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
    space = h5.H5Screate_simple(1, [values.size], [])
    filters = h5.H5Pcreate("H5P_DATASET_CREATE")
    h5.H5Pset_chunk(filters, [1_000_000])
    h5.H5Pset_deflate(filters, 1)
    dataset = h5.H5Dcreate(file, "d", "H5T_STD_I64LE", space, filters)
    h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", DEFAULT, values)
    h5.H5Sclose(space)
    h5.H5Pclose(filters)
    yield dataset, values
    h5.H5Dclose(dataset)
    h5.H5Fclose(file)


def read(dataset):
    return h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", DEFAULT)


def test_other_threads_run_while_hdf5_reads(compressed):
    dataset, values = compressed
    ticks = []
    done = threading.Event()

    def tick():
        while not done.is_set():
            ticks.append(time.monotonic())
            time.sleep(0.0001)

    ticking = threading.Thread(target=tick)
    ticking.start()
    begin = time.monotonic()
    got = read(dataset)
    end = time.monotonic()
    done.set()
    ticking.join()
    assert np.array_equal(got, values)
    # However slow the machine is: a lock that is held throughout lets nobody tick.
    assert sum(begin < moment < end for moment in ticks) > 10


def test_calls_wait_for_each_other_and_not_for_ever(compressed):
    dataset, values = compressed
    with ThreadPoolExecutor(8) as pool:
        for got in pool.map(read, [dataset] * 8):
            assert np.array_equal(got, values)


def test_errors_belong_to_their_thread(path):
    def fail(number):
        with pytest.raises(zembra.LibraryError) as caught:
            h5.H5Fopen(f"{path}.{number}", "H5F_ACC_RDONLY", DEFAULT)
        return f"{path}.{number}" in "".join(record.description for record in caught.value.stack)

    with ThreadPoolExecutor(8) as pool:
        assert all(pool.map(fail, range(200)))


def is_hdf5(path):
    return h5.H5Fis_hdf5(path)


def test_functions_pickle(tmp_path):
    paths = [str(tmp_path / name) for name in "ab"]
    h5.H5Fclose(h5.H5Fcreate(paths[0], "H5F_ACC_TRUNC", DEFAULT, DEFAULT))
    Path(paths[1]).write_text("no")
    with get_context("fork").Pool(2) as pool:
        assert pool.map(h5.H5Fis_hdf5, paths) == [1, 0]
        assert pool.map(is_hdf5, paths) == [1, 0]
    with get_context("spawn").Pool(1) as pool:
        assert pool.map(h5.H5Fis_hdf5, paths) == [1, 0]


def test_a_child_can_go_on_after_a_fork_inside_a_callback(path):
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
    h5.H5Gclose(h5.H5Gcreate(file, "g", DEFAULT, DEFAULT, DEFAULT))
    statuses = []

    def fork(group, name, data):
        child = os.fork()
        if child == 0:
            os._exit(0 if h5.H5Iis_valid(file) else 1)
        statuses.append(os.waitpid(child, 0)[1])
        return 0, data

    h5.H5Literate(file, "H5_INDEX_NAME", "H5_ITER_INC", 0, fork, None)
    h5.H5Fclose(file)
    assert statuses == [0]
