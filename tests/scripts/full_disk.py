"""Writes files, lets there be no room for them, and makes room again; a process of its own.

    full_disk.py limit|disk FOLDER KEPT KIND HOW...

There is no room because of a limit of the process, or because the folder's disk is full.
KIND is what is written, HOW the call that is to fail, one after the other; `exit` leaves
everything open. Prints what failed; a reader is to look at what stands in the folder KEPT
then, where kept() says.
"""

import resource
import shutil
import sys
from pathlib import Path

import numpy as np

import zembra
from zembra import h5

DEFAULT, ALL = "H5P_DEFAULT", "H5S_ALL"
COUNT = 20_000
VALUES = np.arange(COUNT) / 3
TEXTS = [f"text {number}" for number in range(COUNT)]
ATTRIBUTES = 30
KINDS = ["block", "filled", "chunks", "late chunks", "compressed", "texts", "attributes"]
HOWS = ["H5Dwrite", "H5Fflush", "H5Dclose", "H5Fclose", "H5close", "H5Idec_ref", "last object"]


class Limit:
    """Files can grow no further; HDF5's own message is the same as for a full disk."""

    def __init__(self, path):
        self.path = path
        self.hard = resource.getrlimit(resource.RLIMIT_FSIZE)[1]
        self.make_room()

    def fill(self):
        size = self.path.stat().st_size
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, self.hard))

    def make_room(self):
        resource.setrlimit(resource.RLIMIT_FSIZE, (1 << 20, self.hard))


class Disk:
    """Another file takes all the room there is."""

    def __init__(self, path):
        self.ballast = path.with_name("ballast")

    def fill(self):
        with open(self.ballast, "wb", buffering=0) as ballast:
            try:
                while True:
                    ballast.write(bytes(4096))
            except OSError:
                pass

    def make_room(self):
        self.ballast.unlink()


def creation_list(kind):
    properties = h5.H5Pcreate("H5P_DATASET_CREATE")
    if kind in ("chunks", "late chunks", "compressed"):
        h5.H5Pset_chunk(properties, [5000])
    if kind == "late chunks":
        h5.H5Pset_alloc_time(properties, "H5D_ALLOC_TIME_LATE")
    if kind == "compressed":
        h5.H5Pset_shuffle(properties)
        h5.H5Pset_deflate(properties, 1)
    if kind == "filled":
        h5.H5Pset_fill_time(properties, "H5D_FILL_TIME_ALLOC")
    return properties


class Writer:
    def __init__(self, path, kind):
        self.kind = kind
        self.file = h5.H5Fcreate(str(path), "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
        self.type = h5.H5Tcopy("H5T_IEEE_F64LE")
        if kind == "texts":
            self.type = h5.H5Tcopy("H5T_C_S1")
            h5.H5Tset_size(self.type, "H5T_VARIABLE")
        space = h5.H5Screate_simple(1, [COUNT], [])
        self.data = h5.H5Dcreate(self.file, "data", self.type, space, creation_list(kind))
        h5.H5Fflush(self.file, "H5F_SCOPE_LOCAL")

    def write(self):
        values = TEXTS if self.kind == "texts" else VALUES
        h5.H5Dwrite(self.data, "H5ZB_DEFAULT", ALL, ALL, DEFAULT, values)
        if self.kind == "attributes":
            space = h5.H5Screate_simple(1, [1000], [])
            for number in range(ATTRIBUTES):
                attribute = h5.H5Acreate(self.data, f"a{number}", "H5T_STD_I32LE", space, DEFAULT)
                h5.H5Awrite(attribute, "H5ZB_DEFAULT", np.full(1000, number))
                h5.H5Aclose(attribute)

    def fail(self, how):
        if how == "H5Fflush":
            h5.H5Fflush(self.file, "H5F_SCOPE_LOCAL")
        elif how == "H5Dclose":
            h5.H5Dclose(self.data)
        elif how == "H5Fclose":
            h5.H5Dclose(self.data)
            h5.H5Fclose(self.file)
        elif how == "H5close":
            h5.H5close()
        elif how == "H5Idec_ref":
            h5.H5Dclose(self.data)
            h5.H5Idec_ref(self.file)
        elif how == "last object":
            h5.H5Fclose(self.file)
            h5.H5Dclose(self.data)

    def close(self):
        """Whatever is still open."""
        for close, identifier in ((h5.H5Dclose, self.data), (h5.H5Fclose, self.file)):
            if h5.H5Iis_valid(identifier):
                close(identifier)


def kept(folder, kind, how):
    return Path(folder) / f"{kind} {how}.h5"


def fail_once(room_name, path, kind, how):
    room: Limit | Disk = Limit(path) if room_name == "limit" else Disk(path)
    writer = Writer(path, kind)
    try:
        if how == "H5Dwrite":
            room.fill()
        writer.write()
        room.fill()
        if how == "exit":
            sys.exit(3)
        writer.fail(how)
    except zembra.Error as error:
        print("failed:", error)
    room.make_room()
    if how == "H5Dwrite":
        writer.write()
    writer.close()


def main(room_name, folder, kept_in, kind, *hows):
    for how in hows:
        path = Path(folder) / "file.h5"
        fail_once(room_name, path, kind, how)
        shutil.move(path, kept(kept_in, kind, how))


if __name__ == "__main__":
    main(*sys.argv[1:])
