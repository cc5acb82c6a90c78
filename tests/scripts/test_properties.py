"""Properties through zembra, h5py and h5dump: what datasets are created with, files in
several parts, dimension scales."""

import subprocess
import sys
from pathlib import Path
from typing import Any

import h5py
import numpy as np
import pytest

import zembra
from compare import assert_same, h5py_read
from reader import h5dump
from test_data import datasets_of, read
from zembra import h5

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"


@pytest.fixture
def make_list():
    """Makes property lists of a class, closed at the end."""
    made = []

    def make(list_class):
        made.append(h5.H5Pcreate(list_class))
        return made[-1]

    yield make
    for plist in made:
        h5.H5Pclose(plist)


def create_file(path, access="H5P_DEFAULT"):
    return zembra.Id(h5.H5Fcreate(str(path), "H5F_ACC_TRUNC", "H5P_DEFAULT", access))


def write(file, name, values, creation="H5P_DEFAULT", datatype="H5T_IEEE_F64LE"):
    with zembra.Id(h5.H5Screate_simple(values.ndim, list(values.shape), [])) as space:
        with zembra.Id(h5.H5Dcreate(file, name, datatype, space, creation)) as dataset:
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", values)


def dump(*arguments):
    """What h5dump prints, in one line."""
    return " ".join(h5dump(*arguments).split())


# --- What datasets are created with -----------------------------------------------------


def compact(plist):
    h5.H5Pset_layout(plist, "H5D_COMPACT")


def early(plist):
    h5.H5Pset_alloc_time(plist, "H5D_ALLOC_TIME_EARLY")
    h5.H5Pset_fill_time(plist, "H5D_FILL_TIME_ALLOC")


def chunked(plist):
    h5.H5Pset_chunk(plist, [5, 20])


def deflated(plist):
    chunked(plist)
    h5.H5Pset_shuffle(plist)
    h5.H5Pset_deflate(plist, 7)
    h5.H5Pset_fletcher32(plist)


def scaled(plist):
    chunked(plist)
    h5.H5Pset_scaleoffset(plist, "H5Z_SO_INT", 9)


def packed(plist):
    chunked(plist)
    h5.H5Pset_nbit(plist)


def filled(plist):
    h5.H5Pset_fill_value(plist, "H5T_NATIVE_INT", np.int32(-7))


def undefined(plist):
    h5.H5Pset_fill_value(plist, "H5T_NATIVE_INT", [])


STORAGE: dict[Any, tuple[list[str], dict[str, Any]]] = {
    compact: (["COMPACT SIZE 800"], {"chunks": None}),
    early: (
        ["CONTIGUOUS SIZE 800", "FILL_TIME H5D_FILL_TIME_ALLOC", "H5D_ALLOC_TIME_EARLY"],
        {"chunks": None, "compression": None},
    ),
    chunked: (
        ["CHUNKED ( 5, 20 )", "FILTERS { NONE }", "H5D_ALLOC_TIME_INCR"],
        {"chunks": (5, 20), "compression": None, "shuffle": False},
    ),
    deflated: (
        ["PREPROCESSING SHUFFLE COMPRESSION DEFLATE { LEVEL 7 } CHECKSUM FLETCHER32"],
        {
            "chunks": (5, 20),
            "compression": "gzip",
            "compression_opts": 7,
            "shuffle": True,
            "fletcher32": True,
        },
    ),
    scaled: (["COMPRESSION SCALEOFFSET"], {"scaleoffset": 9}),
    packed: (["COMPRESSION NBIT"], {"chunks": (5, 20)}),
    filled: (["VALUE -7"], {"fillvalue": -7}),
    undefined: (["VALUE H5D_FILL_VALUE_UNDEFINED"], {}),
}


@pytest.mark.parametrize("prepare", STORAGE, ids=lambda prepare: prepare.__name__)
def test_h5dump_and_h5py_see_what_was_set(path, make_list, prepare):
    creation = make_list("H5P_DATASET_CREATE")
    prepare(creation)
    values = np.arange(200, dtype="int32").reshape(10, 20)
    with create_file(path) as file:
        write(file, "values", values, creation, "H5T_STD_I32LE")
    printed, seen = STORAGE[prepare]
    dumped = dump("-p", "-H", path)
    for words in printed:
        assert words in dumped
    with h5py.File(path) as file:
        dataset = file["values"]
        for name, value in seen.items():
            assert getattr(dataset, name) == value
        assert np.array_equal(dataset[()], values)


