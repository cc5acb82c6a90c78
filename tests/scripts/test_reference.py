"""What the reference says of the corners of functions, tried."""

from typing import Any

import h5py
import numpy as np
import pytest

import zembra
from zembra import h5

DEFAULT = "H5P_DEFAULT"
RELEASE = h5.H5get_libversion()


@pytest.fixture
def file(path):
    with h5py.File(path, "w") as file:
        yield file


@pytest.fixture
def plist():
    with zembra.Id(h5.H5Pcreate("H5P_FILE_ACCESS")) as plist:
        yield plist


def refused(function, *arguments):
    with pytest.raises(zembra.LibraryError) as raised:
        function(*arguments)
    return str(raised.value)


def test_a_file_has_attributes_and_no_count_of_them(file):
    file.attrs["a"] = 1
    if RELEASE < (1, 12, 0):
        refused(h5.H5Aget_num_attrs, file)
    assert h5.H5Aget_num_attrs(file["/"]) == 1


def test_the_same_location_is_the_new_ones(file):
    file.create_group("g")
    h5.H5Lcreate_hard(file, "g", "H5L_SAME_LOC", "hard", DEFAULT, DEFAULT)
    assert file["hard"] == file["g"]
    with pytest.raises(zembra.Error) as raised:
        zembra.call("H5Lcreate_hard", "H5L_SAME_LOC", "g", zembra.Id(0), "x", DEFAULT, DEFAULT)
    assert raised.value.key == "unmatchedHidtString"


def test_client_data_of_any_class():
    creation = h5.H5Pcreate("H5P_DATASET_CREATE")
    zembra.call("H5Pset_filter", creation, "H5Z_FILTER_DEFLATE", 1, np.array([5], "u4"))
    assert h5.H5Pget_filter(creation, 0)[2].tolist() == [5]
    zembra.call("H5Pmodify_filter", creation, 1, 1, np.array([4], "i8"))
    assert h5.H5Pget_filter(creation, 0)[2].tolist() == [4]
    h5.H5Pclose(creation)


def test_the_lists_of_the_multi_driver_are_the_callers(plist):
    h5.H5Pset_fapl_multi(plist, True)
    _, lists, _, _, _ = h5.H5Pget_fapl_multi(plist)
    assert len(lists) == 7
    for member in lists[lists > 0]:
        h5.H5Pclose(member)
        assert not h5.H5Iis_valid(member)


@pytest.mark.parametrize("name", ["%d", "%s%s", "%", "x" * 1001])
def test_names_of_members_that_are_no_names(plist, name):
    refused(h5.H5Pset_fapl_split, plist, name, DEFAULT, "-r", DEFAULT)
    refused(h5.H5Pset_fapl_multi, plist, [0] * 7, [0] * 7, [name] * 7, [0] * 7, True)


@pytest.mark.parametrize("name", ["x", "x%%", "x%s", "x%d%d"])
def test_names_of_families_that_are_no_names(tmp_path, plist, name):
    h5.H5Pset_fapl_family(plist, 4096, DEFAULT)
    refused(h5.H5Fcreate, tmp_path / name, "H5F_ACC_TRUNC", DEFAULT, plist)
    h5.H5Fclose(h5.H5Fcreate(tmp_path / "x%05d", "H5F_ACC_TRUNC", DEFAULT, plist))
    assert (tmp_path / "x00000").exists()


def test_the_creation_lists_of_datatypes(file):
    file["type"] = np.dtype("i4")
    h5.H5Pclose(h5.H5Tget_create_plist(file["type"]))
    with zembra.Id(h5.H5Tcopy("H5T_NATIVE_INT")) as transient:
        if (1, 10, 0) <= RELEASE < (1, 12, 0):
            refused(h5.H5Tget_create_plist, transient)
        else:
            h5.H5Pclose(h5.H5Tget_create_plist(transient))


@pytest.mark.parametrize("name", ["INTEGER", "FLOAT", "STRING", "COMPOUND", "OPAQUE", "ENUM"])
def test_what_classes_make(name):
    if RELEASE < (1, 10, 0) and name in ("INTEGER", "FLOAT", "STRING"):
        refused(h5.H5Tcreate, f"H5T_{name}", 4)
        return
    with zembra.Id(h5.H5Tcreate(f"H5T_{name}", 4)) as made:
        kind = "STRING" if name in ("INTEGER", "FLOAT") and RELEASE < (1, 12, 0) else name
        assert h5.H5Tget_class(made) == h5.H5ZBget_constant_value(f"H5T_{kind}")


def test_a_short_block_selects_nothing():
    with zembra.Id(h5.H5Screate_simple(2, [4, 5], [])) as space:
        h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", [0, 0], [], [1, 1], [2, 2])
        assert h5.H5Sget_select_npoints(space) == 4
        h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", [0, 0], [], [1, 1], [2])
        assert h5.H5Sget_select_npoints(space) == 0


def test_another_rank_ends_a_selection():
    with zembra.Id(h5.H5Screate_simple(2, [4, 5], [])) as space:
        h5.H5Sselect_elements(space, "H5S_SELECT_SET", [[1, 1]])
        h5.H5Sset_extent_simple(space, 1, [7], [])
        assert h5.H5Sget_select_npoints(space) == 7


def test_what_an_extent_leaves_off_stays(file):
    grown = file.create_dataset("d", (4, 5), maxshape=(None, None))
    h5.H5Dset_extent(grown, [6])
    assert grown.shape == (6, 5)
    h5.H5Dset_extent(grown, [7, 8, 9])
    assert grown.shape == (7, 8)
    h5.H5Dextend(grown, [10])
    assert grown.shape == (10, 8)
    refused(h5.H5Dset_extent, grown, [])


def test_a_fill_value_has_the_bytes_of_its_datatype():
    buffer = np.zeros(3, "i4")
    with zembra.Id(h5.H5Screate_simple(1, [3], [])) as line:
        with zembra.Id(h5.H5Tcopy("H5T_NATIVE_INT")) as integer:
            fill: Any = [integer, buffer, integer, line]
            refused(h5.H5Dfill, np.int16(7), *fill)
            assert h5.H5Dfill(np.int32(7), *fill).tolist() == [7, 7, 7]
            assert h5.H5Dfill([], *fill).tolist() == [0, 0, 0]
            assert buffer.tolist() == [0, 0, 0]


def test_names_of_codes():
    with zembra.Id(h5.H5Tenum_create("H5T_NATIVE_SHORT")) as colours:
        for code, name in enumerate(("red", "green", "blue")):
            h5.H5Tenum_insert(colours, name, code)
        values: list[Any] = [2, np.int16(2), np.int64(2), np.array([2], "u4")]
        for value in values:
            assert h5.H5Tenum_nameof(colours, value) == "blue"
        assert h5.H5Tenum_nameof(colours, h5.H5Tenum_valueof(colours, "green")) == "green"
        refused(h5.H5Tenum_nameof, colours, 3)
        with pytest.raises(OverflowError, match=r"argument 2 \(value\): .* more than 64 bits"):
            h5.H5Tenum_nameof(colours, 2**64)
