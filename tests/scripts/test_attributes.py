"""Attributes that other people's software wrote read as h5py reads them; attributes
that zembra writes, h5py and h5dump read the same."""


import h5py
import numpy as np
import pytest

import zembra
from compare import assert_same_or_empty, follower, h5py_read_attribute
from reader import h5dump
from samples import IN_PARTS, STRICT
from test_data import NESTED, WRITTEN, closing, pytest_generate_tests, space_of
from zembra import h5

__all__ = ["pytest_generate_tests"]  # a test for every sample file

DEFAULT = "H5P_DEFAULT"


def objects_of(file):
    """Every object of h5py's file once, with its name."""
    found = {"/": file["/"]}
    file.visititems(lambda name, item: found.setdefault("/" + name, item) and None)
    return found


def plain(name):
    return name.decode("utf-8", "surrogateescape")


def their_names(item, index=h5py.h5.INDEX_NAME, order=h5py.h5.ITER_INC):
    names = []
    h5py.h5a.iterate(item.id, lambda name: names.append(plain(name)), index_type=index, order=order)
    return names


def read(owner, name):
    attribute = h5.H5Aopen(owner, name, DEFAULT)
    with closing((h5.H5Aclose, attribute)):
        return h5.H5Aread(attribute, "H5ZB_DEFAULT")


def assert_same_attribute(owner, item, name, follow):
    attribute = item.attrs.get_id(name)
    try:
        dtype = attribute.dtype
    except TypeError:  # h5py has no form for it
        read(owner, name)
        return
    shape = attribute.shape if attribute.shape is not None else ()
    assert_same_or_empty(read(owner, name), h5py_read_attribute(item, name), dtype, shape, follow)


def assert_same_record(owner, item, name):
    theirs = h5py.h5a.get_info(item.id, name.encode("utf-8", "surrogateescape"))
    with zembra.Id(h5.H5Aopen_name(owner, name)) as attribute:
        ours = h5.H5Aget_info(attribute)
        assert h5.H5Aget_name(attribute) == name
    assert ours["corder_valid"] is bool(theirs.corder_valid)
    assert ours["cset"] == theirs.cset
    assert ours["data_size"] == theirs.data_size
    assert ours["corder"] == theirs.corder


def test_every_attribute_reads_as_h5py_reads_it(shared_data, sample):
    if sample.name.startswith(IN_PARTS):
        pytest.skip("one part of a file of several, which takes a file driver of its own")
    with zembra.Id(h5.H5Fopen(str(sample), "H5F_ACC_RDONLY", DEFAULT)) as file:
        with h5py.File(sample, "r") as theirs:
            follow = follower(file, theirs)
            for path, item in objects_of(theirs).items():
                with zembra.Id(h5.H5Oopen(file, path, DEFAULT)) as owner:
                    names = their_names(item)
                    assert h5.H5Aget_num_attrs(owner) == len(names)
                    for name in names:
                        assert_same_attribute(owner, item, name, follow)
                        assert_same_record(owner, item, name)


def test_the_samples_have_attributes(shared_data):
    count = 0
    for sample in shared_data.glob("*.h5"):
        if not sample.name.startswith((*IN_PARTS, *STRICT)):
            with h5py.File(sample, "r") as file:
                count += sum(len(item.attrs) for item in objects_of(file).values())
    assert count > 40


@pytest.mark.parametrize("order", ["INC", "DEC"])
def test_attributes_come_in_the_order_of_h5py(shared_data, sample, order):
    if sample.name.startswith(IN_PARTS):
        pytest.skip("one part of a file of several, which takes a file driver of its own")
    with zembra.Id(h5.H5Fopen(str(sample), "H5F_ACC_RDONLY", DEFAULT)) as file:
        with h5py.File(sample, "r") as theirs:
            for path, item in objects_of(theirs).items():
                expected = their_names(item, order=getattr(h5py.h5, "ITER_" + order))
                with zembra.Id(h5.H5Oopen(file, path, DEFAULT)) as owner:
                    ours = names_by_iteration(owner, "H5_INDEX_NAME", "H5_ITER_" + order)
                    assert ours == expected
                    for position, name in enumerate(expected):
                        attribute = h5.H5Aopen_by_idx(
                            file,
                            path,
                            "H5_INDEX_NAME",
                            "H5_ITER_" + order,
                            position,
                            DEFAULT,
                            DEFAULT,
                        )
                        with zembra.Id(attribute):
                            assert h5.H5Aget_name(attribute) == name
                    short = []
                    h5.H5Aiterate(owner, 0, lambda location, name: short.append(name))
                    assert sorted(short) == sorted(expected)


def names_by_iteration(owner, index, order):
    def note(location, name, record, names):
        assert record == record_of(location, name)
        return 0, [*names, name]

    status, position, names = h5.H5Aiterate(owner, index, order, 0, note, [])
    assert status == 0 and position == len(names)
    return list(names)


def record_of(location, name):
    with zembra.Id(h5.H5Aopen_name(location, name)) as attribute:
        return h5.H5Aget_info(attribute)


def test_the_order_of_creation_is_kept(path):
    with h5py.File(path, "w") as file:
        group = file.create_group("g", track_order=True)
        for name in ("zeta", "alpha", "mu"):
            group.attrs[name] = name
    with zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", DEFAULT)) as file:
        with zembra.Id(h5.H5Gopen(file, "g")) as group:
            for order, expected in {
                "H5_ITER_INC": ["zeta", "alpha", "mu"],
                "H5_ITER_DEC": ["mu", "alpha", "zeta"],
            }.items():
                assert names_by_iteration(group, "H5_INDEX_CRT_ORDER", order) == expected
            assert record_of(group, "alpha")["corder"] == 1
            assert record_of(group, "alpha")["corder_valid"] is True


