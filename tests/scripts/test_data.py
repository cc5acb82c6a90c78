"""Datasets that other people's software wrote read as h5py reads them; datasets
that zembra writes, h5py and h5dump read the same."""

from contextlib import contextmanager
from pathlib import Path
from typing import Any

import h5py
import numpy as np
import pytest

from compare import assert_same_or_empty, follower, h5py_read
from reader import h5dump
from samples import IN_PARTS
from zembra import LibraryError, h5


def datasets_of(file):
    """Every dataset of h5py's file once, with its name."""
    found = {}

    def note(name, item):
        if isinstance(item, h5py.Dataset):
            found[name] = item

    file.visititems(note)
    return found


def read(file, name):
    dataset = h5.H5Dopen(file, name)
    try:
        return h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")
    finally:
        h5.H5Dclose(dataset)


def h5py_value(dataset):
    """None where h5py has no form for the datatype, the exception where HDF5 fails."""
    try:
        dtype = dataset.dtype
    except TypeError:
        return None, None
    try:
        return h5py_read(dataset), dtype
    except OSError as error:
        return error, dtype


def pytest_generate_tests(metafunc):
    if "sample" in metafunc.fixturenames:
        root = Path(__file__).resolve().parents[2].parent / "shared" / "data"
        samples: list[Path | None] = [*sorted(root.glob("*.h5"))] or [None]
        metafunc.parametrize("sample", samples, ids=lambda path: path and path.name)


def test_every_dataset_reads_as_h5py_reads_it(shared_data, sample):
    if sample.name.startswith(IN_PARTS):
        pytest.skip("one part of a file of several, read through its driver elsewhere")
    compared = 0
    file = h5.H5Fopen(str(sample), "H5F_ACC_RDONLY", "H5P_DEFAULT")
    with h5py.File(sample, "r") as theirs:
        follow = follower(file, theirs)
        for name, dataset in datasets_of(theirs).items():
            value, dtype = h5py_value(dataset)
            if isinstance(value, OSError):
                with pytest.raises(LibraryError):  # a filter that is not there
                    read(file, name)
            elif dtype is None:
                read(file, name)
            else:
                shape = dataset.shape if dataset.shape is not None else ()
                assert_same_or_empty(read(file, name), value, dtype, shape, follow)
            compared += 1
        assert compared == len(datasets_of(theirs))
    h5.H5Fclose(file)


# --- Writing --------------------------------------------------------------------


@contextmanager
def closing(*pairs):
    """Closes (function, identifier) pairs at the end."""
    try:
        yield
    finally:
        for close, identifier in pairs:
            close(identifier)


def text(size, padding="H5T_STR_NULLPAD"):
    datatype = h5.H5Tcopy("H5T_C_S1")
    h5.H5Tset_size(datatype, size)
    h5.H5Tset_strpad(datatype, padding)
    return datatype


def compound(members):
    datatype = h5.H5Tcreate("H5T_COMPOUND", sum(h5.H5Tget_size(member) for _, member in members))
    offset = 0
    for name, member in members:
        h5.H5Tinsert(datatype, name, offset, member)
        offset += h5.H5Tget_size(member)
    return datatype


def enumeration(members, base="H5T_STD_I16BE"):
    datatype = h5.H5Tenum_create(base)
    for name, value in members.items():
        h5.H5Tenum_insert(datatype, name, value)
    return datatype


def opaque():
    datatype = h5.H5Tcreate("H5T_OPAQUE", 5)
    h5.H5Tset_tag(datatype, "five bytes")
    return datatype


def nested():
    point = compound([("x", "H5T_IEEE_F32LE"), ("y", "H5T_IEEE_F64BE")])
    array = h5.H5Tarray_create("H5T_STD_U8LE", [2, 3])
    label = text("H5T_VARIABLE", "H5T_STR_NULLTERM")
    record = compound([("id", "H5T_STD_I64LE"), ("at", point), ("grid", array), ("label", label)])
    for member in (point, array, label):
        h5.H5Tclose(member)
    return record


NESTED: dict[str, Any] = {
    "id": np.array([7, -8]),
    "at": {"x": np.array([1, 2], "f4"), "y": np.array([3.0, 4.0])},
    "grid": np.arange(12, dtype="u1").reshape(2, 2, 3),
    "label": ["", "naïve"],
}

