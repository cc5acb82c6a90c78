"""What CMake says where something that the build stands on does not do."""

import os
import re
import shutil
import subprocess
import sys

import pytest

from conftest import ROOT, configured, output, run

PROJECT = ROOT / "tests/install/configure"


@pytest.fixture(scope="module")
def compilers(tmp_path_factory):
    """A build folder that has found its compilers, to start from."""
    folder = tmp_path_factory.mktemp("compilers")
    (folder / "empty.cmake").touch()
    output("cmake", "-S", PROJECT, "-B", folder / "build", f"-DSEARCH={folder / 'empty.cmake'}")
    return folder / "build"


@pytest.fixture
def search(compilers, tmp_path):
    """Runs one of the project's searches; the one sentence that it stops with, if it does."""

    def configure(part, **settings):
        if not (tmp_path / "build").exists():
            shutil.copytree(compilers, tmp_path / "build")
            cache = tmp_path / "build/CMakeCache.txt"
            cache.write_text(cache.read_text().replace(str(compilers), str(tmp_path / "build")))
        done = run(
            "cmake",
            "-S",
            PROJECT,
            "-B",
            tmp_path / "build",
            f"-DSEARCH={ROOT / 'cmake' / part}",
            *(f"-D{name}={value}" for name, value in settings.items()),
        )
        if done.returncode == 0:
            return None
        (message,) = re.findall(r"CMake Error at .*\n((?:  .*\n|\n)+?)(?=Call Stack)", done.stdout)
        return " ".join(message.split())

    return configure


@pytest.fixture
def hdf5(tmp_path):
    """Makes a prefix with headers and libraries that look like an HDF5."""

    def make(version, extra="", libraries=("hdf5", "hdf5_hl")):
        prefix = tmp_path / f"hdf5-{version}"
        (prefix / "include").mkdir(parents=True)
        (prefix / "lib").mkdir()
        (prefix / "include/hdf5.h").write_text('#include "H5pubconf.h"\n')
        (prefix / "include/H5pubconf.h").write_text(f'#define H5_VERSION "{version}"\n{extra}\n')
        for name in libraries:
            subprocess.run(
                [
                    os.environ.get("CXX", "g++"),
                    "-shared",
                    "-x",
                    "c++",
                    "/dev/null",
                    "-o",
                    prefix / f"lib/lib{name}.so",
                ],
                check=True,
            )
        return prefix

    return make


NEEDED = (
    "needed is a serial, shared HDF5 of release 1.8.6 or later with its high-level library, "
    "and -DHDF5_ROOT=<prefix> says where one is."
)


def test_the_hdf5_of_the_build_does(search):
    root = {}
    try:
        root["HDF5_ROOT"] = configured("HDF5_ROOT")
    except KeyError:
        pass  # the system's
    assert search("Hdf5.cmake", **root) is None


def test_an_hdf5_of_ones_own_does(search, hdf5):
    assert search("Hdf5.cmake", HDF5_ROOT=hdf5("1.8.6")) is None


def test_another_hdf5_after_one_that_did_not_do(search, hdf5):
    assert search("Hdf5.cmake", HDF5_ROOT=hdf5("1.8.5")) is not None
    assert search("Hdf5.cmake", HDF5_ROOT=hdf5("1.8.7")) is None
    assert search("Hdf5.cmake", HDF5_ROOT=hdf5("1.8.4")) is not None


@pytest.mark.parametrize(
    "lack, settings",
    [
        ("is too old", {"version": "1.8.5"}),
        ("is too old", {"version": "1.8.5-patch1"}),
        ("is a parallel build", {"version": "1.10.8", "extra": "#define H5_HAVE_PARALLEL 1"}),
        ("comes without its high-level library", {"version": "1.12.1", "libraries": ["hdf5"]}),
    ],
)
def test_an_hdf5_that_does_not_do(search, hdf5, lack, settings):
    prefix = hdf5(**settings)
    version = settings["version"].replace("-patch", ".")
    assert search("Hdf5.cmake", HDF5_ROOT=prefix) == (
        f"HDF5 {version} in {prefix}/include {lack}; {NEEDED}"
    )


def test_no_hdf5_at_all(search, tmp_path):
    assert search("Hdf5.cmake", HDF5_ROOT=tmp_path) == f"No HDF5 was found; {NEEDED}"


def test_a_python_that_does(search):
    assert search("Python.cmake", Python3_EXECUTABLE=sys.executable) is None


def test_a_python_without_numpy(search, tmp_path):
    subprocess.run([sys.executable, "-m", "venv", "--without-pip", tmp_path / "venv"], check=True)
    python = tmp_path / "venv/bin/python3"
    version = ".".join(map(str, sys.version_info[:3]))
    assert search("Python.cmake", Python3_EXECUTABLE=python) == (
        f"Python {version} ({python}) comes without NumPy; needed is a Python 3 with its headers "
        "and NumPy, and -DPython3_EXECUTABLE=<python> says which one to build for."
    )


def test_another_python_after_one_that_did_not_do(search):
    assert search("Python.cmake", Python3_EXECUTABLE="/nowhere/python3") is not None
    assert search("Python.cmake", Python3_EXECUTABLE=sys.executable) is None


def test_no_python(search):
    assert search("Python.cmake", Python3_EXECUTABLE="/nowhere/python3").startswith(
        "/nowhere/python3 is no Python 3; needed is"
    )
