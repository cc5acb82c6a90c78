"""`zembra copy`, alias repack, with h5diff and h5py as judges."""

import os
import shutil

import h5py
import numpy as np
import pytest

from command import refused, run
from test_diff import h5diff, write
from zembra._copy import Storage, copy, guessed_chunk


@pytest.fixture
def files(tmp_path):
    write(tmp_path / "a.h5")
    with h5py.File(tmp_path / "a.h5", "a") as file:
        big = np.arange(40000, dtype="i4").reshape(200, 200)
        file.create_dataset("big", data=big, maxshape=(None, 200), chunks=(10, 200))
        file["flat"] = big
        file["type again"] = file["type"]
        h5py.h5o.set_comment(file["flat"].id, b"not round")
        file.create_dataset("typed", (3,), file["type"])[...] = [1, 2, 3]
        file["typed"].attrs.create("kind", [4, 5], dtype=file["type"])
        file["scale"] = np.arange(200.0)
        file["scale"].make_scale("time")
        file["big"].dims[0].attach_scale(file["scale"])
        ordered = file.create_group("ordered", track_order=True)
        for name in ("z", "a", "m"):
            ordered[name] = h5py.SoftLink("/flat")
            ordered.attrs[name] = name
        file["group/up"] = file
    return tmp_path / "a.h5", tmp_path / "b.h5"


def copied(capsys, files, *options):
    done = run(capsys, "copy", *files, *options)
    assert (done.status, done.err) == (0, ""), done
    assert run(capsys, "diff", *files) == (0, "", "")
    assert not h5diff("-c", *files)
    assert not list(files[1].parent.glob("*.part"))
    return done.out


def test_everything_is_kept(files, capsys):
    text = copied(capsys, files)
    sizes = [os.path.getsize(path) for path in files]
    assert text.startswith(f"{files[0]}: {sizes[0]:,} bytes -> {files[1]}: {sizes[1]:,} bytes (")
    with h5py.File(files[1]) as file:
        assert file["again"] == file["group/grid"] and file["group/up"] == file["/"]
        assert list(file["ordered"]) == ["z", "a", "m"]
        assert list(file["ordered"].attrs) == ["z", "a", "m"]
        assert file["big"].chunks == (10, 200) and file["big"].maxshape == (None, 200)
        assert file["flat"].chunks is None
        assert file["big"].dims[0]["time"] == file["scale"]
        assert file[file["table"][0]["ref"]] == file["group"]
        assert file["type"] == file["type again"]
        kind = h5py.h5o.get_info(file["type"].id)
        for typed in (file["typed"].id, file["typed"].attrs.get_id("kind")):
            assert typed.get_type().committed()
            assert h5py.h5o.get_info(typed.get_type()).addr == kind.addr
        assert kind.rc == 4  # two names, a dataset, an attribute
        with h5py.File(files[0]) as original:
            assert sorted(file) == sorted(original), "something of the making is left"


def test_stored_otherwise(files, capsys):
    text = copied(capsys, files, "--gzip", 6, "--shuffle", "--chunks", "20x50")
    assert os.path.getsize(files[1]) < os.path.getsize(files[0]) / 3 and "%" in text
    with h5py.File(files[1]) as file:
        for name in ("big", "flat"):
            data = file[name]
            filters = (data.chunks, data.shuffle, data.compression, data.compression_opts)
            assert filters == ((20, 50), True, "gzip", 6), name
        assert file["typed"].chunks is None and file["lists"].chunks is None
    again = files[1], files[1].with_name("c.h5")
    copied(capsys, again, "--no-filters", "--contiguous")
    with h5py.File(again[1]) as file:
        assert file["flat"].chunks is None and file["flat"].compression is None
        assert file["big"].chunks == (20, 50) and file["big"].compression is None


def test_checksums_and_chunks_of_their_own_shape(files, capsys):
    copied(capsys, files, "--fletcher32")
    with h5py.File(files[1]) as file:
        assert file["flat"].fletcher32 and file["flat"].chunks == (200, 200)
        assert file["big"].chunks == (10, 200)
    assert guessed_chunk([4, 1 << 20], 8) == [4, 1 << 15]
    assert guessed_chunk([0, 5], 8) == [1, 5]
    assert guessed_chunk([3], 1 << 30) == [1]


