"""Datasets as dask arrays, and dask arrays as datasets.

    from zembra.dask import from_dataset, to_dataset

    year = from_dataset("stations/*.h5", "/temperature")     # a file each: one axis more
    to_dataset(year.mean(axis=1), "climate.h5", "/mean", gzip=6)

Tasks open the file where they run, select their block, read or write it, and close the file:
they go to threads, to processes, or to the workers of a `distributed` cluster, whose machines
have to find the files under the same names. What fails raises zembra.Error with a note that
says which block it was.

A dask array is written a block a file, by as many at once as the scheduler has, since HDF5 lets
one process write a file. The files are joined by external links: a group of datasets, which
HDF5 1.8 and everything later reads. External storage would make one dataset of them, but of raw
bytes only: without filters, chunks or checksums, cut along the first dimension alone. So there
are as many datasets as blocks, for whoever reads the file by other means; `from_dataset` gives
the whole. `gather=True` makes one dataset in one file, at the speed of one process.
"""

import glob
import itertools
import math
import os
from collections.abc import Iterable, Iterator, Sequence
from contextlib import contextmanager
from typing import Any

import numpy as np

try:
    import dask
    import dask.array as da
    from dask.base import tokenize
except ImportError as missing:
    raise ImportError(
        "zembra.dask needs dask, which is not installed (Debian: python3-dask)", name="dask"
    ) from missing

from . import h5
from ._copy import guessed_chunk
from ._errors import Error
from ._id import Id
from ._model import GROUP, kind_of_object, open_object, opened
from ._records import records
from ._types import datatype_of
from ._values import DEFAULT, Block, read, space_of, whole, write
from ._words import base_of, by, chunk_of, class_of

__all__ = ["from_dataset", "to_dataset"]

Path = str | os.PathLike[str]
Array = np.ndarray[Any, np.dtype[Any]]

SIDES = "sides"  # the attribute of a group of blocks: their lengths, dimension by dimension
COUNTS = "counts"  # and how many of these belong to each dimension
BLOCK = "block"  # the dataset in a block's file
OBJECT_SIZE = np.dtype("V64")  # what a text is taken to have, where blocks are made by size


def from_dataset(path: Path | Sequence[Path], name: str, chunks: Any = "auto") -> da.Array:
    """The values of a dataset, or of what `to_dataset` has written, as a dask array.

    path: a file; a pattern such as "stations/*.h5" or several files become one array, along a
    new first axis, in the order of their names or as given.
    name: the path of the dataset in the file.
    chunks: blocks of the array, as dask has them; "auto" makes them of whole chunks of the
    dataset, as many as dask's `array.chunk-size` allows.

    Compound data are structured arrays, texts of variable length arrays of objects. A file that
    changes later changes what tasks read.
    """
    if isinstance(path, (str, os.PathLike)):
        files = _files(os.fspath(path))
        if files is None:
            return _lazy(_source(os.fspath(path), name), chunks)
    else:
        files = [os.fspath(file) for file in path]
        if not files:
            raise ValueError("path is a list of no files")
    sources = [_source(file, name) for file in files]
    _check_alike(sources)
    if not isinstance(chunks, str):
        chunks = tuple(chunks)[1:] if _rank(chunks) > len(sources[0].shape) else chunks
    return da.stack([_lazy(source, chunks) for source in sources])


def _rank(chunks: Any) -> int:
    return len(chunks) if isinstance(chunks, (tuple, list)) else 0


def _files(path: str) -> list[str] | None:
    """Those that a pattern fits; None where it is a file's name."""
    if not glob.has_magic(path) or os.path.exists(path):
        return None
    files = sorted(glob.glob(path))
    if not files:
        raise FileNotFoundError(f"no file fits the pattern {path!r}")
    return files


