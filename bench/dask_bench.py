"""The mean of a compressed dataset by dask, with 1 to 4 processes, and without dask."""

import os
import tempfile
import time

import numpy as np

import zembra
from zembra import h5
from zembra.dask import from_dataset

ROWS, COLUMNS = 4096, 4096  # 128 MiB
CHUNK = 512, 512
ROUNDS = 3


def write(path):
    values = np.round(np.random.default_rng(1).normal(size=(ROWS, COLUMNS)), 2)
    with zembra.Id(h5.H5Fcreate(path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")) as file:
        creation = zembra.Id(h5.H5Pcreate("H5P_DATASET_CREATE"))
        space = zembra.Id(h5.H5Screate_simple(2, [ROWS, COLUMNS], []))
        with creation, space:
            h5.H5Pset_chunk(creation, CHUNK)
            h5.H5Pset_deflate(creation, 4)
            dataset = zembra.Id(h5.H5Dcreate(file, "x", "H5T_IEEE_F64LE", space, creation))
        with dataset:
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", values)


def serial(path):
    with zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")) as file:
        with zembra.Id(h5.H5Dopen(file, "x")) as dataset:
            return h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT").mean()


def best(function):
    times = []
    for _ in range(ROUNDS):
        start = time.perf_counter()
        function()
        times.append(time.perf_counter() - start)
    return min(times)


def main():
    import concurrent.futures

    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "x.h5")
        write(path)
        without = best(lambda: serial(path))
        print(f"mean of {ROWS * COLUMNS * 8 >> 20} MiB, compressed, on {os.cpu_count()} cores")
        print(f"  {'without dask':14} {without:6.2f} s")
        array = from_dataset(path, "x", chunks=(1024, 1024)).mean()
        for workers in range(1, 5):
            with concurrent.futures.ProcessPoolExecutor(workers) as pool:
                array.compute(scheduler="processes", pool=pool)  # which starts them
                seconds = best(lambda: array.compute(scheduler="processes", pool=pool))
            name = f"{workers} worker{'s' * (workers > 1)}"
            print(f"  {name:14} {seconds:6.2f} s  {without / seconds:5.2f} times as fast")


if __name__ == "__main__":
    main()
