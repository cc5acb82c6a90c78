"""Conversions between Python and the host, against a gateway that echoes."""

import os
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent
ROOT = HERE.parents[1]


def loaded(name):
    """The file that a loaded library came from."""
    for line in Path("/proc/self/maps").read_text().splitlines():
        if os.path.basename(line.split(maxsplit=5)[-1]) == name:
            return line.split(maxsplit=5)[-1]
    raise RuntimeError(f"{name} is not loaded")


@pytest.fixture(scope="module")
def echo_libraries(tmp_path_factory):
    """A folder with the host library, and the echo beside it in the gateway's place."""
    compiler = shutil.which("g++")
    if compiler is None:
        pytest.skip("the echo gateway is compiled here, and there is no g++")
    folder = tmp_path_factory.mktemp("lib")
    host = shutil.copy(loaded("libzembra.so.1"), folder)
    options = ["-std=c++20", "-shared", "-fPIC", "-I", ROOT, "-o", folder / "libh5gate.so.1"]
    subprocess.run([compiler, *options, HERE / "echo/echo_gateway.cpp", host], check=True)
    return folder


@pytest.mark.parametrize("checks", ["checks.py", "argument_checks.py"])
def test_through_the_echo(echo_libraries, tmp_path, checks):
    environment = dict(os.environ, LD_LIBRARY_PATH=str(echo_libraries))
    options = ["-q", "-p", "no:cacheprovider", "--basetemp", tmp_path / "t"]
    command = [sys.executable, "-m", "pytest", *options, HERE / "echo" / checks]
    run = subprocess.run(command, env=environment, capture_output=True, text=True)
    assert run.returncode == 0, run.stdout + run.stderr
    assert " passed" in run.stdout
