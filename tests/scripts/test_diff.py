"""`zembra diff`, with h5diff as the judge."""

import shutil
import subprocess

import h5py
import numpy as np
import pytest

from command import refused, run
from samples import open_to_h5py


def write(path):
    records = np.zeros(3, [("n", "i4"), ("at", [("x", "f8")]), ("ref", h5py.ref_dtype)])
    with h5py.File(path, "w") as file:
        file.attrs["title"] = "one"
        file.attrs["range"] = np.arange(3)
        group = file.create_group("group")
        group["grid"] = np.arange(600.0).reshape(20, 30)
        group["grid"][2, 3] = np.nan
        file["again"] = group["grid"]
        file["soft"] = h5py.SoftLink("/group/grid")
        file["out"] = h5py.ExternalLink("x.h5", "/y")
        records["ref"] = group.ref
        file["table"] = records
        file["text"] = "word"
        file.create_dataset("texts", data=["a", "bc"], dtype=h5py.string_dtype())
        lists = file.create_dataset("lists", 2, h5py.vlen_dtype("i4"))
        lists[0], lists[1] = [1, 2], [3]
        file["type"] = np.dtype("i4")
        file["none"] = h5py.Empty("f4")
        refs = file.create_dataset("refs", 1, h5py.ref_dtype)
        refs[0] = group.ref
        regions = file.create_dataset("regions", 1, h5py.regionref_dtype)
        regions[0] = group["grid"].regionref[1:3, 4:6]


def h5diff(*words):
    """Whether h5diff finds anything: to what it cannot compare, it gives no status."""
    done = subprocess.run(["h5diff", *map(str, words)], capture_output=True, text=True, check=False)
    assert not done.stderr, done
    lines = [line for line in done.stdout.splitlines() if "is an empty dataset" not in line]
    return bool(done.returncode or any("ot comparable" in line for line in lines))


@pytest.fixture
def pair(tmp_path):
    """Two files of the same content."""
    write(tmp_path / "a.h5")
    shutil.copy(tmp_path / "a.h5", tmp_path / "b.h5")
    return tmp_path / "a.h5", tmp_path / "b.h5"


def told(capsys, pair):
    done = run(capsys, "diff", *pair)
    assert done.err == ""
    assert done.status == bool(done.out)
    return done.out.splitlines()


def test_nothing_differs(pair, capsys):
    assert told(capsys, pair) == [] and not h5diff("-c", *pair)
    assert told(capsys, [pair[0], pair[0]]) == []


def replace(file, name, value, **more):
    del file[name]
    file.create_dataset(name, data=value, **more)


def change_value(file):
    file["group/grid"][4, 5:8] = 0


def change_record(file):
    table = file["table"][:]
    table["at"]["x"][1] = 2
    file["table"][...] = table


def change_reference(file):
    file["refs"][0] = file["group/grid"].ref


def change_region(file):
    file["regions"][0] = file["group/grid"].regionref[1:3, 4:7]


def change_sequence(file):
    file["lists"][1] = [3, 4]


CHANGES = {
    "an attribute": (
        lambda file: file.attrs.__setitem__("title", "two"),
        ["/@title: the value is 'one', and 'two'"],
    ),
    "an attribute's extent": (
        lambda file: file.attrs.__setitem__("range", np.arange(4)),
        ["/@range: the extent is 3, and 4"],
    ),
    "attributes": (
        lambda file: (file["group"].attrs.__setitem__("new", 1), file.attrs.__delitem__("title")),
        ["/@title: only in the first", "/group@new: only in the second"],
    ),
    "values": (
        change_value,
        ["/again: 3 of 600 values, the first at [4, 5]: 125, and 0"],
    ),
    "a record": (
        change_record,
        [
            "/table: 1 of 3 values, the first at [1]: "
            "{n: 0, at: {x: 0}, ref: '/group'}, and {n: 0, at: {x: 2}, ref: '/group'}"
        ],
    ),
    "a text": (
        lambda file: file["text"].__setitem__((), "other"),
        ["/text: the value is 'word', and 'other'"],
    ),
    "texts": (
        lambda file: file["texts"].__setitem__(1, "b"),
        ["/texts: 1 of 2 values, the first at [1]: 'bc', and 'b'"],
    ),
    "a sequence": (
        change_sequence,
        ["/lists: 1 of 2 values, the first at [1]: [3], and [3, 4]"],
    ),
    "a reference": (
        change_reference,
        ["/refs: 1 of 1 values, the first at [0]: '/group', and '/again'"],
    ),
    "a region": (
        change_region,
        [
            "/regions: 1 of 1 values, the first at [0]: "
            "'/again[1:3, 4:6]', and '/again[1:3, 4:7]'"
        ],
    ),
    "an extent": (
        lambda file: replace(file, "texts", [1, 2, 3]),
        ["/texts: the extent is 2, and 3"],
    ),
    "a datatype": (
        lambda file: replace(file, "text", 1.5),
        ["/text: the datatype is text of any length, and 64-bit float"],
    ),
    "a committed datatype": (
        lambda file: (file.__delitem__("type"), file.__setitem__("type", np.dtype("i8"))),
        ["/type: the datatype is 32-bit integer, and 64-bit integer"],
    ),
    "a kind": (
        lambda file: (file.__delitem__("text"), file.create_group("text")),
        ["/text: dataset, and group"],
    ),
    "no data": (
        lambda file: replace(file, "none", 1.0, dtype="f4"),
        ["/none: the extent is no data, and a single value"],
    ),
}


