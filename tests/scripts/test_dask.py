"""Datasets as dask arrays, and dask arrays as datasets."""

import os
import pickle
import subprocess
import sys
from pathlib import Path
from typing import Any

import numpy as np
import pytest

da = pytest.importorskip("dask.array", reason="dask is not installed")

import h5py  # noqa: E402 - skipped first

import zembra  # noqa: E402
from zembra.dask import from_dataset, to_dataset  # noqa: E402

ROOT = Path(__file__).resolve().parents[2]
SERIAL: dict[str, Any] = {"scheduler": "synchronous"}
VALUES = np.arange(7000.0).reshape(100, 70)

pytestmark = pytest.mark.filterwarnings("ignore::DeprecationWarning")  # of dask's own


@pytest.fixture
def sample(path):
    records = np.zeros(9, [("code", "S3"), ("at", [("lat", "f8")])])
    records["at"]["lat"] = np.arange(9)
    with h5py.File(path, "w") as file:
        file.create_dataset("grid", data=VALUES, chunks=(30, 20), compression="gzip")
        file["flat"] = VALUES.astype("i2")
        file["one"] = 2.5
        file["nothing"] = np.zeros((0, 4), "u1")
        file["table"] = records
        file.create_dataset("texts", data=["a", "bcd", "e"], dtype=h5py.string_dtype())
        file["bytes"] = np.array([b"ab", b"cde"])
        file["arrays"] = np.zeros(4, [("x", "i4", (2, 3))])["x"].reshape(4, 2, 3)
        file.create_dataset("inner", 5, np.dtype(("i4", (3,))))[...] = np.arange(15).reshape(5, 3)
        file["none"] = h5py.Empty("f8")
    return path


# --- Reading ----------------------------------------------------------------------------


def test_blocks_follow_the_chunks(sample):
    assert from_dataset(sample, "/grid").chunks == ((100,), (70,))
    with da.core.config.set({"array.chunk-size": "20 KiB"}):
        for sides, chunk in zip(from_dataset(sample, "/grid").chunks, (30, 20)):
            assert len(sides) > 1 and all(side % chunk == 0 for side in sides[:-1])
    assert from_dataset(sample, "/grid", chunks=(50, 70)).chunks == ((50, 50), (70,))


@pytest.mark.parametrize("name", ["/grid", "/flat", "/one", "/nothing", "/bytes", "/inner"])
def test_values_are_those_of_the_file(sample, name):
    array = from_dataset(sample, name)
    with h5py.File(sample) as file:
        expected = file[name][()]
    found = array.compute(**SERIAL)
    assert np.array_equal(found, expected)
    assert array.shape == found.shape == np.shape(expected)
    assert array.dtype == np.asarray(found).dtype == np.asarray(expected).dtype


def test_records_and_texts(sample):
    table = from_dataset(sample, "/table")
    assert table["at"]["lat"].sum().compute(**SERIAL) == 36
    texts = from_dataset(sample, "/texts", chunks=2)
    assert texts.dtype == object and texts.compute(**SERIAL).tolist() == ["a", "bcd", "e"]


@pytest.mark.parametrize(
    "index",
    [
        np.s_[3:50:7, ::-3],
        np.s_[-1, 5:],
        np.s_[99, 69],
        np.s_[::-1],
        np.s_[40:40],
        np.s_[[5, 80, 2], 3:9],
        np.s_[None, 5:7],
    ],
)
def test_any_part(sample, index):
    for chunks in ("auto", (33, 64)):
        found = from_dataset(sample, "/grid", chunks)[index].compute(**SERIAL)
        assert np.array_equal(found, VALUES[index])


def test_only_blocks_that_are_asked_for_are_read(sample, monkeypatch):
    read, blocks = zembra.dask.read, []
    array = from_dataset(sample, "/grid", chunks=(30, 20))

    def noted(dataset, block):
        blocks.append(tuple(block.size))
        return read(dataset, block)

    monkeypatch.setattr(zembra.dask, "read", noted)
    array[10:20, 65].compute(**SERIAL)
    assert blocks == [(30, 10)]


