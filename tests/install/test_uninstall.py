"""What uninstalling leaves: nothing of ours, everything of others."""

import os
import subprocess
import sys

import pytest

from conftest import BUILD, configured, output


def tree(folder):
    return sorted(str(path.relative_to(folder)) for path in folder.glob("**/*"))


@pytest.fixture
def used(tmp_path):
    """Installs into a prefix, and imports the package, which leaves its traces there."""

    def install(prefix):
        output("cmake", "--install", BUILD, "--prefix", prefix)
        (package,) = prefix.glob("**/zembra/__init__.py")
        environment = dict(os.environ, PYTHONPATH=str(package.parents[1]))
        environment.pop("PYTHONDONTWRITEBYTECODE", None)
        subprocess.run([sys.executable, "-c", "import zembra"], check=True, env=environment)
        assert (package.parent / "__pycache__").exists()

    return install


def uninstall(prefix):
    output("cmake", f"-DCMAKE_INSTALL_PREFIX={prefix}", "-P", BUILD / "uninstall.cmake")


def test_nothing_is_left(used, tmp_path):
    used(tmp_path / "opt/h5gate")
    uninstall(tmp_path / "opt/h5gate")
    assert tree(tmp_path) == []


def test_what_is_not_ours_stays(used, tmp_path):
    for folder in ("include", "lib/cmake/other", "bin"):
        (tmp_path / folder).mkdir(parents=True)
    (tmp_path / "lib/libother.so").touch()
    before = tree(tmp_path)
    used(tmp_path)
    used(tmp_path)  # once more, as an update would
    (tmp_path / "lib/pkgconfig/other.pc").touch()
    uninstall(tmp_path)
    assert tree(tmp_path) == sorted(before + ["lib/pkgconfig", "lib/pkgconfig/other.pc"])


def test_a_staged_tree(tmp_path):
    environment = dict(os.environ, DESTDIR=str(tmp_path))
    output("cmake", "--install", BUILD, env=environment)
    assert (tmp_path / configured("CMAKE_INSTALL_PREFIX").lstrip("/") / "include/h5gate").exists()
    output("cmake", "-P", BUILD / "uninstall.cmake", env=environment)
    assert tree(tmp_path) == []