@pytest.mark.parametrize("prepare", STORAGE, ids=lambda prepare: prepare.__name__)
def test_a_dataset_gives_back_what_it_was_created_with(path, make_list, prepare):
    creation = make_list("H5P_DATASET_CREATE")
    prepare(creation)
    with create_file(path) as file:
        write(file, "values", np.zeros((10, 20), dtype="int32"), creation, "H5T_STD_I32LE")
        with zembra.Id(h5.H5Dopen(file, "values")) as dataset:
            with zembra.Id(h5.H5Dget_create_plist(dataset)) as kept:
                assert h5.H5Pget_layout(kept) == h5.H5Pget_layout(creation)
                assert h5.H5Pget_fill_time(kept) == h5.H5Pget_fill_time(creation)
                assert h5.H5Pfill_value_defined(kept) == h5.H5Pfill_value_defined(creation)
                filters = h5.H5Pget_nfilters(creation)
                assert h5.H5Pget_nfilters(kept) == filters
                for index in range(int(filters)):
                    ours = h5.H5Pget_filter(kept, index)
                    assert ours[0] == h5.H5Pget_filter(creation, index)[0]
                    assert len(ours) == 5


def test_h5py_datasets_tell_how_they_are_stored(path):
    with h5py.File(path, "w") as file:
        file.create_dataset(
            "values",
            (10, 20),
            "f8",
            chunks=(5, 4),
            compression="gzip",
            compression_opts=3,
            shuffle=True,
            fillvalue=2.5,
        )
    with zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")) as file:
        with zembra.Id(h5.H5Dopen(file, "values")) as dataset:
            with zembra.Id(h5.H5Dget_create_plist(dataset)) as creation:
                rank, chunk = h5.H5Pget_chunk(creation)
                assert (rank, list(chunk)) == (2, [5, 4])
                assert h5.H5Pget_fill_value(creation, "H5T_NATIVE_DOUBLE") == 2.5
                names = [h5.H5Pget_filter(creation, index)[3] for index in (0, 1)]
                assert names == ["shuffle", "deflate"]
                flags, data, name, _ = h5.H5Pget_filter_by_id(creation, "H5Z_FILTER_DEFLATE")
                assert (flags, list(data), name) == (1, [3], "deflate")


@pytest.mark.parametrize(
    "value, datatype",
    [
        (np.int8(-3), "H5T_STD_I8LE"),
        (np.uint16(40000), "H5T_STD_U16BE"),
        (np.int64(-(2**40)), "H5T_STD_I64LE"),
        (np.float32(0.1), "H5T_IEEE_F32BE"),
        (2.5, "H5T_IEEE_F64LE"),
    ],
)
def test_fill_values_are_what_h5py_reads(path, make_list, value, datatype):
    creation = make_list("H5P_DATASET_CREATE")
    h5.H5Pset_fill_value(creation, datatype, value)
    with create_file(path) as file:
        with zembra.Id(h5.H5Screate_simple(1, [3], [])) as space:
            h5.H5Dclose(h5.H5Dcreate(file, "values", datatype, space, creation))
    with h5py.File(path) as file:
        assert file["values"].fillvalue == value
        assert (file["values"][()] == value).all()


def test_fill_values_of_text_and_records(path, make_list):
    creation = make_list("H5P_DATASET_CREATE")
    with zembra.Id(h5.H5Tcopy("H5T_C_S1")) as text:
        h5.H5Tset_size(text, "H5T_VARIABLE")
        h5.H5Pset_fill_value(creation, text, ["not measured"])
        assert h5.H5Pget_fill_value(creation, text) == "not measured"
        with create_file(path) as file, zembra.Id(h5.H5Screate_simple(1, [2], [])) as space:
            h5.H5Dclose(h5.H5Dcreate(file, "texts", text, space, creation))
    with zembra.Id(h5.H5Tcreate("H5T_COMPOUND", 12)) as record:
        h5.H5Tinsert(record, "n", 0, "H5T_NATIVE_INT")
        h5.H5Tinsert(record, "x", 4, "H5T_NATIVE_DOUBLE")
        h5.H5Pset_fill_value(creation, record, {"x": 0.5, "n": np.int32(9)})
        value = h5.H5Pget_fill_value(creation, record)
        assert (value["n"], value["x"]) == (9, 0.5)
    with h5py.File(path) as file:
        assert list(file["texts"].asstr()) == ["not measured"] * 2


