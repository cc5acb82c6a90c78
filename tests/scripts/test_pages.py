"""The documents: what they show runs, and what is made of the code has all of it."""

import io
import os
import re
import subprocess
from contextlib import redirect_stdout
from pathlib import Path

import pytest

import make_pages
import run_pages
import zembra
from load_reference import load_reference
from peer import needs_h5py
from zembra import _reference, h5
from zembra._diff import differences

ROOT = Path(__file__).resolve().parents[2]
DOCS = ROOT / "docs"
STORY = [
    ROOT / "README.md",
    DOCS / "start.md",
    *sorted((DOCS / "tutorial").glob("[1-6]_*.md")),
    DOCS / "dask.md",
]


@pytest.mark.filterwarnings("ignore::DeprecationWarning")  # of matplotlib's and dask's own
def test_the_pages_run_as_they_stand(tmp_path, monkeypatch):
    for module in ("matplotlib.pyplot", "dask.array"):
        pytest.importorskip(module, reason=f"{module} is not installed")
    monkeypatch.chdir(tmp_path)
    monkeypatch.setenv("MPLBACKEND", "Agg")
    assert len(STORY) == 9
    for page in STORY:
        run_pages.run(page)
    pictures = {
        name
        for page in STORY
        for name in re.findall(r"!\[[^]]*\]\(([\w.]+\.png)\)", page.read_text())
    }
    assert pictures == {path.name for path in tmp_path.glob("*.png")} != set()


def test_a_page_that_says_something_else_fails(tmp_path):
    page = tmp_path / "page.md"
    for text in (
        "```python\nprint(1)\n```\n\n```text\n2\n```\n",
        "```python\nprint(1)\n```\n",
        "```python\nprint(1)\n```\n\nWords.\n\n```python\nprint(2)\n```\n\n```text\n2\n```\n",
        "```console\n$ zembra --version\nnone\n```\n",
    ):
        page.write_text(text)
        with pytest.raises((AssertionError, SystemExit)):
            run_pages.run(page)
    page.write_text("```python\nprint(1)\n```\n\n```text\n1\n```\n")
    run_pages.run(page)


# --- The twenty tasks -----------------------------------------------------------------------


def printed(code, folder, monkeypatch):
    folder.mkdir()
    monkeypatch.chdir(folder)
    out = io.StringIO()
    with redirect_stdout(out):
        exec(code, {"__name__": "tasks"})
    return out.getvalue()


@needs_h5py
def test_tasks_are_the_same_with_h5py(tmp_path, monkeypatch):
    tasks = make_pages.tasks()
    assert len(tasks) == 21  # the first is what comes before all else
    texts = {
        way: printed("\n".join(task.code[way] for task in tasks), tmp_path / way, monkeypatch)
        for way in ("zembra", "h5py")
    }
    assert texts["zembra"] == texts["h5py"] != ""
    files = [tmp_path / way / "tasks.h5" for way in texts]
    found = [str(one) for one in differences(*files)]
    assert found == [], "h5py's file is another one"


def test_tasks_in_c_compile(tmp_path):
    include = Path("/usr/include/hdf5/serial")
    if not (include / "hdf5.h").exists():
        pytest.skip(f"HDF5's headers are not in {include}")
    head, *tasks = (task.code["c"] for task in make_pages.tasks())
    (tmp_path / "tasks.c").write_text(f"{head}\nvoid tasks(void) {{\n{''.join(tasks)}}}\n")
    flags = ["-fsyntax-only", "-DH5_USE_18_API", f"-I{include}"]
    done = subprocess.run(
        ["gcc", *flags, tmp_path / "tasks.c"], capture_output=True, text=True, check=False
    )
    assert done.returncode == 0, done.stderr


# --- What is made of the code -----------------------------------------------------------------


@pytest.fixture(scope="module")
def pages(tmp_path_factory):
    folder = tmp_path_factory.mktemp("pages")
    make_pages.write(folder)
    return {str(path.relative_to(folder)): path.read_text() for path in folder.glob("**/*.md")}


def test_every_function_has_its_place(pages):
    entries = load_reference(ROOT / "python/zembra").entries()
    assert sorted(entries) == sorted(h5.__all__) and len(entries) == 320
    for name, entry in entries.items():
        page = pages[f"reference/{make_pages.interface_of(name)}.md"]
        assert page.count(f"\n## {name}\n") == 1
        section = page.partition(f"\n## {name}\n")[2].partition("\n## ")[0]
        for form in entry.forms:
            for value in form.required + form.optional + form.results:
                assert f"| `{value.name}` |" in section, (name, value)
        assert f"[{name}](https://" in section or name.startswith("H5ZB")


def test_pages_help_and_signatures_are_of_one_source(pages):
    page = pages["reference/H5D.md"]
    (form,) = _reference.entries()["H5Dread"].forms
    assert f"H5Dread({', '.join(value.name for value in form.required)})" in page
    assert _reference.docstring("H5Dread") == h5.H5Dread.__doc__


def test_every_constant_has_its_value(pages):
    page = pages["reference/constants.md"]
    for name in h5.constants():
        (shown,) = re.findall(rf"^\| `{name}` \| (.*) \|$", page, re.MULTILINE)
        value = h5.H5ZBget_constant_value(name)
        assert shown == str(value) or (shown == "an identifier" and h5.H5Iis_valid(value)), name


def test_every_enumeration_takes_its_names(pages):
    found = make_pages.enumerations()
    assert len(found) == (ROOT / "convert/enumerations.hpp").read_text().count("= enumNames({")
    assert all(len(members) > 0 for members in found.values())
    assert [name for name, _ in found["H5_iter_order_t"]] == [
        "H5_ITER_INC",
        "H5_ITER_DEC",
        "H5_ITER_NATIVE",
    ]


def test_every_message_has_its_advice(pages):
    keys = [message.key for group in make_pages.messages().values() for message in group]
    catalogue = (ROOT / "host/message_keys.def").read_text()
    assert len(keys) == len(set(keys)) == len(re.findall(r"^ZB_MESSAGE\(", catalogue, re.M)) == 88
    assert sorted(make_pages.advice()) == sorted(keys)
    page = pages["reference/messages.md"]
    assert all(page.count(f"\n### {key}\n") == 1 for key in keys)
    with pytest.raises(zembra.Error) as caught:
        h5.H5Screate_simple(2, [3], [])
    assert f"`{caught.value.identifier}`" in page


def test_files_that_pages_name_are_there(pages):
    for page in DOCS.glob("**/*.md"):
        for place in re.findall(r"\]\((?!https?:|#)([^)#]+)", page.read_text()):
            if place.endswith(".png"):
                continue
            target = os.path.normpath(page.parent / place)
            made = os.path.relpath(target, DOCS) in pages
            assert made or os.path.exists(target), f"{page.name} leads to {place}"
