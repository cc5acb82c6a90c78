"""The example that shows a file as a tree."""

import os
import subprocess
import sys
from pathlib import Path

import h5py
import numpy as np
import pytest

import zembra
from zembra import h5

EXAMPLES = Path(__file__).resolve().parents[2] / "examples"

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


def run(*arguments, **environment):
    return subprocess.run(
        [sys.executable, EXAMPLES / "tree.py", *arguments],
        capture_output=True,
        text=True,
        encoding="utf-8",
        check=False,
        env={
            **os.environ,
            "PYTHONPATH": str(Path(zembra.__file__).parents[1]),
            "PYTHONUTF8": "1",
            **environment,
        },
    )


@pytest.fixture(scope="module")
def tree():
    """The example as a module."""
    sys.path.insert(0, str(EXAMPLES))
    try:
        import tree

        yield tree
    finally:
        sys.path.remove(str(EXAMPLES))


def rows(tree, path):
    with zembra.Id(h5.H5Fopen(str(path), "H5F_ACC_RDONLY", "H5P_DEFAULT")) as file:
        return tree.Tree(file).rows


def test_a_file_is_shown(path):
    write(path)
    done = run(path, COLUMNS="120")
    assert (done.stdout, done.stderr, done.returncode) == (EXPECTED, "", 0)


def test_lines_keep_to_the_width_of_the_terminal(path):
    write(path)
    text = run(path, COLUMNS="80").stdout
    assert max(map(len, text.splitlines())) <= 80
    assert text.split() == EXPECTED.split()


def test_a_terminal_without_the_letters_gets_their_numbers(path):
    write(path)
    done = run(path, PYTHONIOENCODING="ascii")
    assert done.returncode == 0 and r"'\xfcn\xef'" in done.stdout


def test_every_link_of_the_samples_is_shown(tree, shared_data):
    left_out = {}
    for path in sorted(shared_data.glob("*.h5")):
        try:
            theirs = h5py.h5f.open(str(path).encode(), h5py.h5f.ACC_RDONLY)
        except OSError as error:
            left_out[path.name] = error
            continue
        names = ["/"]
        root = h5py.h5g.open(theirs, b"/")
        root.links.visit(lambda name: names.append(name.decode().rpartition("/")[2]))
        root.close()
        theirs.close()
        shown = [name.strip(" ") for name, _ in rows(tree, path)]
        assert sorted(name for name in shown if not name.startswith("@")) == sorted(names), path
        assert all(tree.columns(rows(tree, path)))
    print("left out, because each takes a file driver of its own:", *left_out.items(), sep="\n  ")


def test_files_may_be_deep(tree, path):
    depth = 400  # where calls within calls would come to Python's limit
    with h5py.File(path, "w") as file:
        group = file.id
        for _ in range(depth):
            group = h5py.h5g.create(group, b"g")
    assert len(rows(tree, path)) == depth + 1


def test_groups_may_have_many_members(tree, path):
    with h5py.File(path, "w") as file:
        for number in range(2000):
            file[f"link {number:04}"] = h5py.SoftLink("/")
    found = rows(tree, path)
    assert [name for name, _ in found[1:]] == [f"  link {number:04}" for number in range(2000)]
    assert all(words == ("-> /",) for _, words in found[1:])


def test_what_is_no_file_is_said_in_a_line(tmp_path):
    (tmp_path / "text.h5").write_text("not this")
    for name in ("text.h5", "missing.h5"):
        done = run(tmp_path / name)
        assert done.returncode == 1 and done.stdout == ""
        assert "H5Fopen" in done.stderr and len(done.stderr.splitlines()) == 1
    assert "tree.py FILE" in run().stderr