def test_external_files_hold_the_raw_data(tmp_path, path, make_list, monkeypatch):
    monkeypatch.chdir(tmp_path)
    creation = make_list("H5P_DATASET_CREATE")
    h5.H5Pset_external(creation, "first.raw", 16, 400)
    h5.H5Pset_external(creation, "second.raw", 0, "H5F_UNLIMITED")
    values = np.arange(100.0)
    with create_file(path) as file:
        write(file, "values", values, creation)
    with h5py.File(path) as file:
        assert file["values"].external == [
            ("first.raw", 16, 400),
            ("second.raw", 0, h5py.h5f.UNLIMITED),
        ]
        assert np.array_equal(file["values"][()], values)
    assert "FILENAME first.raw SIZE 400 OFFSET 16 FILENAME second.raw" in dump("-p", "-H", path)
    raw = Path("first.raw").read_bytes()[16:] + Path("second.raw").read_bytes()
    assert np.array_equal(np.frombuffer(raw), values)


# --- Files in several parts ------------------------------------------------------------


def assert_reads_alike(path, access, h5py_access):
    """Every dataset of a file, through lists of the same driver on either side."""
    theirs = h5py.File(h5py.h5f.open(path.encode(), h5py.h5f.ACC_RDONLY, h5py_access))
    with theirs, zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", access)) as file:
        datasets = datasets_of(theirs)
        assert datasets
        for name, dataset in datasets.items():
            assert_same(read(file, name), h5py_read(dataset), dataset.dtype, dataset.shape)


def h5py_list():
    return h5py.h5p.create(h5py.h5p.FILE_ACCESS)


def test_a_family_of_others_reads_alike(shared_data, make_list):
    access = make_list("H5P_FILE_ACCESS")
    h5.H5Pset_fapl_family(access, 5120, "H5P_DEFAULT")
    theirs = h5py_list()
    theirs.set_fapl_family(5120, h5py_list())
    assert_reads_alike(str(shared_data / "family_v16_%05d.h5"), access, theirs)


def their_split_list():
    if h5py.version.hdf5_version_tuple >= (1, 12, 0):
        pytest.skip("HDF5's own H5Pset_fapl_split leaves five lists open since 1.12")
    theirs = h5py_list()
    theirs.set_fapl_split(b"-m.h5", h5py_list(), b"-r.h5", h5py_list())
    return theirs


def test_a_split_file_of_others_reads_alike(shared_data, make_list):
    access = make_list("H5P_FILE_ACCESS")
    h5.H5Pset_fapl_split(access, "-m.h5", "H5P_DEFAULT", "-r.h5", "H5P_DEFAULT")
    theirs = their_split_list()
    assert_reads_alike(str(shared_data / "tsplit_file"), access, theirs)


def test_h5py_and_h5dump_read_a_family(tmp_path, make_list):
    access = make_list("H5P_FILE_ACCESS")
    h5.H5Pset_fapl_family(access, 4096, "H5P_DEFAULT")
    path = str(tmp_path / "part%d.h5")
    values = np.arange(2000.0)
    with create_file(path, access) as file:
        write(file, "values", values)
    assert len(list(tmp_path.glob("part*.h5"))) > 3
    with h5py.File(path, "r", driver="family", memb_size=4096) as file:
        assert np.array_equal(file["values"][()], values)
    assert "( 2000 )" in dump("-H", "-f", "family", path)


def test_h5py_and_h5dump_read_a_split_file(tmp_path, make_list):
    access = make_list("H5P_FILE_ACCESS")
    h5.H5Pset_fapl_split(access, "-m.h5", "H5P_DEFAULT", "-r.h5", "H5P_DEFAULT")
    path = str(tmp_path / "halves")
    values = np.arange(2000.0)
    with create_file(path, access) as file:
        write(file, "values", values)
    assert sorted(part.name for part in tmp_path.iterdir()) == ["halves-m.h5", "halves-r.h5"]
    theirs = their_split_list()
    assert_reads_alike(path, access, theirs)
    assert "( 2000 )" in dump("-H", "-f", "split", path)


