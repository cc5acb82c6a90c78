"""Chunked datasets for the tests of chunks: made by h5py, read and written through zembra
with threads and by HDF5 alone."""

from contextlib import contextmanager

import h5py
import numpy as np

import zembra
from zembra import h5

DEFAULT, ALL = "H5P_DEFAULT", "H5S_ALL"


@contextmanager
def threads(count):
    zembra.set_threads(count)
    try:
        yield
    finally:
        zembra.set_threads(None)


@contextmanager
def opened(path, name="data", cache=0, flags="H5F_ACC_RDONLY"):
    """The dataset, with a chunk cache of so many bytes: what passes a small one is ours."""
    file = h5.H5Fopen(str(path), flags, DEFAULT)
    access = h5.H5Pcreate("H5P_DATASET_ACCESS")
    if cache is not None:
        h5.H5Pset_chunk_cache(access, 521, cache, 0.75)
    dataset = h5.H5Dopen(file, name, access)
    try:
        yield dataset
    finally:
        h5.H5Pclose(access)
        h5.H5Dclose(dataset)
        h5.H5Fclose(file)


def space_of(selection, extent):
    """A dataspace that selects (start, stride, count, block); None selects all."""
    space = h5.H5Screate_simple(len(extent), list(extent), [])
    if selection is not None:
        start, stride, count, block = ([*one] for one in selection)
        h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", start, stride, count, block)
    return space


def read(dataset, file=ALL, memory=ALL, memory_type="H5ZB_DEFAULT", transfer=DEFAULT):
    return h5.H5Dread(dataset, memory_type, memory, file, transfer)


def read_both_ways(path, name="data", **how):
    """What threads give, which has to be what HDF5 alone gives."""
    results = []
    for count in (3, 1):
        with threads(count), opened(path, name) as dataset:
            results.append(read(dataset, **how))
    ours, hdf5s = results
    assert ours.dtype == hdf5s.dtype and ours.shape == hdf5s.shape
    assert ours.tobytes() == hdf5s.tobytes()
    return ours


def values(shape, dtype, seed=0):
    """Numbers that compress, and are different everywhere."""
    dtype = np.dtype(dtype)
    random = np.random.default_rng(seed)
    steps = random.integers(-3, 4, size=shape).ravel().cumsum().reshape(shape)
    if dtype.kind == "f":
        return (steps / 4).astype(dtype)
    if dtype.kind in "iu":
        return steps.astype(dtype)
    return np.frombuffer(random.integers(0, 5, steps.size * dtype.itemsize, np.uint8), dtype)[
        : steps.size
    ].reshape(shape)


def filters(creation, names):
    """Adds filters, such as "shuffle", "deflate 6" or "fletcher32", in this order."""
    for name in names:
        kind, _, level = name.partition(" ")
        if kind == "deflate":
            creation.set_deflate(int(level))
        else:
            getattr(creation, f"set_{kind}")()


def make(path, data, chunks, names, growing=False, fill=None, libver=None, dtype=None):
    """A file with the dataset `data`, through h5py; without data, nothing is written."""
    with h5py.File(path, "w", libver=libver) as file:
        creation = h5py.h5p.create(h5py.h5p.DATASET_CREATE)
        creation.set_chunk(chunks)
        if fill is not None:
            creation.set_fill_value(np.asarray(fill))
        filters(creation, names)
        extent = data.shape if isinstance(data, np.ndarray) else data
        kind = h5py.h5t.py_create(np.dtype(dtype or data.dtype), logical=True)
        most = (h5py.h5s.UNLIMITED,) * len(extent) if growing else extent
        space = h5py.h5s.create_simple(extent, most)
        dataset = h5py.h5d.create(file.id, b"data", kind, space, creation)
        if isinstance(data, np.ndarray):
            dataset.write(h5py.h5s.ALL, h5py.h5s.ALL, np.ascontiguousarray(data))


def h5py_values(path, name="data"):
    with h5py.File(path, "r") as file:
        return file[name][()]