def test_many_files_are_one_array(tmp_path):
    for number in range(3):
        with h5py.File(tmp_path / f"s{number}.h5", "w") as file:
            file["x"] = VALUES + number
    array = from_dataset(tmp_path / "s*.h5", "x")
    assert array.shape == (3, 100, 70) and array.chunks[0] == (1, 1, 1)
    assert (array.compute(**SERIAL) == np.stack([VALUES, VALUES + 1, VALUES + 2])).all()
    some = from_dataset([tmp_path / "s2.h5", tmp_path / "s0.h5"], "x", chunks=(1, 50, 70))
    assert some.chunks == ((1, 1), (50, 50), (70,)) and some[:, 0, 0].compute().tolist() == [2, 0]
    with pytest.raises(FileNotFoundError, match="no file fits the pattern"):
        from_dataset(tmp_path / "t*.h5", "x")
    with pytest.raises(ValueError, match="a list of no files"):
        from_dataset([], "x")
    with h5py.File(tmp_path / "s1.h5", "w") as file:
        file["x"] = VALUES[:50]
    with pytest.raises(ValueError, match=r"s1.h5 is 50 x 70 of float64, in .*s0.h5 it is 100"):
        from_dataset(tmp_path / "s*.h5", "x")


def test_names_of_tasks_change_with_the_file(sample):
    name = from_dataset(sample, "/grid").name
    assert from_dataset(sample, "/grid").name == name
    os.utime(sample, (1, 1))
    assert from_dataset(sample, "/grid").name != name


def test_tasks_travel_and_hold_nothing_open(sample):
    array = pickle.loads(pickle.dumps(from_dataset(sample, "/grid")))
    assert (array.compute(scheduler="threads") == VALUES).all()


# --- Writing ----------------------------------------------------------------------------


def array_of_blocks(values=VALUES, chunks=(30, 40)):
    return da.from_array(values, chunks=chunks)


def test_blocks_are_joined_by_links_that_any_hdf5_reads(tmp_path):
    to_dataset(array_of_blocks(), tmp_path / "out.h5", "/a/b", gzip=4, shuffle=True, **SERIAL)
    (tmp_path / "out.h5.blocks").rename(tmp_path / "moved")
    (tmp_path / "out.h5").rename(tmp_path / "elsewhere.h5")
    os.mkdir(tmp_path / "far")
    (tmp_path / "moved").rename(tmp_path / "far" / "out.h5.blocks")
    (tmp_path / "elsewhere.h5").rename(tmp_path / "far" / "out.h5")
    with h5py.File(tmp_path / "far" / "out.h5") as file:
        group = file["a/b"]
        assert len(group) == 8
        assert group["3.1"].shape == (10, 30) and group["3.1"].compression == "gzip"
        assert (group["1.0"][...] == VALUES[30:60, :40]).all()
    array = from_dataset(tmp_path / "far" / "out.h5", "/a/b")
    assert (array.compute(**SERIAL) == VALUES).all()
    part = np.s_[25:95:7, ::-11]
    assert (array[part].compute(**SERIAL) == VALUES[part]).all()
    assert (from_dataset(tmp_path / "far" / "out.h5", "/a/b", (45, 33)).compute() == VALUES).all()


def test_blocks_are_gathered_into_one_dataset(tmp_path):
    more: dict[str, Any] = {"chunks": (10, 70), "gzip": 6, "fletcher32": True}
    to_dataset(array_of_blocks(), tmp_path / "out.h5", "x/y", gather=True, **more, **SERIAL)
    to_dataset(array_of_blocks() + 1, tmp_path / "out.h5", "z", gather=True, **SERIAL)
    assert os.listdir(tmp_path) == ["out.h5"]
    with h5py.File(tmp_path / "out.h5") as file:
        data = file["x/y"]
        assert (data[...] == VALUES).all() and (file["z"][...] == VALUES + 1).all()
        assert (data.chunks, data.compression_opts, data.fletcher32) == ((10, 70), 6, True)


@pytest.mark.parametrize(
    "values",
    [
        np.array(2.5),
        np.arange(5, dtype="u8"),
        np.array([True, False]),
        np.array([b"ab", b"c"]),
        np.array(["text", "ünï"], object),
        np.array([(1, b"x", [1.5, 2]), (2, b"", [0, 1])], "i4, S2, 2f8"),
    ],
    ids=lambda values: str(values.dtype),
)
def test_values_of_any_class_come_back(tmp_path, values):
    array = da.from_array(values, chunks=1 if values.ndim else ())
    for gather in (False, True):
        file = tmp_path / f"{gather}.h5"
        to_dataset(array, file, "x", gather=gather, **SERIAL)
        found = from_dataset(file, "x").compute(**SERIAL)
        assert np.array_equal(found, values.view("u1") if values.dtype == bool else values)


