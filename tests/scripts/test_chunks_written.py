"""Chunks written on several threads: h5py reads what HDF5 alone would have written."""

import h5py
import numpy as np
import pytest

import zembra
from chunked import h5py_values, make, opened, read_both_ways, space_of, threads, values
from reader import h5dump
from test_chunks import CONVERSIONS, NUMBERS, PIPELINES
from zembra import h5

IN_MEMORY = {
    "H5T_NATIVE_SCHAR": "i1",
    "H5T_NATIVE_SHORT": "i2",
    "H5T_NATIVE_USHORT": "u2",
    "H5T_NATIVE_LLONG": "i8",
    "H5T_NATIVE_FLOAT": "f4",
    "H5T_NATIVE_DOUBLE": "f8",
}


def write(path, data, file=None, memory=None, memory_type="H5ZB_DEFAULT", count=3, cache=0):
    with threads(count), opened(path, cache=cache, flags="H5F_ACC_RDWR") as dataset:
        whole = "H5S_ALL"
        h5.H5Dwrite(dataset, memory_type, memory or whole, file or whole, "H5P_DEFAULT", data)


def storage(path):
    """Offset, mask and size of each chunk."""
    with h5py.File(path, "r") as file:
        dataset = file["data"].id
        infos = [dataset.get_chunk_info(n) for n in range(dataset.get_num_chunks())]
        return {info.chunk_offset: (info.filter_mask, info.size) for info in infos}


@pytest.mark.parametrize("names", PIPELINES, ids=" ".join)
@pytest.mark.parametrize("dtype", ["<i2", "<f8"])
def test_every_pipeline(path, names, dtype):
    data = values((801, 797), dtype)
    make(path, (801, 797), (64, 50), names, dtype=dtype)
    write(path, data)
    assert np.array_equal(h5py_values(path), data)
    assert np.array_equal(read_both_ways(path), data)


@pytest.mark.parametrize("dtype", NUMBERS)
@pytest.mark.parametrize("level", [1, 6, 9])
def test_every_class_and_many_levels(path, dtype, level):
    rows = 1_100_000 // np.dtype(dtype).itemsize // 997 + 1
    data = values((rows, 997), dtype)
    make(path, (rows, 997), (70, 101), ["shuffle", f"deflate {level}"], dtype=dtype)
    write(path, data)
    assert np.array_equal(h5py_values(path), data)


def test_h5dump_reads_it(path):
    data = values((270_000,), "<i4")
    make(path, (270_000,), (27_000,), ["shuffle", "deflate 6", "fletcher32"], dtype="<i4")
    write(path, data)
    assert h5dump("-d", "data", "-y", path).split("DATA {")[1].split("}")[0].split() == [
        f"{value}," for value in data[:-1]
    ] + [str(data[-1])]


@pytest.mark.parametrize("dtype, memory", CONVERSIONS)
def test_hdf5_converts(path, dtype, memory):
    data = values((1_101, 1_003), IN_MEMORY[memory])
    results = []
    for count in (3, 1):
        make(path, (1_101, 1_003), (50, 70), ["shuffle", "deflate 6"], dtype=dtype)
        write(path, data, memory_type=memory, count=count)
        results.append(h5py_values(path))
    assert np.array_equal(*results)


@pytest.mark.parametrize("libver", [None, "latest"])
@pytest.mark.parametrize(
    "slab",
    [
        ((0, 0), (1, 1), (500, 600), (1, 1)),
        ((3, 7), (1, 1), (490, 580), (1, 1)),
        ((64, 50), (64, 50), (6, 10), (64, 50)),
        ((0, 50), (64, 100), (7, 6), (64, 50)),
        ((0, 0), (2, 1), (250, 600), (1, 1)),
    ],
    ids=str,
)
def test_hyperslabs(path, slab, libver):
    before, after = values((500, 600), "<f8"), values((500, 600), "<f8", seed=1)
    results = []
    for count in (3, 1):
        make(path, before, (64, 50), ["shuffle", "deflate 6", "fletcher32"], libver=libver)
        with_holes = space_of(slab, before.shape)
        write(path, after, file=with_holes, memory=with_holes, count=count)
        h5.H5Sclose(with_holes)
        results.append(h5py_values(path))
    assert np.array_equal(*results)
    assert not np.array_equal(results[0], before)


@pytest.mark.parametrize("fill", [None, -2.0])
def test_beyond_the_extent_stands_the_fill_value(path, fill):
    data = values((341, 403), "<f8")
    make(path, (341, 403), (64, 50), ["deflate 6"], growing=True, fill=fill, dtype="<f8")
    write(path, data)
    with h5py.File(path, "r+") as file:
        file["data"].resize((360, 450))
    expected = np.full((360, 450), fill or 0.0)
    expected[:341, :403] = data
    assert np.array_equal(h5py_values(path), expected)


