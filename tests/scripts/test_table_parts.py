"""Tables at the borders of the parts that they go in, by one thread and by two."""

from typing import Any

import numpy as np
import pytest

import zembra
from peer import needs_h5py
from zembra import h5

pytestmark = needs_h5py

PART = 512 << 10
ALL = ("H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")
CODES = {"LOW": 1, "HIGH": 2}


def enumeration():
    import h5py

    return h5py.enum_dtype(CODES, basetype="i1")


INNER = np.dtype([("a", "i1"), ("b", "f4", (2,)), ("c", "S3")])
MIDDLE = np.dtype([("one", INNER, (2, 3)), ("two", "u2")])
ODD = np.dtype([("x", "f8"), ("bytes", "V3"), ("middle", MIDDLE, (2,)), ("last", "i2", (5,))])
SMALL = np.dtype([("time", "f8"), ("station", "i4"), ("speed", "f4"), ("valid", "i1")])


@pytest.fixture(params=["1", "2"], ids=["one thread", "two threads"])
def threads(request, monkeypatch):
    monkeypatch.setenv("H5GATE_THREADS", request.param)


def table(rows, record):
    """No two rows alike, and no bytes that are no number."""
    made = np.zeros(rows, record)

    def fill(part, seed):
        for i, name in enumerate(part.dtype.names):
            column = part[name]
            values = (np.arange(column.size) * 7 + seed + i).reshape(column.shape)
            if column.dtype.names:
                fill(column, seed + 10 * (i + 1))
            elif column.dtype.kind == "S":
                part[name] = (values % 90).astype(column.dtype)
            elif column.dtype.kind == "V":
                part[name] = np.frombuffer(
                    values.astype("<u8").view("u1").reshape(-1, 8)[:, :3].tobytes(), column.dtype
                ).reshape(column.shape)
            else:
                part[name] = (values % 120).astype(column.dtype)

    fill(made, 0)
    return made


def columns_of(data):
    return {
        name: columns_of(data[name]) if data[name].dtype.names else data[name].copy()
        for name in data.dtype.names
    }


def assert_same(found, expected):
    """Columns, and the records that they are made of."""
    for name in expected.dtype.names:
        column = expected[name]
        if column.dtype.names:
            assert_same(found[name], column)
        else:
            assert found[name].tobytes() == column.tobytes(), name


def read(dataset):
    return h5.H5Dread(dataset, *ALL)


def write(dataset, data, memory_type="H5ZB_DEFAULT"):
    h5.H5Dwrite(dataset, memory_type, "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", data)


def sizes(record):
    rows = PART // record.itemsize
    return [0, 1, 2 * rows - 1, 2 * rows, 2 * rows + 1, 3 * rows, 5 * rows + 1]


@pytest.mark.parametrize("record", [ODD, SMALL], ids=["odd", "small"])
def test_tables_of_every_size_go_both_ways(path, threads, record):
    import h5py

    with h5py.File(path, "w") as file:
        for rows in sizes(record):
            data = table(rows, record)
            dataset = file.create_dataset(f"d{rows}", (rows,), record)
            write(dataset, columns_of(data) if rows else {name: [] for name in record.names})
            assert dataset[()].tobytes() == data.tobytes(), rows
            if rows:
                assert_same(read(dataset), data)


def test_large_tables_that_are_filtered(path, threads):
    import h5py

    data = table(600_001, SMALL)
    layouts = [{"compression": 1}, {"fletcher32": True}, {"shuffle": True, "compression": 1}]
    with h5py.File(path, "w") as file:
        for i, layout in enumerate(layouts):
            dataset = file.create_dataset(f"d{i}", data.shape, SMALL, chunks=(20_000,), **layout)
            write(dataset, columns_of(data))
            assert dataset[()].tobytes() == data.tobytes()
            assert_same(read(dataset), data)


def test_bytes_between_members_are_zero_in_the_file(path, threads):
    import h5py

    record = np.dtype([("c", "i1"), ("d", "f8")], align=True)
    data = table(300_000, record)
    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("d", data.shape, record)
        memory_type = h5py.h5t.py_create(record)
        write(dataset, columns_of(data), memory_type)
        place = dataset.id.get_offset()
    raw = np.fromfile(path, "u1", offset=place, count=data.nbytes).reshape(-1, 16)
    assert not raw[:, 1:8].any()
    assert raw[:, 8:].tobytes() == data["d"].tobytes()


def test_members_that_are_left_out_stay(path, threads):
    import h5py

    before = table(200_000, SMALL)
    speed = np.arange(200_000, dtype="f4")
    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("d", data=before)
        memory_type = h5py.h5t.py_create(np.dtype([("speed", "f4")]))
        write(dataset, {"speed": speed}, memory_type)
        after = dataset[()]
    assert np.array_equal(after["speed"], speed)
    for name in ("time", "station", "valid"):
        assert np.array_equal(after[name], before[name])


def test_what_does_not_fit_writes_nothing(path, threads):
    import h5py

    record = np.dtype([("time", "f8"), ("level", enumeration())])
    rows = 200_000
    good: dict[str, Any] = {"time": np.ones(rows), "level": np.ones(rows, "i1")}
    codes = good["level"].astype("i4")
    codes[-1] = 1000
    bad = [
        {**good, "level": ["text"] * rows},
        {**good, "level": good["level"][:-1]},
        {**good, "level": codes},
        {"time": good["time"]},
    ]
    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("d", (rows,), record)
        for data in bad:
            with pytest.raises(zembra.Error, match="level"):
                write(dataset, data)
            assert dataset.id.get_storage_size() == 0
            assert not dataset["time"].any()
        write(dataset, good)
        assert dataset["time"].all()


def test_a_damaged_part_in_the_middle_is_an_error(path, threads):
    import h5py

    data = table(200_000, SMALL)
    with h5py.File(path, "w") as file:
        file.create_dataset("d", data=data, chunks=(10_000,))
        with_sum = file.create_dataset(
            "s", data=table(1_000_000, SMALL), chunks=(10_000,), fletcher32=True
        )
        middle = with_sum.id.get_chunk_info(50)
    with open(path, "r+b") as raw:
        raw.seek(middle.byte_offset + 100)
        raw.write(b"damage")
    with h5py.File(path) as file:
        with pytest.raises(zembra.LibraryError, match="checksum|filter returned failure"):
            read(file["s"])
        assert_same(read(file["d"]), data)


def test_a_file_that_is_only_read_is_not_written(path, threads):
    import h5py

    data = table(200_000, SMALL)
    with h5py.File(path, "w") as file:
        file["d"] = data
    with h5py.File(path) as file:
        with pytest.raises(zembra.LibraryError):
            write(file["d"], columns_of(data))
        assert_same(read(file["d"]), data)


def test_fill_values_are_where_nothing_was_written(path, threads):
    import h5py

    data = table(200_000, SMALL)
    fill = np.zeros((), SMALL)
    fill["time"] = 7.5
    with h5py.File(path, "w") as file:
        for i, chunks in enumerate([None, (33_333,)]):
            dataset = file.create_dataset(
                f"d{i}", data.shape, SMALL, chunks=chunks, fillvalue=fill, maxshape=None
            )
            write(dataset, columns_of(data))
            assert dataset[()].tobytes() == data.tobytes()
        grown = file.create_dataset(
            "g", data.shape, SMALL, chunks=(33_333,), fillvalue=fill, maxshape=(None,)
        )
        write(grown, columns_of(data))
        grown.resize((250_000,))
        assert (grown[200_000:]["time"] == 7.5).all()
