"""The example notebook runs, and is committed without what came of it."""

import json
import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

import zembra

NOTEBOOK = Path(__file__).resolve().parents[2] / "examples" / "first_look.ipynb"


def test_it_is_kept_without_outputs():
    for cell in json.loads(NOTEBOOK.read_text())["cells"]:
        assert not cell.get("outputs") and cell.get("execution_count") is None


def test_it_runs(tmp_path):
    for module in ("nbconvert", "ipykernel", "matplotlib"):
        installed = [sys.executable, "-c", f"import {module}"]
        if subprocess.run(installed, capture_output=True, check=False).returncode:
            pytest.skip(f"{module} is not installed")
    # It runs where it is, and its file stays there.
    notebook = Path(shutil.copy(NOTEBOOK, tmp_path))
    done = subprocess.run(
        [sys.executable, "-m", "nbconvert", "--to", "notebook", "--execute", "--log-level=ERROR"]
        + ["--inplace", notebook],
        capture_output=True,
        text=True,
        check=False,
        cwd=tmp_path,
        env=dict(
            os.environ,
            PYTHONPATH=str(Path(zembra.__file__).parents[1]),
            IPYTHONDIR=str(tmp_path / "ipython"),
            JUPYTER_ALLOW_INSECURE_WRITES="1",
        ),
    )
    assert done.returncode == 0, done.stderr
    cells = json.loads(notebook.read_text())["cells"]
    pages = ["".join(page) for page in shown(cells, "text/html")]
    table, tree = pages
    assert "<th>elevation</th>" in table and "<td>2964</td>" in table
    assert "chunks of 73 x 4, deflate" in tree and "@units" in tree and "<table>" in tree
    assert len(list(shown(cells, "image/png"))) == 1


def shown(cells, kind):
    """What cells gave, of one kind."""
    for cell in cells:
        for output in cell.get("outputs", []):
            if kind in output.get("data", {}):
                yield output["data"][kind]