def test_what_cannot_be_written_is_refused_at_once(tmp_path):
    target = tmp_path / "out.h5"
    with pytest.raises(TypeError, match="no datatype for complex128"):
        to_dataset(array_of_blocks(VALUES.astype(complex)), target, "x")
    unknown = array_of_blocks()[array_of_blocks()[:, 0] > 5]
    with pytest.raises(ValueError, match="blocks of unknown size"):
        to_dataset(unknown, target, "x")
    assert os.listdir(tmp_path) == []
    to_dataset(array_of_blocks(), target, "x", **SERIAL)
    with pytest.raises(FileExistsError, match="there is a x in .*out.h5 already"):
        to_dataset(array_of_blocks() * 0, target, "x", **SERIAL)
    assert (from_dataset(target, "x").compute(**SERIAL) == VALUES).all()


def test_writing_may_wait(tmp_path):
    done = to_dataset(array_of_blocks(), tmp_path / "out.h5", "x", compute=False)
    assert os.listdir(tmp_path) == []
    assert done.compute(**SERIAL) == str(tmp_path / "out.h5")
    assert (from_dataset(tmp_path / "out.h5", "x").compute(**SERIAL) == VALUES).all()


# --- What fails -------------------------------------------------------------------------


def test_what_cannot_be_looked_at(sample, tmp_path):
    with pytest.raises(FileNotFoundError):
        from_dataset(tmp_path / "none.h5", "x")
    with pytest.raises(zembra.LibraryError) as caught:
        from_dataset(sample, "/missing")
    assert caught.value.__notes__[-1] == f"looking at /missing in {sample}"
    with pytest.raises(ValueError, match="/ in .* is a group, and none that to_dataset wrote"):
        from_dataset(sample, "/")
    with pytest.raises(ValueError, match="/none has no data"):
        from_dataset(sample, "/none")


@pytest.mark.parametrize("scheduler", ["synchronous", "threads", "processes"])
def test_the_block_that_fails_is_told(sample, scheduler):
    array = from_dataset(sample, "/grid", chunks=(30, 20))
    with h5py.File(sample) as file:
        where = file["grid"].id.get_chunk_info_by_coord((60, 20)).byte_offset
    with open(sample, "r+b") as file:
        file.seek(where)
        file.write(b"\xff" * 64)
    with pytest.raises(zembra.LibraryError) as caught:
        array.sum().compute(scheduler=scheduler, num_workers=1)
    notes = caught.value.__notes__
    assert f"reading block [60:90, 20:40] of /grid in {sample}" in notes
    assert "H5Dread" in str(caught.value)


def test_a_block_that_cannot_be_written_is_told(tmp_path):
    (tmp_path / "out.h5.blocks").write_text("in the way")
    with pytest.raises(OSError) as caught:
        to_dataset(array_of_blocks(), tmp_path / "out.h5", "x", **SERIAL)
    assert any(note.startswith("writing block [") for note in caught.value.__notes__)
    assert not (tmp_path / "out.h5").exists()


def test_without_dask_a_sentence_says_so():
    code = "import sys; sys.modules['dask'] = None; import zembra.dask"
    done = subprocess.run(
        [sys.executable, "-c", code],
        capture_output=True,
        text=True,
        check=False,
        env=dict(os.environ, PYTHONPATH=str(Path(zembra.__file__).parents[1])),
    )
    assert done.stderr.splitlines()[-1] == (
        "ImportError: zembra.dask needs dask, which is not installed (Debian: python3-dask)"
    )


# --- Processes and machines ---------------------------------------------------------------


def test_processes_read_and_write(sample, tmp_path):
    array = from_dataset(sample, "/grid", chunks=(50, 70)) + 1
    to_dataset(array, tmp_path / "out.h5", "x", scheduler="processes", num_workers=2)
    assert (from_dataset(tmp_path / "out.h5", "x").compute(**SERIAL) == VALUES + 1).all()


def test_the_climate_of_many_machines(tmp_path):
    pytest.importorskip("distributed", reason="distributed is not installed")
    done = subprocess.run(
        [sys.executable, ROOT / "examples" / "many_machines.py", tmp_path / "year"],
        capture_output=True,
        text=True,
        check=False,
        env=dict(os.environ, PYTHONPATH=str(Path(zembra.__file__).parents[1])),
    )
    assert done.returncode == 0, done.stderr
    assert done.stdout.startswith("4 workers, 24 stations; largest difference ")
