"""The package as the interpreter finds it once installed."""

import os
import re
import site
import sys

import pytest

from conftest import BUILD, ROOT, configured, output

IMPORT = "import zembra; print(zembra.__file__, zembra.__version__)"


def project_version():
    text = (ROOT / "CMakeLists.txt").read_text()
    (version,) = re.findall(r"project\(h5gate VERSION (\S+)", text)
    return version


def test_the_line_that_installing_prints_is_all_it_takes(installation):
    prefix, printed = installation
    (line,) = [line for line in printed.splitlines() if line.startswith("export ")]
    environment = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"}
    text = output("sh", "-c", f"{line}; {sys.executable} -c '{IMPORT}'", env=environment, cwd="/")
    file, version = text.split()
    assert file.startswith(str(prefix)) and version == project_version()


def test_the_default_prefix_takes_nothing(tmp_path):
    """Installed where the interpreter looks, without a line to set."""
    prefix = configured("CMAKE_INSTALL_PREFIX")
    if prefix != "/usr/local":
        pytest.skip(f"this build is to be installed into {prefix}")
    printed = output("cmake", "--install", BUILD, env=dict(os.environ, DESTDIR=str(tmp_path)))
    assert "export" not in printed
    (package,) = tmp_path.glob("**/zembra/__init__.py")
    assert "/" + str(package.parents[1].relative_to(tmp_path)) in site.getsitepackages()


def test_everything_of_the_package_is_installed(prefix):
    (package,) = (file.parent for file in prefix.glob("**/zembra/__init__.py"))
    built = BUILD / "python/zembra"

    def files(folder):
        found = (path for path in folder.glob("**/*") if "__pycache__" not in path.parts)
        return {path.relative_to(folder) for path in found}

    assert files(package) == files(built)


def test_the_command_finds_the_package(prefix):
    environment = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"}
    text = output(prefix / "bin/zembra", "--version", env=environment, cwd="/")
    assert text.startswith(f"zembra {project_version()} with HDF5 ")
    assert (prefix / "share/bash-completion/completions/zembra").is_file()
