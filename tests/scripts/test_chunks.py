"""Chunks on several threads: what is read is what HDF5 alone reads."""

import itertools
import os

import h5py
import numpy as np
import pytest

import zembra
from chunked import make, opened, read, read_both_ways, space_of, threads, values
from samples import open_to_h5py
from zembra import h5

NUMBERS = ["i1", "u2", "<i4", ">i4", "<u8", ">i8", "<f4", ">f4", "<f8", ">f8"]
ONCE = ["deflate 6", "shuffle", "fletcher32"]
PIPELINES = [list(order) for size in (1, 2, 3) for order in itertools.permutations(ONCE, size)] + [
    ["shuffle", "shuffle", "fletcher32", "deflate 1", "fletcher32"]
]


@pytest.mark.parametrize("names", PIPELINES, ids=" ".join)
@pytest.mark.parametrize("dtype", ["<i2", "<f8"])
def test_every_pipeline(path, names, dtype):
    data = values((801, 797), dtype)
    make(path, data, (64, 50), names)
    assert np.array_equal(read_both_ways(path), data)


@pytest.mark.parametrize("dtype", NUMBERS + ["S5", "V3", "S1"])
@pytest.mark.parametrize("level", [1, 9])
def test_every_class(path, dtype, level):
    data = values((1_100_000 // np.dtype(dtype).itemsize // 997 + 1, 997), dtype)
    make(path, data, (70, 101), ["shuffle", f"deflate {level}"])
    ours = read_both_ways(path)
    if np.dtype(dtype).kind in "iuf":
        assert np.array_equal(ours, data)


@pytest.mark.parametrize("level", range(10))
def test_every_level(path, level):
    data = values((140_001,), "<f8")
    make(path, data, (4096,), [f"deflate {level}"])
    assert np.array_equal(read_both_ways(path), data)


@pytest.mark.parametrize("libver", [None, "latest"])
@pytest.mark.parametrize(
    "extent, chunks",
    [
        ((150_007,), (1_000,)),
        ((150_007,), (150_007,)),
        ((150_007,), (200_000,)),
        ((417, 331), (417, 7)),
        ((417, 331), (7, 331)),
        ((417, 331), (40, 41)),
        ((53, 43, 59), (53, 43, 59)),
        ((53, 43, 59), (5, 43, 59)),
        ((53, 43, 59), (1, 11, 59)),
        ((53, 43, 59), (6, 7, 8)),
        ((21, 19, 23, 15), (5, 4, 23, 3)),
        ((21, 19, 23, 15), (1, 19, 23, 15)),
        ((140_000, 1), (1_000, 1)),
        ((1, 140_000), (1, 1_000)),
    ],
    ids=str,
)
def test_every_shape(path, extent, chunks, libver):
    data = values(extent, "<f8")
    growing = any(chunk > size for size, chunk in zip(extent, chunks))
    make(path, data, chunks, ["shuffle", "deflate 4"], libver=libver, growing=growing)
    assert np.array_equal(read_both_ways(path), data)


SLABS = [
    # start, stride, count, block of a file of 500 by 600, chunks of 64 by 50
    ((0, 0), (1, 1), (500, 600), (1, 1)),
    ((3, 7), (1, 1), (490, 580), (1, 1)),
    ((64, 50), (64, 50), (5, 10), (64, 50)),
    ((1, 2), (5, 3), (99, 190), (4, 2)),
    ((0, 0), (100, 1), (5, 600), (70, 1)),
    ((10, 0), (1, 120), (480, 5), (1, 60)),
    ((499, 0), (1, 1), (1, 600), (1, 1)),
    ((0, 599), (1, 1), (500, 1), (1, 1)),
]


@pytest.mark.parametrize("slab", SLABS, ids=str)
@pytest.mark.parametrize("names", [["deflate 6"], ["shuffle", "fletcher32"]], ids=" ".join)
def test_hyperslabs(path, slab, names):
    data = values((500, 600), "<f8")
    make(path, data, (64, 50), names)
    start, stride, count, block = slab
    taken = data[np.ix_(*(np.flatnonzero(picked(*one)) for one in zip(*slab, data.shape)))]
    with_all = space_of(slab, data.shape)
    compact = space_of(None, taken.shape)
    apart = space_of((start, stride, count, block), data.shape)
    line = space_of(None, (taken.size,))
    try:
        assert np.array_equal(read_both_ways(path, file=with_all, memory=compact), taken)
        scattered = read_both_ways(path, file=with_all, memory=apart)
        assert np.array_equal(scattered[scattered != 0], taken[taken != 0])
        assert np.array_equal(read_both_ways(path, file=with_all, memory=line), taken.ravel())
    finally:
        for space in (with_all, compact, apart, line):
            h5.H5Sclose(space)


def picked(start, stride, count, block, extent):
    found = np.zeros(extent, bool)
    for n in range(count):
        found[start + n * stride : start + n * stride + block] = True
    return found


def test_a_memory_space_of_other_rank(path):
    data = values((3, 300_000), "<f4")
    make(path, data, (1, 30_000), ["deflate 6"])
    file = space_of(((1, 0), (1, 1), (1, 300_000), (1, 1)), (3, 300_000))
    memory = space_of(((2, 5, 0), (1, 1, 1), (300_000, 1, 1), (1, 1, 1)), (300_005, 7, 1))
    try:
        got = read_both_ways(path, file=file, memory=memory)
    finally:
        h5.H5Sclose(file)
        h5.H5Sclose(memory)
    assert np.array_equal(got[2:300_002, 5, 0], data[1])
    got[2:300_002, 5, 0] = 0
    assert not got.any()


def test_selections_that_were_moved_or_are_none_of_these(path):
    data = values((400, 400), "<f8")
    make(path, data, (50, 50), ["deflate 6"])
    moved = space_of(((0, 0), (1, 1), (380, 360), (1, 1)), data.shape)
    h5.H5Soffset_simple(moved, [7, 9])
    odd = space_of(((0, 0), (1, 1), (380, 360), (1, 1)), data.shape)
    h5.H5Sselect_hyperslab(odd, "H5S_SELECT_OR", [380, 370], [1, 1], [20, 30], [1, 1])
    compact = space_of(None, (380, 360))
    line = space_of(None, (380 * 360 + 20 * 30,))
    try:
        got = read_both_ways(path, file=moved, memory=compact)
        assert np.array_equal(got, data[7:387, 9:369])
        got = read_both_ways(path, file=odd, memory=line)
        expected = np.concatenate([data[:380, :360].ravel(), data[380:400, 370:400].ravel()])
        assert np.array_equal(got, expected)
    finally:
        for space in (moved, odd, compact, line):
            h5.H5Sclose(space)


CONVERSIONS = [
    ("<i4", "H5T_NATIVE_DOUBLE"),
    ("<f8", "H5T_NATIVE_FLOAT"),
    ("<f8", "H5T_NATIVE_SHORT"),
    (">f4", "H5T_NATIVE_LLONG"),
    ("u1", "H5T_NATIVE_DOUBLE"),
    ("<i8", "H5T_NATIVE_SCHAR"),
    (">u2", "H5T_NATIVE_USHORT"),
]


@pytest.mark.parametrize("dtype, memory", CONVERSIONS)
def test_hdf5_converts(path, dtype, memory):
    data = values((1_101, 1_003), dtype)
    make(path, data, (50, 70), ["shuffle", "deflate 6"], fill=np.array(7, dtype))
    read_both_ways(path, memory_type=memory)


@pytest.mark.parametrize("fill", [None, 2.5])
@pytest.mark.parametrize("memory", ["H5ZB_DEFAULT", "H5T_NATIVE_SHORT"])
def test_chunks_never_written(path, fill, memory):
    make(path, (900, 600), (64, 50), ["shuffle", "deflate 6"], fill=fill, dtype="<f8")
    expected = np.full((900, 600), fill or 0.0)
    assert np.array_equal(read_both_ways(path), expected)
    with h5py.File(path, "r+") as file:
        file["data"][100:130, 100:400] = 1.25
    expected[100:130, 100:400] = 1.25
    if memory != "H5ZB_DEFAULT":
        expected = expected.astype("i2")
    assert np.array_equal(read_both_ways(path, memory_type=memory), expected)


def test_extended_and_shrunk(path):
    make(path, values((700, 300), "<f8"), (64, 50), ["deflate 6"], growing=True, fill=-1.5)
    for extent in [(650, 280), (800, 310), (500, 500), (510, 501)]:
        with h5py.File(path, "r+") as file:
            file["data"].resize(extent)
            expected = file["data"][()]
        assert np.array_equal(read_both_ways(path), expected)


@pytest.mark.parametrize("cache", [1 << 15, 1 << 17])
def test_what_is_only_in_the_chunk_cache_is_seen(path, cache):
    """Written through HDF5, not on the disk yet, and read with threads."""
    data = values((512, 512), "<f4")
    make(path, data, (32, 32), ["shuffle", "deflate 6"])
    patch = np.float32(77.5)
    with opened(path, cache=cache, flags="H5F_ACC_RDWR") as dataset:
        for at in range(0, 512, 30):
            place = space_of(((at, at), (1, 1), (1, 1), (1, 1)), (512, 512))
            one = space_of(None, (1,))
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", one, place, "H5P_DEFAULT", patch)
            h5.H5Sclose(place)
            h5.H5Sclose(one)
            data[at, at] = patch
            with threads(2):
                assert np.array_equal(read(dataset), data)


def test_the_only_chunk_in_the_cache(path):
    data = values((520, 520), "<f4")
    make(path, (520, 520), (520, 520), ["deflate 6"], libver="latest", dtype="<f4")
    with opened(path, cache=1_100_000, flags="H5F_ACC_RDWR") as dataset, threads(2):
        h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", data)
        assert np.array_equal(read(dataset), data)


def test_filter_masks_of_single_chunks(path):
    data = values((128, 1024), "<f8")
    make(path, data, (16, 1024), ["shuffle", "deflate 6"])
    with h5py.File(path, "r+") as file:
        dataset = file["data"].id
        plain = data[16:32] + 1
        dataset.write_direct_chunk((16, 0), plain.tobytes(), filter_mask=0b11)
        only_shuffled = data[32:48] * 2
        shuffled = only_shuffled.view("u1").reshape(-1, 8).T.tobytes()
        dataset.write_direct_chunk((32, 0), shuffled, filter_mask=0b10)
    data[16:32], data[32:48] = plain, only_shuffled
    assert np.array_equal(read_both_ways(path), data)


@pytest.mark.parametrize("time", ["never", "alloc"])
def test_fill_times(path, time):
    """Where HDF5 leaves memory as it was there is nothing to compare but what was written."""
    data = values((256, 512), "<f8")
    with h5py.File(path, "w") as file:
        creation = h5py.h5p.create(h5py.h5p.DATASET_CREATE)
        creation.set_chunk((32, 64))
        creation.set_deflate(6)
        creation.set_fill_time(
            h5py.h5d.FILL_TIME_NEVER if time == "never" else h5py.h5d.FILL_TIME_ALLOC
        )
        space = h5py.h5s.create_simple(data.shape)
        h5py.h5d.create(file.id, b"data", h5py.h5t.IEEE_F64LE, space, creation)
        file["data"][:200] = data[:200]
    for count in (2, 1):
        with threads(count), opened(path) as dataset:
            got = read(dataset)
            assert np.array_equal(got[:200], data[:200])
            if time == "alloc":
                assert not got[224:].any()


def test_lists_that_ask_for_something(path):
    data = values((400, 400), "<f8")
    make(path, data, (40, 40), ["fletcher32", "deflate 6"])
    same = h5.H5Pcreate("H5P_DATASET_XFER")
    lax = h5.H5Pcreate("H5P_DATASET_XFER")
    h5.H5Pset_edc_check(lax, "H5Z_DISABLE_EDC")
    try:
        for transfer in (same, lax):
            assert np.array_equal(read_both_ways(path, transfer=transfer), data)
    finally:
        h5.H5Pclose(same)
        h5.H5Pclose(lax)


def test_every_sample_file(shared_data):
    compared = 0
    for sample in open_to_h5py(shared_data):
        with h5py.File(sample, "r") as file:
            names = []
            file.visititems(lambda name, item: names.append(name) if is_dataset(item) else None)
        for name in names:
            answers = []
            for count in (3, 1):
                with threads(count), opened(sample, name) as dataset:
                    try:
                        answers.append(repr(read(dataset)))
                    except zembra.Error as error:
                        answers.append(str(error))
            assert answers[0] == answers[1], (sample, name)
            compared += 1
    assert compared > 50


def is_dataset(item):
    return isinstance(item, h5py.Dataset)


# --- How many threads -------------------------------------------------------------------


def test_set_threads():
    before = os.environ.get("H5GATE_THREADS")
    zembra.set_threads(5)
    assert os.environ["H5GATE_THREADS"] == "5"
    zembra.set_threads(np.int64(2))
    assert os.environ["H5GATE_THREADS"] == "2"
    zembra.set_threads(None)
    assert before is None and "H5GATE_THREADS" not in os.environ


@pytest.mark.parametrize("bad", [0, -1, True])
def test_numbers_of_threads_that_are_none(bad):
    with pytest.raises(ValueError, match="1 or more"):
        zembra.set_threads(bad)


@pytest.mark.parametrize("bad", [1.5, "2", [2]])
def test_what_is_no_number_of_threads(bad):
    with pytest.raises(TypeError):
        zembra.set_threads(bad)


@pytest.mark.parametrize("text", ["", "none", "0", "-3", "2x", "99999999999999999999", "64"])
def test_what_the_environment_may_say(path, text, monkeypatch):
    data = values((600, 500), "<f4")
    make(path, data, (30, 40), ["deflate 6"])
    monkeypatch.setenv("H5GATE_THREADS", text)
    with opened(path) as dataset:
        assert np.array_equal(read(dataset), data)


def test_no_thread_outlives_the_call(path):
    data = values((600, 500), "<f4")
    make(path, data, (30, 40), ["deflate 6"])
    before = len(os.listdir("/proc/self/task"))
    with threads(4), opened(path) as dataset:
        read(dataset)
    assert len(os.listdir("/proc/self/task")) == before
