"""The installed tree that all tests of the installation look at."""

import os
import shutil
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("H5GATE_BUILD", ROOT / "build"))


def run(*command, **options):
    """What a command did; its standard error is part of the output."""
    return subprocess.run(
        [str(word) for word in command],
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        **options,
    )


def output(*command, **options):
    """What a command that succeeds prints."""
    done = run(*command, **options)
    assert done.returncode == 0, done.stdout
    return done.stdout


def configured(variable):
    """A setting of the build, from its cache."""
    for line in (BUILD / "CMakeCache.txt").read_text().splitlines():
        if line.startswith(variable + ":"):
            return line.partition("=")[2]
    raise KeyError(variable)


@pytest.fixture(scope="session")
def installation():
    """The folder that the build is installed into, and what the installing printed."""
    prefix = BUILD / "prefix"
    shutil.rmtree(prefix, ignore_errors=True)
    return prefix, output("cmake", "--install", BUILD, "--prefix", prefix)


@pytest.fixture(scope="session")
def prefix(installation):
    return installation[0]


@pytest.fixture(scope="session")
def gateway(prefix):
    (path,) = prefix.glob("lib*/**/libh5gate.so.1")
    return path
