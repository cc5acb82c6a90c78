"""Files from strangers: zembra.inspect, and the command that prints what it finds."""

import os
import pickle
import random
import signal
import subprocess
import sys
import time
import tracemalloc
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import h5py
import numpy as np
import pytest

import zembra
from zembra._inspect import MOST_FINDINGS, MOST_WALKS, Inspector, printable, shortened
from zembra._walk import pieces

MUTATIONS = 90

# Walks like the real one, save that some datasets are no good to those who read them.
HOSTILE = """
import os, signal, sys, time
from zembra import _walk, h5

read = _walk._read

def hostile(dataset, *rest):
    if h5.H5Iget_name(dataset) in {names}:
        {deed}
    return read(dataset, *rest)

_walk._read = hostile
os._exit(_walk._run(_walk.main))
"""


def write_datasets(path, count):
    with h5py.File(path, "w") as file:
        for number in range(count):
            file[f"d{number}"] = np.arange(10.0)


def inspect_hostile(path, deed, names=("/d1",), seconds=20.0):
    code = HOSTILE.format(names=set(names), deed=deed)
    command = (sys.executable, "-c", code)
    return Inspector(path, seconds, 256 << 20, command=command).inspect()


def write_everything(path):
    """Whatever a file can have."""
    with h5py.File(path, "w", userblock_size=1024, libver="latest") as file:
        group = file.create_group("group", track_order=True)
        group.create_group("inner")
        group["up"] = file  # a circle
        group["self"] = group
        file["again"] = group
        file["soft"] = h5py.SoftLink("/group/numbers")
        file["dangling"] = h5py.SoftLink("/nowhere")
        file["external"] = h5py.ExternalLink("elsewhere.h5", "/there")
        group["numbers"] = np.arange(12.0).reshape(3, 4)
        group["type"] = np.dtype("int32")
        group["scalar"] = 3
        group["text"] = "Zürich"
        group["null"] = h5py.Empty("f8")
        group["nothing"] = np.zeros((0, 3))
        group["compound"] = np.zeros(3, [("a", "i4"), ("b", "S3")])
        group.create_dataset("texts", data=["a", "", "ccc"], dtype=h5py.string_dtype())
        sequences = group.create_dataset("sequences", (2,), h5py.vlen_dtype("i2"))
        sequences[0], sequences[1] = [1, 2, 3], []
        group.create_dataset(
            "chunks", data=np.arange(1000), chunks=(7,), maxshape=(None,), compression="gzip"
        )
        references = group.create_dataset("references", (3,), h5py.ref_dtype)
        references[0], references[1] = group.ref, group["numbers"].ref
        regions = group.create_dataset("regions", (2,), h5py.regionref_dtype)
        regions[0] = group["numbers"].regionref[0:2, 1]
        for number in range(20):
            group["numbers"].attrs[f"a{number}"] = np.arange(number)
        file.attrs["unit"] = "m"
        file.attrs["to"] = group.ref
        file.id.links.create_soft(b"caf\xe9", b"gro\xfcp")
        h5py.h5g.create(file.id, b"\xff\x1b[2J")


def counts(path):
    """Objects, links and attributes, as h5py counts them."""
    with h5py.File(path, "r") as file:
        found = [h5py.h5g.open(file.id, b"/")]
        names: list[bytes] = []
        h5py.h5o.visit(found[0], names.append)
        found += [h5py.h5o.open(found[0], name) for name in names]
        groups = [one for one in found if isinstance(one, h5py.h5g.GroupID)]
        links = sum(group.get_num_objs() for group in groups)
        return len(found), links, sum(h5py.h5a.get_num_attrs(one) for one in found)


def unreadable(path):
    """The datasets that h5py cannot read."""
    bad = []

    def visit(name, thing):
        if isinstance(thing, h5py.Dataset):
            try:
                thing[()]
            except OSError:
                bad.append(f"/{name}")
            except TypeError:
                pass  # NumPy has no such class

    with h5py.File(path, "r") as file:
        file.visititems(visit)
    return sorted(bad)


def kinds(inspection):
    return [(finding.path, finding.kind) for finding in inspection.findings]


# --- Whole files --------------------------------------------------------------------


