"""What Python people have at hand, given to the functions of zembra.h5 on real files."""

import array
from typing import Any

import h5py
import numpy as np
import pytest

import zembra
from reader import h5dump
from zembra import h5

ALL = "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT"


@pytest.fixture
def file(path):
    with h5py.File(path, "w") as file:
        yield file


def write(dataset, data, mem_type="H5ZB_DEFAULT"):
    h5.H5Dwrite(dataset, mem_type, *ALL[1:], data)
    return dataset[()]


def read(dataset):
    return h5.H5Dread(dataset, *ALL)


# --- Numbers ------------------------------------------------------------------------


def test_an_extent_from_whatever_holds_numbers(file):
    grown = file.create_dataset("grown", (1, 1), maxshape=(None, None))
    sizes: list[Any] = [
        (2, 3),
        np.array([2, 3]),
        np.array([2, 3], "u1"),
        range(2, 4),
        array.array("h", [2, 3]),
        memoryview(array.array("l", [2, 3])),
        [np.int8(2), np.uint64(3)],
        np.array([[2, 3]]),
        np.ma.masked_array([2, 3]),
    ]
    for size in sizes:
        h5.H5Dset_extent(grown, [1, 1])
        h5.H5Dset_extent(grown, size)
        assert grown.shape == (2, 3)


def test_a_sparse_extent_has_its_values(file):
    sparse = pytest.importorskip("scipy.sparse", reason="scipy is not installed")
    grown = file.create_dataset("grown", data=np.arange(6).reshape(2, 3), maxshape=(None, None))
    h5.H5Dset_extent(grown, sparse.csr_array([[2, 3]]))
    assert grown[()].tolist() == [[0, 1, 2], [3, 4, 5]]
    with pytest.raises(zembra.Error):  # data are to be written out
        write(grown, sparse.csr_array(np.ones((2, 3))))
    assert grown[()].tolist() == [[0, 1, 2], [3, 4, 5]]


def test_points_of_integers(file):
    space = h5py.h5s.create_simple((4, 4))
    points = np.array([[0, 1], [3, 2]])
    h5.H5Sselect_elements(space, "H5S_SELECT_SET", points)
    assert np.array_equal(h5.H5Sget_select_elem_pointlist(space, 0, 2), points)
    h5.H5Sselect_elements(space, "H5S_SELECT_SET", points.tolist())
    assert np.array_equal(h5.H5Sget_select_elem_pointlist(space, 0, np.int16(2)), points)


def test_masked_data_are_refused(file):
    dataset = file.create_dataset("n", data=[1, 2])
    masked: Any = np.ma.masked_array([7, 8], [False, True])
    for data in (masked, {"n": masked}, [masked]):
        with pytest.raises(ValueError, match=r"^H5Dwrite: argument 6 \(data\): .*filled"):
            write(dataset, data)
    with pytest.raises(ValueError, match="filled"):
        zembra.call("H5Dwrite", masked)
    assert write(dataset, masked.filled(0)).tolist() == [7, 0]


def test_nested_lists_are_a_matrix(file):
    dataset = file.create_dataset("n", (2, 3), "i4")
    assert write(dataset, [[1, 2, 3], [4, 5, 6]]).tolist() == [[1, 2, 3], [4, 5, 6]]
    truths = file.create_dataset("t", (2,), "u1")
    assert write(truths, [True, False]).tolist() == [1, 0]
    assert write(truths, np.array([False, True])).tolist() == [0, 1]


def test_buffers_are_data(file):
    dataset = file.create_dataset("n", (3,), "i8")
    for data in (range(3), array.array("b", [0, 1, 2]), memoryview(b"\0\1\2"), file["n"]):
        assert write(dataset, data).tolist() == [0, 1, 2]


def test_columns_of_pandas(file):
    pandas = pytest.importorskip("pandas", reason="pandas is not installed")
    table = pandas.DataFrame({"a": [1, 2], "b": [0.5, 1.5]})
    dataset = file.create_dataset("n", (2,), [("a", "i4"), ("b", "f8")])
    written = write(dataset, {"a": table["a"], "b": table["b"]})
    assert written["a"].tolist() == [1, 2] and written["b"].tolist() == [0.5, 1.5]


# --- Named memory datatypes -------------------------------------------------------------


