"""What the reference says of arguments and results against what really goes and comes."""

import json
import os
import re
import subprocess
import sys
from pathlib import Path

import h5py
import numpy as np
import pytest

import zembra
from zembra import _reference, h5

HERE = Path(__file__).resolve().parent
ALL = "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT"

# What values of a kind look like.
FORMS = {
    "identifier": {"int"},
    "identifiers": {"int64 array"},
    "integer": {"int"},
    "integers": {"int64 array"},
    "enumerator": {"int"},
    "bool": {"bool"},
    "real": {"float"},
    "reals": {"float64 array"},
    "text": {"str"},
    "texts": {"list of ['str']"},
    "object": {"int"},  # the user data that went in
    "data": {"float64", "int32", "int32 array", "float64 array", "uint8 array"},
}
# HDF5 1.10 and later no longer have them.
GONE = {"H5Pget_dxpl_multi", "H5Pset_dxpl_multi"}


def assert_of_kind(form, value, where):
    """`form` as one_call_each.py writes down what came."""
    if isinstance(form, dict):
        (record,) = value.kinds
        fields = {field.name: field for field in _reference.records()[record]}
        assert set(form) <= set(fields), where
        optional = {name for name, field in fields.items() if field.optional}
        assert set(fields) - set(form) <= optional, where
        for name, inner in form.items():
            assert_of_kind(inner, fields[name], f"{where}.{name}")
    else:
        kinds = [kind.removeprefix("new ") for kind in value.kinds]
        assert form in set.union(*(FORMS.get(kind, set()) for kind in kinds)), where


@pytest.fixture(scope="module")
def calls(tmp_path_factory):
    """Every call: the function, its count of arguments, and what came of it."""
    folder = tmp_path_factory.mktemp("one_call_each")
    command = [sys.executable, str(HERE / "one_call_each.py")]
    paths = os.environ | {"PYTHONPATH": str(Path(zembra.__file__).parents[1])}
    done = subprocess.run(command, cwd=folder, env=paths, capture_output=True, text=True)
    assert done.returncode == 0, done.stderr
    return [json.loads(line) for line in done.stdout.splitlines()]


def test_every_function_gives_what_the_reference_says(calls):
    forms = [form for entry in _reference.entries().values() for form in entry.forms]
    assert [call[0] for call in calls] == [form.name for form in forms]
    since_110 = tuple(h5.H5get_libversion()) >= (1, 10, 0)
    failed = {name for name, _, outcome in calls if "error" in outcome}
    # A transfer list says nothing of the multi driver's members before somebody sets them.
    assert failed == (GONE if since_110 else {"H5Pget_dxpl_multi"})
    for (name, count, outcome), form in zip(calls, forms):
        assert count == len(form.required) + len(form.optional), name
        if "error" in outcome:
            continue
        assert len(outcome["results"]) == len(form.results), name
        for found, value in zip(outcome["results"], form.results):
            assert_of_kind(found, value, f"{name} -> {value.name}")


@pytest.mark.parametrize("name", h5.__all__)
def test_the_reference_knows_how_many_arguments_there_are(name):
    """One less or one more than any form has is refused for its number alone."""
    counts = set()
    for form in _reference.entries()[name].forms:
        counts |= {len(form.required), len(form.required) + len(form.optional)}
    for count in {number + step for number in counts for step in (-1, 1)} - counts - {-1}:
        with pytest.raises(zembra.Error) as raised:
            getattr(h5, name)(*[-1] * count)
        assert raised.value.key == "wrongNumberOfInputs", count


def test_every_value_has_a_kind_that_is_explained():
    explained = re.findall(r"^#   (new identifier|memory datatype|\w+) +\S", _head(), re.MULTILINE)
    known = set(explained) | set(_reference.records())
    for entry in _reference.entries().values():
        for form in entry.forms:
            for value in form.required + form.optional + form.results:
                for kind in value.kinds:
                    assert kind in known or kind.removesuffix("s") in known, form.line


def _head():
    text = (Path(zembra.__file__).parent / "reference.txt").read_text()
    return text.partition("# Throughout:")[0]


# --- What comes ---------------------------------------------------------------------


@pytest.fixture
def space():
    with zembra.Id(h5.H5Screate_simple(2, [3, 4], [-1, 4])) as space:
        yield space