def test_everything_is_looked_at(path):
    write_everything(path)
    inspection = zembra.inspect(path)
    assert inspection and inspection.verdict == "whole", str(inspection)
    assert kinds(inspection) == [("/external", "note")]
    assert "elsewhere.h5:/there" in inspection.findings[0].text
    assert (inspection.objects, inspection.links, inspection.attributes) == counts(path)
    assert inspection.path == path and inspection.seconds > 0 and inspection.omitted == 0


def test_sample_files(shared_data):
    samples = sorted(shared_data.glob("*.h5"))
    with ThreadPoolExecutor(2) as pool:
        for sample, inspection in zip(samples, pool.map(zembra.inspect, samples)):
            assert inspection.verdict != "fatal", str(inspection)
            if not h5py.is_hdf5(sample):
                assert inspection.findings[0].text == "opening the file: is no HDF5 file"
                continue
            try:
                expected = counts(sample)
            except OSError as error:  # a part of something
                assert inspection.verdict == "damaged", f"{inspection} {error}"
                continue
            assert (inspection.objects, inspection.links, inspection.attributes) == expected
            damaged = {finding.path for finding in inspection.findings if finding.kind == "damage"}
            left_out = {finding.path for finding in inspection.findings} - damaged
            assert damaged <= set(unreadable(sample)) <= damaged | left_out, str(inspection)
            assert bool(inspection) == (not damaged)


def test_bytes_are_those_of_the_data(path):
    shape = 30, 40, 50
    with h5py.File(path, "w") as file:
        file.create_dataset("chunks", data=np.zeros(shape, "i2"), chunks=(7, 9, 11))
        file.create_dataset("block", data=np.zeros(shape, "f8"))
        file.attrs["a"] = np.zeros(5, "i4")
    assert zembra.inspect(path).bytes == 60_000 * (2 + 8) + 5 * 4


@pytest.mark.parametrize(
    "sizes, unit, most",
    [((5,), (1,), 2), ((4, 6), (1, 1), 100), ((5, 7, 3), (2, 3, 1), 8), ((3, 0), (1, 1), 4)],
)
def test_pieces_cover_everything_once(sizes, unit, most):
    seen = np.zeros(sizes, int)
    for start, count in pieces(sizes, unit, most):
        seen[tuple(slice(at, at + n) for at, n in zip(start, count))] += 1
        assert np.prod(count) <= max(most, np.prod(unit))
    assert (seen == 1).all()


def test_large_data_need_little_memory(path):
    with h5py.File(path, "w") as file:
        file.create_dataset("block", (12 << 20,), "f8")[-1] = 1
        file.create_dataset("rows", (1 << 10, 1 << 13), "f8", chunks=(64, 64), compression=1)
        file["rows"][0, 0] = 1
        file.create_dataset("nothing yet", (1 << 50, 1 << 10), "f8", chunks=(1000, 10))
    inspection = zembra.inspect(path, memory=64 << 20)
    assert inspection and inspection.bytes > 96 << 20, str(inspection)


def test_other_files_are_not_opened(path, tmp_path):
    pipe = str(tmp_path / "pipe")
    os.mkfifo(pipe)  # who opens it waits
    with h5py.File(path, "w") as file:
        file["link"] = h5py.ExternalLink(pipe, "/")
        file.create_dataset("raw", (4,), "i4", external=[(pipe, 0, 16)])
        if h5py.version.hdf5_version_tuple >= (1, 10, 0):
            layout = h5py.VirtualLayout((4,), "i4", maxshape=(None,))
            layout[:] = h5py.VirtualSource(pipe, "x", (4,))
            file.create_virtual_dataset("virtual", layout)
    inspection = zembra.inspect(path)
    assert inspection, str(inspection)
    assert kinds(inspection) == [(f"/{name}", "note") for name in sorted(file_names(path))]
    assert all("not " in finding.text for finding in inspection.findings)


def file_names(path):
    with h5py.File(path, "r") as file:
        return list(file)


