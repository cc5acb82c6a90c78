"""Datatypes described through the gateway as h5py's low-level interface describes
them: those of every sample file, and those that scripts make."""

import h5py
import numpy as np
import pytest

import zembra
from h5py import h5t
from test_attributes import objects_of, plain
from samples import IN_PARTS, STRICT
from test_data import WRITTEN, pytest_generate_tests
from zembra import h5

__all__ = ["pytest_generate_tests"]  # a test for every sample file

DEFAULT = "H5P_DEFAULT"


# --- Descriptions ---------------------------------------------------------------------


def ours(datatype):
    """What the H5T functions say of a datatype, as plain data."""
    kind = h5.H5Tget_class(datatype)
    return {
        "class": kind,
        "size": h5.H5Tget_size(datatype),
        "holds": [h5.H5Tdetect_class(datatype, other) for other in range(11)],
        **OURS.get(kind, lambda datatype: {})(datatype),
    }


def theirs(datatype):
    """What h5py says of it."""
    kind = datatype.get_class()
    return {
        "class": kind,
        "size": datatype.get_size(),
        "holds": [int(datatype.detect_class(other)) for other in range(11)],
        **THEIRS.get(kind, lambda datatype: {})(datatype),
    }


def our_bits(datatype):
    return {
        "order": h5.H5Tget_order(datatype),
        "precision": h5.H5Tget_precision(datatype),
        "offset": h5.H5Tget_offset(datatype),
        "padding": h5.H5Tget_pad(datatype),
    }


def their_bits(datatype):
    return {
        "order": datatype.get_order(),
        "precision": datatype.get_precision(),
        "offset": datatype.get_offset(),
        "padding": datatype.get_pad(),
    }


def our_inner(datatype):
    with zembra.Id(h5.H5Tget_super(datatype)) as base:
        return ours(base)


def our_compound(datatype):
    members = []
    for index in range(int(h5.H5Tget_nmembers(datatype))):
        name = h5.H5Tget_member_name(datatype, index)
        with zembra.Id(h5.H5Tget_member_type(datatype, index)) as member:
            description = ours(member)
        members.append(
            (
                name,
                h5.H5Tget_member_index(datatype, name),
                h5.H5Tget_member_offset(datatype, index),
                h5.H5Tget_member_class(datatype, index),
                description,
            )
        )
    return {"members": members}


def their_compound(datatype):
    return {
        "members": [
            (
                plain(datatype.get_member_name(index)),
                datatype.get_member_index(datatype.get_member_name(index)),
                datatype.get_member_offset(index),
                datatype.get_member_class(index),
                theirs(datatype.get_member_type(index)),
            )
            for index in range(datatype.get_nmembers())
        ]
    }


def our_enumeration(datatype):
    members = {}
    for index in range(int(h5.H5Tget_nmembers(datatype))):
        name = h5.H5Tget_member_name(datatype, index)
        value = h5.H5Tget_member_value(datatype, index)
        stored = h5.H5Tenum_valueof(datatype, name)
        # The name leads to the value as the datatype holds it, and back.
        assert h5.H5Tenum_nameof(datatype, stored) == name
        if h5.H5Tget_size(datatype) in (1, 2, 4, 8):
            swapped = h5.H5Tget_order(datatype) == h5t.ORDER_BE
            assert (stored.byteswap() if swapped else stored) == value
        assert h5.H5Tget_member_index(datatype, name) == index
        members[name] = np.asarray(value).item()
    return {"base": our_inner(datatype), "members": members}


def their_enumeration(datatype):
    return {
        "base": theirs(datatype.get_super()),
        "members": {
            plain(datatype.get_member_name(index)): datatype.get_member_value(index)
            for index in range(datatype.get_nmembers())
        },
    }


