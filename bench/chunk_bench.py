"""Chunked data through zembra and through h5py's low-level interface.

    chunk_bench.py [ROW ...]      rows whose names contain one of these; all of them without

As in python_bench.py both run in one process and in turns, and the best of several rounds
counts. Peak memory is that of a process which does nothing else, beyond what it takes to
load both packages; the array itself is 64 MB of it.
"""

import os
import subprocess
import sys
import tempfile
import timeit

import h5py
import numpy as np

import zembra
from zembra import h5

SHAPE, CHUNKS = (1024, 8192), (64, 1024)  # 64 MB of doubles, 512 KB a chunk
ROUNDS = 5
DEFAULT, ALL = "H5P_DEFAULT", "H5S_ALL"

PIPELINES = {
    "no filter": {},
    "gzip 1": {"compression": 1},
    "gzip 6": {"compression": 6},
    "gzip 6, shuffle": {"compression": 6, "shuffle": True},
    "gzip 6, shuffle, Fletcher-32": {"compression": 6, "shuffle": True, "fletcher32": True},
}


def numbers():
    """Measurements with three decimals, which wander."""
    return np.round(np.random.default_rng(1).normal(size=SHAPE).cumsum(1), 3)


def make_file(path):
    data = numbers()
    with h5py.File(path, "w") as file:
        for name, filters in PIPELINES.items():
            file.create_dataset(name, data=data, chunks=CHUNKS, **filters)
        small = {"chunks": (32, 256), "compression": 6, "shuffle": True}
        file.create_dataset("small chunks", data=data[:, :2048], **small)


class Pair:
    """One dataset, opened by both."""

    def __init__(self, path, name, mode="r"):
        self.file = h5py.File(path, mode)
        self.theirs = self.file[name].id
        flags = "H5F_ACC_RDONLY" if mode == "r" else "H5F_ACC_RDWR"
        self.fid = h5.H5Fopen(path, flags, DEFAULT)
        self.ours = h5.H5Dopen(self.fid, name)

    def close(self):
        h5.H5Dclose(self.ours)
        h5.H5Fclose(self.fid)
        self.file.close()


def extent_of(path, name):
    with h5py.File(path) as file:
        return file[name].shape


def read(path, name):
    pair = Pair(path, name)

    def with_zembra():
        return h5.H5Dread(pair.ours, "H5ZB_DEFAULT", ALL, ALL, DEFAULT)

    def with_h5py():
        values = np.empty(pair.theirs.shape)
        pair.theirs.read(h5py.h5s.ALL, h5py.h5s.ALL, values)
        return values

    return with_zembra, with_h5py, pair.close


def write(path, name):
    pair = Pair(path, name, "r+")
    data = numbers()

    def with_zembra():
        h5.H5Dwrite(pair.ours, "H5ZB_DEFAULT", ALL, ALL, DEFAULT, data)
        h5.H5Fflush(pair.fid, "H5F_SCOPE_LOCAL")

    def with_h5py():
        pair.theirs.write(h5py.h5s.ALL, h5py.h5s.ALL, data)
        pair.file.flush()

    return with_zembra, with_h5py, pair.close


def read_blocks(path, name, size, corners):
    """Blocks of one size, one after the other."""
    pair = Pair(path, name)
    file = h5.H5Screate_simple(2, list(pair.theirs.shape), [])
    memory = h5.H5Screate_simple(2, list(size), [])
    their_file = h5py.h5s.create_simple(pair.theirs.shape)
    their_memory = h5py.h5s.create_simple(tuple(size))

    def with_zembra():
        for corner in corners:
            h5.H5Sselect_hyperslab(file, "H5S_SELECT_SET", corner, [], size, [])
            values = h5.H5Dread(pair.ours, "H5ZB_DEFAULT", memory, file, DEFAULT)
        return values

    def with_h5py():
        for corner in corners:
            their_file.select_hyperslab(tuple(corner), tuple(size))
            values = np.empty(size)
            pair.theirs.read(their_memory, their_file, values)
        return values

    def close():
        h5.H5Sclose(file)
        h5.H5Sclose(memory)
        pair.close()

    return with_zembra, with_h5py, close


