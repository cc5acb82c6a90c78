"""The same HDF5 calls through zembra and through h5py's low-level interface.

Both run in one process, on one HDF5 library and on one open file, in turns; the
best of several rounds counts, because whatever else the machine does only ever
makes a round slower.
"""

import os
import tempfile
import timeit

import h5py
import numpy as np

from zembra import h5

READ_ELEMENTS = (64 << 20) // 8
TEXTS = 500_000
ROWS = 1_000_000
ROUNDS = 7


def best_times(functions, seconds_per_round=0.1):
    """The best time of one call of each function, in seconds."""
    timers = [timeit.Timer(function) for function in functions]
    counts = []
    for timer in timers:
        count, seconds = timer.autorange()
        counts.append(max(1, round(count * seconds_per_round / seconds)))
    best = [float("inf")] * len(timers)
    for _ in range(ROUNDS):
        for i, (timer, count) in enumerate(zip(timers, counts)):
            best[i] = min(best[i], timer.timeit(count) / count)
    return best


def extent_query():
    with_zembra = h5.H5Screate_simple(2, [3, 4], [])
    with_h5py = h5py.h5s.create_simple((3, 4))
    query = h5.H5Sget_simple_extent_npoints
    assert query(with_zembra) == with_h5py.get_simple_extent_npoints() == 12
    times = best_times([lambda: query(with_zembra), lambda: with_h5py.get_simple_extent_npoints()])
    h5.H5Sclose(with_zembra)
    return times


def create_space():
    create, close = h5.H5Screate, h5.H5Sclose
    # h5py closes what an identifier object names when the object goes away.
    return best_times(
        [lambda: close(create("H5S_SIMPLE")), lambda: h5py.h5s.create(h5py.h5s.SIMPLE)]
    )


def open_dataset(path):
    file = h5py.h5f.open(path, h5py.h5f.ACC_RDONLY)
    fid = h5.H5Fopen(os.fsdecode(path), "H5F_ACC_RDONLY", "H5P_DEFAULT")
    open_, close = h5.H5Dopen, h5.H5Dclose
    times = best_times(
        [lambda: close(open_(fid, "readings")), lambda: h5py.h5d.open(file, b"readings")]
    )
    h5.H5Fclose(fid)
    return times


def read(path):
    file = h5py.h5f.open(path, h5py.h5f.ACC_RDONLY)
    with_h5py = h5py.h5d.open(file, b"readings")
    fid = h5.H5Fopen(os.fsdecode(path), "H5F_ACC_RDONLY", "H5P_DEFAULT")
    with_zembra = h5.H5Dopen(fid, "readings")

    def read_zembra():
        return h5.H5Dread(with_zembra, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")

    def read_h5py():
        values = np.empty(READ_ELEMENTS)
        with_h5py.read(h5py.h5s.ALL, h5py.h5s.ALL, values)
        return values

    assert np.array_equal(read_zembra(), read_h5py())
    times = best_times([read_zembra, read_h5py])
    h5.H5Dclose(with_zembra)
    h5.H5Fclose(fid)
    return times


def transfers(path, name, data, peer_data):
    """Reads and writes a whole dataset, in its own file: what is written anew takes room."""
    with h5py.File(os.fsdecode(path), "r+") as file:
        peer = file[name]
        dataset = peer.id

        def read_zembra():
            return h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")

        def write_zembra():
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", data)

        def write_h5py():
            peer[...] = peer_data

        return best_times([read_zembra, lambda: peer[()]]), best_times([write_zembra, write_h5py])


def texts(folder):
    path = os.fsencode(os.path.join(folder, "texts.h5"))
    words = [f"text {i:06}" for i in range(TEXTS)]
    with h5py.File(os.fsdecode(path), "w") as file:
        file.create_dataset("texts", data=words, dtype=h5py.string_dtype())
    return transfers(path, "texts", words, words)


def records(folder):
    """A table: zembra's as columns, h5py's as records."""
    path = os.fsencode(os.path.join(folder, "records.h5"))
    table = np.zeros(ROWS, [("time", "f8"), ("station", "i4"), ("speed", "f4"), ("valid", "i1")])
    table["time"] = np.arange(ROWS)
    columns = {name: np.ascontiguousarray(table[name]) for name in table.dtype.fields or {}}
    with h5py.File(os.fsdecode(path), "w") as file:
        file["table"] = table
    return transfers(path, "table", columns, table)


def big_endian(folder):
    path = os.fsencode(os.path.join(folder, "big_endian.h5"))
    numbers = np.arange(READ_ELEMENTS, dtype=np.int32)
    with h5py.File(os.fsdecode(path), "w") as file:
        file.create_dataset("numbers", data=numbers, dtype=">i4")
    with h5py.File(os.fsdecode(path), "r") as file:
        peer = file["numbers"]
        dataset = peer.id
        native = h5py.h5t.NATIVE_INT32

        def read_zembra():
            return h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")

        def read_h5py():
            values = np.empty(READ_ELEMENTS, np.int32)
            dataset.read(h5py.h5s.ALL, h5py.h5s.ALL, values, native)
            return values

        return best_times([read_zembra, read_h5py])


def readable(seconds):
    return f"{seconds * 1e9:.0f} ns" if seconds < 1e-4 else f"{seconds * 1e3:.2f} ms"


def main():
    with tempfile.TemporaryDirectory() as folder:
        path = os.fsencode(os.path.join(folder, "bench.h5"))
        with h5py.File(os.fsdecode(path), "w") as file:
            file["readings"] = np.arange(READ_ELEMENTS, dtype=float)
        results = {
            "extent query": extent_query(),
            "create and close a space": create_space(),
            "open and close a dataset": open_dataset(path),
            "read 64 MB of doubles": read(path),
            "read 32 MB of big-endian": big_endian(folder),
        }
        both = {f"{TEXTS:,} texts": texts(folder), f"{ROWS:,} records": records(folder)}
        for name, (reading, writing) in both.items():
            results[f"read {name}"] = reading
            results[f"write {name}"] = writing
    print(f"{'':26}{'zembra':>12}{'h5py':>12}{'zembra/h5py':>14}")
    for name, (zembra_time, h5py_time) in results.items():
        print(
            f"{name:26}{readable(zembra_time):>12}{readable(h5py_time):>12}"
            f"{zembra_time / h5py_time:>14.2f}"
        )


if __name__ == "__main__":
    main()