# name: datatype (made anew for each test), extent (None: null), data, what h5py sees
WRITTEN: dict[str, Any] = {
    "integer": (
        lambda: h5.H5Tcopy("H5T_STD_I16BE"),
        (2, 3),
        np.arange(6, dtype="i4").reshape(2, 3),
        np.arange(6).reshape(2, 3),
    ),
    "float": (lambda: h5.H5Tcopy("H5T_IEEE_F32LE"), (2,), [0.5, -1.0], np.array([0.5, -1.0])),
    "scalar": (lambda: h5.H5Tcopy("H5T_IEEE_F64LE"), (), 2.5, np.float64(2.5)),
    "logical": (
        lambda: h5.H5Tcopy("H5T_STD_U8LE"),
        (2,),
        np.array([True, False]),
        np.array([1, 0]),
    ),
    "fixed": (
        lambda: text(4),
        (3,),
        np.array([b"ab", b"", b"abcd"]),
        np.array([b"ab", b"", b"abcd"]),
    ),
    "fixed from a list": (lambda: text(4), (2,), ["ab", "wxyz"], np.array([b"ab", b"wxyz"])),
    "fixed spaces": (lambda: text(4, "H5T_STR_SPACEPAD"), (), "ab", b"ab"),
    "variable": (
        lambda: text("H5T_VARIABLE", "H5T_STR_NULLTERM"),
        (3,),
        ["", "a", "größer"],
        np.array([b"", b"a", "größer".encode()], dtype=object),
    ),
    "nested compound": (nested, (2,), NESTED, None),
    "array": (
        lambda: h5.H5Tarray_create("H5T_STD_I32LE", [3]),
        (2,),
        np.arange(6, dtype="i4").reshape(2, 3),
        np.arange(6).reshape(2, 3),
    ),
    "enumeration": (
        lambda: enumeration({"RED": 0, "GREEN": 1, "BLUE": -2}),
        (3,),
        [0, -2, 1],
        np.array([0, -2, 1]),
    ),
    "opaque": (
        opaque,
        (2,),
        np.frombuffer(b"0123456789", "u1").reshape(2, 5),
        np.array([b"01234", b"56789"], dtype="V5"),
    ),
    "bit field": (lambda: h5.H5Tcopy("H5T_STD_B16BE"), (2,), [1, 0x8001], np.array([1, 0x8001])),
    "sequence": (
        lambda: h5.H5Tvlen_create("H5T_STD_I32LE"),
        (3,),
        [[1, 2, 3], [], np.array([4.0])],
        None,
    ),
    "empty": (lambda: h5.H5Tcopy("H5T_STD_I32LE"), (0, 3), np.zeros((0, 3)), np.zeros((0, 3))),
    "null": (lambda: h5.H5Tcopy("H5T_STD_I32LE"), None, [], h5py.Empty("i4")),
}


def space_of(extent):
    if extent is None:
        return h5.H5Screate("H5S_NULL")
    return h5.H5Screate_simple(len(extent), list(extent), []) if extent else h5.H5Screate(0)


def create(file, name, datatype, extent):
    space = space_of(extent)
    with closing((h5.H5Sclose, space)):
        return h5.H5Dcreate(file, name, datatype, space, "H5P_DEFAULT")


def write(file, name, make, extent, data):
    datatype = make()
    with closing((h5.H5Tclose, datatype)):
        dataset = create(file, name, datatype, extent)
    with closing((h5.H5Dclose, dataset)):
        h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", data)


