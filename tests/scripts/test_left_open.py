"""Files that consist of files, and their lists, survive a process that forgets them."""

import subprocess
import sys

import pytest

BEGIN = """
import sys
import numpy as np
from zembra import call

D = "H5P_DEFAULT"
def access(driver, *parameters):
    made = call("H5Pcreate", "H5P_FILE_ACCESS")
    call("H5Pset_fapl_" + driver, made, *parameters)
    return made
def write(file, name, values=np.arange(1000.0)):
    space = call("H5Screate_simple", 1, [len(values)], [])
    dataset = call("H5Dcreate", file, name, "H5T_IEEE_F64LE", space, D)
    call("H5Dwrite", dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", D, values)
    return dataset
path = sys.argv[1]
"""
OPEN = 'file = call("H5Fcreate", path, "H5F_ACC_TRUNC", D, list)\n'
WRITE = OPEN + 'dataset = write(file, "d")\n'
DRIVERS = {
    "split": 'access("split", "-m", D, "-r", D)',
    "split of lists": 'access("split", "-m", access("stdio"), "-r", access("stdio"))',
    "multi": 'access("multi", True)',
    "multi of lists": 'access("multi", *call("H5Pget_fapl_multi", access("multi", True)))',
    "family": 'access("family", 4096, D)',
    "family of families": 'access("family", 4096, access("family", 1024, D))',
    "core": 'access("core", 4096, True)',
}
LEFT = {
    "a file": WRITE,
    "a file without its list": WRITE + 'call("H5Pclose", list)\n',
    "lists": WRITE + 'call("H5Dclose", dataset)\ncall("H5Fclose", file)\ncall("H5Pcopy", list)\n',
    "a file and lists": WRITE + 'call("H5Pcopy", list)\ncall("H5Fget_access_plist", file)\n',
    "objects": WRITE + """
group = call("H5Gcreate", file, "g", 0)
datatype = call("H5Tcopy", "H5T_NATIVE_INT")
call("H5Tcommit", file, "t", datatype)
call("H5Acreate", group, "a", datatype, call("H5Screate", "H5S_SCALAR"), D)
""",
    "objects without a file": WRITE + 'call("H5Fclose", file)\n',
    "a file opened again": WRITE + """
call("H5Dclose", dataset)
call("H5Fclose", file)
file = call("H5Fopen", path, "H5F_ACC_RDWR", list)
write(file, "e")
again = call("H5Freopen", file)
""",
    "a mounted file": """
host = call("H5Fcreate", path + "-host", "H5F_ACC_TRUNC", D, D)
point = call("H5Gcreate", host, "point", 0)
""" + WRITE + 'call("H5Fmount", host, "point", file, D)\n',
}  # fmt: skip


READ = """
file = call("H5Fopen", path, "H5F_ACC_RDONLY", list)
dataset = call("H5Dopen", file, "d")
values = call("H5Dread", dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", D)
assert np.array_equal(values, np.arange(1000.0))
"""


def run(script, driver, path):
    begin = f"{BEGIN}list = {DRIVERS[driver]}\n"
    done = subprocess.run(
        [sys.executable, "-c", begin + script, path], capture_output=True, text=True, check=False
    )
    assert (done.returncode, done.stderr) == (0, "")


COMBINATIONS = {
    *((driver, left) for driver in ("split", "multi", "family") for left in LEFT),
    *((driver, "a file and lists") for driver in DRIVERS),
}


@pytest.mark.parametrize("driver, left", sorted(COMBINATIONS))
def test_what_is_left_open_is_written(driver, left, tmp_path):
    path = str(tmp_path / ("test-%d-%%d" if driver.startswith("family") else "test"))
    run(LEFT[left], driver, path)
    run(READ, driver, path)


@pytest.mark.parametrize("end", ['call("H5close")', "raise SystemExit"])
@pytest.mark.parametrize("driver", ["split", "multi", "family"])
def test_however_the_process_ends(driver, end, tmp_path):
    path = str(tmp_path / "test-%d")
    run(LEFT["objects"] + LEFT["a file and lists"].removeprefix(WRITE) + end, driver, path)
    run(READ, driver, path)