OURS = {
    h5t.INTEGER: lambda datatype: {**our_bits(datatype), "sign": h5.H5Tget_sign(datatype)},
    h5t.FLOAT: lambda datatype: {
        **our_bits(datatype),
        "fields": h5.H5Tget_fields(datatype),
        "bias": h5.H5Tget_ebias(datatype),
        "norm": h5.H5Tget_norm(datatype),
        "inner padding": h5.H5Tget_inpad(datatype),
    },
    h5t.BITFIELD: lambda datatype: {"order": h5.H5Tget_order(datatype)},
    h5t.STRING: lambda datatype: {
        "variable": h5.H5Tis_variable_str(datatype),
        "characters": h5.H5Tget_cset(datatype),
        "padding": h5.H5Tget_strpad(datatype),
    },
    h5t.OPAQUE: lambda datatype: {"tag": h5.H5Tget_tag(datatype)},
    h5t.COMPOUND: our_compound,
    h5t.ENUM: our_enumeration,
    h5t.VLEN: lambda datatype: {"base": our_inner(datatype)},
    h5t.ARRAY: lambda datatype: {
        "base": our_inner(datatype),
        "rank": h5.H5Tget_array_ndims(datatype),
        "extent": list(np.atleast_1d(h5.H5Tget_array_dims(datatype))),
    },
    h5t.REFERENCE: lambda datatype: {"object": h5.H5Tequal(datatype, "H5T_STD_REF_OBJ")},
}

THEIRS = {
    h5t.INTEGER: lambda datatype: {**their_bits(datatype), "sign": datatype.get_sign()},
    h5t.FLOAT: lambda datatype: {
        **their_bits(datatype),
        "fields": datatype.get_fields(),
        "bias": datatype.get_ebias(),
        "norm": datatype.get_norm(),
        "inner padding": datatype.get_inpad(),
    },
    h5t.BITFIELD: lambda datatype: {"order": datatype.get_order()},
    h5t.STRING: lambda datatype: {
        "variable": int(datatype.is_variable_str()),
        "characters": datatype.get_cset(),
        "padding": datatype.get_strpad(),
    },
    h5t.OPAQUE: lambda datatype: {"tag": plain(datatype.get_tag())},
    h5t.COMPOUND: their_compound,
    h5t.ENUM: their_enumeration,
    h5t.VLEN: lambda datatype: {"base": theirs(datatype.get_super())},
    h5t.ARRAY: lambda datatype: {
        "base": theirs(datatype.get_super()),
        "rank": datatype.get_array_ndims(),
        "extent": list(datatype.get_array_dims()),
    },
    h5t.REFERENCE: lambda datatype: {"object": int(datatype.equal(h5t.STD_REF_OBJ))},
}


# --- Sample files -----------------------------------------------------------------------


def assert_same(our_datatype, their_datatype):
    """Closes ours."""
    with zembra.Id(our_datatype):
        assert ours(our_datatype) == theirs(their_datatype)
        assert h5.H5Tcommitted(our_datatype) == their_datatype.committed()


def compare_object(file, path, item):
    """The datatypes of an object and of its attributes; how many they are."""
    count = 0
    with zembra.Id(h5.H5Oopen(file, path, DEFAULT)) as owner:
        if isinstance(item, h5py.Dataset):
            assert_same(h5.H5Dget_type(owner), item.id.get_type())
            count += 1
        elif isinstance(item, h5py.Datatype):
            assert_same(h5.H5Topen(file, path), item.id)
            count += 1
        for name in item.attrs:
            with zembra.Id(h5.H5Aopen_name(owner, name)) as attribute:
                assert_same(h5.H5Aget_type(attribute), item.attrs.get_id(name).get_type())
            count += 1
    return count


def test_every_datatype_is_described_as_h5py_describes_it(shared_data, sample):
    if sample.name.startswith(IN_PARTS):
        pytest.skip("one part of a file of several, which takes a file driver of its own")
    with zembra.Id(h5.H5Fopen(str(sample), "H5F_ACC_RDONLY", DEFAULT)) as file:
        with h5py.File(sample, "r") as h5py_file:
            found = objects_of(h5py_file)
            count = sum(compare_object(file, path, item) for path, item in found.items())
            kinds = (h5py.Dataset, h5py.Datatype)
            assert count == sum(
                len(item.attrs) + isinstance(item, kinds) for item in found.values()
            )


def test_the_samples_have_every_class(shared_data):
    classes = set()
    for sample in shared_data.glob("*.h5"):
        if not sample.name.startswith((*IN_PARTS, *STRICT)):
            with h5py.File(sample, "r") as file:
                for item in objects_of(file).values():
                    if isinstance(item, h5py.Dataset):
                        datatype = item.id.get_type()
                        classes |= {kind for kind in range(11) if datatype.detect_class(kind)}
    assert classes >= set(range(11)) - {h5t.TIME}


# --- Datatypes that scripts make ------------------------------------------------------------


