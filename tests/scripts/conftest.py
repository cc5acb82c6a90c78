"""Fixtures of all script tests, and the check that none of them leaves an
identifier open."""

import gc
import os
import warnings
from pathlib import Path

import pytest

import iterations
import zembra
from open_ids import OpenIds
from zembra import h5

_open_ids = OpenIds()

# Hundreds of processes import NumPy and compute nothing: no threads for its linear algebra.
os.environ.setdefault("OPENBLAS_NUM_THREADS", "1")


@pytest.fixture
def open_ids():
    """Counts open identifiers by kind."""
    return _open_ids


@pytest.fixture(autouse=True)
def no_identifier_leaks():
    before = _open_ids()
    yield
    after = _open_ids()
    if after != before:
        gc.collect()  # h5py closes what it has no name for any more
        after = _open_ids()
    leaked = {kind: after[kind] - before[kind] for kind in after if after[kind] != before[kind]}
    assert not leaked, f"identifiers left open: {leaked}"


@pytest.fixture
def path(tmp_path):
    """Where a test may make a file."""
    return str(tmp_path / "test.h5")


@pytest.fixture
def world(path):
    """Afterwards the file is made anew under its name, and deleted."""
    world = iterations.World(path)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", zembra.GatewayWarning)
        yield world
    world.close()
    h5.H5Fclose(h5.H5Fcreate(path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT"))
    os.remove(path)
    h5.H5Fclose(h5.H5Fcreate(path, "H5F_ACC_EXCL", "H5P_DEFAULT", "H5P_DEFAULT"))


@pytest.fixture(scope="session")
def shared_data():
    """The folder of sample files."""
    root = Path(__file__).resolve().parents[2]
    folder = Path(os.environ.get("H5GATE_SHARED_DATA", root.parent / "shared" / "data"))
    if not any(folder.glob("*.h5")):
        pytest.skip(f"no sample files in {folder}; H5GATE_SHARED_DATA names another folder")
    return folder