def test_references_that_lead_nowhere_are_noted(path):
    with h5py.File(path, "w") as file:
        file["gone"] = 1
        file.create_dataset("to", data=[file["gone"].ref, file.ref], dtype=h5py.ref_dtype)
        del file["gone"]
    inspection = zembra.inspect(path)
    assert inspection and kinds(inspection) == [("/to", "note")]
    assert inspection.findings[0].text.endswith("1 of 2 references lead nowhere")


def test_deep_and_long_names(path):
    with h5py.File(path, "w") as file:
        group = file
        for _ in range(300):
            group = group.create_group("long" * 20)
        group["bad"] = h5py.ExternalLink("x", "y" * 1000)
    inspection = zembra.inspect(path)
    assert inspection and inspection.objects == 301
    (finding,) = inspection.findings
    assert len(finding.path) <= 1000 and finding.path.endswith("long/bad") and "…" in finding.path
    assert len(finding.text) <= 500


# --- Damaged files ------------------------------------------------------------------


def test_damage_is_found_and_the_rest_looked_at(path):
    with h5py.File(path, "w") as file:
        file.create_dataset("bad", data=np.arange(1000), chunks=(500,), fletcher32=True)
        file["good"] = np.arange(10)
        chunk = file["bad"].id.get_chunk_info(1).byte_offset
    with open(path, "r+b") as raw:
        raw.seek(chunk + 8)
        raw.write(b"\xff\xff")
    inspection = zembra.inspect(path)
    assert not inspection and inspection.verdict == "damaged"
    ((where, kind),) = kinds(inspection)
    assert (where, kind) == ("/bad", "damage")
    assert "data from [0]: H5Dread: " in inspection.findings[0].text
    assert "Fletcher32" in inspection.findings[0].text
    assert inspection.objects == 3 and inspection.bytes == 80


@pytest.mark.parametrize("content", [b"", b"no HDF5", b"\x89HDF\r\n\x1a\n" * 100])
def test_what_is_no_file_of_ours(path, content):
    Path(path).write_bytes(content)
    inspection = zembra.inspect(path)
    assert inspection.verdict == "damaged" and inspection.findings[0].path == "/"
    assert ("is no HDF5 file" in str(inspection)) == (not content.startswith(b"\x89HDF"))


def mutated(sample, seed):
    """Some bytes of the file are others, mostly where its structure is."""
    chance = random.Random(seed)
    content = bytearray(sample.read_bytes())
    for _ in range(chance.choice([1, 2, 4, 8, 16])):
        within = len(content) if chance.random() < 0.5 else min(len(content), 2048)
        content[chance.randrange(within)] = chance.choice([0, 1, 127, 255, chance.randrange(256)])
    return bytes(content)


def test_mutated_files_do_nothing_to_this_process(shared_data, tmp_path):
    samples = [sample for sample in sorted(shared_data.glob("t*.h5")) if h5py.is_hdf5(sample)]
    seconds = 10.0

    def one(seed):
        path = tmp_path / f"{seed}.h5"
        path.write_bytes(mutated(samples[seed % len(samples)], seed))
        return zembra.inspect(path, seconds=seconds, memory=256 << 20)

    verdicts = set()
    with ThreadPoolExecutor(2) as pool:
        for seed, inspection in enumerate(pool.map(one, range(MUTATIONS))):
            verdicts.add(inspection.verdict)
            assert inspection.seconds < seconds + 5, f"{seed}: {inspection}"
            assert len(inspection.findings) <= 2 * MOST_FINDINGS
            assert bool(inspection) == all(
                finding.kind == "note" for finding in inspection.findings
            )
            assert not any(finding.kind == "exit" for finding in inspection.findings), seed
    assert {"whole", "damaged"} <= verdicts


# --- Deadly files -------------------------------------------------------------------