def _check_alike(sources: Sequence["_Source"]) -> None:
    first = sources[0]
    for other in sources[1:]:
        if (other.shape, other.dtype) != (first.shape, first.dtype):
            raise ValueError(
                f"{other.name} in {other.path} is {by(other.shape)} of {other.dtype}, in"
                f" {first.path} it is {by(first.shape)} of {first.dtype}"
            )


def _lazy(source: "_Source", chunks: Any) -> da.Array:
    size = OBJECT_SIZE if source.dtype.hasobject else source.dtype
    blocks = da.core.normalize_chunks(
        chunks, source.shape, dtype=size, previous_chunks=source.chunks
    )
    status = os.stat(source.path)
    token = tokenize(source.path, source.name, status.st_mtime_ns, status.st_size, blocks)
    return da.from_array(
        source,
        blocks,
        name=f"zembra-{token}",
        lock=False,  # the package has its own
        asarray=False,
        fancy=False,
        inline_array=True,
        meta=np.empty((0,) * len(source.shape), source.dtype),
    )


# --- Reading ------------------------------------------------------------------------------


class _Source:
    """A dataset that is open only while a part of it is read."""

    def __init__(
        self, path: str, name: str, shape: tuple[int, ...], dtype: Any, chunks: tuple[Any, ...]
    ) -> None:
        self.path = path
        self.name = name
        self.shape = shape
        self.dtype = dtype
        self.chunks = chunks
        self.ndim = len(shape)

    def __getitem__(self, index: Any) -> Array:
        """Slices and numbers, one a dimension, as dask gives them."""
        ranges = [
            _range(part, size)
            for part, size in itertools.zip_longest(index, self.shape, fillvalue=slice(None))
        ]
        forward = [chosen if chosen.step > 0 else chosen[::-1] for chosen in ranges]
        values = self._block(_of_bounds(map(_bounds, forward)))
        flips = tuple(slice(None, None, 1 if chosen.step > 0 else -1) for chosen in ranges)
        numbers: Any = tuple(slice(None) if isinstance(part, slice) else 0 for part in index)
        picked: Array = values[flips][numbers]
        return picked

    def _block(self, block: Block) -> Array:
        if 0 in block.size:
            return np.empty(block.size, self.dtype)
        with _told("reading", self.path, self.name, block), opened(self.path) as file:
            return self._read(file, block)

    def _read(self, file: Id, block: Block) -> Array:
        with open_object(file, self.name) as dataset:
            rank = len(_extent(dataset))
            inner = tuple(
                slice(start, start + (size - 1) * step + 1, step)
                for start, size, step in list(zip(*block))[rank:]
            )
            outer = Block(block.start[:rank], block.size[:rank], block.step[:rank])
            values = _as_array(read(dataset, outer), outer.size)
            return values[(slice(None),) * rank + inner]


class _Joined(_Source):
    """Blocks in files of their own, behind external links."""

    def _read(self, file: Id, block: Block) -> Array:
        result = np.empty(block.size, self.dtype)
        wanted = [range(start, start + size * step, step) for start, size, step in zip(*block)]
        places = [list(_overlaps(lengths, part)) for lengths, part in zip(self.chunks, wanted)]
        for combination in itertools.product(*places):
            name = f"{self.name}/{_block_name(place.number for place in combination)}"
            inner = _of_bounds(place.bounds for place in combination)
            with open_object(file, name) as dataset:
                target = tuple(place.target for place in combination)
                result[target] = _as_array(read(dataset, inner), inner.size)
        return result


class _Overlap:
    """What one block has of a range: which block, where in it, where in the result."""

    def __init__(self, number: int, bounds: tuple[int, int, int], target: slice) -> None:
        self.number = number
        self.bounds = bounds
        self.target = target