def test_counts_count(space):
    rank, dims, maxdims = h5.H5Sget_simple_extent_dims(space)
    assert list(range(rank)) == [0, 1] and np.zeros(dims).shape == (3, 4)
    assert dims.dtype == maxdims.dtype == np.int64 and maxdims.tolist() == [-1, 4]
    scalar = h5.H5Screate("H5S_SCALAR")
    rank, dims, maxdims = h5.H5Sget_simple_extent_dims(scalar)
    assert rank == 0 and np.zeros(dims).shape == () and dims.dtype == np.int64
    h5.H5Sclose(scalar)
    line = h5.H5Screate_simple(1, 7, [])
    assert h5.H5Sget_simple_extent_dims(line)[1].tolist() == [7]
    h5.H5Sclose(line)


def test_the_gateway_as_it_is_gives_floats(space):
    rank, dims, _ = zembra.call("H5Sget_simple_extent_dims", space)
    assert type(rank) is float and dims.dtype == np.float64
    assert type(zembra.call("H5Iis_valid", space)) is float
    with pytest.raises(zembra.Error) as raised:
        zembra.call("H5Screate_simple", 1, np.array([5]), [])
    assert raised.value.key == "notDoublePrecision"


def test_large_numbers_are_whole_ones():
    plist = h5.H5Pcreate("H5P_DATASET_CREATE")
    h5.H5Pset_external(plist, "raw.bin", 0, "H5F_UNLIMITED")
    _, offset, size = h5.H5Pget_external(plist, 0)
    assert (offset, size) == (0, 2**64) and type(size) is int
    h5.H5Pclose(plist)
    wide = h5.H5Screate_simple(1, [2**62], [])
    assert h5.H5Sget_simple_extent_dims(wide)[1].tolist() == [2**62]
    assert h5.H5Sget_simple_extent_npoints(wide) == 2**62
    h5.H5Sclose(wide)
    assert h5.H5ZBget_constant_value("H5S_UNLIMITED") == -1


def test_addresses_that_no_int64_holds_stay_as_they_are():
    plist = h5.H5Pcreate("H5P_FILE_ACCESS")
    h5.H5Pset_fapl_multi(plist, True)
    kinds, lists, names, addresses, relax = h5.H5Pget_fapl_multi(plist)
    assert kinds.dtype == lists.dtype == np.int64 and addresses.dtype == np.float64
    assert addresses.max() >= 2.0**62 and relax is True and len(names) == 7
    for member in {*lists.tolist()} - {0}:
        h5.H5Pclose(member)
    h5.H5Pclose(plist)


def test_yes_no_and_neither(tmp_path):
    plist = h5.H5Pcreate("H5P_FILE_ACCESS")
    assert h5.H5Pexist(plist, "rdcc_nbytes") is True
    assert h5.H5Pexist(plist, "nothing") is False
    h5.H5Pclose(plist)
    missing = h5.H5Fis_hdf5(str(tmp_path / "missing.h5"))
    assert missing == -1 and type(missing) is int
    (tmp_path / "text").write_text("x")
    assert h5.H5Fis_hdf5(str(tmp_path / "text")) is False


def test_real_fields_of_records_stay_real():
    plist = h5.H5Pcreate("H5P_FILE_ACCESS")
    config = h5.H5Pget_mdc_config(plist)
    config["increment"], config["flash_multiple"] = 3, 1
    h5.H5Pset_mdc_config(plist, config)
    config = h5.H5Pget_mdc_config(plist)
    assert config["increment"] == 3 and type(config["increment"]) is float
    assert type(config["flash_multiple"]) is float and type(config["max_size"]) is int
    assert type(config["evictions_enabled"]) is bool and type(config["trace_file_name"]) is str
    h5.H5Pclose(plist)


def test_callbacks_see_whole_numbers(path):
    with h5py.File(path, "w") as file:
        file["a"] = 1
        file["a"].attrs["unit"] = 2
        seen = []

        def look(owner, name, info, data):
            seen.extend([type(owner), name, type(info["corder"]), info["data_size"]])
            return 0, data

        h5.H5Aiterate(file["a"], "H5_INDEX_NAME", "H5_ITER_INC", 0, look, 0.5)
        assert seen == [int, "unit", int, 8]
        status, position, data = h5.H5Aiterate(
            file["a"], "H5_INDEX_NAME", "H5_ITER_INC", 0, lambda *given: (None, given[-1]), 2.0
        )
    assert (status, position) == (0, 1) and type(data) is float  # user data are nobody's number


# --- Scalars ------------------------------------------------------------------------


def read(identifier):
    return h5.H5Dread(identifier, *ALL)