# By h5diff: the length of a sequence, where a region ends, that there is nothing.
UNSEEN = "a sequence", "a region", "no data"


@pytest.mark.parametrize("name", CHANGES)
def test_what_differs_is_told_by_path(pair, capsys, name):
    change, lines = CHANGES[name]
    with h5py.File(pair[1], "a") as file:
        change(file)
    assert told(capsys, pair) == lines
    assert h5diff("-c", *pair) or name in UNSEEN


def test_links_that_differ(pair, capsys):
    """Which h5diff does not look at."""
    with h5py.File(pair[1], "a") as file:
        for name in ("soft", "out", "again"):
            del file[name]
        file["soft"] = h5py.SoftLink("/group")
        file["out"] = h5py.ExternalLink("z.h5", "/y")
        file["again"] = file["group/grid"][...]
    assert told(capsys, pair) == [
        "/group/grid: the same as /again, and dataset",
        "/out: -> /y in x.h5, and -> /y in z.h5",
        "/regions: 1 of 1 values, the first at [0]: "
        "'/again[1:3, 4:6]', and '/group/grid[1:3, 4:6]'",
        "/soft: -> /group/grid, and -> /group",
    ]


def test_what_is_in_one_only_is_told_once(pair, capsys):
    with h5py.File(pair[1], "a") as file:
        file["new/below/values"] = 1
        del file["soft"]
    assert told(capsys, pair) == ["/new: only in the second", "/soft: only in the first"]
    assert h5diff("-c", *pair)


def test_how_it_is_stored_makes_no_difference(pair, capsys):
    with h5py.File(pair[1], "a") as file:
        values = file["group/grid"][...]
        del file["again"]
        replace(file, "group/grid", values, chunks=(7, 11), compression="gzip")
        file["again"] = file["group/grid"]
        file["refs"][0] = file["group"].ref
        file["regions"][0] = file["group/grid"].regionref[1:3, 4:6]
    assert told(capsys, pair) == []
    assert not h5diff("-c", *pair)


def test_what_can_be_compared_is_when_something_cannot(pair, capsys):
    with h5py.File(pair[0]) as file:
        address = h5py.h5o.get_info(file["texts"].id).addr
    with h5py.File(pair[1], "a") as file:
        file.attrs["title"] = "two"
    with open(pair[1], "r+b") as file:
        file.seek(address)
        file.write(b"\xff" * 16)
    done = run(capsys, "diff", *pair)
    assert done.status == 2 and "/@title: the value" in done.out and "/texts: " in done.out


def test_files_that_are_none(pair, capsys, tmp_path):
    (tmp_path / "text.h5").write_text("not this")
    for bad, sentence in (("text.h5", "is no HDF5 file"), ("none.h5", "No such file or directory")):
        for words in ((tmp_path / bad, pair[0]), (pair[0], tmp_path / bad)):
            found = refused(capsys, "diff", *words)
            assert str(tmp_path / bad) in found and sentence in found


def test_samples_as_h5diff_sees_them(shared_data, capsys):
    files = open_to_h5py(shared_data)
    for one, two in zip(files, files[1:]):
        assert run(capsys, "diff", one, one).status == (0 if readable(one) else 2), one
        ours = run(capsys, "diff", one, two)
        seen = [line for line in ours.out.splitlines() if ": the comment is " not in line]
        assert ours.status == 1 and bool(seen) == h5diff("-c", one, two), (one, two)


def readable(path):
    """Whether HDF5 has all that the data of a file take: filters, other files."""
    unread = []

    def note(name, thing):
        if isinstance(thing, h5py.Dataset) and (thing.chunks or thing.external):
            try:
                thing[()]
            except OSError:
                unread.append(name)

    with h5py.File(path) as file:
        file.visititems(note)
    return not unread