# --- Writing --------------------------------------------------------------------


def write(owner, name, make, extent, data):
    with zembra.Id(make()) as datatype, zembra.Id(space_of(extent)) as space:
        with zembra.Id(h5.H5Acreate(owner, name, datatype, space, DEFAULT)) as attribute:
            h5.H5Awrite(attribute, "H5ZB_DEFAULT", data)


def reference_data(file):
    """References of both types to the group "target"."""
    with zembra.Id(h5.H5Screate_simple(1, [4], [])) as space:
        with zembra.Id(h5.H5Dcreate(file, "target", "H5T_STD_I32LE", space, DEFAULT)):
            h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", [1], [], [2], [])
            return (
                h5.H5Rcreate(file, "target", "H5R_OBJECT", -1),
                h5.H5Rcreate(file, "target", "H5R_DATASET_REGION", space),
            )


@pytest.fixture
def written(path):
    with zembra.Id(h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)) as file:
        for name, (make, extent, data, _) in WRITTEN.items():
            write(file, name, make, extent, data)
        to_object, to_region = reference_data(file)
        write(file, "object reference", lambda: h5.H5Tcopy("H5T_STD_REF_OBJ"), (), to_object)
        write(file, "region reference", lambda: h5.H5Tcopy("H5T_STD_REF_DSETREG"), (), to_region)
    return path


def test_every_class_is_written(written):
    with h5py.File(written, "r") as file:
        classes = {file.attrs.get_id(name).get_type().get_class() for name in file.attrs}
    assert classes == set(range(11)) - {h5py.h5t.TIME}  # of which there is no host form


def test_h5py_reads_what_was_written(written):
    with h5py.File(written, "r") as file:
        for name, (_, extent, _, expected) in WRITTEN.items():
            assert file.attrs.get_id(name).shape == extent, name
            got = h5py_read_attribute(file, name)
            if extent is None:
                assert got.dtype == "i4"
            elif expected is not None:
                if isinstance(got, np.ndarray) and got.dtype == object:
                    got = np.array([item.encode() for item in got], dtype=object)
                assert np.array_equal(got, expected), name
        record = file.attrs["nested compound"]
        assert record["id"].tolist() == [7, -8]
        assert record["at"]["y"].tolist() == [3, 4]
        assert np.array_equal(record["grid"], NESTED["grid"])
        assert [list(item) for item in file.attrs["sequence"]] == [[1, 2, 3], [], [4]]
        assert file[file.attrs["object reference"]].name == "/target"
        assert file[file.attrs["region reference"]].name == "/target"


def test_zembra_reads_back_what_was_written(written):
    with zembra.Id(h5.H5Fopen(written, "H5F_ACC_RDONLY", DEFAULT)) as file:
        with h5py.File(written, "r") as theirs:
            follow = follower(file, theirs)
            with zembra.Id(h5.H5Gopen(file, "/")) as root:
                for name in theirs.attrs:
                    assert_same_attribute(root, theirs["/"], name, follow)
                    assert_same_record(root, theirs["/"], name)


# The name, and what h5dump prints of the attribute.
PRINTED = {
    "integer": ["H5T_STD_I16BE", "(0,0): 0, 1, 2,", "(1,0): 3, 4, 5"],
    "float": ["H5T_IEEE_F32LE", "(0): 0.5, -1"],
    "scalar": ["DATASPACE  SCALAR", "(0): 2.5"],
    "fixed": ["STRSIZE 4;", "STRPAD H5T_STR_NULLPAD;", '(0): "ab\\000\\000"'],
    "variable": ["STRSIZE H5T_VARIABLE;", '(0): "", "a", "gr'],
    "nested compound": ['H5T_STD_I64LE "id";', "[ 0, 1, 2,", '"grid"'],
    "array": ["H5T_ARRAY { [3] H5T_STD_I32LE }", "(0): [ 0, 1, 2 ], [ 3, 4, 5 ]"],
    "enumeration": ['"BLUE"             -2;', "(0): RED, BLUE, GREEN"],
    "opaque": ['OPAQUE_TAG "five bytes";', "30:31:32:33:34, 35:36:37:38:39"],
    "bit field": ["H5T_STD_B16BE"],
    "sequence": ["H5T_VLEN { H5T_STD_I32LE", "(0): (1, 2, 3), (), (4)"],
    "object reference": ["H5T_STD_REF_OBJECT", "DATASET"],
    "region reference": ["H5T_STD_REF_DSETREG", "(1)-(2)"],
    "empty": ["DATASPACE  SIMPLE { ( 0, 3 ) / ( 0, 3 ) }"],
    "null": ["DATASPACE  NULL"],
}


@pytest.mark.parametrize("name", PRINTED)
def test_h5dump_reads_what_was_written(written, name):
    printed = h5dump("-a", f"/{name}", written)
    for line in PRINTED[name]:
        assert line in printed, printed


def test_attributes_stand_on_every_kind_of_object(path):
    with zembra.Id(h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)) as file:
        group = h5.H5Gcreate(file, "group", DEFAULT, DEFAULT, DEFAULT)
        datatype = h5.H5Tcopy("H5T_STD_I32LE")
        h5.H5Tcommit(file, "datatype", datatype)
        with zembra.Id(space_of((2,))) as space:
            dataset = h5.H5Dcreate(file, "dataset", datatype, space, DEFAULT)
        for owner in map(zembra.Id, (group, datatype, dataset)):
            with owner:
                write(owner, "unit", lambda: h5.H5Tcopy("H5T_IEEE_F64LE"), (), 2.5)
    with h5py.File(path, "r") as file:
        for name in ("group", "datatype", "dataset"):
            assert file[name].attrs["unit"] == 2.5
