"""Files with damage in their chunks: HDF5's own error, and nothing beside the array."""

import re
import zlib
from pathlib import Path

import h5py
import numpy as np
import pytest

import zembra
from chunked import make, opened, read, space_of, threads, values
from zembra import h5

EXTENT, CHUNKS = (400, 400), (40, 400)


def answer(path, count, **how):
    """What reading gives, as bytes, or the error's whole text."""
    with threads(count), opened(path) as dataset:
        try:
            return read(dataset, **how).tobytes()
        except zembra.LibraryError as error:
            return [str(error)] + [record.description for record in error.stack]


def both_answers(path, **how):
    ours, hdf5s = (answer(path, count, **how) for count in (3, 1))
    assert ours == hdf5s
    return ours


def chunk_place(path, number):
    with h5py.File(path, "r") as file:
        info = file["data"].id.get_chunk_info(number)
        return info.byte_offset, info.size


def patch(path, offset, change):
    with open(path, "r+b") as file:
        file.seek(offset)
        old = file.read(1)
        file.seek(offset)
        file.write(bytes([change(old[0])]))


@pytest.mark.parametrize("names", [["deflate 6", "fletcher32"], ["shuffle", "fletcher32"]])
@pytest.mark.parametrize("memory_type", ["H5ZB_DEFAULT", "H5T_NATIVE_LLONG"])
def test_a_wrong_checksum(path, names, memory_type):
    make(path, values(EXTENT, "<f8"), CHUNKS, names)
    offset, size = chunk_place(path, 4)
    patch(path, offset + size // 2, lambda byte: byte ^ 0x10)
    said = both_answers(path, memory_type=memory_type)
    # 1.14 does not tell what its filters say.
    assert any(re.search("Fletcher32|filter returned failure", line) for line in said)


def test_the_rest_of_a_damaged_dataset_is_there(path):
    data = values(EXTENT, "<f8")
    make(path, data, CHUNKS, ["deflate 6", "fletcher32"])
    offset, size = chunk_place(path, 9)
    patch(path, offset + size // 2, lambda byte: byte ^ 0x10)
    picked = space_of(((0, 0), (1, 1), (360, 400), (1, 1)), EXTENT)
    compact = space_of(None, (360, 400))
    try:
        assert both_answers(path, file=picked, memory=compact) == data[:360].tobytes()
    finally:
        h5.H5Sclose(picked)
        h5.H5Sclose(compact)
    assert isinstance(both_answers(path), list)


def test_the_checksum_of_releases_before_163_counts(path):
    """They had the bytes of both halves in the other order."""
    data = values(EXTENT, "<f8")
    make(path, data, CHUNKS, ["fletcher32"])
    for number in (0, 3):
        offset, size = chunk_place(path, number)
        with open(path, "r+b") as file:
            file.seek(offset + size - 4)
            a, b, c, d = file.read(4)
            file.seek(offset + size - 4)
            file.write(bytes([b, a, d, c]))
    assert both_answers(path) == data.tobytes()


@pytest.mark.parametrize("cut", [1, 10, 1_000])
def test_a_chunk_beyond_the_end_of_the_file(path, cut):
    make(path, values(EXTENT, "<f8"), CHUNKS, ["deflate 6"])
    places = [chunk_place(path, number) for number in range(10)]
    end = max(offset + size for offset, size in places)
    with open(path, "r+b") as file:
        file.truncate(end - cut)
    try:
        said = both_answers(path)
    except zembra.LibraryError as error:  # HDF5 may not even open it
        said = [str(error)]
    assert isinstance(said, list)


@pytest.mark.parametrize("what", ["too short", "too long", "no stream", "empty"])
def test_chunks_that_are_not_what_they_should_be(path, what):
    """HDF5 takes what comes of a chunk, even if there is too much of it."""
    data = values(EXTENT, "<f8")
    make(path, data, CHUNKS, ["deflate 6"])
    raw = data[40:80].tobytes()
    stored = {
        "too short": zlib.compress(raw)[:-20],
        "too long": zlib.compress(raw + bytes(5_000)),
        "no stream": raw[: 40 * 400],
        "empty": b"\0",
    }[what]
    with h5py.File(path, "r+") as file:
        file["data"].id.write_direct_chunk((40, 0), stored)
    both_answers(path)


def test_sizes_in_the_index_that_are_wrong(path):
    """The B-tree of chunks has the size of each before its mask and offset."""
    data = values(EXTENT, "<f8")
    make(path, data, CHUNKS, ["deflate 6"])
    whole = Path(path).read_bytes()
    offset, size = chunk_place(path, 4)
    key = size.to_bytes(4, "little") + bytes(4) + (160).to_bytes(8, "little") + bytes(16)
    at = whole.index(key)
    for wrong in (1, size - 1, size + 1, 128_000, 129_000, 200_000, 0x7FFFFFFF, 0xFFFFFFFF):
        with open(path, "r+b") as file:
            file.seek(at)
            file.write(wrong.to_bytes(4, "little"))
        both_answers(path)


@pytest.mark.parametrize("names", [["deflate 1"], ["shuffle", "deflate 6", "fletcher32"]])
@pytest.mark.parametrize("libver", [None, "latest"])
@pytest.mark.parametrize("seed", range(3))
def test_bits_turned_over_in_chunks(path, names, libver, seed):
    data = values(EXTENT, "<f8")
    make(path, data, CHUNKS, names, libver=libver)
    whole = Path(path).read_bytes()
    random = np.random.default_rng(seed)
    offsets = [chunk_place(path, number) for number in range(10)]
    in_chunks = np.concatenate([np.arange(at, at + size) for at, size in offsets])
    changed = 0
    for _ in range(12):
        bad = bytearray(whole)
        for at in random.choice(in_chunks, random.integers(1, 4)):
            bad[at] ^= 1 << random.integers(8)
        Path(path).write_bytes(bad)
        changed += both_answers(path) != data.tobytes()
    assert changed > 0