@pytest.mark.parametrize(
    "name, data",
    [
        ("H5T_NATIVE_INT", [1, 2, 3]),
        ("H5T_NATIVE_UINT8", np.array([1, 2, 3], "i8")),
        ("H5T_NATIVE_DOUBLE", np.array([1, 2, 3], "i2")),
        ("H5T_NATIVE_FLOAT", [1, 2, 3]),
        ("H5T_STD_I32BE", np.array([1, 2, 3], "u8")),
        ("H5T_NATIVE_INT64", range(1, 4)),
        ("H5T_NATIVE_SHORT", np.array([1, 2, 3], "f2")),
    ],
)
def test_numbers_that_survive_go_into_a_named_datatype(file, name, data):
    dataset = file.create_dataset("n", (3,), "f8")
    assert write(dataset, data, name).tolist() == [1, 2, 3]


@pytest.mark.parametrize(
    "name, data",
    [
        ("H5T_NATIVE_INT", [1, 2, 3.5]),
        ("H5T_NATIVE_UINT8", np.array([1, 2, 256])),
        ("H5T_NATIVE_UINT8", [1, 2, -1]),
        ("H5T_NATIVE_FLOAT", [1, 2, 0.1]),
        ("H5T_NATIVE_DOUBLE", np.array([1, 2, 2**53 + 1])),
        ("H5T_NATIVE_INT64", np.array([1, 2, 2**63], "u8")),
        ("H5T_NATIVE_INT", [1, 2, np.nan]),
        ("H5T_NATIVE_INT", "abc"),
    ],
    ids=str,
)
def test_numbers_that_do_not_are_refused(file, name, data):
    dataset = file.create_dataset("n", data=[7.0, 8, 9])
    with pytest.raises(zembra.Error) as raised:
        write(dataset, data, name)
    assert raised.value.identifier == "Zembra:host:classMismatch"
    assert dataset[()].tolist() == [7, 8, 9]


def test_attributes_and_fill_values_go_by_the_name_too(file):
    attribute = h5.H5Acreate(
        file, "a", "H5T_STD_I16LE", h5py.h5s.create(h5py.h5s.SCALAR), "H5P_DEFAULT"
    )
    h5.H5Awrite(attribute, "H5T_NATIVE_INT", 5)
    assert h5.H5Aread(attribute, "H5T_NATIVE_DOUBLE") == 5
    h5.H5Aclose(attribute)
    plist = h5.H5Pcreate("H5P_DATASET_CREATE")
    h5.H5Pset_fill_value(plist, "H5T_NATIVE_INT", 7)
    value = h5.H5Pget_fill_value(plist, "H5T_NATIVE_INT")
    assert value == 7 and type(value) is np.int32
    with pytest.raises(zembra.Error) as raised:
        h5.H5Pset_fill_value(plist, "H5T_NATIVE_INT", 7.5)
    assert raised.value.key == "badSetFillValueArgument"
    h5.H5Pclose(plist)


def test_names_that_are_none_are_the_gateways_to_refuse(file):
    dataset = file.create_dataset("n", (3,), "f8")
    with pytest.raises(zembra.Error) as raised:
        write(dataset, [1, 2, 3], "H5T_NATIVE_NOTHING")
    assert raised.value.key == "constantNotFound"


# --- Texts ------------------------------------------------------------------------------


@pytest.mark.parametrize("kind", ["S1", "S5", h5py.string_dtype()], ids=str)
def test_one_text_is_not_several(file, kind):
    dataset = file.create_dataset("t", (5,), kind)
    for data in ("hello", b"hello"):
        with pytest.raises(zembra.Error) as raised:
            write(dataset, data)
        assert raised.value.identifier == "Zembra:host:sizeMismatch"
    assert not any(dataset[()])
    letters = [letter.encode() for letter in "hello"]
    assert write(dataset, list("hello")).tolist() == letters
    if kind == "S1":
        assert write(dataset, np.array(letters)).tolist() == letters
        assert write(dataset, read(dataset)).tolist() == letters


def test_one_text_is_one(file):
    for name, kind in (("v", h5py.string_dtype()), ("f", "S5")):
        for place, shape in (("scalar", ()), ("row", (1,))):
            dataset = file.create_dataset(name + place, shape, kind)
            assert np.ravel(write(dataset, "hello")).tolist() == [b"hello"]


def test_no_text_is_a_null_one(path):
    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("t", (3,), h5py.string_dtype())
        write(dataset, ["a", None, ""])
        assert read(dataset) == ["a", "", ""]
        with pytest.raises(zembra.Error):  # which a fixed text cannot be
            write(file.create_dataset("f", (2,), "S3"), ["a", None])
    assert '"a", NULL, ""' in h5dump("-d", "/t", path)


# --- Sequences --------------------------------------------------------------------------


