"""Files that kill those who read them, by zembra.inspect, and the command that prints what it
finds."""

import os
import pickle
import signal
import subprocess
import sys
import time
import tracemalloc
from pathlib import Path

import pytest

import zembra
from zembra import h5
from zembra._inspect import MOST_FINDINGS, MOST_WALKS, Inspector, printable, shortened

DEFAULT = "H5P_DEFAULT"

# Walks like the real one, save that some datasets are no good to those who read them.
HOSTILE = """
import os, signal, sys, time
from zembra import _walk, h5

read, write = _walk._read, _walk._write

def remember_channel(to, line):
    global channel
    channel = to
    write(to, line)

def hostile(dataset, *rest):
    if h5.H5Iget_name(dataset) in {names}:
        {deed}
    return read(dataset, *rest)

_walk._read, _walk._write = hostile, remember_channel
os._exit(_walk._run(_walk.main))
"""


def write_datasets(path, count, datatype="H5T_IEEE_F64LE", size=10, close=True):
    """Datasets /d0, /d1 ... and a link to another file."""
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
    h5.H5Lcreate_external("elsewhere.h5", "/there", file, "z", DEFAULT, DEFAULT)
    with zembra.Id(h5.H5Screate_simple(1, [size], [])) as space:
        for number in range(count):
            h5.H5Dclose(h5.H5Dcreate(file, f"d{number}", datatype, space, DEFAULT))
    if not close:
        h5.H5Fflush(file, "H5F_SCOPE_LOCAL")
        return file
    h5.H5Fclose(file)
    return None


def write_large_element(path):
    with zembra.Id(h5.H5Tarray_create("H5T_IEEE_F64LE", [20 << 20])) as datatype:
        write_datasets(path, 1, datatype, size=1)


def inspect_hostile(path, deed, names=("/d1",), seconds=20.0):
    code = HOSTILE.format(names=set(names), deed=deed)
    command = (sys.executable, "-c", code)
    return Inspector(path, seconds, 256 << 20, command=command).inspect()


def kinds(inspection):
    return [(finding.path, finding.kind) for finding in inspection.findings]


# --- Deadly files -------------------------------------------------------------------

DEEDS = {
    "os.kill(os.getpid(), signal.SIGABRT)": ("signal", "SIGABRT"),
    "os.kill(os.getpid(), signal.SIGKILL)": ("signal", "SIGKILL"),
    "os.kill(os.getpid(), signal.SIGXCPU)": ("time", "processor"),
    "raise MemoryError": ("memory", "not enough"),
    "kept = [bytearray(1 << 20) for _ in range(1000)]": ("memory", "not enough"),
    "os._exit(_walk.MEMORY_STATUS)": ("memory", "not enough"),
    "os._exit(3)": ("exit", "status 3"),
    "raise KeyError": ("exit", "status 70"),
    "os.write(channel, b'nonsense\\n')": ("exit", "no longer itself"),
    "os.write(channel, b'[' * 20000 + b'\\n')": ("exit", "no longer itself"),
    "os.write(channel, b'[\"end\", 1, 2, 3, -4]\\n')": ("exit", "no longer itself"),
    "os.write(channel, b'[\"at\", ' + b'9' * 5000 + b']\\n')": ("exit", "no longer itself"),
    "[os.write(channel, b'x' * 1000) for _ in range(100)]": ("exit", "no longer itself"),
}


@pytest.mark.parametrize("deed", DEEDS)
def test_deadly_ends_are_told_and_the_rest_looked_at(path, deed):
    write_datasets(path, 3)
    kind, text = DEEDS[deed]
    inspection = inspect_hostile(path, deed)
    assert inspection.verdict == "fatal" and not inspection
    assert kinds(inspection)[0] == ("/d1", kind), str(inspection)
    assert "data from [0]: " in inspection.findings[0].text and text in inspection.findings[0].text
    assert all(finding.kind == "note" for finding in inspection.findings[1:])
    assert (inspection.objects, inspection.links, inspection.bytes) == (4, 4, 160)


@pytest.mark.parametrize(
    "deed", ["time.sleep(1000)", "while True: pass", "os.close(channel); time.sleep(99)"]
)
def test_what_takes_too_long_is_left_behind(path, deed):
    write_datasets(path, 3)
    inspection = inspect_hostile(path, deed, seconds=6)
    assert kinds(inspection) == [("/d1", "time"), ("/z", "note")]
    assert inspection.objects == 4 and inspection.seconds < 6


def test_endless_progress_ends_in_time(path):
    write_datasets(path, 3)
    deed = 'while True: os.write(channel, b\'["at", 5, "/x", "", 0, 0, 0, 0]\\n\')'
    inspection = inspect_hostile(path, deed, seconds=2)
    assert kinds(inspection) == [("/x", "time"), ("/", "note")]
    assert inspection.seconds < 4


