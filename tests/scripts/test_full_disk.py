"""A disk that fills up costs an error, not a file: with room again, everything is there."""

import os
import subprocess
import sys
from pathlib import Path

import pytest

import full_disk
from zembra import h5

HERE = Path(__file__).parent


def run_at_limit(folder, kind, *hows):
    command = [sys.executable, HERE / "full_disk.py", "limit", folder, folder, kind, *hows]
    return subprocess.run(command, capture_output=True, text=True, timeout=60)


def check(path, kind):
    """By HDF5 in this process, which has had room all along."""
    file = h5.H5Fopen(str(path), "H5F_ACC_RDONLY", "H5P_DEFAULT")
    data = h5.H5Dopen(file, "data")
    values = h5.H5Dread(data, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")
    expected = full_disk.TEXTS if kind == "texts" else full_disk.VALUES.tolist()
    assert list(values) == expected
    if kind == "attributes":
        for number in range(full_disk.ATTRIBUTES):
            attribute = h5.H5Aopen(data, f"a{number}", "H5P_DEFAULT")
            assert set(h5.H5Aread(attribute, "H5ZB_DEFAULT")) == {number}
            h5.H5Aclose(attribute)
    h5.H5Dclose(data)
    h5.H5Fclose(file)


@pytest.mark.parametrize("kind", full_disk.KINDS)
def test_nothing_is_lost_at_a_limit(tmp_path, kind):
    done = run_at_limit(tmp_path, kind, *full_disk.HOWS)
    assert (done.returncode, done.stderr) == (0, "")
    assert "failed:" in done.stdout, "there was room all along"
    for how in full_disk.HOWS:
        check(full_disk.kept(tmp_path, kind, how), kind)


@pytest.mark.parametrize("kind", ["texts", "attributes"])
def test_what_cannot_be_written_at_the_end_is_told(tmp_path, kind):
    done = run_at_limit(tmp_path, kind, "exit")
    path = tmp_path / "file.h5"
    assert done.returncode == 3
    assert done.stderr.startswith(f"zembra: {path} could not be written: file write failed")
    assert "File too large" in done.stderr and done.stderr.count("\n") == 1


def test_other_files_are_whole_at_the_end(tmp_path):
    script = f"""
import sys
sys.path.insert(0, {str(HERE)!r})
import full_disk, pathlib
paths = [pathlib.Path({str(tmp_path)!r}) / name for name in ("a.h5", "b.h5", "c.h5")]
writers = [full_disk.Writer(path, "attributes") for path in paths]
for writer in writers:
    writer.write()
h5 = full_disk.h5
for writer in (writers[0], writers[2]):
    h5.H5Fflush(writer.file, "H5F_SCOPE_LOCAL")
full_disk.Limit(paths[1]).fill()
"""
    done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True)
    assert done.returncode == 0
    assert str(tmp_path / "b.h5") in done.stderr and "a.h5" not in done.stderr
    check(tmp_path / "a.h5", "attributes")
    check(tmp_path / "c.h5", "attributes")


@pytest.mark.parametrize(
    "driver",
    ["H5Pset_fapl_split(access, '-m', 0, '-r', 0)", "H5Pset_fapl_family(access, 65536, 0)"],
)
def test_a_limit_is_of_each_part_of_a_file(tmp_path, driver):
    """All parts together have room for more, or addresses in gaps that no part has."""
    script = f"""
import resource
import numpy as np
from zembra import h5
resource.setrlimit(resource.RLIMIT_FSIZE, (100_000, resource.getrlimit(resource.RLIMIT_FSIZE)[1]))
access = h5.H5Pcreate("H5P_FILE_ACCESS")
h5.{driver}
file = h5.H5Fcreate({str(tmp_path / "parts%d")!r}, "H5F_ACC_TRUNC", 0, access)
creation = h5.H5Pcreate("H5P_DATASET_CREATE")
h5.H5Pset_chunk(creation, [5000])
h5.H5Pset_deflate(creation, 1)
space = h5.H5Screate_simple(1, [15_000], [])
values = np.random.default_rng(0).integers(0, 256, 15_000)
for name in range({5 if "split" in driver else 8}):  # the raw part has all values
    data = h5.H5Dcreate(file, str(name), "H5T_STD_U8LE", space, creation)
    h5.H5Dwrite(data, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", 0, values)
    assert (h5.H5Dread(data, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", 0) == values).all()
    h5.H5Dclose(data)
h5.H5Fclose(file)
"""
    done = subprocess.run(
        [sys.executable, "-c", script], capture_output=True, text=True, timeout=60
    )
    assert (done.returncode, done.stderr) == (0, "")


