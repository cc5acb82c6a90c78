"""Random datatypes of every class within each other, and data of them: what is written
must be what is read.

    python3 tests/scripts/nested_types.py [COUNT [SEED]]

tries COUNT datatypes and tells the seed of each that fails.
"""

import ctypes
import random
import subprocess
import sys
import tempfile
import traceback
from math import prod
from typing import Any

import numpy as np

import zembra
from open_ids import loaded_library
from zembra import h5
from zembra._zembra import encode_identifier

NUMBERS = {
    "H5T_STD_I8LE": np.int8,
    "H5T_STD_I32BE": np.int32,
    "H5T_STD_U16LE": np.uint16,
    "H5T_STD_I64LE": np.int64,
    "H5T_IEEE_F32LE": np.float32,
    "H5T_IEEE_F64LE": np.float64,
    "H5T_IEEE_F64BE": np.float64,
}
LETTERS = "abcdefghijklmnopqrstuvwxyz0123456789 äß€"


class Number:
    """A number of any kind."""

    def __init__(self, rng, _depth):
        self.name = rng.choice(list(NUMBERS))

    def create(self):
        return h5.H5Tcopy(self.name)

    def data(self, rng, extent):
        values = [rng.randrange(0, 100) for _ in range(prod(extent))]
        array = np.array(values, NUMBERS[self.name]).reshape(extent)
        return array if extent else array[()]

    def __repr__(self):
        return self.name[4:]


class FixedText:
    """A text of a size, padded with NULs."""

    def __init__(self, rng, _depth):
        self.size = rng.randint(2, 12)

    def create(self):
        datatype = h5.H5Tcopy("H5T_C_S1")
        h5.H5Tset_size(datatype, self.size)
        h5.H5Tset_strpad(datatype, "H5T_STR_NULLPAD")
        return datatype

    def data(self, rng, extent):
        texts = ["".join(rng.choices(LETTERS[:36], k=self.size)) for _ in range(prod(extent))]
        if not extent:
            return texts[0]
        return np.array([text.encode() for text in texts], f"S{self.size}").reshape(extent)

    def __repr__(self):
        return f"S{self.size}"


class VariableText:
    """A text of any length."""

    def __init__(self, _rng, _depth):
        pass

    def create(self):
        datatype = h5.H5Tcopy("H5T_C_S1")
        h5.H5Tset_size(datatype, "H5T_VARIABLE")
        h5.H5Tset_cset(datatype, "H5T_CSET_UTF8")
        return datatype

    def data(self, rng, extent):
        def text():
            return "".join(rng.choices(LETTERS, k=rng.choice([0, 1, 3, 10, 60])))

        return cell([text() for _ in range(prod(extent))], extent)

    def __repr__(self):
        return "text"


class Opaque:
    """Bytes that HDF5 does not look into."""

    def __init__(self, rng, _depth):
        self.size = rng.randint(1, 9)

    def create(self):
        return h5.H5Tcreate("H5T_OPAQUE", self.size)

    def data(self, rng, extent):
        count = prod(extent) * self.size
        return np.frombuffer(rng.randbytes(count), np.uint8).reshape(extent + (self.size,))

    def __repr__(self):
        return f"V{self.size}"


class Sequence:
    """A sequence of any length."""

    def __init__(self, rng, depth):
        self.base = any_type(rng, depth - 1)
        while isinstance(self.base, FixedText):  # which has no sequences
            self.base = any_type(rng, depth - 1)

    def create(self):
        base = self.base.create()
        datatype = sequence_of(base)
        h5.H5Tclose(base)
        return datatype

    def data(self, rng, extent):
        lengths = [rng.choice([0, 1, 2, 3, 5]) for _ in range(prod(extent))]
        return cell([self.base.data(rng, (length,)) for length in lengths], extent)

    def __repr__(self):
        return f"{{{self.base}}}"


class Array:
    """An array of a size."""

    def __init__(self, rng, depth):
        self.base = any_type(rng, depth - 1)
        self.extent = rng.choice([(1,), (2,), (3,), (2, 2), (1, 3)])

    def create(self):
        base = self.base.create()
        datatype = h5.H5Tarray_create(base, list(self.extent))
        h5.H5Tclose(base)
        return datatype

    def data(self, rng, extent):
        return self.base.data(rng, extent + self.extent)

    def __repr__(self):
        return f"{self.base}[{','.join(map(str, self.extent))}]"


