"""Chunks of any shape through any filters, whatever is selected: both ways are the same."""

import os

import numpy as np
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from chunked import h5py_values, make, opened, read_both_ways, space_of, threads, values
from zembra import h5

ELEMENTS = 300_000  # at least, of four bytes and more: less is left to HDF5

PIPELINES = st.lists(
    st.sampled_from(["shuffle", "fletcher32", "deflate 1", "deflate 6"]), min_size=1, max_size=4
).filter(lambda names: sum(name.startswith("deflate") for name in names) < 2)
TYPES = st.sampled_from(["<i4", ">i4", "<f4", ">f8", "<f8", "<u8"])


@st.composite
def extents(draw):
    rank = draw(st.integers(1, 4))
    extent = [draw(st.integers(1, int(20_000 ** (1 / rank)))) for _ in range(rank - 1)]
    return (*extent, -(-ELEMENTS // int(np.prod(extent, dtype=int))))


@st.composite
def chunkings(draw, extent):
    """Of at most 2,000 chunks: each takes HDF5 a while."""
    chunks = [draw(st.integers(1, size)) for size in extent]
    while np.prod([-(-size // chunk) for size, chunk in zip(extent, chunks)]) > 2_000:
        widest = max(range(len(extent)), key=lambda d: extent[d] / chunks[d])
        chunks[widest] = min(extent[widest], chunks[widest] * 2)
    return tuple(chunks)


@st.composite
def slabs(draw, extent):
    """Regular blocks, of which many a one is everything there is."""
    slab = []
    for size in extent:
        if draw(st.booleans()):
            slab.append((0, 1, size, 1))
            continue
        start = draw(st.integers(0, size - 1))
        block = draw(st.integers(1, size - start))
        stride = draw(st.integers(block, size))
        count = draw(st.integers(1, (size - start - block) // stride + 1))
        slab.append((start, stride, count, block))
    return tuple(zip(*slab))


@st.composite
def cases(draw):
    extent = draw(extents())
    return {
        "extent": extent,
        "chunks": draw(chunkings(extent)),
        "slab": draw(slabs(extent)),
        "names": draw(PIPELINES),
        "dtype": draw(TYPES),
        "libver": draw(st.sampled_from([None, "latest"])),
        "written": draw(st.booleans()),
        "cache": draw(st.sampled_from([0, 100_000, None])),
        "seed": draw(st.integers(0, 99)),
    }


any_case = settings(
    max_examples=int(os.environ.get("H5GATE_EXAMPLES", "60")),
    deadline=None,
    derandomize="H5GATE_EXAMPLES" not in os.environ,
    suppress_health_check=list(HealthCheck),
)


@any_case
@given(case=cases())
def test_any_selection_reads_the_same(tmp_path_factory, case):
    path = tmp_path_factory.mktemp("any") / "test.h5"
    data = values(case["extent"], case["dtype"], case["seed"])
    given_data = data if case["written"] else case["extent"]
    make(
        path, given_data, case["chunks"], case["names"], dtype=case["dtype"], libver=case["libver"]
    )
    picked = space_of(case["slab"], case["extent"])
    compact = space_of(None, [c * b for c, b in zip(case["slab"][2], case["slab"][3])])
    try:
        whole = read_both_ways(path)
        assert np.array_equal(whole, data if case["written"] else np.zeros_like(data))
        read_both_ways(path, file=picked, memory=picked)
        read_both_ways(path, file=picked, memory=compact)
        read_both_ways(path, memory_type="H5T_NATIVE_DOUBLE", file=picked, memory=compact)
    finally:
        h5.H5Sclose(picked)
        h5.H5Sclose(compact)
        path.unlink()


@any_case
@given(case=cases())
def test_any_selection_is_written_the_same(tmp_path_factory, case):
    path = tmp_path_factory.mktemp("any") / "test.h5"
    before = values(case["extent"], case["dtype"], case["seed"])
    after = values(case["extent"], case["dtype"], case["seed"] + 100)
    results = []
    for count in (3, 1):
        make(
            path,
            before if case["written"] else case["extent"],
            case["chunks"],
            case["names"],
            dtype=case["dtype"],
            libver=case["libver"],
        )
        picked = space_of(case["slab"], case["extent"])
        with threads(count), opened(path, cache=case["cache"], flags="H5F_ACC_RDWR") as dataset:
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", picked, picked, "H5P_DEFAULT", after)
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", picked, picked, "H5P_DEFAULT", after)
        h5.H5Sclose(picked)
        results.append(h5py_values(path))
        path.unlink()
    assert np.array_equal(*results)