def test_scalars_come_as_scalars(path):
    record = np.dtype([("n", "i2"), ("t", h5py.string_dtype()), ("v", h5py.vlen_dtype("i4"))])
    with h5py.File(path, "w") as file:
        for code in ("i1", "u2", "i4", "u8", "f4", "f8"):
            file[code] = np.dtype(code).type(3)
            value = read(file[code])
            assert type(value) is np.dtype(code).type and value == 3
        file["text"] = "Zürich"
        file["fixed"] = np.bytes_(b"abc")
        file["enum"] = np.array(1, h5py.enum_dtype({"a": 0, "b": 1}, "i1"))
        assert read(file["text"]) == "Zürich" and read(file["fixed"]) == "abc"
        assert type(read(file["enum"])) is np.int8
        file.create_dataset("record", (), record)[()] = (1, "x", np.arange(3, dtype="i4"))
        fields = read(file["record"])
        assert type(fields["n"]) is np.int16 and fields["t"] == "x"
        assert fields["v"].tolist() == [0, 1, 2]
        h5.H5Dwrite(file["record"], *ALL, fields)
        assert read(file["record"])["v"].tolist() == [0, 1, 2]
        attribute = h5.H5Acreate(
            file["text"], "unit", "H5T_STD_I16BE", h5py.h5s.create(h5py.h5s.SCALAR), "H5P_DEFAULT"
        )
        h5.H5Awrite(attribute, "H5ZB_DEFAULT", 7)
        assert type(h5.H5Aread(attribute, "H5ZB_DEFAULT")) is np.int16
        h5.H5Aclose(attribute)


def test_one_element_is_no_scalar(path):
    with h5py.File(path, "w") as file:
        file["n"] = [1.5]
        file["t"] = ["x"]
        assert read(file["n"]).shape == (1,) and read(file["t"]) == ["x"]


@pytest.mark.parametrize("shape", [(), (2,), (2, 2)], ids=str)
def test_a_terminated_text_ends_at_its_nul(path, shape):
    with h5py.File(path, "w") as file:
        for name, padding in (("ended", h5py.h5t.STR_NULLTERM), ("padded", h5py.h5t.STR_NULLPAD)):
            kind = h5py.h5t.C_S1.copy()
            kind.set_size(6)
            kind.set_strpad(padding)
            dims = (
                h5py.h5s.create(h5py.h5s.SCALAR) if shape == () else h5py.h5s.create_simple(shape)
            )
            dataset = h5py.h5d.create(file.id, name.encode(), kind, dims)
            dataset.write(dims, dims, np.full(shape, b"ab\0XY\0"), kind)
        ended, padded = read(file["ended"]), read(file["padded"])
    if shape == ():
        assert (ended, padded) == ("ab", "ab\0XY")
    else:
        assert set(ended.ravel().tolist()) == {b"ab"} and ended.shape == shape
        assert set(padded.ravel().tolist()) == {b"ab\0XY"}


# --- What nobody asked for ------------------------------------------------------------


def test_what_was_opened_and_not_asked_for_is_closed(path):
    with h5py.File(path, "w") as file:
        file["a"] = 1
        before = h5.H5Fget_obj_count(file, "H5F_OBJ_ALL")
        assert h5.H5Dopen(file, "a", nout=0) is None
        number = zembra.Id(h5.H5Iget_file_id(file))
        assert zembra.call("H5Dopen", number, "a", "H5P_DEFAULT", nout=0) is None
        number.close()
        assert h5.H5Fget_obj_count(file, "H5F_OBJ_ALL") == before
    h5.H5Fopen(path, "H5F_ACC_RDWR", "H5P_DEFAULT", nout=0)
    with h5py.File(path, "w"):  # nobody holds it open
        pass


def test_what_stays_open_is_what_was_asked_for():
    plist = h5.H5Pcreate("H5P_FILE_ACCESS")
    h5.H5Pset_fapl_family(plist, 4096, "H5P_DEFAULT")
    assert h5.H5Pget_fapl_family(plist, nout=1) == 4096
    size, members = h5.H5Pget_fapl_family(plist)
    assert size == 4096 and h5.H5Iis_valid(members)
    h5.H5Pclose(members)
    h5.H5Pset_fapl_multi(plist, True)
    kinds = h5.H5Pget_fapl_multi(plist, nout=1)
    assert len(kinds) == 7
    h5.H5Pclose(plist)  # the fixture counts what is left open