class Compound:
    """Members side by side, with gaps between some."""

    def __init__(self, rng, depth):
        self.members = {f"m{i}": any_type(rng, depth - 1) for i in range(rng.randint(1, 4))}
        self.gap = rng.choice([0, 0, 3])

    def create(self):
        inner = {name: member.create() for name, member in self.members.items()}
        size = sum(h5.H5Tget_size(datatype) + self.gap for datatype in inner.values())
        compound = h5.H5Tcreate("H5T_COMPOUND", size)
        offset = 0
        for name, datatype in inner.items():
            h5.H5Tinsert(compound, name, offset, datatype)
            offset += h5.H5Tget_size(datatype) + self.gap
            h5.H5Tclose(datatype)
        return compound

    def data(self, rng, extent):
        return {name: member.data(rng, extent) for name, member in self.members.items()}

    def __repr__(self):
        return f"({', '.join(map(repr, self.members.values()))})"


def sequence_of(base):
    """H5Tvlen_create of any base: what others make must be read, and be written to."""
    create = loaded_library().H5Tvlen_create
    wide = h5.H5get_libversion() >= (1, 10, 0)
    create.restype = ctypes.c_int64 if wide else ctypes.c_int
    kind, serial = divmod(base, 1 << 24)
    return int(encode_identifier(create(create.restype(kind << (56 if wide else 24) | serial))))


LEAVES = [Number, Number, FixedText, VariableText, VariableText, Opaque]
BRANCHES = [Sequence, Sequence, Array, Array, Compound, Compound]


def any_type(rng, depth):
    kinds = LEAVES if depth == 0 or rng.random() < 0.15 else BRANCHES
    return rng.choice(kinds)(rng, depth)


class Only(list):
    """The cell of a scalar, which is read as its one item."""


def cell(items, extent):
    """The form that a cell has in Python."""
    if extent == ():
        return Only(items)
    if len(extent) == 1:
        return items
    objects = np.empty(len(items), object)
    objects[:] = items
    return objects.reshape(extent)


def assert_equal(found, expected, where="data"):
    """Equal in form, too."""
    if isinstance(expected, Only):
        assert_equal(found, expected[0], where)
    elif isinstance(expected, dict):
        assert list(found) == list(expected), where
        for name, value in expected.items():
            assert_equal(found[name], value, f"{where}.{name}")
    elif isinstance(expected, list):
        assert isinstance(found, list) and len(found) == len(expected), where
        for i, value in enumerate(expected):
            assert_equal(found[i], value, f"{where}[{i}]")
    elif isinstance(expected, np.ndarray) and expected.dtype == object:
        assert found.shape == expected.shape, where
        assert_equal(list(found.flat), list(expected.flat), where)
    elif isinstance(expected, str):
        assert found == expected, where
    else:
        assert found.dtype == expected.dtype, where
        assert found.shape == expected.shape, where
        assert np.array_equal(found, expected), where