@pytest.fixture
def written(path):
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
    for name, (make, extent, data, _) in WRITTEN.items():
        write(file, name, make, extent, data)
    # A reference to each kind of thing that can be referred to.
    references = create(file, "object references", "H5T_STD_REF_OBJ", (2,))
    rows = np.stack([h5.H5Rcreate(file, name, "H5R_OBJECT", -1) for name in ("integer", "float")])
    h5.H5Dwrite(references, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", rows)
    regions = create(file, "region references", "H5T_STD_REF_DSETREG", (1,))
    target = space_of((2, 3))
    h5.H5Sselect_hyperslab(target, "H5S_SELECT_SET", [0, 1], [], [2, 1], [])
    region = h5.H5Rcreate(file, "integer", "H5R_DATASET_REGION", target)
    h5.H5Dwrite(regions, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", region)
    for close, identifier in (
        (h5.H5Sclose, target),
        (h5.H5Dclose, regions),
        (h5.H5Dclose, references),
        (h5.H5Fclose, file),
    ):
        close(identifier)
    return path


def test_h5py_reads_what_was_written(written):
    with h5py.File(written, "r") as file:
        for name, (_, extent, _, expected) in WRITTEN.items():
            dataset = file[name]
            assert dataset.shape == extent, name
            if extent is None:
                assert dataset[()].dtype == "i4"
            elif expected is not None:
                got = h5py_read(dataset)
                assert np.array_equal(got, expected), name
        record = file["nested compound"][()]
        assert record["id"].tolist() == [7, -8]
        assert record["at"]["x"].tolist() == [1, 2] and record["at"]["y"].tolist() == [3, 4]
        assert np.array_equal(record["grid"], NESTED["grid"])
        assert [label.decode() for label in record["label"]] == NESTED["label"]
        assert [list(item) for item in file["sequence"][()]] == [[1, 2, 3], [], [4]]
        assert h5py.check_enum_dtype(file["enumeration"].dtype) == {
            "RED": 0,
            "GREEN": 1,
            "BLUE": -2,
        }
        names = [file[reference].name for reference in file["object references"][()]]
        assert names == ["/integer", "/float"]
        region = file["region references"][0]
        assert file[region].name == "/integer"
        assert np.array_equal(file["integer"][region].ravel(), [1, 4])


def test_zembra_reads_back_what_was_written(written):
    file = h5.H5Fopen(written, "H5F_ACC_RDONLY", "H5P_DEFAULT")
    with h5py.File(written, "r") as theirs:
        follow = follower(file, theirs)
        for name, dataset in datasets_of(theirs).items():
            shape = dataset.shape if dataset.shape is not None else ()
            assert_same_or_empty(read(file, name), h5py_read(dataset), dataset.dtype, shape, follow)
    h5.H5Fclose(file)


@pytest.mark.parametrize(
    "name, lines",
    [
        ("integer", ["H5T_STD_I16BE", "(0,0): 0, 1, 2,", "(1,0): 3, 4, 5"]),
        ("fixed", ["STRSIZE 4;", "STRPAD H5T_STR_NULLPAD;", '(0): "ab\\000\\000"']),
        ("fixed spaces", ["STRPAD H5T_STR_SPACEPAD;", '(0): "ab  "']),
        ("variable", ["STRSIZE H5T_VARIABLE;", '(0): "", "a", "gr']),
        ("nested compound", ['H5T_STD_I64LE "id";', "[ 0, 1, 2,", '"grid"']),
        ("array", ["H5T_ARRAY { [3] H5T_STD_I32LE }", "(0): [ 0, 1, 2 ], [ 3, 4, 5 ]"]),
        ("enumeration", ['"BLUE"             -2;', "(0): RED, BLUE, GREEN"]),
        ("opaque", ['OPAQUE_TAG "five bytes";', "30:31:32:33:34, 35:36:37:38:39"]),
        ("bit field", ["H5T_STD_B16BE"]),
        ("sequence", ["H5T_VLEN { H5T_STD_I32LE", "(0): (1, 2, 3), (), (4)"]),
        ("object references", ["DATASET"]),
        ("empty", ["DATASPACE  SIMPLE { ( 0, 3 ) / ( 0, 3 ) }"]),
        ("null", ["DATASPACE  NULL"]),
    ],
)
def test_h5dump_reads_what_was_written(written, name, lines):
    printed = h5dump("-d", f"/{name}", written)
    for line in lines:
        assert line in printed, printed


# --- Selections -------------------------------------------------------------------


def test_a_selection_of_the_file_without_a_memory_space_keeps_its_place(path):
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
    dataset = create(file, "numbers", "H5T_IEEE_F64LE", (3, 4))
    numbers = np.arange(12.0).reshape(3, 4) + 1
    h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", numbers)
    space = h5.H5Dget_space(dataset)
    h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", [1, 1], [], [2, 2], [])
    placed = h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", space, "H5P_DEFAULT")
    expected = np.zeros((3, 4))
    expected[1:3, 1:3] = numbers[1:3, 1:3]
    assert np.array_equal(placed, expected)
    compact = h5.H5Screate_simple(2, [2, 2], [])
    block = h5.H5Dread(dataset, "H5ZB_DEFAULT", compact, space, "H5P_DEFAULT")
    assert np.array_equal(block, numbers[1:3, 1:3])
    for close, identifier in (
        (h5.H5Sclose, compact),
        (h5.H5Sclose, space),
        (h5.H5Dclose, dataset),
        (h5.H5Fclose, file),
    ):
        close(identifier)


# --- Files that are none -------------------------------------------------------------


@pytest.mark.parametrize("content", [b"", b"not HDF5 at all" * 100, b"\x89HDF\r\n\x1a\n"])
def test_a_file_that_is_no_hdf5_file_is_an_error_with_a_stack(path, content):
    Path(path).write_bytes(content)
    with pytest.raises(LibraryError) as caught:
        h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")
    assert caught.value.stack


def test_a_truncated_file_is_an_error(written):
    whole = Path(written).read_bytes()
    for size in range(0, len(whole) // 2, 997):
        Path(written).write_bytes(whole[:size])
        with pytest.raises(LibraryError):
            h5.H5Fopen(written, "H5F_ACC_RDONLY", "H5P_DEFAULT")