@pytest.mark.parametrize("dirty", [False, True])
@pytest.mark.parametrize("libver", [None, "latest"])
def test_written_again(path, libver, dirty):
    """Chunks that grow, shrink and stay as they are, with and without changes in the cache."""
    data = values((256, 512), "<f8")
    make(path, data, (32, 64), ["shuffle", "deflate 6"], libver=libver)
    random = np.random.default_rng(1)
    for step in range(4):
        if step % 2 == 0:
            data[64:128] = random.random((64, 512))
        else:
            data[64:128] = step
        with threads(3), opened(path, cache=1 << 16, flags="H5F_ACC_RDWR") as dataset:
            if dirty:
                place = space_of(((100, 0), (1, 1), (1, 512), (1, 1)), data.shape)
                row = space_of(None, (512,))
                h5.H5Dwrite(dataset, "H5ZB_DEFAULT", row, place, "H5P_DEFAULT", np.ones(512))
                h5.H5Sclose(place)
                h5.H5Sclose(row)
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", data)
            got = h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")
            assert np.array_equal(got, data)
        assert np.array_equal(h5py_values(path), data)


@pytest.mark.parametrize("names", [["deflate 6"], ["shuffle", "deflate 6", "fletcher32"]])
@pytest.mark.parametrize("chunks", [(100, 100), (400, 400)])
def test_chunks_that_do_not_shrink(path, names, chunks):
    """They are stored without the deflate filter, which is optional, and read at once."""
    data = np.random.default_rng(2).integers(0, 256, (400, 400, 8), np.uint8).view("<u8")[..., 0]
    make(path, (400, 400), chunks, names, dtype="<u8")
    with threads(2), opened(path, flags="H5F_ACC_RDWR") as dataset:
        for _ in range(2):
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", data)
            for count in (1, 2):  # HDF5 first: it has looked up the last chunk already
                with threads(count):
                    got = h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")
                assert np.array_equal(got, data)
    assert np.array_equal(h5py_values(path), data)
    masks = [mask for mask, size in storage(path).values()]
    if len(masks) > 1:
        assert 1 << names.index("deflate 6") in masks


def test_a_deflate_filter_that_is_not_optional(path):
    data = np.random.default_rng(2).random((400, 400))
    with h5py.File(path, "w") as file:
        creation = h5py.h5p.create(h5py.h5p.DATASET_CREATE)
        creation.set_chunk((100, 100))
        creation.set_filter(h5py.h5z.FILTER_DEFLATE, 0, (6,))
        noise = h5py.h5s.create_simple(data.shape)
        h5py.h5d.create(file.id, b"data", h5py.h5t.IEEE_F64LE, noise, creation)
    write(path, data.view("<u8").view("<f8"))
    assert {mask for mask, size in storage(path).values()} == {0}
    assert np.array_equal(h5py_values(path), data)


@pytest.mark.parametrize("old, new", [(0b1, 0b0), (0b0, 0b1)])
def test_masks_that_change_while_sizes_do_not(path, old, new):
    """Checksums of chunks: a chunk without a filter that adds nothing is as large as with it."""
    data = values((256, 512), "<f8")
    make(path, data, (32, 512), ["shuffle", "fletcher32"])
    with h5py.File(path, "r+") as file:
        dataset = file["data"].id
        stored = dataset.read_direct_chunk((32, 0))[1]
        dataset.write_direct_chunk((32, 0), stored[:-4] + stored[-4:], filter_mask=old)
    masks = storage(path)
    assert masks[(32, 0)][0] in (old, 0)
    data = values((256, 512), "<f8", seed=3)
    results = []
    for count in (3, 1):
        write(path, data, count=count)
        try:
            results.append(h5py_values(path).tobytes())
        except OSError as error:
            results.append(str(error)[:40])
    assert results[0] == results[1]


def test_levels_are_as_small_as_those_of_zlib(path):
    """Which also shows that it was not zlib that wrote them."""
    data = np.round(np.random.default_rng(5).normal(size=(512, 1024)).cumsum(1), 2)
    for level in (1, 3, 6, 9):
        sizes = []
        for count in (2, 1):
            make(path, data.shape, (64, 1024), ["shuffle", f"deflate {level}"], dtype="<f8")
            write(path, data, count=count)
            sizes.append(sum(size for mask, size in storage(path).values()))
            assert np.array_equal(h5py_values(path), data)
        assert sizes[0] != sizes[1]
        assert sizes[0] < 1.02 * sizes[1]


def test_small_writes_stay_in_the_chunk_cache(path):
    """A dataset that the cache has room for is compressed when it leaves it."""
    data = values((256, 256), "<f8")
    make(path, (256, 256), (32, 256), ["deflate 6"], dtype="<f8")
    with threads(2), opened(path, cache=1 << 20, flags="H5F_ACC_RDWR") as dataset:
        h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", data)
        before = h5.H5Dget_storage_size(dataset)
    assert np.array_equal(h5py_values(path), data)
    results = []
    for count in (2, 1):
        make(path, (256, 256), (32, 256), ["deflate 6"], dtype="<f8")
        write(path, data, count=count, cache=1 << 20)
        results.append(storage(path))
    assert results[0] == results[1]
    assert before > 0


def test_a_file_that_may_not_be_written(path):
    data = values((400, 400), "<f8")
    make(path, data, (40, 40), ["deflate 6"])
    messages = []
    for count in (3, 1):
        with threads(count), opened(path) as dataset:
            with pytest.raises(zembra.LibraryError) as caught:
                h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", data)
            messages.append(str(caught.value))
    assert messages[0] == messages[1]
    assert np.array_equal(h5py_values(path), data)