def test_rows_of_a_matrix_are_sequences(file):
    dataset = file.create_dataset("v", (2,), h5py.vlen_dtype("i4"))
    for data in ([[1, 2, 3], [4, 5, 6]], np.array([[1, 2, 3], [4, 5, 6]])):
        assert [row.tolist() for row in write(dataset, data)] == [[1, 2, 3], [4, 5, 6]]
    assert [row.tolist() for row in write(dataset, [[1], [2, 3]])] == [[1], [2, 3]]
    with pytest.raises(zembra.Error):
        write(dataset, np.ones((3, 2)))
    with pytest.raises(zembra.Error):
        write(dataset, np.ones(2))


def test_a_scalar_sequence_is_the_sequence(file):
    dataset = file.create_dataset("v", (), h5py.vlen_dtype("i4"))
    for data in (np.arange(3), [np.arange(3)], [[0, 1, 2]]):
        write(dataset, data)
        value = read(dataset)
        assert value.tolist() == [0, 1, 2] and value.dtype == np.int32
        write(dataset, value)
        assert read(dataset).tolist() == [0, 1, 2]


# --- Objects of h5py ----------------------------------------------------------------------


def test_objects_of_h5py_are_identifiers(file):
    dataset = file.create_dataset("d", data=np.arange(3))
    file["d"].attrs["unit"] = 1
    group = file.create_group("g")
    file["type"] = np.dtype("i2")
    for thing, name in ((file, "/"), (dataset, "/d"), (group, "/g"), (file["type"], "/type")):
        assert h5.H5Iget_name(thing) == h5.H5Iget_name(thing.id) == name
    for mem_type in (h5py.h5t.NATIVE_INT64, "H5T_NATIVE_INT64"):
        space = dataset.id.get_space()
        transfer = h5py.h5p.create(h5py.h5p.DATASET_XFER)
        assert h5.H5Dread(dataset, mem_type, space, space, transfer).tolist() == [0, 1, 2]
    assert h5.H5Aread(h5py.h5a.open(dataset.id, b"unit"), "H5ZB_DEFAULT") == 1
    assert h5.H5Iget_ref(dataset.id) == 1  # nothing is held
    access, member = (h5.H5Pcreate("H5P_FILE_ACCESS") for _ in range(2))
    lists = [h5py.h5p.create(h5py.h5p.FILE_ACCESS), zembra.Id(member), *[0] * 5]
    h5.H5Pset_fapl_multi(access, [0] * 7, lists, ["%s-a"] * 7, [0] * 7, True)
    h5.H5Pclose(access)
    h5.H5Pclose(member)


def test_closed_objects_of_h5py_are_refused(path):
    with h5py.File(path, "w") as file:
        dataset = file.create_dataset("d", data=1)
        low = dataset.id
    for closed in (low, dataset, file):
        with pytest.raises(ValueError, match="closed"):
            h5.H5Dget_space(closed)


def test_other_objects_are_no_identifiers(file):
    for value in (object(), {"id": 1}, file["/"].attrs, 1 + 0j, True):
        with pytest.raises((TypeError, zembra.Error)):
            h5.H5Iget_name(value)


# --- Callbacks ----------------------------------------------------------------------------


def visit(file, function, data=7):
    return h5.H5Literate(file, "H5_INDEX_NAME", "H5_ITER_INC", 0, function, data)


def test_nothing_is_a_status_of_0(file):
    file["a"], file["b"] = 1, 2
    assert visit(file, lambda group, name, data: (None, data)) == (0, 2, 7)
    for one in (1, 1.0, True, np.int32(1), np.float64(1)):
        assert visit(file, lambda group, name, data: (one, name)) == (1, 1, "a")


@pytest.mark.parametrize("status", ["stop", [1], np.array([1]), 1j, object()])
def test_a_status_is_a_number(file, status):
    file["a"] = 1
    with pytest.raises(zembra.Error) as raised:
        visit(file, lambda group, name, data: (status, data))
    assert raised.value.key == "linkIterationFailure"
    assert type(raised.value.__cause__) is TypeError
    assert type(status).__name__ in str(raised.value.__cause__)
    with pytest.raises(zembra.Error) as raised:
        h5.H5Giterate(file, "/", 0, lambda group, name: status)
    assert "a status is a number" in str(raised.value.__cause__)


def test_user_data_may_contain_themselves(file):
    file["a"] = 1
    looped: list = [1]
    looped.append(looped)
    seen = []

    def look(group, name, data):
        seen.append(data)
        return 0, data

    _, _, back = visit(file, look, looped)
    assert back is looped and seen[0] is looped
    fields: dict = {}
    fields["self"] = fields
    assert visit(file, lambda group, name, data: (0, data), fields)[2] is fields