def test_what_is_empty_stays_so(tmp_path, capsys):
    with h5py.File(tmp_path / "a.h5", "w", userblock_size=512) as file:
        file.create_dataset("sparse", (1 << 20, 1 << 20), "f8", chunks=(1024, 1024), fillvalue=7)
        file.create_dataset("grows", (0, 3), maxshape=(None, 3))
        file["large"] = np.zeros(1000)
    (tmp_path / "block").write_bytes(b"#!/bin/sh\n")
    with open(tmp_path / "a.h5", "r+b") as file:
        file.write(b"#!/bin/sh\n")
    done = run(capsys, "repack", tmp_path / "a.h5", tmp_path / "b.h5", "--gzip", 1)
    assert done.status == 0, done
    with h5py.File(tmp_path / "b.h5") as file:
        assert file["sparse"].id.get_storage_size() == 0 and file["sparse"][5, 5] == 7
        assert file["grows"].maxshape == (None, 3) and file["large"].compression == "gzip"
        assert file.userblock_size == 512
    assert (tmp_path / "b.h5").read_bytes().startswith(b"#!/bin/sh\n\0")


def test_data_in_other_files_come_home(tmp_path, capsys, monkeypatch):
    monkeypatch.chdir(tmp_path)
    with h5py.File("a.h5", "w") as file:
        file.create_dataset("out", (500,), "i4", external=[("raw", 0, 2000)])[...] = range(500)
    before = (tmp_path / "raw").read_bytes()
    copied(capsys, (tmp_path / "a.h5", tmp_path / "b.h5"))
    with h5py.File("b.h5") as file:
        assert file["out"].external is None and file["out"][499] == 499
    assert (tmp_path / "raw").read_bytes() == before


def test_numbers_that_memory_has_no_like_for(tmp_path, capsys):
    values = np.array([1, 3], np.longdouble) / 3
    with h5py.File(tmp_path / "a.h5", "w") as file:
        file["long"] = np.repeat(values, 500)
    assert run(capsys, "copy", tmp_path / "a.h5", tmp_path / "b.h5", "--gzip", 1).status == 0
    with h5py.File(tmp_path / "b.h5") as file:
        assert (file["long"][...] == np.repeat(values, 500)).all()
        file.close()
    with h5py.File(tmp_path / "a.h5", "a") as file:
        file.attrs["long"] = values
    words = tmp_path / "a.h5", tmp_path / "c.h5"
    assert refused(capsys, "copy", *words).startswith("/@long cannot be copied")
    assert sorted(path.name for path in tmp_path.iterdir()) == ["a.h5", "b.h5"]


def test_files_that_are_there_are_kept(files, capsys):
    files[1].write_text("precious")
    assert refused(capsys, "copy", *files).endswith("b.h5 is there already; --force replaces it")
    assert files[1].read_text() == "precious"
    copied(capsys, files, "--force")
    shutil.copy(*files)
    before = os.path.getsize(files[0])
    assert run(capsys, "repack", files[1], files[1], "--force", "--gzip", 9).status == 0
    assert os.path.getsize(files[1]) < before / 2
    assert run(capsys, "diff", *files).status == 0


@pytest.mark.parametrize(
    "options, sentence",
    [
        (["--gzip", "10"], "10 is no level from 0 to 9"),
        (["--gzip", "-1"], "-1 is no level from 0 to 9"),
        (["--chunks", "3x"], "3x is no shape such as 24x4"),
        (["--chunks", "0x5"], "0x5 is no shape such as 24x4"),
    ],
)
def test_options_that_make_no_sense(files, capsys, options, sentence):
    option, value = options
    done = run(capsys, "copy", *files, f"{option}={value}")
    assert done.status == 2 and sentence in done.err and not files[1].exists()


def test_a_copy_that_fails_leaves_nothing(files, capsys, tmp_path):
    with h5py.File(files[0], "a") as file:
        file.create_dataset("lost", (500,), "i4", external=[("gone", 0, 2000)])
    assert "/lost cannot be copied" in refused(capsys, "copy", *files)
    assert not files[1].exists() and not list(tmp_path.glob("*.part"))
    assert "No such file" in refused(capsys, "copy", files[0], tmp_path / "no" / "b.h5")
    assert "No such file" in refused(capsys, "copy", tmp_path / "none.h5", files[1])


def test_progress_counts_every_byte(files):
    totals: list[int] = []
    steps: list[int] = []
    source, target = map(str, files)
    copy(source, target, Storage(gzip=1), begin=totals.append, progress=steps.append)
    assert len(totals) == 1 and sum(steps) == totals[0] > 300_000


def test_samples_are_copied(shared_data, capsys, tmp_path):
    left_out = {}
    for path in sorted(shared_data.glob("*.h5")):
        pair = path, tmp_path / path.name
        done = run(capsys, "copy", *pair, "--gzip", 4, "--shuffle")
        if done.status:
            left_out[path.name] = done.err.strip()
            continue
        assert run(capsys, "diff", *pair) == (0, "", ""), path
        assert not h5diff("-c", *pair), path
    print("left out:", *left_out.items(), sep="\n  ")
    assert len(left_out) <= 8, left_out