def test_a_flood_of_findings_is_kept_out(path):
    write_datasets(path, 3)
    line = b'["found", "damage", "/%s", "%s"]\n' % (b"p" * 5000, b"t" * 5000)
    deed = f"[os.write(channel, {line!r}) for _ in range(2000)]"
    tracemalloc.start()
    try:
        inspection = inspect_hostile(path, deed)
        peak = tracemalloc.get_traced_memory()[1]
    finally:
        tracemalloc.stop()
    *flood, link = inspection.findings
    assert (len(flood), inspection.omitted) == (MOST_FINDINGS, 1900) and link.path == "/z"
    assert all(len(one.path) == 1000 and len(one.text) == 500 for one in flood)
    assert "and 1,900 more" in str(inspection) and inspection.verdict == "damaged"
    assert peak < 4 << 20


def test_not_every_end_is_followed_by_a_beginning(path):
    count = MOST_WALKS + 4
    write_datasets(path, count)
    names = [f"/d{number}" for number in range(count)]
    inspection = inspect_hostile(path, "os._exit(3)", names, seconds=60)
    assert [kind for _, kind in kinds(inspection)] == ["exit"] * MOST_WALKS + ["note"]
    assert "left out" in inspection.findings[-1].text


def test_no_room_at_all(path):
    write_datasets(path, 3)
    inspection = zembra.inspect(path, memory=1)
    assert inspection.verdict in ("whole", "fatal")  # Python keeps some of it in reserve
    assert {kind for _, kind in kinds(inspection)} <= {"memory", "signal", "note"}


def test_elements_larger_than_memory(path):
    write_large_element(path)
    inspection = zembra.inspect(path, memory=64 << 20)
    assert kinds(inspection)[0] == ("/d0", "memory") and inspection.verdict == "fatal"
    assert inspection.links == 2  # to the end
    assert zembra.inspect(path)


# --- What is asked, and what is told ------------------------------------------------


def test_what_has_no_form_here_is_noted(path):
    write_datasets(path, 1, "H5T_UNIX_D32LE")
    inspection = zembra.inspect(path)
    assert inspection and kinds(inspection) == [("/d0", "note"), ("/z", "note")]
    assert "have no form in the host" in inspection.findings[0].text


def test_what_is_no_file(tmp_path, monkeypatch):
    with pytest.raises(FileNotFoundError, match="nowhere.h5"):
        zembra.inspect(tmp_path / "nowhere.h5")
    with pytest.raises(IsADirectoryError):
        zembra.inspect(tmp_path)
    os.mkfifo(tmp_path / "pipe")
    assert zembra.inspect(tmp_path / "pipe").findings[0].text == "is no regular file"
    closed = tmp_path / "closed.h5"
    closed.write_bytes(b"")
    monkeypatch.setattr(os, "access", lambda path, mode: False)
    with pytest.raises(PermissionError, match="closed.h5"):
        zembra.inspect(closed)


@pytest.mark.parametrize("name", ["seconds", "memory"])
@pytest.mark.parametrize("value", [0, -1, float("nan")])
def test_limits_are_positive(path, name, value):
    with pytest.raises(ValueError, match=f"^{name} is to be a positive number"):
        zembra.inspect(path, **{name: value})


def test_limits_may_be_huge(path):
    write_datasets(path, 1)
    assert zembra.inspect(path, seconds=float("inf"), memory=1 << 100)