class Trial:
    """One datatype and data of it, in a file and out again."""

    def __init__(self, seed):
        rng = random.Random(seed)
        self.rng = rng
        self.type: Any = rng.choice(BRANCHES)(rng, rng.randint(1, 4))
        self.extent = rng.choice([(), (1,), (2,), (5,), (2, 3)])
        self.chunked = len(self.extent) > 0 and rng.random() < 0.5

    def __repr__(self):
        return f"{self.type} of extent {self.extent}" + (" in chunks" if self.chunked else "")

    def run(self, path):
        file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
        datatype = self.type.create()
        space = h5.H5Screate("H5S_SCALAR")
        if self.extent:
            h5.H5Sset_extent_simple(space, len(self.extent), list(self.extent), [])
        try:
            self.as_dataset(file, datatype, space)
            self.as_attribute(file, datatype, space)
            self.as_fill_value(file, datatype)
        finally:
            h5.H5Sclose(space)
            h5.H5Tclose(datatype)
            h5.H5Fclose(file)

    def as_dataset(self, file, datatype, space):
        """Written twice: what stood there is in the way of what follows."""
        creation = h5.H5Pcreate("H5P_DATASET_CREATE")
        if self.chunked:
            h5.H5Pset_chunk(creation, [max(1, n // 2) for n in self.extent])
        dataset = h5.H5Dcreate(file, "d", datatype, space, creation)
        h5.H5Pclose(creation)
        try:
            for _ in range(2):
                data = self.type.data(self.rng, self.extent)
                h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", data)
                assert_equal(read_dataset(dataset), data, "dataset")
        finally:
            h5.H5Dclose(dataset)
        h5.H5Ocopy(file, "d", file, "copy", "H5P_DEFAULT", "H5P_DEFAULT")
        h5.H5Fflush(file, "H5F_SCOPE_GLOBAL")
        for name in ["copy", "d"]:
            dataset = h5.H5Dopen(file, name)
            try:
                assert_equal(read_dataset(dataset), data, name)
            finally:
                h5.H5Dclose(dataset)

    def as_attribute(self, file, datatype, space):
        attribute = h5.H5Acreate(file, "a", datatype, space, "H5P_DEFAULT")
        try:
            for _ in range(2):
                data = self.type.data(self.rng, self.extent)
                h5.H5Awrite(attribute, "H5ZB_DEFAULT", data)
                assert_equal(h5.H5Aread(attribute, "H5ZB_DEFAULT"), data, "attribute")
        finally:
            h5.H5Aclose(attribute)

    def as_fill_value(self, file, datatype):
        """Of three elements, one of which is written to."""
        value = self.type.data(self.rng, ())
        creation = h5.H5Pcreate("H5P_DATASET_CREATE")
        try:
            h5.H5Pset_fill_value(creation, datatype, value)
        except zembra.Error as error:
            h5.H5Pclose(creation)
            assert error.key == "badSetFillValueArgument" or "loses fill values" in str(error)
            return
        if self.chunked:
            h5.H5Pset_chunk(creation, [2])
        space = h5.H5Screate_simple(1, [3], [])
        dataset = h5.H5Dcreate(file, "f", datatype, space, creation)
        h5.H5Sselect_elements(space, "H5S_SELECT_SET", [1])
        one = h5.H5Screate("H5S_SCALAR")
        try:
            expected = [value] * 3
            for expected[1] in [value, self.type.data(self.rng, ())]:
                h5.H5Dwrite(dataset, "H5ZB_DEFAULT", one, space, "H5P_DEFAULT", expected[1])
                for i in range(3):
                    h5.H5Sselect_elements(space, "H5S_SELECT_SET", [i])
                    found = h5.H5Dread(dataset, "H5ZB_DEFAULT", one, space, "H5P_DEFAULT")
                    assert_equal(found, expected[i], f"fill value at {i}")
                h5.H5Sselect_elements(space, "H5S_SELECT_SET", [1])
        finally:
            h5.H5Sclose(one)
            h5.H5Dclose(dataset)
            h5.H5Sclose(space)
            h5.H5Pclose(creation)


def read_dataset(dataset):
    return h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")


def failures(seeds):
    """A line for each that fails."""
    with tempfile.TemporaryDirectory() as folder:
        for seed in seeds:
            trial = Trial(seed)
            try:
                trial.run(f"{folder}/{seed}.h5")
            except Exception as error:
                reason = traceback.format_exception_only(type(error), error)[0].strip()
                yield f"seed {seed}: {trial}: {reason}"


def main(count=3000, first=0):
    """HDF5 keeps what it once learned to convert: each hundred has a process to itself."""
    failed = 0
    for start in range(first, first + count, 100):
        seeds = range(start, min(start + 100, first + count))
        if count <= 100:
            lines = list(failures(seeds))
        else:
            command = [sys.executable, __file__, str(len(seeds)), str(start)]
            done = subprocess.run(command, stdout=subprocess.PIPE, text=True)
            lines = done.stdout.splitlines()[:-1]
            if done.returncode not in (0, 1):
                lines.append(f"seeds from {start} end the process: {done.returncode}")
        failed += len(lines)
        print(*lines, sep="\n", end="\n" if lines else "", flush=True)
    print(f"{count} datatypes, {failed} of them not as written")
    return failed > 0


if __name__ == "__main__":
    sys.exit(main(*map(int, sys.argv[1:])))
