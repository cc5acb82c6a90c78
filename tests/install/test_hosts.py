"""Other people's programs, built against the installed tree and run."""

import os
import re
from concurrent.futures import ThreadPoolExecutor

import h5py
import numpy as np
import pytest

from conftest import ROOT, output, run

EXAMPLES = ROOT / "examples"


@pytest.fixture(scope="module")
def by_cmake(prefix, tmp_path_factory):
    """A folder with both examples, each a CMake project of its own."""
    folder = tmp_path_factory.mktemp("cmake")
    for name in ("own_host", "embedded_host"):
        output(
            "cmake",
            "-G",
            "Ninja",
            "-S",
            EXAMPLES / name,
            "-B",
            folder / name,
            f"-Dh5gate_ROOT={prefix}",
            "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror",
        )
        output("cmake", "--build", folder / name)
        (folder / name / name).rename(folder / f"{name}.run")
    return folder


@pytest.fixture(scope="module")
def pkgconfig(gateway):
    """The environment in which pkg-config finds h5gate."""
    return dict(os.environ, PKG_CONFIG_PATH=str(gateway.parent / "pkgconfig"))


@pytest.fixture(scope="module")
def by_pkgconfig(pkgconfig, tmp_path_factory):
    """A folder with both examples, built by make and pkg-config."""
    folder = tmp_path_factory.mktemp("make")
    makefile = ROOT / "tests/install/pkgconfig.mk"
    output("make", "-j2", "-f", makefile, f"SOURCES={EXAMPLES}", cwd=folder, env=pkgconfig)
    for name in ("own_host", "embedded_host"):
        (folder / name).rename(folder / f"{name}.run")
    return folder


@pytest.fixture(params=["cmake", "pkgconfig"])
def programs(request, gateway):
    """A folder with both examples, and the environment to run them in."""
    folder = request.getfixturevalue(f"by_{request.param}")
    if request.param == "cmake":
        return folder, os.environ
    return folder, dict(os.environ, LD_LIBRARY_PATH=str(gateway.parent))


def test_a_host_of_ones_own(programs, tmp_path):
    folder, environment = programs
    text = output(folder / "own_host.run", tmp_path / "own.h5", env=environment)
    numbers, refused, failed = text.splitlines()
    assert numbers == "double 3-by-2, the first 1.5, the last 6.5"
    assert refused == "H5Fopen failed: unmatchedString: H5F_ACC_RDONY: flags"
    assert re.fullmatch("H5Dopen failed: HDF5: .*object 'height' doesn't exist", failed)
    with h5py.File(tmp_path / "own.h5") as file:
        assert file["speed"].dtype == np.float32
        assert file["speed"][()].tolist() == [[1.5, 2.5, 3.5], [4.5, 5.5, 6.5]]


def test_the_reference_host_embedded(programs, tmp_path):
    folder, environment = programs
    text = output(folder / "embedded_host.run", tmp_path / "embedded.h5", env=environment)
    assert text.splitlines() == [
        "link height",
        "link speed",
        "libraryError: object 'depth' doesn't exist",
    ]
    with h5py.File(tmp_path / "embedded.h5") as file:
        assert file["height"][()].tolist() == [440, 447]
        assert file["speed"][()].tolist() == [1.5, 2.5, 3.5]


def test_a_host_that_hides_its_functions_is_told_which_is_missing(
    by_pkgconfig, gateway, pkgconfig, tmp_path
):
    """The reference host lies beside the gateway, and must not jump in."""
    assert gateway.with_name("libzembra.so.1").exists()
    output(
        "make",
        "-f",
        ROOT / "tests/install/pkgconfig.mk",
        "own_host",
        "EXPORT=",
        f"SOURCES={EXAMPLES}",
        cwd=by_pkgconfig,
        env=pkgconfig,
    )
    done = run(
        by_pkgconfig / "own_host",
        tmp_path / "own.h5",
        env=dict(os.environ, LD_LIBRARY_PATH=str(gateway.parent)),
    )
    assert done.returncode == 1
    message = re.fullmatch(r"own_host: (\S+): undefined symbol: (\w+)\n", done.stdout)
    assert message, done.stdout
    assert os.path.realpath(message.group(1)) == str(gateway)
    assert message.group(2) in output("nm", "--undefined-only", "--dynamic", gateway).split()
    assert not (tmp_path / "own.h5").exists()


def test_the_package_for_cmake_says_what_it_is(prefix, gateway, tmp_path):
    (tmp_path / "CMakeLists.txt").write_text(
        """
cmake_minimum_required(VERSION 3.25)
project(reader LANGUAGES CXX)
find_package(h5gate ${wanted} REQUIRED)
message(STATUS "gateway=${h5gate_GATEWAY} version=${h5gate_VERSION}")
find_package(h5gate REQUIRED)  # once more does no harm
"""
    )
    configure = ["cmake", "-S", tmp_path, "-B", tmp_path / "build", f"-Dh5gate_ROOT={prefix}"]
    text = output(*configure)
    (version,) = re.findall(rf"gateway={re.escape(str(gateway))} version=(\S+)", text)
    major, minor, _ = version.split(".")
    output(*configure, f"-Dwanted={major}.{minor}")
    done = run(*configure, f"-Dwanted={major}.{int(minor) + 1}")
    assert done.returncode != 0
    assert "compatible with requested version" in " ".join(done.stdout.split())


def test_every_header_stands_alone(prefix, pkgconfig, tmp_path):
    folder = prefix / "include/h5gate"
    headers = sorted(str(path.relative_to(folder)) for path in folder.glob("**/*.hpp"))
    assert {header.split("/")[0] for header in headers} == {"host", "runtime"}
    flags = output("pkg-config", "--cflags", "h5gate", env=pkgconfig).split()

    def compile_alone(header):
        source = tmp_path / header.replace("/", "_").replace(".hpp", ".cpp")
        source.write_text(f'#include "{header}"\n#include "{header}"\n')
        return output(os.environ.get("CXX", "g++"), "-std=c++20", "-fsyntax-only", *flags, source)

    with ThreadPoolExecutor(os.cpu_count()) as pool:
        assert list(pool.map(compile_alone, headers)) == [""] * len(headers)