def test_nothing_is_lost_on_a_full_disk(tmp_path):
    """On a disk of its own of 1 MB, where this process may mount one."""
    if os.geteuid() != 0 or subprocess.run(["unshare", "--mount", "true"]).returncode != 0:
        pytest.skip("mounting a disk takes root, and a kernel that lets it")
    script = f"""
set -e
cd "$1"
shift
mkdir disk
mount -t tmpfs -o size=1m tmpfs disk
for kind in "$@"; do
  "$PYTHON" "$FULL_DISK" disk disk . "$kind" {' '.join(f'"{how}"' for how in full_disk.HOWS)}
done
"""
    command = ["unshare", "--mount", "bash", "-c", script, "bash", tmp_path, *full_disk.KINDS]
    path = [str(Path(entry).resolve()) for entry in sys.path if entry]
    environment = dict(os.environ, PYTHON=sys.executable, FULL_DISK=str(HERE / "full_disk.py"))
    environment["PYTHONPATH"] = os.pathsep.join(path)
    done = subprocess.run(command, env=environment, capture_output=True, text=True, timeout=110)
    assert (done.returncode, done.stderr) == (0, "")
    assert "No space left on device" in done.stdout
    for kind in full_disk.KINDS:
        for how in full_disk.HOWS:
            check(full_disk.kept(tmp_path, kind, how), kind)


def run_early(path, properties, tries):
    script = f"""
import resource, sys
import numpy as np
import zembra
from zembra import h5

def create(name, size, *limits):
    space = h5.H5Screate_simple(1, [size], limits)
    return h5.H5Dcreate(file, name, "H5T_IEEE_F64LE", space, creation)

def refused(function, *arguments):
    try:
        function(*arguments)
    except zembra.Error as error:
        assert "the disk has room for" in str(error), error
        return True
    return False

resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, resource.getrlimit(resource.RLIMIT_FSIZE)[1]))
file = h5.H5Fcreate({str(path)!r}, "H5F_ACC_TRUNC", 0, 0)
creation = h5.H5Pcreate("H5P_DATASET_CREATE")
data = create("data", {full_disk.COUNT})
h5.H5Dwrite(data, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", 0, np.arange({full_disk.COUNT}) / 3)
h5.H5Pset_alloc_time(creation, "H5D_ALLOC_TIME_EARLY")
{properties}
{tries}
h5.H5Gclose(h5.H5Gcreate(file, "later", 0, 0, 0))
h5.H5Dclose(data)
h5.H5Fclose(file)
"""
    done = subprocess.run(
        [sys.executable, "-c", script], capture_output=True, text=True, timeout=60
    )
    assert (done.returncode, done.stderr) == (0, "")
    check(path, "block")


CHUNKED = "h5.H5Pset_chunk(creation, [5000])\n"


@pytest.mark.parametrize(
    "properties",
    [
        CHUNKED,
        CHUNKED + "h5.H5Pset_shuffle(creation)",
        'h5.H5Pset_fill_value(creation, "H5T_NATIVE_DOUBLE", 1.5)',
    ],
    ids=["chunks", "filtered chunks", "filled block"],
)
def test_what_is_filled_at_once_is_not_begun_where_it_does_not_fit(tmp_path, properties):
    """HDF5 fills the disk, and has no room for what it was to keep of the file before."""
    run_early(
        tmp_path / "file.h5",
        properties,
        """
assert refused(create, "large", 1_000_000)
assert refused(create, "too large for any disk", 1 << 60)
h5.H5Dclose(create("small", 20_000))
""",
    )


def test_nothing_grows_at_once_where_it_does_not_fit(tmp_path):
    run_early(
        tmp_path / "file.h5",
        CHUNKED,
        """
growing = create("growing", 20_000, -1)
for grow in (h5.H5Dset_extent, h5.H5Dextend):
    assert refused(grow, growing, 1_000_000)
    grow(growing, 40_000)
assert h5.H5Sget_simple_extent_npoints(h5.H5Dget_space(growing)) == 40_000
h5.H5Dclose(growing)
""",
    )


def test_what_filters_make_small_fits(tmp_path):
    run_early(
        tmp_path / "file.h5",
        CHUNKED + "h5.H5Pset_deflate(creation, 6)",
        """
large = create("large", 1_000_000)
assert 0 < h5.H5Dget_storage_size(large) < 100_000
h5.H5Dclose(large)
assert refused(create, "larger", 1_000_000_000)
""",
    )
