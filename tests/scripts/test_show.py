"""`zembra show` and `zembra plot`."""

import sys

import h5py
import numpy as np
import pytest

from command import refused, run
from samples import open_to_h5py
from zembra import _plot


@pytest.fixture
def sample(path):
    table = np.zeros(12, [("name", "S3"), ("at", [("x", "i4"), ("y", "f8")])])
    table["name"] = [b"p%d" % number for number in range(12)]
    table["at"]["y"] = np.arange(12) / 4
    with h5py.File(path, "w") as file:
        grid = file.create_dataset(
            "grid", data=np.arange(600.0).reshape(20, 30), chunks=(10, 10), compression="gzip"
        )
        grid.attrs["units"] = "m"
        file["line"] = np.arange(20, dtype="i2")
        file["cube"] = np.arange(24).reshape(2, 3, 4)
        file["one"] = np.float32(1.5)
        file["text"] = "some\x1bthing"
        file["none"] = h5py.Empty("f8")
        file["nothing"] = np.zeros((0, 3))
        file["table"] = table
        file["single"] = table[3]
        file["square"] = table[:4].reshape(2, 2)
        ragged = file.create_dataset("lists", 2, h5py.vlen_dtype("i4"))
        ragged[0], ragged[1] = [1, 2], [3]
        file["type"] = np.dtype("f4")
        file["colour"] = np.array([0, 1, 1], "i1").astype(h5py.enum_dtype({"RED": 0, "BLUE": 1}))
        references = file.create_dataset("references", 2, h5py.ref_dtype)
        references[0] = grid.ref
        regions = file.create_dataset("regions", 1, h5py.regionref_dtype)
        regions[0] = grid.regionref[2:4, 5:9]
    return path


def shown(capsys, *words):
    done = run(capsys, "show", *words)
    assert (done.status, done.err) == (0, ""), done
    return done.out


def test_a_dataset(sample, capsys):
    lines = shown(capsys, sample, "/grid").splitlines()
    assert lines[:6] == [
        f"/grid in {sample}",
        "  type     64-bit float",
        "  extent   20 x 30",
        "  storage  chunks of 10 x 10, deflate",
        "  @units   'm'",
        "  begins with",
    ]
    assert [line.split() for line in lines[6:]] == [
        [str(30 * row + column) for column in range(10)] for row in range(10)
    ]


def test_a_range(sample, capsys):
    def values(path, text):
        head, _, body = shown(capsys, sample, path, "--range", text).partition(" values at ")
        return [line.replace(",", "").split() for line in body.splitlines()]

    assert values("/line", "3:6") == [["[3:6]"], ["3", "4", "5"]]
    assert values("/line", "::7") == [["[0:15:7]"], ["0", "7", "14"]]
    assert values("/line", "-1") == [["[19:20]"], ["19"]]
    assert values("/grid", "2:4,5") == [["[2:4", "5:6]"], ["65"], ["95"]]
    assert values("/cube", "1,:2,::3")[1:] == [["[0", ":", ":]"], ["12", "15"], ["16", "19"]]
    assert "no values" in shown(capsys, sample, "/line", "--range", "30:40")
    assert "values\n" in shown(capsys, sample, "/line", "--range", ":")


@pytest.mark.parametrize(
    "name, text, sentence",
    [
        ("/grid", "1", "the range 1 has 1 dimensions, the extent 20 x 30 has 2"),
        ("/one", "1", "the range 1 has 1 dimensions, a single value has none"),
        ("/line", "20", "there is no index 20 along a dimension of 20"),
        ("/line", "-21", "there is no index -21 along a dimension of 20"),
        ("/line", "a:b", "'a:b' is no range: an index, START:STOP or START:STOP:STEP is"),
        ("/line", "", "'' is no range: an index, START:STOP or START:STOP:STEP is"),
        ("/line", "::0", "the step of '::0' is to be a positive number"),
        ("/line", "1:2:3:4", "'1:2:3:4' is no range: an index, START:STOP or START:STOP:STEP is"),
        ("/", ":", "/ is a group: only datasets have ranges"),
    ],
)
def test_ranges_that_are_none(sample, capsys, name, text, sentence):
    assert refused_show(capsys, sample, name, "--range", text) == sentence