def test_multi_properties_come_as_python_values(make_list):
    access = make_list("H5P_FILE_ACCESS")
    h5.H5Pset_fapl_multi(
        access,
        [1, 1, 1, 3, 3, 1, 1],
        [0] * 7,
        ["%s-m.h5"] * 3 + ["%s-r.h5"] * 2 + ["%s-m.h5"] * 2,
        [0, 0, 0, 1e15, 1e15, 0, 0],
        False,
    )
    memb_map, memb_fapl, memb_name, memb_addr, relax = h5.H5Pget_fapl_multi(access)
    for member in memb_fapl:
        h5.H5Pclose(member)
    assert list(memb_map) == [1, 1, 1, 3, 3, 1, 1]
    assert memb_name[2:4] == ["%s-m.h5", "%s-r.h5"]
    assert list(memb_addr) == [0, 0, 0, 1e15, 1e15, 0, 0]
    assert relax is False


# --- Dimension scales ------------------------------------------------------------------


def scales_of(dataset, dimension):
    """Names of the scales of a dimension, by H5DSiterate_scales."""
    if h5.H5DSget_num_scales(dataset, dimension) == 0:
        return []

    def note(_dataset, _dimension, scale, names):
        return 0, names + [(h5.H5Iget_name(scale), h5.H5DSget_scale_name(scale))]

    status, _, names = h5.H5DSiterate_scales(dataset, dimension, [], note, [])
    assert status == 0
    return names


def assert_scales_alike(path):
    """Labels and scales of every dataset as h5py has them; gives how many there are."""
    found = 0
    with (
        h5py.File(path) as theirs,
        zembra.Id(h5.H5Fopen(str(path), "H5F_ACC_RDONLY", "H5P_DEFAULT")) as file,
    ):
        for name, expected in datasets_of(theirs).items():
            with zembra.Id(h5.H5Dopen(file, name)) as dataset:
                is_scale = h5.H5DSis_scale(dataset)
                assert is_scale == h5py.h5ds.is_scale(expected.id)
                if is_scale:
                    scale_name = h5py.h5ds.get_scale_name(expected.id)
                    assert h5.H5DSget_scale_name(dataset).encode() == scale_name
                for index, dimension in enumerate(expected.dims):
                    assert h5.H5DSget_label(dataset, index) == dimension.label
                    assert h5.H5DSget_num_scales(dataset, index) == len(dimension)
                    scales = scales_of(dataset, index)
                    assert scales == [(scale.name, key) for key, scale in dimension.items()]
                    found += len(scales)
    return found


def test_scales_of_others_are_as_h5py_has_them(shared_data):
    assert assert_scales_alike(shared_data / "test_ds_le.h5") > 0


def test_h5py_and_h5dump_find_the_scales(path):
    with create_file(path) as file:
        write(file, "data", np.zeros((3, 4)))
        write(file, "rows", np.arange(3.0))
        write(file, "other rows", np.arange(3.0) / 2)
        write(file, "columns", np.arange(4.0))
        scales = [("rows", "R", 0), ("other rows", [], 0), ("columns", "C", 1)]
        with zembra.Id(h5.H5Dopen(file, "data")) as data:
            for name, scale_name, dimension in scales:
                with zembra.Id(h5.H5Dopen(file, name)) as scale:
                    h5.H5DSset_scale(scale, scale_name)
                    h5.H5DSattach_scale(data, scale, dimension)
            h5.H5DSset_label(data, 0, "along")
            h5.H5DSset_label(data, 1, "across")
    assert assert_scales_alike(path) == 3
    with h5py.File(path) as file:
        assert [dimension.label for dimension in file["data"].dims] == ["along", "across"]
        assert list(file["data"].dims[0].keys()) == ["R", ""]
        assert np.array_equal(file["data"].dims[1]["C"][()], np.arange(4.0))
    dumped = dump("-A", path)
    assert '(0): "along", "across"' in dumped
    assert '"DIMENSION_SCALE"' in dumped


