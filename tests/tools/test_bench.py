"""The benchmark, with next to nothing to do: what it says of it, and what it refuses."""

import json
import os
import shutil
import subprocess
import sys
from collections import Counter
from pathlib import Path
from types import SimpleNamespace

import numpy as np
import pytest

pytest.importorskip("dask.array", reason="dask is not installed")
pytest.importorskip("h5py", reason="h5py is not installed")

from compiled import PROGRAM, compiled  # noqa: E402 - skipped first
from contest import best_times  # noqa: E402
from every_row import GROUPS  # noqa: E402
from files import Grid  # noqa: E402
from measure import Files  # noqa: E402
from report import cells, markdown, renewed, text_table  # noqa: E402
from result import Result  # noqa: E402
from row import Row, Sides  # noqa: E402

ROOT = Path(__file__).resolve().parents[2]

needs_program = pytest.mark.skipif(
    not PROGRAM.exists(), reason=f"there is no {PROGRAM}: the build has no benchmark"
)


def run(*arguments, check=True):
    """With sizes that are next to nothing."""
    return subprocess.run(
        [sys.executable, ROOT / "bench/benchmark.py", *map(str, arguments)],
        env={**os.environ, "H5GATE_BENCH_TINY": "1"},
        check=check,
        capture_output=True,
        text=True,
        timeout=600,
    )


@pytest.fixture(scope="module")
def everything(tmp_path_factory):
    """The whole run: what it printed, its file, its documents."""
    pytest.importorskip("matplotlib", reason="matplotlib is not installed")
    folder = tmp_path_factory.mktemp("bench")
    docs = folder / "docs"
    (docs / "static").mkdir(parents=True)
    shutil.copy(ROOT / "docs/speed.md", docs)
    printed = run("--json", folder / "all.json", "--plot", "--docs", docs).stdout
    content = json.loads((folder / "all.json").read_text(encoding="utf-8"))
    return SimpleNamespace(printed=printed, content=content, docs=docs)


# --- A whole run ------------------------------------------------------------------------------


@needs_program
@pytest.mark.long
def test_every_row_is_measured(everything):
    found = [(row["group"], row["name"]) for row in everything.content["rows"]]
    assert found == [(group, row.name) for group, rows in GROUPS.items() for row in rows]
    for row in everything.content["rows"]:
        assert all(seconds > 0 for seconds in row["seconds"].values()), row


@needs_program
@pytest.mark.long
def test_every_side_that_a_row_has_is_measured(everything):
    rows = {(group, row.name): row for group, rows in GROUPS.items() for row in rows}
    for found in everything.content["rows"]:
        row = rows[found["group"], found["name"]]
        assert set(found["seconds"]) == set(row.sides.by_name())
        assert set(found["peaks"]) == ({"zembra", "h5py"} if row.peak else set())


@needs_program
@pytest.mark.long
def test_it_prints_the_machine_and_a_line_for_each_row(everything):
    for words in everything.content["measured"].values():
        assert words in everything.printed
    lines = [line.strip() for line in everything.printed.splitlines()]
    for row in everything.content["rows"]:
        assert any(line.startswith(row["name"]) for line in lines)


@needs_program
@pytest.mark.long
def test_it_renews_its_part_of_the_page_alone(everything):
    before = (ROOT / "docs/speed.md").read_text(encoding="utf-8")
    after = (everything.docs / "speed.md").read_text(encoding="utf-8")
    start, end = before.index("<!-- make bench"), before.index("<!-- up to")
    assert after.startswith(before[:start]) and after.endswith(before[end:])
    results = [Result(**row) for row in everything.content["rows"]]
    assert markdown(everything.content["measured"], results) in after


@needs_program
@pytest.mark.long
def test_the_picture_has_every_row_that_h5py_has(everything):
    picture = (everything.docs / "static/speed.svg").read_text(encoding="utf-8")
    assert len(picture) < 200_000
    for row in everything.content["rows"]:
        assert (f">{row['name']}<" in picture) == ("h5py" in row["seconds"])


# --- What is chosen -----------------------------------------------------------------------------


def test_groups_and_words_choose_rows(tmp_path):
    path = tmp_path / "some.json"
    run("--only", "references", "fixed", "--no-peak", "--json", path)
    rows = json.loads(path.read_text(encoding="utf-8"))["rows"]
    assert Counter(row["group"] for row in rows) == {"references": 3, "texts": 2}
    assert not any(row["peaks"] for row in rows)


def test_what_nothing_is_called_is_refused():
    failed = run("--only", "recrods", check=False)
    assert failed.returncode and "nothing is called 'recrods'" in failed.stderr
    assert "records" in failed.stderr


def test_a_part_of_the_table_is_not_for_the_page():
    failed = run("--plot", "--only", "records", check=False)
    assert failed.returncode and "without --only" in failed.stderr


def test_names_are_unique_in_their_group():
    for rows in GROUPS.values():
        assert len({row.name for row in rows}) == len(rows)


# --- The contest ----------------------------------------------------------------------------------


def test_who_gives_something_else_is_found_out():
    works = {"zembra": lambda: np.arange(3), "h5py": lambda: np.arange(3) + 1}
    with pytest.raises(AssertionError, match="h5py gives something else than zembra"):
        best_times(works, alike=True)
    assert set(best_times(works, alike=False)) == {"zembra", "h5py"}


def test_columns_are_compared_by_name():
    one, other = {"a": np.arange(3)}, {"b": np.arange(3)}
    with pytest.raises(AssertionError, match="h5py"):
        best_times({"zembra": lambda: one, "h5py": lambda: other}, alike=True)


@needs_program
def test_a_program_that_ends_is_told(tmp_path):
    with pytest.raises(RuntimeError, match="call_bench has ended with 1"):
        with compiled("open", "bare")(str(tmp_path / "missing.h5")) as work:
            work.timeit(1)


def test_equal_files_are_made_once_and_copied_for_who_writes(tmp_path):
    def nobody(_path):
        raise AssertionError("nothing is done here")

    sides = Sides(nobody, nobody)
    files = Files(str(tmp_path))
    read = files.of(Row("read", "ms", sides, Grid(gzip=1, shape=(8, 8), chunks=(4, 4))))
    write = files.of(Row("write", "ms", sides, Grid(gzip=1, shape=(8, 8), chunks=(4, 4)), True))
    assert read["zembra"] == read["h5py"]
    assert len({*read.values(), *write.values()}) == 3
    files.forget(write)
    assert sorted(map(str, tmp_path.iterdir())) == sorted(set(read.values()))


# --- The report -----------------------------------------------------------------------------------

RESULT = Result("arrays", "read", "ms", {"zembra": 0.0125, "h5py": 0.05}, {"zembra": 64.4})


def test_a_result_in_cells():
    assert cells(RESULT) == ["12.5 ms", "50.0 ms", "", "0.25", "", "64", ""]


def test_a_result_in_text():
    lines = list(text_table([RESULT], width=4))
    assert lines[1] == "\narrays"
    assert lines[2].split() == ["read", "12.5", "ms", "50.0", "ms", "0.25", "64"]


def test_a_page_without_marks_is_left_alone():
    with pytest.raises(ValueError, match="has no"):
        renewed("# Speed\n", "| table |\n")