def refused_show(capsys, *words):
    """A range may begin with a sign."""
    *others, option, text = words
    return refused(capsys, "show", *others, f"{option}={text}")


def test_large_datasets_are_not_read_to_be_shown(path, capsys):
    with h5py.File(path, "w") as file:
        file.create_dataset("huge", (1 << 40, 1 << 20), "i1", chunks=(1 << 10, 1 << 10))
    assert "begins with" in shown(capsys, path, "/huge")
    assert "over 1,000,000" in refused(capsys, "show", path, "/huge", "--range", ":,0")


def test_what_is_no_array_of_numbers(sample, capsys):
    def values(path):
        _, _, body = shown(capsys, sample, path).partition("  values\n")
        return [line.split() for line in body.splitlines()]

    assert values("/one") == [["1.5"]]
    assert values("/text") == [[r"some\x1bthing"]]
    assert values("/lists") == [["[1,", "2]"], ["[3]"]]
    assert values("/references") == [["/grid,", "None"]]
    assert values("/regions") == [["/grid[2:4,", "5:9]"]]
    assert values("/single") == [["name", "p3"], ["at.x", "0"], ["at.y", "0.75"]]
    assert values("/square") == [
        ["name", "at.x", "at.y"],
        ["[0,", "0]", "p0", "0", "0"],
        ["[0,", "1]", "p1", "0", "0.25"],
        ["[1,", "0]", "p2", "0", "0.5"],
        ["[1,", "1]", "p3", "0", "0.75"],
    ]
    assert "no values" in shown(capsys, sample, "/nothing")
    assert shown(capsys, sample, "/none").splitlines()[2] == "  extent   no data"
    assert shown(capsys, sample, "/type").splitlines()[1:] == ["  type  32-bit float"]
    assert shown(capsys, sample, "/").splitlines()[1] == "  group  15 members"
    table = shown(capsys, sample, "/table").splitlines()
    assert table[7].split() == ["p1", "0", "0.25"] and len(table) == 16


def test_samples_as_h5py_reads_them(shared_data, capsys):
    compared = unread = 0
    for path in open_to_h5py(shared_data):
        file = h5py.File(path)
        datasets: list[str] = []
        file.visititems(
            lambda name, thing: datasets.extend([name] * isinstance(thing, h5py.Dataset))
        )
        for name in datasets:
            done = run(capsys, "show", path, f"/{name}")
            if done.status:
                assert done.status == 2 and done.err.count("\n") == 1
                with pytest.raises(OSError):
                    file[name][()]
                unread += 1
                continue
            data, lines = file[name], done.out.splitlines()
            shape = {None: "no data", (): "single value"}.get(
                data.shape, " x ".join(map(str, data.shape or ()))
            )
            (extent,) = (line for line in lines if line.startswith("  extent"))
            assert extent.split("(")[0].split(maxsplit=1)[1].strip() == shape
            if data.shape and data.ndim <= 2 and data.dtype.kind in "iu" and data.size:
                first = np.atleast_2d(data[tuple(slice(10) for _ in data.shape)])
                words = [line.replace(",", " ").split() for line in lines[-len(first) :]]
                assert np.array(words, first.dtype).tolist() == first.tolist()
                compared += 1
        file.close()
    assert compared > 10 > unread  # for want of a filter or of a file


# --- Pictures -----------------------------------------------------------------------------


@pytest.fixture
def drawn(sample):
    """The axes of what a dataset is drawn as."""
    reason = "matplotlib is not installed"
    matplotlib = pytest.importorskip("matplotlib.figure", reason=reason)

    def draw(path, file=sample):
        figure = matplotlib.Figure()
        _plot.draw(figure, file, path)
        return figure.axes

    return draw


pictures = pytest.mark.filterwarnings("ignore::DeprecationWarning")  # of matplotlib's own