def test_scales_of_h5py_are_found(path):
    with h5py.File(path, "w") as file:
        data = file.create_dataset("data", data=np.zeros((2, 3, 4)))
        for name, size in (("a", 2), ("b", 3), ("c", 4)):
            file[name] = np.arange(size)
            file[name].make_scale(f"scale {name}")
        for dimension, name in enumerate("abc"):
            data.dims[dimension].label = f"größe {name}"
            data.dims[dimension].attach_scale(file[name])
        data.dims[0].attach_scale(file["b"])
    assert assert_scales_alike(path) == 4


def test_a_failing_visit_names_its_cause(path):
    with create_file(path) as file:
        write(file, "data", np.zeros(3))
        write(file, "scale", np.zeros(3))
        with zembra.Id(h5.H5Dopen(file, "data")) as data:
            with zembra.Id(h5.H5Dopen(file, "scale")) as scale:
                h5.H5DSset_scale(scale, "s")
                h5.H5DSattach_scale(data, scale, 0)

                def fail(*_arguments):
                    raise LookupError("not this one")

                with pytest.raises(zembra.Error) as raised:
                    h5.H5DSiterate_scales(data, 0, 0, fail, None)
    assert raised.value.key == "iterateScalesFailure"
    assert isinstance(raised.value.__cause__, LookupError)


# --- Property lists as such --------------------------------------------------------------


def test_properties_are_iterated(make_list):
    plist = make_list("H5P_LINK_CREATE")
    names = []

    def note(owner, name):
        assert owner == plist
        names.append(name)
        return 0

    status, index = h5.H5Piterate(plist, 0, note)
    assert (status, index) == (0, len(names))
    assert "intermediate_group" in names
    assert h5.H5Piterate(plist, 0, lambda *_: 1) == (1, 1)

    def fail(_plist, _name):
        raise LookupError("no property is good enough")

    with pytest.raises(zembra.Error) as raised:
        h5.H5Piterate(plist, 0, fail)
    assert raised.value.key == "propertyListIteratorCallback"
    assert isinstance(raised.value.__cause__, LookupError)


def test_properties_are_bytes(make_list):
    plist = make_list("H5P_FILE_ACCESS")
    h5.H5Pset_cache(plist, 0, 521, 123456, 0.5)
    raw = h5.H5Pget(plist, "rdcc_nbytes")
    assert raw.dtype == np.uint8 and raw.shape == (8,)
    assert raw.view("u8")[0] == 123456
    h5.H5Pset(plist, "rdcc_nbytes", np.array([654321]).view("u1"))
    assert h5.H5Pget_cache(plist)[2] == 654321
    with pytest.raises(zembra.Error) as raised:
        h5.H5Pset(plist, "rdcc_nbytes", np.zeros(8))
    assert raised.value.key == "badInputArgumentForH5Pset"
    assert raised.value.parameters == ["rdcc_nbytes", 8]


@pytest.mark.parametrize("nout", range(1, 6))
def test_as_much_of_a_filter_as_asked_for(make_list, nout):
    plist = make_list("H5P_DATASET_CREATE")
    h5.H5Pset_deflate(plist, 4)
    whole = h5.H5Pget_filter(plist, 0)
    some = h5.H5Pget_filter(plist, 0, nout=nout)
    assert some == whole[0] if nout == 1 else repr(some) == repr(whole[:nout])


# --- The example -----------------------------------------------------------------------


def test_the_example_keeps_a_lake(tmp_path):
    path = tmp_path / "lake.h5"
    printed = subprocess.run(
        [sys.executable, EXAMPLES / "compressed_timeseries.py", path],
        check=True,
        capture_output=True,
        text=True,
    ).stdout
    assert "in chunks of 1440 x 1 through shuffle, deflate, fletcher32" in printed
    assert assert_scales_alike(path) == 2
    with h5py.File(path) as file:
        dataset = file["temperature"]
        values = dataset[()]
        assert [dimension.label for dimension in dataset.dims] == ["time", "depth"]
        assert dataset.id.get_storage_size() < values.nbytes / 4
        assert f"{dataset.id.get_storage_size():,}" in printed
        assert np.isnan(dataset.fillvalue)
        missing = np.isnan(values)
        assert missing.sum() == missing[:, 2].sum() == 3 * 1440
        assert dataset.dims[1][0][2] == 5.0
