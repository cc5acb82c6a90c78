"""A file as a tree, on a terminal and in a notebook."""

import re
from html.parser import HTMLParser

import h5py
import numpy as np
import pytest

import zembra
from command import process, refused, run
from samples import open_to_h5py
from zembra import _command_line, h5
from zembra._tree import lines

EXPECTED = """\
/             group
  @owner      'somebody'
  @version    3
  again       10 x 10 (unlimited x 10 at most)  chunks of 5 x 5, shuffle, deflate  16-bit integer
  alpha       group  # the first letter
    @scale    [0, 0.5]
    data      2 x 3                             contiguous                         64-bit float  # in metres
      @axes   [['/alpha'], ['/empty', '/alpha']]
      @drawn  '/alpha'
      @names  ['x', 'ünï']
      @none   no data (32-bit float)
      @range  [0, 1, 2, 3, 4, 5, ...]
      @unit   'm'
      @where  {x: 1, y: 2.5}
    moved     the same as /again
  dangling    -> /nowhere (nothing there)
  empty       group
    up        the same as /
  extern      -> /x in missing.h5
  record      datatype: record {code: text of 4 bytes; height: 32-bit float}
  scalar      single value                      contiguous                         64-bit float
  soft        -> /alpha/data
"""  # noqa: E501 - as wide as the terminal of the test


def write(path):
    with h5py.File(path, "w") as file:
        file.attrs["owner"] = "somebody"
        file.attrs["version"] = np.int32(3)
        alpha, empty = file.create_group("alpha"), file.create_group("empty")
        alpha.attrs["scale"] = [0.0, 0.5]
        h5py.h5o.set_comment(alpha.id, b"the first letter")
        data = alpha.create_dataset("data", data=np.arange(6.0).reshape(2, 3))
        h5py.h5o.set_comment(data.id, b"in\nmetres")
        axes = np.empty(2, dtype=object)
        axes[:] = [
            np.array([alpha.ref], dtype=h5py.ref_dtype),
            np.array([empty.ref, alpha.ref], dtype=h5py.ref_dtype),
        ]
        data.attrs.create("axes", axes, dtype=h5py.vlen_dtype(h5py.ref_dtype))
        data.attrs["drawn"] = alpha.ref
        data.attrs["names"] = np.array(["x", "ünï"], dtype=h5py.string_dtype())
        data.attrs["none"] = h5py.Empty("f4")
        data.attrs["range"] = np.arange(20)
        data.attrs["unit"] = np.bytes_("m")
        data.attrs["where"] = np.array((1, 2.5), dtype=[("x", "i4"), ("y", "f8")])
        file["again"] = alpha.create_dataset(
            "moved",
            (10, 10),
            "i2",
            maxshape=(None, 10),
            chunks=(5, 5),
            shuffle=True,
            compression="gzip",
        )
        file["empty/up"] = file
        file["record"] = np.dtype([("code", "S4"), ("height", "f4")])
        file["scalar"] = 1.5
        file["soft"] = h5py.SoftLink("/alpha/data")
        file["dangling"] = h5py.SoftLink("/nowhere")
        file["extern"] = h5py.ExternalLink("missing.h5", "/x")


def entries(path):
    return zembra.tree(str(path)).entries


def test_a_file_is_shown(path, capsys, monkeypatch):
    write(path)
    monkeypatch.setenv("COLUMNS", "120")
    assert run(capsys, "tree", path) == (0, EXPECTED, "")
    assert f"{zembra.tree(path)}\n" == f"{zembra.tree(path)!r}\n" == EXPECTED


def test_a_part_of_it(path, capsys):
    write(path)
    done = run(capsys, "tree", path, "/alpha", "--names")
    assert done == (0, "/alpha\n/alpha/data\n/alpha/moved\n", "")
    assert run(capsys, "tree", path, "/soft").out.split()[0] == "/soft"


