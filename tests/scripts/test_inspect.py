"""Files from strangers: zembra.inspect finds in them what h5py finds."""

import os
import random
import resource
import re
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import h5py
import numpy as np
import pytest

import zembra
from zembra._inspect import FAILURE_STATUS, MOST_FINDINGS
from zembra._walk import pieces

MUTATIONS = int(os.environ.get("H5GATE_MUTATIONS", "40"))


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
            except OSError as error:
                if "conversion path" not in str(error):
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
            except KeyError:  # 1.14 takes unusual numbers for damage, unless it is told not to
                assert h5py.version.hdf5_version_tuple >= (1, 14, 4)
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
    assert re.search("Fletcher32|filter returned failure", inspection.findings[0].text)
    assert inspection.objects == 3 and inspection.bytes == 80


def test_links_that_cannot_be_listed(path):
    with h5py.File(path, "w") as file:
        file.create_group("bad")["lost"] = 1
        file.create_group("good")["found"] = 1
    content = Path(path).read_bytes()
    _of_root, of_bad, _of_good = (found.start() for found in re.finditer(b"SNOD", content))
    with open(path, "r+b") as raw:
        raw.seek(of_bad)
        raw.write(b"XXXX")
    inspection = zembra.inspect(path)
    assert inspection.verdict == "damaged" and {where for where, _ in kinds(inspection)} == {"/bad"}
    assert any(finding.text.startswith("links: ") for finding in inspection.findings)
    assert "signature" in str(inspection) and inspection.objects == 4


@pytest.mark.parametrize("content", [b"", b"no HDF5", b"\x89HDF\r\n\x1a\n" * 100])
def test_what_is_no_file_of_ours(path, content):
    Path(path).write_bytes(content)
    inspection = zembra.inspect(path)
    assert inspection.verdict == "damaged" and inspection.findings[0].path == "/"
    assert ("is no HDF5 file" in str(inspection)) == (not content.startswith(b"\x89HDF"))


def most_memory():
    """That this process ever had, in bytes."""
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss << 10


def mutated(sample, seed):
    """Some bytes of the file are others, mostly where its structure is."""
    chance = random.Random(seed)
    content = bytearray(sample.read_bytes())
    for _ in range(chance.choice([1, 2, 4, 8, 16])):
        within = len(content) if chance.random() < 0.5 else min(len(content), 2048)
        content[chance.randrange(within)] = chance.choice([0, 1, 127, 255, chance.randrange(256)])
    return bytes(content)


def inspect_mutated(samples, folder):
    """The parent outlives whatever HDF5 does: some of these crash it."""
    seconds = 10.0

    def one(seed):
        path = folder / f"{seed}.h5"
        path.write_bytes(mutated(samples[seed % len(samples)], seed))
        return zembra.inspect(path, seconds=seconds, memory=256 << 20)

    verdicts = set()
    before = most_memory()
    with ThreadPoolExecutor(2) as pool:
        for seed, inspection in enumerate(pool.map(one, range(MUTATIONS))):
            verdicts.add(inspection.verdict)
            assert inspection.seconds < seconds + 5, f"{seed}: {inspection}"
            assert len(inspection.findings) <= 2 * MOST_FINDINGS
            assert bool(inspection) == all(
                finding.kind == "note" for finding in inspection.findings
            )
            assert f"status {FAILURE_STATUS}" not in str(inspection), seed
    assert "damaged" in verdicts
    assert most_memory() - before < 64 << 20  # whatever the walks were allowed


def test_mutated_samples(shared_data, tmp_path):
    samples = [sample for sample in sorted(shared_data.glob("t*.h5")) if h5py.is_hdf5(sample)]
    inspect_mutated(samples, tmp_path)


def test_mutated_files_with_everything(path, tmp_path):
    write_everything(path)
    inspect_mutated([Path(path)], tmp_path)