def test_names_of_files(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    for name in ("-v", "a b.h5", "%05d.h5", os.fsdecode(b"caf\xe9.h5")):
        write_datasets("plain.h5", 1)
        os.rename("plain.h5", name)
        inspection = zembra.inspect(name)
        assert inspection and inspection.path == name
        assert zembra.inspect(os.fsencode(name)) and zembra.inspect(Path(name))


def test_a_file_that_is_being_written(path):
    with zembra.Id(write_datasets(path, 1, close=False)):
        assert zembra.inspect(path)


def test_modules_are_not_taken_from_the_current_folder(path, tmp_path, monkeypatch):
    write_datasets(path, 1)
    (tmp_path / "json.py").write_text("import os; os._exit(9)")
    monkeypatch.chdir(tmp_path)
    assert zembra.inspect(path)


def test_reports_are_values():
    finding = zembra.Finding("/a\x1b[2J\udce9", "damage", "line\nline")
    inspection = zembra.Inspection("x.h5", "damaged", (finding,), objects=1, links=2000)
    assert pickle.loads(pickle.dumps(inspection)) == inspection
    assert {inspection: 1}[inspection] == 1
    assert str(inspection) == (
        "x.h5: damaged: 1 object, 2,000 links, 0 attributes, 0 bytes of data in 0.0 s\n"
        "  /a\\x1b[2J\\udce9: damage: line\\nline"
    )
    assert type(inspection).__module__ == zembra.inspect.__module__ == "zembra"
    with pytest.raises(AttributeError):
        inspection.verdict = "whole"  # type: ignore[misc]


def test_texts_are_shortened_in_the_middle():
    assert shortened("abcdef", 6) == "abcdef" and shortened("abcdefg", 6) == "abc…fg"
    assert printable("a ü\t") == "a ü\\t"


# --- The command --------------------------------------------------------------------


def check(*arguments, **options):
    command = [sys.executable, "-m", "zembra", "check", *arguments]
    return subprocess.run(command, capture_output=True, text=True, timeout=60, **options)


def test_exit_status_and_text(tmp_path):
    good, bad = str(tmp_path / "good.h5"), str(tmp_path / "bad.h5")
    write_datasets(good, 3)
    Path(bad).write_bytes(b"")
    done = check(good)
    assert (done.returncode, done.stderr) == (0, "")
    lines = done.stdout.splitlines()
    assert lines[0].startswith(f"{good}: whole: ") and len(lines) == 2
    assert lines[1].startswith("  /z: note: ")
    done = check(good, bad)
    assert (done.returncode, done.stderr) == (1, "")
    assert f"{bad}: damaged: " in done.stdout
    assert "\n  /: damage: opening the file: is no HDF5 file\n" in done.stdout
    done = check(str(tmp_path / "nowhere.h5"), good, str(tmp_path))
    assert done.returncode == 2 and f"{good}: whole: " in done.stdout
    assert done.stderr.splitlines() == [
        f"{tmp_path}/nowhere.h5: No such file or directory",
        f"{tmp_path}: Is a directory",
    ]


def test_deadly_files_have_a_status_of_their_own(path):
    write_large_element(path)
    done = check("--memory", "64M", path)
    assert done.returncode == 2 and "  /d0: memory: data from [0]: " in done.stdout
    assert check("--memory", "1G", "--seconds", "30.5", path).returncode == 0


@pytest.mark.parametrize(
    "arguments, text",
    [
        ([], "required: FILE"),
        (["--seconds", "0", "x.h5"], "--seconds: 0 is no positive number"),
        (["--seconds", "long", "x.h5"], "--seconds: long is no positive number"),
        (["--memory", "0", "x.h5"], "--memory: 0 is no positive number of bytes"),
        (["--memory", "much", "x.h5"], "--memory: much is no positive number of bytes"),
    ],
)
def test_bad_arguments(arguments, text):
    done = check(*arguments)
    assert done.returncode == 2 and text in done.stderr


def test_help():
    done = check("--help")
    assert done.returncode == 0 and "--seconds" in done.stdout and "Exit status" in done.stdout


def test_progress_is_for_terminals(path):
    write_datasets(path, 3)
    ours, theirs = os.openpty()
    try:
        command = [sys.executable, "-m", "zembra", "check", path]
        done = subprocess.run(command, stdout=subprocess.PIPE, stderr=theirs, timeout=60)
        shown = os.read(ours, 1 << 16).decode()
    finally:
        os.close(ours)
        os.close(theirs)
    assert done.returncode == 0
    assert shown.startswith("\r\x1b[K") and shown.endswith("\r\x1b[K") and path[-20:] in shown


def runs_with(command_line, argument):
    try:
        return argument.encode() in command_line.read_bytes().split(b"\0")
    except OSError:
        return False  # it has ended meanwhile


def test_an_interrupt_ends_the_walk_too(path):
    write_datasets(path, 2)
    code = HOSTILE.format(names={"/d1"}, deed="time.sleep(1000)")
    script = f"""
import signal, sys
from zembra._inspect import Inspector
signal.signal(signal.SIGINT, signal.default_int_handler)  # ignored in background jobs
print("at it", flush=True)
Inspector({path!r}, 600, 1 << 28, command=(sys.executable, "-c", {code!r}),
          progress=lambda path: print(path, flush=True)).inspect()
"""
    with subprocess.Popen(
        [sys.executable, "-c", script], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True
    ) as process:
        assert process.stdout is not None and process.stderr is not None
        while process.stdout.readline() != "/d1\n":
            pass
        time.sleep(0.2)
        process.send_signal(signal.SIGINT)
        assert process.wait(20) != 0
        assert "KeyboardInterrupt" in process.stderr.read()
    assert not [one for one in Path("/proc").glob("[0-9]*/cmdline") if runs_with(one, path)]
