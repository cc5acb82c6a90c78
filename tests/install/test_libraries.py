"""The libraries as files: what they are called, what they need, what they offer."""

import os
import re
import sys

from conftest import BUILD, ROOT, output, run


def dynamic_section(library, tag):
    text = output("readelf", "--dynamic", "--wide", library)
    return re.findall(rf"\({tag}\).*\[(.*)\]", text)


def symbols(library, kind):
    """The types and names of the library's dynamic symbols."""
    lines = output("nm", "--dynamic", "--demangle", kind, library)
    return re.findall(r"^[0-9a-f]* *(\w) (.*)$", lines, re.MULTILINE)


def test_the_gateway_needs_hdf5_and_no_host(gateway):
    needed = dynamic_section(gateway, "NEEDED")
    assert any(name.startswith("libhdf5") for name in needed)
    assert not any("zembra" in name for name in needed)


def test_the_gateway_offers_one_function(gateway):
    assert symbols(gateway, "--defined-only") == [("T", "zebFunction")]


def test_the_gateway_lacks_what_the_headers_of_a_host_declare_and_no_more(gateway):
    headers = "".join(path.read_text() for path in (ROOT / "host").glob("*.hpp"))
    declared = set(re.findall(r"(~?\w+)\(", headers))
    lacking = set()
    for kind, name in symbols(gateway, "--undefined-only"):
        of_a_system_library = "@" in name or kind == "w"
        if not of_a_system_library and not name.startswith(("H5", "libdeflate_")):
            lacking.add(re.sub(r"^HDF5Dataset::|\(.*", "", name))
    assert len(lacking) > 30
    assert lacking <= declared, f"no host can give {sorted(lacking - declared)}"


def test_names(gateway):
    for name in ("libh5gate", "libzembra"):
        library = gateway.with_name(f"{name}.so.1")
        assert dynamic_section(library, "SONAME") == [f"{name}.so.1"]
        assert os.readlink(gateway.with_name(f"{name}.so")) == f"{name}.so.1"


def test_a_package_without_development_files_works(tmp_path):
    for component in ("runtime", "python"):
        output("cmake", "--install", BUILD, "--prefix", tmp_path, "--component", component)
    (package,) = tmp_path.glob("**/zembra/__init__.py")
    assert not list(tmp_path.glob("**/*.hpp")) and not list(tmp_path.glob("lib*/**/libh5gate.so"))
    script = "import zembra; print(int(zembra.h5.H5Screate('H5S_SCALAR') > 0))"
    environment = dict(os.environ, PYTHONPATH=str(package.parents[1]))
    assert output(sys.executable, "-c", script, env=environment, cwd="/") == "1\n"


def test_a_missing_gateway_is_named(tmp_path):
    for component in ("runtime", "python"):
        output("cmake", "--install", BUILD, "--prefix", tmp_path, "--component", component)
    (library,) = tmp_path.glob("lib*/**/libh5gate.so.1")
    library.unlink()
    (package,) = tmp_path.glob("**/zembra/__init__.py")
    environment = dict(os.environ, PYTHONPATH=str(package.parents[1]))
    done = run(sys.executable, "-c", "import zembra", env=environment, cwd="/")
    assert done.returncode != 0
    (beside, by_name) = re.findall(r"(\S+): cannot open shared object file", done.stdout)
    assert os.path.realpath(beside) == str(library) and by_name == "libh5gate.so.1"