def read_points(path, name, reads=10_000, size=(4, 16)):
    """Small blocks, near one another for a while, as somebody who looks around reads them."""
    random = np.random.default_rng(3)
    extent = extent_of(path, name)
    corners: list[list[int]] = []
    while len(corners) < reads:
        centre = [random.integers(0, most - 300) for most in extent]
        for _ in range(50):
            corners.append([int(at + random.integers(0, 250)) for at in centre])
    return read_blocks(path, name, size, corners)


def read_windows(path, name, height=192, step=32):
    """One window after the other, of which most was in the one before."""
    corners = [[start, 0] for start in range(0, 512 - height, step)]
    return read_blocks(path, name, [height, extent_of(path, name)[1]], corners)


def rows(path):
    """Names and what makes the two functions of each."""
    for name in PIPELINES:
        yield f"read, {name}", lambda name=name: read(path, name)
    for name in PIPELINES:
        yield f"write, {name}", lambda name=name: write(path, name)
    slabs = [("1 %", [100, 0], [10, 8192]), ("1 %, square", [200, 900], [102, 819])]
    slabs += [("10 %", [100, 0], [102, 8192]), ("50 %", [0, 0], [1024, 4096])]
    for share, start, count in slabs:
        yield f"read {share}, gzip 6, shuffle", lambda start=start, count=count: read_blocks(
            path, "gzip 6, shuffle", count, [start]
        )
    yield "windows of 12 MB, gzip 6, shuffle", lambda: read_windows(path, "gzip 6, shuffle")
    yield "windows of 3 MB, small chunks", lambda: read_windows(path, "small chunks")
    yield "10,000 small reads, gzip 6, shuffle", lambda: read_points(path, "small chunks")


def best_of(functions, rounds=ROUNDS):
    """Seconds of one call of each."""
    best = [float("inf")] * len(functions)
    for _ in range(rounds):
        for i, function in enumerate(functions):
            best[i] = min(best[i], timeit.timeit(function, number=1))
    return best


def peak_memory(path, row, side):
    """MB that doing one row adds to a process's most."""
    command = [sys.executable, __file__, "--peak", path, row, side]
    return float(subprocess.run(command, check=True, capture_output=True, text=True).stdout)


def most_memory():
    with open("/proc/self/status", encoding="ascii") as status:
        return next(int(line.split()[1]) / 1024 for line in status if line.startswith("VmHWM"))


def print_peak(path, wanted, side):
    setup = next(setup for row, setup in rows(path) if row == wanted)
    with_zembra, with_h5py, close = setup()
    before = most_memory()
    (with_zembra if side == "zembra" else with_h5py)()
    print(most_memory() - before)
    close()


def print_row(name, times, peaks=()):
    ours, theirs = times
    print(
        f"{name:38}{ours * 1e3:10.1f}{theirs * 1e3:10.1f}{ours / theirs:8.2f}"
        + "".join(f"{peak:9.0f}" for peak in peaks),
        flush=True,
    )


def main(wanted):
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "chunks.h5")
        make_file(path)
        print(f"{'milliseconds, MB at most':38}{'zembra':>10}{'h5py':>10}{'ratio':>8}")
        for name, setup in rows(path):
            if wanted and not any(part in name for part in wanted):
                continue
            with_zembra, with_h5py, close = setup()
            times = best_of([with_zembra, with_h5py])
            close()
            print_row(name, times, [peak_memory(path, name, side) for side in ("zembra", "h5py")])
        if wanted and "threads" not in wanted:
            return
        for count in range(1, len(os.sched_getaffinity(0)) + 1):
            zembra.set_threads(count)
            for make, verb in ((read, "read"), (write, "write")):
                with_zembra, with_h5py, close = make(path, "gzip 6, shuffle")
                times = best_of([with_zembra, with_h5py])
                close()
                print_row(f"{verb}, gzip 6, shuffle, threads: {count}", times)


if __name__ == "__main__":
    if sys.argv[1:2] == ["--peak"]:
        print_peak(*sys.argv[2:])
    else:
        main(sys.argv[1:])