def test_made_datatypes_are_described_as_h5py_describes_them(path):
    with zembra.Id(h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)) as file:
        for name, (make, *_) in WRITTEN.items():
            with zembra.Id(make()) as datatype:
                h5.H5Tcommit(file, name, datatype)
    with zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", DEFAULT)) as file:
        with h5py.File(path, "r") as h5py_file:
            for name in WRITTEN:
                assert_same(h5.H5Topen(file, name), h5py_file[name].id)


def test_properties_of_a_float_reach_the_file(path):
    """A float of 20 bits at bit 3, such as nobody has."""
    with zembra.Id(h5.H5Tcopy("H5T_IEEE_F32LE")) as datatype:
        h5.H5Tset_fields(datatype, 22, 16, 6, 3, 13)
        h5.H5Tset_offset(datatype, 3)
        h5.H5Tset_precision(datatype, 20)
        h5.H5Tset_ebias(datatype, 31)
        h5.H5Tset_norm(datatype, "H5T_NORM_NONE")
        h5.H5Tset_inpad(datatype, "H5T_PAD_ONE")
        h5.H5Tset_pad(datatype, "H5T_PAD_ONE", "H5T_PAD_ZERO")
        h5.H5Tset_order(datatype, "H5T_ORDER_BE")
        with zembra.Id(h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)) as file:
            h5.H5Tcommit(file, "odd", datatype)
    with h5py.File(path, "r") as file:
        odd = file["odd"].id
        assert odd.get_fields() == (22, 16, 6, 3, 13)
        assert (odd.get_offset(), odd.get_precision()) == (3, 20)
        assert odd.get_ebias() == 31
        assert odd.get_norm() == h5t.NORM_NONE
        assert odd.get_inpad() == h5t.PAD_ONE
        assert odd.get_pad() == (h5t.PAD_ONE, h5t.PAD_ZERO)
        assert odd.get_order() == h5t.ORDER_BE


def test_datatypes_of_numpy_are_those_of_the_constants():
    for name, dtype in {
        "H5T_STD_I8LE": "i1",
        "H5T_STD_U16BE": ">u2",
        "H5T_STD_I64LE": "<i8",
        "H5T_IEEE_F32BE": ">f4",
        "H5T_IEEE_F64LE": "<f8",
        "H5T_NATIVE_INT": "i4",
    }.items():
        assert ours(name) == theirs(h5t.py_create(np.dtype(dtype)))


def test_an_enumeration_of_h5py_has_its_values(path):
    members = {"least": -(2**63), "minus": -1, "most": 2**63 - 1}
    with h5py.File(path, "w") as file:
        file["enumeration"] = h5py.enum_dtype(members, basetype=">i8")
    with zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", DEFAULT)) as file:
        with zembra.Id(h5.H5Topen(file, "enumeration")) as datatype:
            assert ours(datatype)["members"] == members
            assert h5.H5Tget_member_value(datatype, 0).dtype == np.int64


# --- References -----------------------------------------------------------------------------


def test_references_of_h5py_lead_where_h5py_goes(path):
    with h5py.File(path, "w") as file:
        data = file.create_dataset("a/data", data=np.arange(12).reshape(3, 4))
        file["objects"] = np.array([data.ref, file["a"].ref], dtype=h5py.ref_dtype)
        file["regions"] = np.array([data.regionref[1:3, ::2]], dtype=h5py.regionref_dtype)
    with zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", DEFAULT)) as file:
        objects, regions = (read(file, name) for name in ("objects", "regions"))
        for reference, name, kind in zip(objects, ("/a/data", "/a"), (1, 0), strict=True):
            assert h5.H5Rget_name(file, "H5R_OBJECT", reference) == name
            assert h5.H5Rget_obj_type(file, "H5R_OBJECT", reference) == kind
            with zembra.Id(h5.H5Rdereference(file, "H5R_OBJECT", reference)) as found:
                assert h5.H5Iget_name(found) == name
                same = h5.H5Rcreate(file, name, "H5R_OBJECT", -1)
            assert np.array_equal(same, reference)
        (reference,) = regions
        with zembra.Id(h5.H5Rget_region(file, "H5R_DATASET_REGION", reference)) as space:
            assert h5.H5Sget_select_npoints(space) == 4
            start, end = h5.H5Sget_select_bounds(space)
            assert (start.tolist(), end.tolist()) == ([1, 0], [2, 2])
        assert h5.H5Rget_name(file, "H5R_DATASET_REGION", reference) == "/a/data"


def read(file, name):
    with zembra.Id(h5.H5Dopen(file, name)) as dataset:
        return h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", DEFAULT)
