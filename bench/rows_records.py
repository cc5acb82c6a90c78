"""A table of a million records.

zembra has a table by columns, h5py and C by records, as the file does. So there are rows for
what each of them does by itself, and rows for the same outcome: columns, or records.
"""

from collections.abc import Callable, Iterator
from contextlib import contextmanager
from typing import Any

import h5py
import numpy as np

import bare_c
import sizes
import zembra
from opened import WHOLE, by_h5py, by_zembra
from row import Row, Sides
from whole import READ, WRITE, contents, h5py_reads, zembra_reads
from zembra import h5

Works = Iterator[Callable[[], Any]]

DTYPE = np.dtype([("time", "f8"), ("station", "i4"), ("speed", "f4"), ("valid", "i1")])


def table(path: str) -> None:
    values = np.zeros(sizes.RECORDS, DTYPE)
    values["time"] = np.arange(sizes.RECORDS)
    values["station"] = values["time"] % 97
    values["speed"] = values["time"] / 8
    with h5py.File(path, "w") as file:
        file["x"] = values


def columns_of(records: Any) -> dict[str, Any]:
    """Each by itself in memory."""
    return {name: np.ascontiguousarray(records[name]) for name in records.dtype.names}


# --- Reading --------------------------------------------------------------------------------


@contextmanager
def h5py_reads_columns(path: str) -> Works:
    with h5py_reads(path) as read:
        yield lambda: columns_of(read())


def members() -> dict[str, Any]:
    """For each a datatype of that member alone, with which HDF5 reads or writes its column."""
    return {name: bare_c.memory_type([(name, DTYPE[name])]) for name in DTYPE.names or ()}


@contextmanager
def c_reads_columns(path: str) -> Works:
    with by_h5py(path) as (_, dataset):
        datatypes = members()

        def work() -> dict[str, Any]:
            columns = {}
            for name, datatype in datatypes.items():
                columns[name] = np.empty(dataset.shape, DTYPE[name])
                bare_c.read(dataset, datatype, columns[name])
            return columns

        yield work


@contextmanager
def zembra_reads_records(path: str) -> Works:
    with zembra_reads(path) as read:
        yield lambda: zembra.records(read())


# --- Writing --------------------------------------------------------------------------------


@contextmanager
def zembra_writes_columns(path: str) -> Works:
    with by_h5py(path) as (_, dataset):
        columns = columns_of(contents(dataset))
    with by_zembra(path, writes=True) as (file, dataset):

        def work() -> None:
            h5.H5Dwrite(dataset, *WHOLE, columns)
            h5.H5Fflush(file, "H5F_SCOPE_LOCAL")

        yield work


@contextmanager
def h5py_writes_columns(path: str) -> Works:
    with by_h5py(path, writes=True) as (file, dataset):
        columns = columns_of(contents(dataset))

        def work() -> None:
            records = np.empty(dataset.shape, DTYPE)
            for name, column in columns.items():
                records[name] = column
            dataset.write(h5py.h5s.ALL, h5py.h5s.ALL, records)
            h5py.h5f.flush(file, h5py.h5f.SCOPE_LOCAL)

        yield work


@contextmanager
def c_writes_columns(path: str) -> Works:
    with by_h5py(path, writes=True) as (file, dataset):
        columns, datatypes = columns_of(contents(dataset)), members()

        def work() -> None:
            for name, datatype in datatypes.items():
                bare_c.write(dataset, datatype, columns[name])
            bare_c.flush(file)

        yield work


# --- The rows -------------------------------------------------------------------------------

RECORDS = [
    Row("read 10^6 records: columns here, records there", "ms", READ, table, alike=False),
    Row(
        "read 10^6 records as columns", "ms",
        READ.but(h5py=h5py_reads_columns, c=c_reads_columns), table,
    ),
    Row("read 10^6 records as records", "ms", READ.but(zembra=zembra_reads_records), table),
    Row(
        "write 10^6 records: columns here, records there", "ms",
        WRITE.but(zembra=zembra_writes_columns), table, writes=True,
    ),
    Row(
        "write 10^6 records from columns", "ms",
        Sides(zembra_writes_columns, h5py_writes_columns, c_writes_columns), table, writes=True,
    ),
    Row("write 10^6 records from records", "ms", WRITE, table, writes=True),
]  # fmt: skip