@pictures
def test_a_line_an_image_and_a_histogram(drawn):
    axes = drawn("/line")[0]
    assert axes.lines[0].get_ydata().tolist() == list(range(20))
    assert axes.get_xlabel() == "dimension 0" and axes.get_title() == "/line"
    image, scale = drawn("/grid")
    assert image.images[0].get_array().tolist() == np.arange(600.0).reshape(20, 30).tolist()
    assert scale.get_ylabel() == "m"
    assert sum(bar.get_height() for bar in drawn("/cube")[0].patches) == 24
    assert sum(bar.get_height() for bar in drawn("/one")[0].patches) == 1
    assert drawn("/colour")[0].lines[0].get_ydata().tolist() == [0, 1, 1]


@pictures
def test_axes_from_dimension_scales(drawn, path):
    with h5py.File(path, "w") as file:
        file["t"], file["depth"] = np.arange(4) * 0.5, np.array([1.0, 3.0, 10.0])
        file["t"].attrs["units"] = "s"
        file["t"].make_scale("time"), file["depth"].make_scale()
        file["warmth"] = np.arange(12.0).reshape(4, 3)
        file["one"] = np.arange(4.0)
        for axis, scale in enumerate(("t", "depth")):
            file["warmth"].dims[axis].attach_scale(file[scale])
        file["one"].dims[0].attach_scale(file["t"])
        file["bad"] = np.arange(4.0)
        file["bad"].dims[0].label = "label only"
    axes = drawn("/one", path)[0]
    assert axes.lines[0].get_xdata().tolist() == [0, 0.5, 1, 1.5]
    assert axes.get_xlabel() == "time (s)"
    axes = drawn("/warmth", path)[0]
    assert (axes.get_xlabel(), axes.get_ylabel()) == ("depth", "time (s)")
    (mesh,) = axes.collections
    assert mesh.get_array().size == 12
    assert drawn("/bad", path)[0].get_xlabel() == "label only"


@pictures
def test_large_datasets_are_drawn_in_part(drawn, path, monkeypatch):
    with h5py.File(path, "w") as file:
        file["long"] = np.arange(1000.0)
        file["wide"] = np.arange(5000.0).reshape(2, 2500)
    monkeypatch.setattr("zembra._plot.MOST_POINTS", 300)
    axes = drawn("/long", path)[0]
    assert axes.lines[0].get_ydata().tolist() == list(range(0, 1000, 4))
    assert axes.get_title() == "/long, one of 4 values"
    axes = drawn("/wide", path)[0]
    assert axes.images[0].get_array().shape == (2, 1250)
    assert axes.get_title() == "/wide, one of 1 x 2 values"


@pictures
def test_a_picture_in_a_file(sample, capsys, tmp_path):
    pytest.importorskip("matplotlib", reason="matplotlib is not installed")
    assert run(capsys, "plot", sample, "/grid", "-o", tmp_path / "a.png") == (0, "", "")
    assert (tmp_path / "a.png").read_bytes().startswith(b"\x89PNG")


@pictures
def test_what_cannot_be_drawn(sample, capsys, tmp_path):
    pytest.importorskip("matplotlib", reason="matplotlib is not installed")

    def sentence(path, picture="picture.png"):
        return refused(capsys, "plot", sample, path, "-o", tmp_path / picture)

    drawn = "plot draws integer, float, enum, bit field"
    assert sentence("/table") == f"/table is of the class compound: {drawn}"
    assert sentence("/lists") == f"/lists is of the class variable-length list: {drawn}"
    assert sentence("/text") == f"/text is of the class string: {drawn}"
    assert sentence("/") == "/ is a group: only datasets can be drawn"
    assert sentence("/nothing") == "/nothing has no values to draw"
    assert sentence("/none") == "/none has no values to draw"
    assert "xyz" in sentence("/line", "picture.xyz")
    assert "No such file" in sentence("/line", "nowhere/picture.png")
    assert list(tmp_path.glob("picture*")) == []


def test_without_matplotlib_a_sentence_says_so(sample, capsys, monkeypatch):
    monkeypatch.setitem(sys.modules, "matplotlib", None)
    sentence = refused(capsys, "plot", sample, "/line", "-o", "x.png")
    assert sentence.startswith("plot needs matplotlib, which is not installed")
