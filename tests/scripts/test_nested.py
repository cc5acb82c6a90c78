"""Compounds, arrays and sequences within each other: nothing of them is lost on the way."""

import numpy as np
import pytest

import zembra
from compare import assert_same
from nested_types import (
    Array,
    Compound,
    FixedText,
    Number,
    Opaque,
    Sequence,
    Trial,
    failures,
    sequence_of,
)
from peer import needs_h5py
from zembra import h5

DEFAULTS = ("H5S_ALL", "H5S_ALL", "H5P_DEFAULT")


class Maker:
    """Makes what is closed in the end."""

    def __init__(self, path):
        self.identifiers = []
        self.file = self(h5.H5Fcreate, path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")

    def __call__(self, function, *arguments):
        self.identifiers.append(function(*arguments))
        return self.identifiers[-1]


@pytest.fixture
def made(path):
    maker = Maker(path)
    yield maker
    for identifier in reversed(maker.identifiers):
        h5.H5Idec_ref(identifier)


def integers(*numbers):
    return np.array(numbers, np.int32)


def compound(made, **members):
    size = sum(h5.H5Tget_size(member) for member in members.values())
    datatype = made(h5.H5Tcreate, "H5T_COMPOUND", size)
    offset = 0
    for name, member in members.items():
        h5.H5Tinsert(datatype, name, offset, member)
        offset += h5.H5Tget_size(member)
    return datatype


def dataset(made, datatype, length, creation="H5P_DEFAULT"):
    space = made(h5.H5Screate_simple, 1, [length], [])
    return made(h5.H5Dcreate, made.file, "d", datatype, space, creation)


def test_random_datatypes_are_read_as_they_were_written():
    # Others than these, and more: nested_types.py by itself.
    assert list(failures(range(40))) == []


def read_by_h5py(datatype):
    """h5py has no form for all that can be within each other, and does not survive some."""
    match datatype:
        case Compound():
            return all(map(read_by_h5py, datatype.members.values()))
        case Array():
            return isinstance(datatype.base, (Number, FixedText, Opaque))
        case Sequence():
            return isinstance(datatype.base, Number) and datatype.base.name.endswith("LE")
    return True


@needs_h5py
def test_h5py_reads_the_same(path):
    import h5py

    trials = [trial for trial in map(Trial, range(100)) if read_by_h5py(trial.type)]
    for trial in trials:
        trial.run(path)
        file = h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")
        found = h5.H5Dopen(file, "d")
        ours = h5.H5Dread(found, "H5ZB_DEFAULT", *DEFAULTS)
        h5.H5Dclose(found)
        h5.H5Fclose(file)
        with h5py.File(path) as peer:
            assert_same(ours, peer["d"][()], peer["d"].dtype, peer["d"].shape)
    assert len(trials) > 10


def test_arrays_of_compounds_keep_every_text_and_sequence(made):
    sequence = made(h5.H5Tvlen_create, "H5T_STD_I32LE")
    text = made(h5.H5Tcopy, "H5T_C_S1")
    h5.H5Tset_size(text, "H5T_VARIABLE")
    datatype = made(h5.H5Tarray_create, compound(made, s=sequence, t=text), [1])
    data = {
        "s": [integers(1, 2), integers(3), integers(4, 5)],
        "t": ["first", "second", "third"],
    }
    target = dataset(made, datatype, 3)
    h5.H5Dwrite(target, "H5ZB_DEFAULT", *DEFAULTS, data)
    found = h5.H5Dread(target, "H5ZB_DEFAULT", *DEFAULTS)
    assert [list(item) for item in found["s"].flat] == [[1, 2], [3], [4, 5]]
    assert list(found["t"].flat) == ["first", "second", "third"]


def test_members_that_are_not_written_stay_in_arrays(made):
    whole = compound(made, a="H5T_STD_I32LE", b="H5T_STD_I32LE")
    target = dataset(made, made(h5.H5Tarray_create, whole, [2]), 2)
    a, b = np.arange(4, dtype=np.int32).reshape(2, 2), np.full((2, 2), 7, np.int32)
    h5.H5Dwrite(target, "H5ZB_DEFAULT", *DEFAULTS, {"a": a, "b": b})
    part = made(h5.H5Tarray_create, compound(made, a="H5T_STD_I32LE"), [2])
    h5.H5Dwrite(target, part, *DEFAULTS, {"a": a + 10})
    found = h5.H5Dread(target, "H5ZB_DEFAULT", *DEFAULTS)
    assert np.array_equal(found["a"], a + 10)
    assert np.array_equal(found["b"], b)


def test_members_that_are_not_written_stay_in_attributes(made):
    whole = compound(made, a="H5T_STD_I16BE", b="H5T_STD_I32LE")
    space = made(h5.H5Screate_simple, 1, [2], [])
    attribute = made(h5.H5Acreate, made.file, "x", whole, space, "H5P_DEFAULT")
    h5.H5Awrite(attribute, "H5ZB_DEFAULT", {"a": np.array([1, 3], np.int16), "b": integers(2, 4)})
    part = compound(made, a="H5T_NATIVE_INT32")
    h5.H5Awrite(attribute, part, {"a": integers(10, 30)})
    found = h5.H5Aread(attribute, "H5ZB_DEFAULT")
    assert found["a"].tolist() == [10, 30]
    assert found["b"].tolist() == [2, 4]


def test_members_cannot_be_left_out_where_they_would_be_lost(made):
    text = made(h5.H5Tcopy, "H5T_C_S1")
    h5.H5Tset_size(text, "H5T_VARIABLE")
    whole = compound(made, a="H5T_STD_I32LE", t=text)
    part = compound(made, a="H5T_STD_I32LE")
    target = dataset(made, made(sequence_of, whole), 1)
    with pytest.raises(zembra.LibraryError, match="written with all of its members"):
        h5.H5Dwrite(target, made(sequence_of, part), *DEFAULTS, [{"a": integers(1)}])
    space = made(h5.H5Screate, "H5S_SCALAR")
    attribute = made(h5.H5Acreate, made.file, "x", whole, space, "H5P_DEFAULT")
    with pytest.raises(zembra.LibraryError, match="written with all members"):
        h5.H5Awrite(attribute, part, {"a": np.int32(1)})


def test_fill_values_that_would_be_lost_are_refused(made):
    inner = made(h5.H5Tvlen_create, "H5T_STD_I32LE")
    creation = made(h5.H5Pcreate, "H5P_DATASET_CREATE")
    h5.H5Pset_fill_value(creation, inner, [integers(1, 2)])
    with pytest.raises(zembra.LibraryError, match="loses fill values"):
        h5.H5Pset_fill_value(creation, made(sequence_of, inner), [[integers(1, 2)]])
    target = dataset(made, inner, 2, creation)
    found = h5.H5Dread(target, "H5ZB_DEFAULT", *DEFAULTS)
    assert [item.tolist() for item in found] == [[1, 2], [1, 2]]
