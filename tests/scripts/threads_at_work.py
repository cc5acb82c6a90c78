"""Threads that do what threads do with HDF5, for some seconds, at once; a process of its own.

    threads_at_work.py FOLDER THREADS SECONDS [h5py]

With h5py, as many threads as there are of ours use h5py meanwhile. Whoever hangs is shown
on stderr, and the process ends with status 1.
"""

import faulthandler
import sys
import threading
import time

import numpy as np

import zembra
from zembra import h5

DEFAULT = "H5P_DEFAULT"
NAMES = [f"link{number}" for number in range(20)]
VALUES = np.arange(50_000)


class Ours:
    """Iterates, reads and raises."""

    def __init__(self, path):
        self.file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
        for name in NAMES:
            h5.H5Gclose(h5.H5Gcreate(self.file, name, DEFAULT, DEFAULT, DEFAULT))
        space = h5.H5Screate_simple(1, [VALUES.size], [])
        compressed = h5.H5Pcreate("H5P_DATASET_CREATE")
        h5.H5Pset_chunk(compressed, [10_000])
        h5.H5Pset_deflate(compressed, 6)
        self.data = h5.H5Dcreate(self.file, "data", "H5T_STD_I64LE", space, compressed)
        h5.H5Dwrite(self.data, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", DEFAULT, VALUES)
        h5.H5Sclose(space)
        h5.H5Pclose(compressed)

    def work(self):
        seen = []

        def slow(group, name, data):
            time.sleep(0.001)
            assert h5.H5Iis_valid(self.file)
            seen.append(name)
            return 0, data

        h5.H5Literate(self.file, "H5_INDEX_NAME", "H5_ITER_INC", 0, slow, None)
        assert seen == ["data", *sorted(NAMES)], seen
        assert np.array_equal(
            h5.H5Dread(self.data, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", DEFAULT), VALUES
        )
        try:
            h5.H5Literate(self.file, "H5_INDEX_NAME", "H5_ITER_INC", 0, lambda *_: 1 / 0, None)
        except zembra.Error as error:
            assert isinstance(error.__cause__, ZeroDivisionError)
        else:
            raise AssertionError("nothing was raised")

    def close(self):
        h5.H5Dclose(self.data)
        h5.H5Fclose(self.file)


class Theirs:
    """Visits, and reads texts of variable length."""

    TEXTS = [f"text {number}" for number in range(2000)]

    def __init__(self, path):
        import h5py

        self.file = h5py.File(path, "w")
        for name in NAMES:
            self.file.create_group(name)
        self.file.create_dataset("texts", data=self.TEXTS, dtype=h5py.string_dtype())

    def work(self):
        seen = []

        def slow(name):
            time.sleep(0.001)
            seen.append(name)

        self.file.visit(slow)
        assert seen == [*sorted(NAMES), "texts"], seen
        assert list(self.file["texts"].asstr()[:]) == self.TEXTS

    def close(self):
        self.file.close()


def repeat(worker, until, rounds, failures):
    try:
        while time.monotonic() < until:
            worker.work()
            rounds.append(worker)
    except BaseException as failure:
        failures.append(failure)
        raise


def main(folder, count, seconds, peers):
    faulthandler.dump_traceback_later(seconds + 60, exit=True)
    workers: list = [Ours(f"{folder}/ours{number}.h5") for number in range(count)]
    if peers:
        workers += [Theirs(f"{folder}/theirs{number}.h5") for number in range(count)]
    rounds: list = []
    failures: list = []
    arguments = (time.monotonic() + seconds, rounds, failures)
    threads = [threading.Thread(target=repeat, args=(each, *arguments)) for each in workers]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for worker in workers:
        worker.close()
    idle = [worker for worker in workers if worker not in rounds]
    print(f"{len(rounds)} rounds, {len(idle)} threads without one, {len(failures)} failures")
    return 1 if failures or idle else 0


if __name__ == "__main__":
    folder, count, seconds, *peers = sys.argv[1:]
    sys.exit(main(folder, int(count), float(seconds), bool(peers)))