def test_files_that_are_open(path):
    write(path)
    with zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")) as file:
        assert [str(zembra.tree(it)) for it in (file, int(file))] == [str(zembra.tree(path))] * 2
    with h5py.File(path) as file:
        assert str(zembra.tree(file)) == str(zembra.tree(path))
        assert str(zembra.tree(file["alpha"], "data")).startswith("data")


def test_lines_keep_to_the_width_of_the_terminal(path, capsys, monkeypatch):
    write(path)
    monkeypatch.setenv("COLUMNS", "80")
    text = run(capsys, "tree", path).out
    assert max(map(len, text.splitlines())) <= 80
    assert text.split() == EXPECTED.split()


def test_a_terminal_without_the_letters_gets_their_numbers(path):
    write(path)
    done = process("tree", path, PYTHONIOENCODING="ascii")
    assert done.status == 0 and r"'\xfcn\xef'" in done.out


def test_names_cannot_tell_the_terminal_anything(path, capsys):
    with h5py.File(path, "w") as file:
        file.create_group("\x1b[31mred").attrs["a\nb"] = "\x07"
    text = run(capsys, "tree", path).out
    assert r"\x1b[31mred" in text and r"@a\nb" in text and "\x1b" not in text
    assert "\x1b" not in zembra.tree(path)._repr_html_()


def test_colours_are_for_terminals(path, capsys, monkeypatch):
    write(path)
    plain = run(capsys, "tree", path).out
    assert "\x1b" not in plain
    monkeypatch.setattr(_command_line, "_in_colour", lambda: True)
    painted = run(capsys, "tree", path).out
    assert "\x1b[1;34m  alpha\x1b[0m" in painted and "\x1b[36m  @owner" in painted
    assert re.sub(r"\x1b\[[0-9;]*m", "", painted) == plain


def test_every_link_of_the_samples_is_shown(shared_data):
    for path in open_to_h5py(shared_data):
        theirs = h5py.h5f.open(str(path).encode(), h5py.h5f.ACC_RDONLY)
        names = ["/"]
        root = h5py.h5g.open(theirs, b"/")
        root.links.visit(lambda name: names.append("/" + name.decode()))
        root.close()
        shown = entries(path)
        assert sorted(entry.path for entry in shown) == sorted(names), path
        for entry in shown:
            compare(h5py.h5o.open, theirs, entry)
        theirs.close()
        assert all(lines(shown))


def compare(open_theirs, file, entry):
    """What an entry says of an object, with h5py."""
    if entry.kind not in ("group", "dataset", "datatype"):
        assert entry.kind == "again" or entry.target
        return
    theirs = open_theirs(file, entry.path.encode())
    count = h5py.h5a.get_num_attrs(theirs)
    assert len(entry.facts.attributes) == count and not entry.trouble
    kinds = {h5py.h5g.GroupID: "group", h5py.h5d.DatasetID: "dataset"}
    assert kinds.get(type(theirs), "datatype") == entry.kind
    if entry.kind == "dataset":
        space = theirs.get_space()
        empty = space.get_simple_extent_type() == h5py.h5s.NULL
        assert entry.facts.shape == (None if empty else space.get_simple_extent_dims())
        assert entry.facts.is_record == (theirs.get_type().get_class() == h5py.h5t.COMPOUND)


def test_files_may_be_deep(path):
    depth = 400  # where calls within calls would come to Python's limit
    with h5py.File(path, "w") as file:
        group = file.id
        for _ in range(depth):
            group = h5py.h5g.create(group, b"g")
    found = zembra.tree(path)
    assert len(found.entries) == depth + 1
    assert found._repr_html_().count("<details") == depth


