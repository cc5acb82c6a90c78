"""Tables larger than a cache, which are read part by part: the same as h5py reads at once."""

import numpy as np
import pytest

import zembra
from peer import needs_h5py
from zembra import h5

pytestmark = needs_h5py

ROWS = 100_003
POINT = np.dtype([("x", "f4"), ("y", "f8")], align=True)
RECORD = np.dtype(
    [
        ("time", "f8"),
        ("valid", "i1"),
        ("name", "S5"),
        ("station", ">u2"),
        ("path", POINT, (2,)),
        ("code", "V3"),
        ("matrix", "i4", (2, 3)),
    ]
)
LAYOUTS = [
    {},
    {"chunks": (1000,)},
    {"chunks": (7919,), "compression": 1, "shuffle": True},
    {"chunks": (90_001,)},
]


def table(rows=ROWS):
    raw = np.random.default_rng(1).integers(0, 100, rows * RECORD.itemsize, np.uint8)
    made = raw.view(RECORD)
    for name in ("time", "path"):  # no such bytes as are no number
        made[name] = np.zeros(1, RECORD)[name]
    made["time"] = np.arange(rows)
    made["path"]["y"] = np.arange(2 * rows).reshape(rows, 2)
    return made


def read(dataset, *spaces):
    memory, file = spaces or ("H5S_ALL", "H5S_ALL")
    return h5.H5Dread(dataset, "H5ZB_DEFAULT", memory, file, "H5P_DEFAULT")


def assert_columns(found, expected):
    for name in expected.dtype.names:
        column = expected[name]
        if column.dtype.names:
            assert_columns(found[name], column)
        elif column.dtype.kind == "V":
            assert found[name].tobytes() == column.tobytes()
        else:
            assert np.array_equal(found[name], column), name
            assert found[name].shape == column.shape


@pytest.mark.parametrize("layout", LAYOUTS, ids=str)
def test_tables_are_read_as_h5py_reads_them(path, layout):
    import h5py

    with h5py.File(path, "w") as file:
        file.create_dataset("d", data=table(), **layout)
        assert_columns(read(file["d"]), file["d"][()])


def test_tables_of_any_rank(path):
    import h5py

    data = table(90_000)
    with h5py.File(path, "w") as file:
        for i, shape in enumerate([(90_000, 1), (3, 30_000), (300, 3, 100), (1, 90_000)]):
            dataset = file.create_dataset(f"d{i}", data=data.reshape(shape))
            assert_columns(read(dataset), data.reshape(shape))


def test_parts_of_tables_are_those_of_the_whole(path):
    import h5py

    data = table()
    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("d", data=data)
        space = h5.H5Dget_space(dataset)
        h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", [5], [2], [49_000], [])
        memory = h5.H5Screate_simple(1, [49_000], [])
        assert_columns(read(dataset, memory, space), data[5::2][:49_000])
        h5.H5Sclose(memory)
        h5.H5Sclose(space)


def test_what_was_never_written_is_the_fill_value(path):
    import h5py

    fill = np.zeros((), RECORD)
    fill["time"] = 7.5
    fill["name"] = b"fill"
    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("d", (ROWS,), RECORD, chunks=(1000,), fillvalue=fill)
        dataset[3000:5000] = table(2000)
        assert_columns(read(dataset), dataset[()])


def test_texts_end_where_they_end(path):
    import h5py

    record = h5py.h5t.create(h5py.h5t.COMPOUND, 8)
    text = h5py.h5t.C_S1.copy()
    text.set_size(8)
    record.insert(b"t", 0, text)
    with h5py.File(path, "w") as file:
        space = h5py.h5s.create_simple((ROWS,))
        dataset = h5py.h5d.create(file.id, b"d", record, space)
        junk = np.frombuffer(b"ab\0junk!" * ROWS, "V8")
        dataset.write(h5py.h5s.ALL, h5py.h5s.ALL, junk, record)
        found = read(dataset)["t"]
    assert found.tobytes() == b"ab\0\0\0\0\0\0" * ROWS


def test_a_part_that_cannot_be_read_is_an_error(path):
    import h5py

    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("d", data=table(), chunks=(10_000,), fletcher32=True)
        last = dataset.id.get_chunk_info(dataset.id.get_num_chunks() - 1)
    with open(path, "r+b") as raw:
        raw.seek(last.byte_offset + 100)
        raw.write(b"damage")
    with h5py.File(path) as file:
        with pytest.raises(zembra.LibraryError, match="checksum|filter returned failure"):
            read(file["d"])


@pytest.mark.parametrize("layout", LAYOUTS, ids=str)
def test_tables_are_written_as_they_are_read(path, layout):
    import h5py

    data = table()
    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("d", (ROWS,), RECORD, **layout)
        columns = {name: data[name] for name in RECORD.names or ()}
        h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", columns)
        assert_columns(dataset[()], data)


# As NumPy has them in memory: fields with gaps, out of order, over one another, in the other byte
# order among others, halves, arrays of arrays.
AS_THEY_LIE = {
    "gaps": np.dtype({"names": ["p", "q"], "formats": ["i8", "u2"], "offsets": [3, 1]}),
    "overlapping": np.dtype({"names": ["p", "q"], "formats": ["u8", "u2"], "offsets": [0, 2]}),
    "byte orders": np.dtype([("p", ">i4"), ("q", "<i4"), ("r", ">f8"), ("s", "f4")]),
    "halves": np.dtype([("p", "f2"), ("q", "u8", (2, 2))]),
    "all": RECORD,
}


@pytest.mark.parametrize("dtype", AS_THEY_LIE.values(), ids=list(AS_THEY_LIE))
@pytest.mark.parametrize("shape", [(), (1,), (7,), (20, 30), (5000,), (2, 0)], ids=str)
def test_records_are_written_as_their_fields(path, dtype, shape):
    import h5py

    count = int(np.prod(shape))
    data = np.zeros(count, dtype)
    data.view(np.uint8)[:] = np.arange(count * dtype.itemsize) % 61
    data = data.reshape(shape)
    packed = np.dtype([(name, dtype[name]) for name in dtype.names])  # no field over another
    orders = [data, data[::-1], np.asfortranarray(data)] if shape else [data]
    for ordered in orders:
        with h5py.File(path, "w") as file:
            dataset = file.create_dataset("d", shape, packed)
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", ordered)
            assert_columns(dataset[()], ordered)


@pytest.mark.parametrize("fields", [[], [("p", "f8", (0,))], [("p", "f8", (0,)), ("q", "i4")]])
def test_records_without_bytes_are_no_table(path, fields):
    import h5py

    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("d", (3,), [("q", "i4")])
        with pytest.raises(zembra.Error):
            h5.H5Dwrite(
                dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", np.zeros(3, fields)
            )
