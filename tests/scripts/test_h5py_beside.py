"""h5py in the same process: loaded before or after, at rest or in a callback, and one that
brings an HDF5 of its own."""

import subprocess
import sys
import sysconfig

import pytest

from peer import needs_h5py

# What another h5py looks like to the dynamic linker: an extension that needs another
# library with HDF5's names in it.
LIBRARY = """
const char H5_lib_vers_info_g[] = "HDF5 library version 1.99.7";
int H5open(void) { return 0; }
"""
EXTENSION = """
#include <Python.h>
int H5open(void);
static struct PyModuleDef module = {PyModuleDef_HEAD_INIT, "h5", 0, -1, 0, 0, 0, 0, 0};
PyMODINIT_FUNC PyInit_h5(void) { H5open(); return PyModule_Create(&module); }
"""


@pytest.fixture(scope="module")
def other_h5py(tmp_path_factory):
    """The folder of a package h5py that is built for an HDF5 1.99.7."""
    folder = tmp_path_factory.mktemp("site")
    package = folder / "h5py"
    package.mkdir()
    (package / "__init__.py").write_text("from . import h5\n")
    (folder / "library.c").write_text(LIBRARY)
    (folder / "extension.c").write_text(EXTENSION)
    suffix = sysconfig.get_config_var("EXT_SUFFIX")
    include = sysconfig.get_path("include")
    compile_shared = ["gcc", "-shared", "-fPIC"]
    library = [*compile_shared, "library.c", "-o", "libhdf5_other.so"]
    extension = [*compile_shared, "extension.c", f"-I{include}", "-L.", "-lhdf5_other"]
    extension += [f"-Wl,-rpath,{folder}", "-o", f"h5py/h5{suffix}"]
    for command in (library, extension):
        subprocess.run(command, cwd=folder, check=True)
    return folder


def run(script, folder=None):
    if folder is not None:
        script = f"import sys; sys.path.insert(0, {str(folder)!r})\n{script}"
    return subprocess.run(
        [sys.executable, "-c", script], capture_output=True, text=True, timeout=60
    )


@pytest.mark.parametrize(
    "imports", ["import h5py, zembra", "import zembra, h5py"], ids=["before", "after"]
)
def test_an_h5py_with_another_hdf5_is_refused(other_h5py, imports):
    done = run(imports, other_h5py)
    assert done.returncode == 1
    message = done.stderr.strip().splitlines()[-1]
    assert message.startswith("ImportError: h5py brings HDF5 1.99.7 into this process, zembra uses")
    major, minor, release = run(
        "from zembra import h5; print(*map(int, h5.H5get_libversion()))"
    ).stdout.split()
    assert f"zembra uses HDF5 {major}.{minor}.{release}: " in message
    assert str(other_h5py) in message


def test_a_refused_h5py_leaves_the_process_usable(other_h5py):
    script = """
import zembra
from zembra import h5
try:
    import h5py
except ImportError as error:
    assert error.name == "h5py"
print(int(h5.H5Iis_valid(0)), end="")
"""
    done = run(script, other_h5py)
    assert (done.stdout, done.stderr) == ("0", "")


def test_a_module_that_looks_like_h5py_but_is_missing(tmp_path):
    """Not there is not there, whoever looks for it."""
    (tmp_path / "h5py").mkdir()
    (tmp_path / "h5py" / "__init__.py").write_text("raise ImportError('out of order')\n")
    done = run("import zembra\nimport h5py", tmp_path)
    assert done.stderr.strip().splitlines()[-1] == "ImportError: out of order"


ITERATE = """
import threading
from zembra import h5
file = h5.H5Fcreate({path!r}, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
h5.H5Gclose(h5.H5Gcreate(file, "g", "H5P_DEFAULT", "H5P_DEFAULT", "H5P_DEFAULT"))
def callback(group, name, data):
    {callback}
    return 0, data
def iterate():
    h5.H5Literate(file, "H5_INDEX_NAME", "H5_ITER_INC", 0, callback, None)
iterate()
{after}
h5.H5Fclose(file)
print("done")
"""
LOAD_AND_USE = "import h5py; h5py.h5f.get_obj_count(h5py.h5f.OBJ_ALL, h5py.h5f.OBJ_FILE)"
USE_IN_THREADS = """
import h5py, time
def visit():
    with h5py.File({path!r} + "2", "w") as peer:
        peer.create_group("a")
        for _ in range(100):
            peer.visit(lambda name: time.sleep(0.0001))
threads = [threading.Thread(target=visit)]
threads += [threading.Thread(target=lambda: [iterate() for _ in range(100)]) for _ in range(2)]
for thread in threads: thread.start()
for thread in threads: thread.join()
"""


@needs_h5py
@pytest.mark.parametrize("callback", ["pass", LOAD_AND_USE], ids=["at rest", "in a callback"])
@pytest.mark.parametrize("before", ["", "import h5py\n"], ids=["after", "before"])
def test_both_at_once(path, callback, before):
    after = USE_IN_THREADS.format(path=path)
    done = run(before + ITERATE.format(path=path, callback=callback, after=after))
    assert (done.stdout, done.stderr) == ("done\n", "")


@needs_h5py
def test_the_package_is_found_as_always(path):
    """h5py's own loader is what others see."""
    done = run("import zembra, h5py; print(type(h5py.__loader__) is type(h5py.__spec__.loader))")
    assert done.stdout == "True\n", done.stderr
    plain = run("import h5py; print(type(h5py.__loader__).__name__)").stdout
    assert run("import zembra, h5py; print(type(h5py.__loader__).__name__)").stdout == plain