DEEDS = {
    "os.kill(os.getpid(), signal.SIGABRT)": ("signal", "SIGABRT"),
    "os.kill(os.getpid(), signal.SIGKILL)": ("signal", "SIGKILL"),
    "os.kill(os.getpid(), signal.SIGXCPU)": ("time", "processor"),
    "raise MemoryError": ("memory", "not enough"),
    "kept = [bytearray(1 << 20) for _ in range(1000)]": ("memory", "not enough"),
    "os._exit(_walk.MEMORY_STATUS)": ("memory", "not enough"),
    "os._exit(3)": ("exit", "status 3"),
    "raise KeyError": ("exit", "status 1"),
    "os.write(3, b'nonsense\\n')": ("exit", "no longer itself"),
    "os.write(3, b'[' * 20000 + b'\\n')": ("exit", "no longer itself"),
    "os.write(3, b'[\"end\", 1, 2, 3, -4]\\n')": ("exit", "no longer itself"),
    "os.write(3, b'[\"at\", ' + b'9' * 5000 + b']\\n')": ("exit", "no longer itself"),
    "[os.write(3, b'x' * 1000) for _ in range(100)]": ("exit", "no longer itself"),
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
    assert (inspection.objects, inspection.links, inspection.bytes) == (4, 3, 160)


@pytest.mark.parametrize(
    "deed", ["time.sleep(1000)", "while True: pass", "os.close(3); time.sleep(99)"]
)
def test_what_takes_too_long_is_left_behind(path, deed):
    write_datasets(path, 3)
    inspection = inspect_hostile(path, deed, seconds=6)
    assert kinds(inspection) == [("/d1", "time")]
    assert inspection.objects == 4 and inspection.seconds < 6


def test_endless_progress_ends_in_time(path):
    write_datasets(path, 3)
    deed = 'while True: os.write(3, b\'["at", 5, "/x", "", 0, 0, 0, 0]\\n\')'
    inspection = inspect_hostile(path, deed, seconds=2)
    assert kinds(inspection) == [("/x", "time"), ("/", "note")]
    assert inspection.seconds < 4


def test_a_flood_of_findings_is_kept_out(path):
    write_datasets(path, 3)
    line = b'["found", "damage", "/%s", "%s"]\n' % (b"p" * 5000, b"t" * 5000)
    deed = f"[os.write(3, {line!r}) for _ in range(2000)]"
    tracemalloc.start()
    try:
        inspection = inspect_hostile(path, deed)
        peak = tracemalloc.get_traced_memory()[1]
    finally:
        tracemalloc.stop()
    assert (len(inspection.findings), inspection.omitted) == (MOST_FINDINGS, 1900)
    assert all(len(one.path) == 1000 and len(one.text) == 500 for one in inspection.findings)
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
    assert all(finding.kind in ("memory", "signal") for finding in inspection.findings)


def test_elements_larger_than_memory(path):
    with h5py.File(path, "w") as file:
        file.create_dataset("one", (1,), np.dtype(("f8", (20 << 20,))))
        file["other"] = 1
    inspection = zembra.inspect(path, memory=64 << 20)
    assert kinds(inspection)[0] == ("/one", "memory") and inspection.verdict == "fatal"
    assert inspection.objects == 3
    assert zembra.inspect(path)


# --- What is asked, and what is told ------------------------------------------------


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
    with h5py.File(path, "w") as file:
        file["data"] = 1
        file.flush()
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
    write_everything(good)
    Path(bad).write_bytes(b"")
    done = check(good)
    assert (done.returncode, done.stderr) == (0, "")
    lines = done.stdout.splitlines()
    assert lines[0].startswith(f"{good}: whole: ") and len(lines) == 2
    assert lines[1].startswith("  /external: note: ")
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
    with h5py.File(path, "w") as file:
        file.create_dataset("one", (1,), np.dtype(("f8", (20 << 20,))))
    done = check("--memory", "64M", path)
    assert done.returncode == 2 and "  /one: memory: data from [0]: " in done.stdout
    assert check("--memory", "1G", "--seconds", "30.5", path).returncode == 0


@pytest.mark.parametrize(
    "arguments, text",
    [
        ([], "required: FILE"),
        (["--seconds", "0", "x.h5"], "--seconds: 0 is not positive"),
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
    write_everything(path)
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


def test_an_interrupt_ends_the_walk_too(path):
    write_datasets(path, 2)
    code = HOSTILE.format(names={"/d1"}, deed="time.sleep(1000)")
    script = f"""
import sys
from zembra._inspect import Inspector
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
    listing = subprocess.run(["ps", "-eo", "args"], capture_output=True, text=True, check=True)
    assert path not in listing.stdout