def test_groups_may_have_many_members(path):
    with h5py.File(path, "w") as file:
        for number in range(2000):
            file[f"link {number:04}"] = h5py.SoftLink("/")
    found = entries(path)
    assert [entry.name for entry in found[1:]] == [f"link {number:04}" for number in range(2000)]
    assert all(entry.target == "/" for entry in found[1:])
    few = zembra.tree(path, most=10)
    assert len(few.entries) == 10 and not few.complete and zembra.tree(path).complete
    assert str(few).endswith("the first 10 are shown")


def test_large_attributes_are_not_read_to_be_shown(path):
    with h5py.File(path, "w", libver="latest") as file:
        file.attrs["large"] = np.zeros(1 << 18)
    assert "@large  2,097,152 bytes: 262144 of 64-bit float" in str(zembra.tree(path))


# --- In a notebook ------------------------------------------------------------------


class Balance(HTMLParser):
    """Whether what is opened is closed, and the words in between."""

    def __init__(self):
        super().__init__()
        self.open = []
        self.words = []

    def handle_starttag(self, tag, attributes):
        if tag not in ("tr", "th", "td"):  # which close themselves
            self.open.append(tag)

    def handle_endtag(self, tag):
        if tag not in ("tr", "th", "td"):
            assert self.open.pop() == tag

    def handle_data(self, data):
        self.words.append(data)


def test_a_notebook_shows_a_tree_that_unfolds(path):
    write(path)
    page = Balance()
    page.feed(zembra.tree(path)._repr_html_())
    page.close()
    assert page.open == []
    for word in ("alpha", "data", "@unit", "'m'", "2 x 3", "64-bit float", "contiguous"):
        assert word in page.words, word


def test_names_are_no_markup(path):
    with h5py.File(path, "w") as file:
        file.create_group("<script>").attrs["<b>"] = "<i>"
    page = zembra.tree(path)._repr_html_()
    assert "<script>" not in page and "<i>" not in page and "&lt;script&gt;" in page


def test_records_show_as_tables(path):
    records = np.zeros(7, [("code", "S3"), ("place", [("lat", "f8"), ("lon", "f8")])])
    records["code"] = [b"A%d" % number for number in range(7)]
    records["place"]["lat"] = np.arange(7) / 4
    with h5py.File(path, "w") as file:
        file["stations"] = records
        file["square"] = records[:6].reshape(2, 3)
    page = zembra.tree(path)._repr_html_()
    assert "<tr><th>code</th><th>place.lat</th><th>place.lon</th>" in page.replace("</tr>", "")
    assert "<td>A4</td><td>1</td><td>0</td>" in page and "A5" not in page
    assert "and 2 more" in page
    shown = zembra.table(records, most=2)
    assert str(shown).splitlines()[1:] == ["A0    0          0", "A1    0.25       0", "and 5 more"]
    assert "<caption>and 5 more</caption>" in shown._repr_html_()
    with pytest.raises(TypeError, match="a table is made of records, not of float64"):
        zembra.table(np.arange(3.0))


def test_what_is_no_file_is_said_in_a_line(tmp_path, capsys):
    (tmp_path / "text.h5").write_text("not this")
    assert refused(capsys, "tree", tmp_path / "text.h5").endswith("text.h5 is no HDF5 file")
    assert refused(capsys, "tree", tmp_path / "none.h5").endswith("No such file or directory")
    assert refused(capsys, "tree", tmp_path).endswith(" is a folder")
    write(tmp_path / "some.h5")
    missing = refused(capsys, "tree", tmp_path / "some.h5", "/alpha/beta")
    assert missing.startswith("there is no /alpha/beta in ")


def test_what_is_damaged_is_shown_as_such(path, capsys):
    write(path)
    with h5py.File(path) as file:
        address = h5py.h5o.get_info(file["alpha/data"].id).addr
    with open(path, "r+b") as file:
        file.seek(address)
        file.write(b"\xff" * 16)
    done = run(capsys, "tree", path)
    assert done.status == 1
    (line,) = [line for line in done.out.splitlines() if line.startswith("    data")]
    assert "cannot be opened" in line and "scalar" in done.out