def _overlaps(lengths: Sequence[int], wanted: range) -> Iterator[_Overlap]:
    begin = 0
    for number, length in enumerate(lengths):
        end = begin + length
        first = max(0, -(-(begin - wanted.start) // wanted.step))
        last = min(len(wanted), -(-(end - wanted.start) // wanted.step))
        if first < last:
            start = wanted[first] - begin
            yield _Overlap(number, (start, last - first, wanted.step), slice(first, last))
        begin = end


def _of_bounds(bounds: Iterable[tuple[int, int, int]]) -> Block:
    """From a start, a size and a step for each dimension."""
    parts = [list(part) for part in zip(*bounds)]
    return Block(*parts) if parts else whole([])


def _range(part: Any, size: Any) -> range:
    if isinstance(part, slice):
        return range(*part.indices(size))
    return range(int(part) % size, int(part) % size + 1)


def _bounds(chosen: range) -> tuple[int, int, int]:
    return (chosen.start if len(chosen) else 0), len(chosen), chosen.step


def _source(path: str, name: str) -> _Source:
    path = os.path.abspath(path)
    with _told("looking at", path, name), opened(path) as file:
        with open_object(file, name) as thing:
            if kind_of_object(thing) == GROUP:
                return _joined(file, thing, path, name)
            extent = _extent(thing)
            first = _first(extent)
            dtype = _as_array(read(thing, first), first.size).dtype
            with Id(h5.H5Dget_type(thing)) as datatype:
                inner = _inner_shape(datatype)
            with Id(h5.H5Dget_create_plist(thing)) as creation:
                stored = chunk_of(creation) or extent
    shape = tuple(extent) + inner
    return _Source(path, name, shape, dtype, tuple(max(1, size) for size in (*stored, *inner)))


def _joined(file: Id, group: Id, path: str, name: str) -> _Source:
    try:
        with Id(h5.H5Aopen(group, SIDES, DEFAULT)) as sides, Id(
            h5.H5Aopen(group, COUNTS, DEFAULT)
        ) as counts:
            lengths = [int(length) for length in h5.H5Aread(sides, "H5ZB_DEFAULT")]
            numbers = [int(count) for count in h5.H5Aread(counts, "H5ZB_DEFAULT")]
    except Error as error:
        raise ValueError(f"{name} in {path} is a group, and none that to_dataset wrote") from error
    ends = list(itertools.accumulate(numbers))
    chunks = tuple(tuple(lengths[end - count : end]) for end, count in zip(ends, numbers))
    with open_object(file, f"{name}/{_block_name(0 for _ in chunks)}") as first:
        begin = _first(_extent(first))
        dtype = _as_array(read(first, begin), begin.size).dtype
    return _Joined(path, name, tuple(map(sum, chunks)), dtype, chunks)


def _first(extent: Sequence[int]) -> Block:
    """The first value, if there is any: what its class is shows by it."""
    return Block([0] * len(extent), [min(1, size) for size in extent], [1] * len(extent))


def _inner_shape(datatype: Id) -> tuple[int, ...]:
    """The dimensions that an element has of its own."""
    name = class_of(datatype)
    if name == "H5T_ARRAY":
        with base_of(datatype) as base:
            return (*map(int, h5.H5Tget_array_dims(datatype)), *_inner_shape(base))
    if name in ("H5T_OPAQUE", "H5T_REFERENCE"):
        return (int(h5.H5Tget_size(datatype)),)
    return ()


def _extent(dataset: Id) -> list[int]:
    extent = space_of(dataset)
    if extent is None:
        raise ValueError(f"{h5.H5Iget_name(dataset)} has no data")
    return extent[0]


def _as_array(values: Any, shape: Sequence[int]) -> Array:
    """Records as a structured array, texts as objects."""
    if isinstance(values, dict):
        return records(values, shape)
    if isinstance(values, (list, str)):
        result = np.empty(shape, object)
        result[...] = np.array(values, object).reshape(shape) if shape else values
        return result
    return np.asarray(values)


@contextmanager
def _told(doing: str, path: str, name: str, block: Block | None = None) -> Iterator[None]:
    """What fails in here says what was being done."""
    try:
        yield
    except (Error, OSError, MemoryError) as error:
        place = ""
        if block is not None:
            ends = [start + (size - 1) * step + 1 for start, size, step in zip(*block)]
            slices = (f"{start}:{end}" for start, end in zip(block.start, ends))
            place = f"block [{', '.join(slices)}] of "
        error.add_note(f"{doing} {place}{name} in {path}")
        raise


# --- Writing ------------------------------------------------------------------------------


def to_dataset(
    array: da.Array,
    path: Path,
    name: str,
    *,
    chunks: Sequence[int] | None = None,
    gzip: int | None = None,
    shuffle: bool = False,
    fletcher32: bool = False,
    gather: bool = False,
    compute: bool = True,
    **scheduling: Any,
) -> Any:
    """Writes an array, each block in parallel into a file of its own.

    path: the file that joins them; made if need be. The files of the blocks are in a folder
    beside it, and are to go where it goes.
    name: the path in the file, of a group of external links to the blocks; with `gather`, of one
    dataset, and no other files are left.
    chunks, gzip, shuffle, fletcher32: how blocks are stored; the shape of chunks is found
    where filters need one.
    compute: False gives a delayed object, whose `compute` writes.
    scheduling: what dask's `compute` takes, such as scheduler="processes".
    """
    if any(math.isnan(side) for side in array.shape):
        raise ValueError("the array has blocks of unknown size: compute_chunk_sizes() finds them")
    datatype_of(array.dtype).close()  # refused here rather than in every task
    target = os.path.abspath(os.fspath(path))
    _check_free(target, name)
    folder = f"{target}.blocks/{name.strip('/').replace('/', '.')}"
    storage = tuple(chunks or ()), gzip, shuffle, fletcher32
    starts = [[0, *itertools.accumulate(sides)] for sides in array.chunks]
    written = []
    for place, block in np.ndenumerate(np.asarray(array.to_delayed(), object)):
        start = [begins[number] for begins, number in zip(starts, place)]
        file = f"{folder}/{_block_name(place)}.h5"
        written.append(dask.delayed(_write_block, pure=False)(block, file, start, storage))
    join = _gather if gather else _join
    plan = (target, name, array.shape, array.chunks, array.dtype, storage)
    done = dask.delayed(join, pure=False)(written, plan)
    return done.compute(**scheduling) if compute else done


def _check_free(path: str, name: str) -> None:
    """Blocks that are there are not written over."""
    if os.path.exists(path):
        with opened(path) as file:
            try:
                h5.H5Gget_objinfo(file, name, False)
            except Error:
                return
        raise FileExistsError(f"there is a {name} in {path} already")


def _block_name(place: Any) -> str:
    return ".".join(map(str, place)) or "0"


def _write_block(values: Any, file: str, start: Sequence[int], storage: Any) -> str:
    """A file with one dataset; it has its name once it is complete."""
    values = np.asarray(values)
    block = Block(list(start), list(values.shape), [1] * values.ndim)
    with _told("writing", file, BLOCK, block):
        os.makedirs(os.path.dirname(file), exist_ok=True)
        beside = f"{file}.{os.getpid()}.part"
        try:
            with Id(h5.H5Fcreate(beside, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)) as target:
                with _create(target, BLOCK, values.shape, values.dtype, storage) as dataset:
                    write(dataset, whole(values.shape), _as_written(values))
            os.replace(beside, file)
        finally:
            if os.path.exists(beside):
                os.remove(beside)
    return file


def _as_written(values: Array) -> Any:
    if values.dtype.hasobject and values.ndim <= 1 and not values.dtype.names:
        return values.tolist()
    return values


def _create(file: Id, name: str, shape: Sequence[int], dtype: Any, storage: Any) -> Id:
    chunks, gzip, shuffle, fletcher32 = storage
    filtered = gzip is not None or shuffle or fletcher32
    with datatype_of(dtype) as datatype, Id(h5.H5Pcreate("H5P_DATASET_CREATE")) as creation:
        if shape and 0 not in shape and (chunks or filtered):
            shape_of_chunk = list(chunks) or guessed_chunk(shape, h5.H5Tget_size(datatype))
            h5.H5Pset_chunk(creation, [min(pair) for pair in zip(shape_of_chunk, shape)])
            if shuffle:
                h5.H5Pset_shuffle(creation)
            if gzip is not None:
                h5.H5Pset_deflate(creation, gzip)
            if fletcher32:
                h5.H5Pset_fletcher32(creation)
        links = Id(h5.H5Pcreate("H5P_LINK_CREATE"))
        space = Id(
            h5.H5Screate_simple(len(shape), list(shape), [])
            if shape
            else h5.H5Screate("H5S_SCALAR")
        )
        with links, space:
            h5.H5Pset_create_intermediate_group(links, True)
            return Id(h5.H5Dcreate(file, name, datatype, space, links, creation, DEFAULT))


@contextmanager
def _target(path: str) -> Iterator[Id]:
    if os.path.exists(path):
        file = h5.H5Fopen(path, "H5F_ACC_RDWR", DEFAULT)
    else:
        file = h5.H5Fcreate(path, "H5F_ACC_EXCL", DEFAULT, DEFAULT)
    with Id(file) as identifier:
        yield identifier


def _join(written: Sequence[str], plan: Any) -> str:
    """A group with a link to each block, and where they belong."""
    path, name, _, chunks, _, _ = plan
    with _told("joining the blocks of", path, name), _target(path) as file:
        with Id(h5.H5Pcreate("H5P_LINK_CREATE")) as links:
            h5.H5Pset_create_intermediate_group(links, True)
            group = Id(h5.H5Gcreate(file, name, links, DEFAULT, DEFAULT))
        with group:
            _write_numbers(group, SIDES, [length for sides in chunks for length in sides])
            _write_numbers(group, COUNTS, [len(sides) for sides in chunks])
            for block in written:
                place = os.path.basename(block).removesuffix(".h5")
                near = os.path.relpath(block, os.path.dirname(path))  # HDF5 looks there
                h5.H5Lcreate_external(near, f"/{BLOCK}", group, place, DEFAULT, DEFAULT)
    return str(path)


def _write_numbers(group: Id, name: str, numbers: Sequence[int]) -> None:
    # The first releases of HDF5 1.8 have no dimension of 0.
    extent = h5.H5Screate_simple(1, [len(numbers)], []) if numbers else h5.H5Screate("H5S_NULL")
    with Id(extent) as space:
        with Id(h5.H5Acreate(group, name, "H5T_STD_I64LE", space, DEFAULT, DEFAULT)) as attribute:
            h5.H5Awrite(attribute, "H5ZB_DEFAULT", np.array(numbers, np.int64))


def _gather(written: Sequence[str], plan: Any) -> str:
    """One dataset; the files of the blocks go."""
    path, name, shape, chunks, dtype, storage = plan
    starts = [[0, *itertools.accumulate(sides)] for sides in chunks]
    places = itertools.product(*(range(len(sides)) for sides in chunks))
    with _told("gathering the blocks of", path, name), _target(path) as file:
        with _create(file, name, shape, dtype, storage) as dataset:
            for place, block in zip(places, written):
                start = [begins[number] for begins, number in zip(starts, place)]
                _move(block, dataset, start)
    folder = os.path.dirname(written[0])
    os.rmdir(folder)
    if not os.listdir(os.path.dirname(folder)):
        os.rmdir(os.path.dirname(folder))
    return str(path)


def _move(block: str, dataset: Id, start: list[int]) -> None:
    with opened(block) as file, open_object(file, BLOCK) as source:
        size = _extent(source)
        write(dataset, Block(start, size, [1] * len(size)), read(source, whole(size)))
    os.remove(block)
