"""What HDF5 has open, by asking the library itself."""

import ctypes
import os
from pathlib import Path

import zembra  # noqa: F401 - loads the libraries


def loaded_library():
    """The HDF5 library that the gateway runs on, which is in the process already."""
    for line in Path("/proc/self/maps").read_text().splitlines():
        path = line.split(maxsplit=5)[-1]
        name = os.path.basename(path)
        if name.startswith("libhdf5") and "_hl" not in name and ".so" in name:
            return ctypes.CDLL(path)
    raise RuntimeError("libhdf5 is not loaded")


class OpenIds:
    """Counts HDF5's open identifiers.

    HDF5 counts its file-bound objects. For the rest there is only H5Iis_valid: a
    fresh identifier tells the highest serial number, and what was not seen valid
    up to there since the last count cannot become so.
    """

    _FILE_BOUND = {
        "file": 0x01,
        "dataset": 0x02,
        "group": 0x04,
        "datatype": 0x08,
        "attribute": 0x10,
    }

    def __init__(self):
        self._hdf5 = loaded_library()
        version = [ctypes.c_uint() for _ in range(3)]
        self._hdf5.H5get_libversion(*map(ctypes.byref, version))
        wide = tuple(number.value for number in version) >= (1, 10, 0)
        self._hid = ctypes.c_int64 if wide else ctypes.c_int
        self._serial_bits = 56 if wide else 24
        self._alive = {}
        self._seen = {}

    def _call(self, name, *arguments):
        function = getattr(self._hdf5, name)
        function.restype = self._hid
        return function(*map(self._hid, arguments))

    def _global(self, *names):
        """A variable of the library, by whichever of its names this release has."""
        for name in names:
            try:
                return self._hid.in_dll(self._hdf5, name).value
            except ValueError:
                continue
        raise RuntimeError(f"HDF5 has none of {names}")

    def _scan(self, kind, fresh, close):
        """Looks at all identifiers of the fresh one's type."""
        self._call(close, fresh)
        base = fresh >> self._serial_bits << self._serial_bits
        newest = fresh - base
        valid = self._hdf5.H5Iis_valid
        valid.argtypes = [self._hid]
        # 1.8 gives serials out anew once no identifier of the kind is open.
        first = 0 if self._serial_bits == 24 else self._seen.get(kind, 0)
        candidates = self._alive.get(kind, set()) | set(range(first, newest))
        self._alive[kind] = {serial for serial in candidates if valid(base + serial) > 0}
        self._seen[kind] = newest

    def __call__(self):
        everywhere = 0x1F  # H5F_OBJ_ALL also stands for all files
        counts = {}
        self._hdf5.H5Fget_obj_count.restype = ctypes.c_ssize_t
        self._hdf5.H5Fget_obj_count.argtypes = [self._hid, ctypes.c_uint]
        for kind, flag in self._FILE_BOUND.items():
            counts[kind] = self._hdf5.H5Fget_obj_count(everywhere, flag)
        list_class = self._global("H5P_CLS_DATASET_CREATE_ID_g", "H5P_CLS_DATASET_CREATE_g")
        plist = self._call("H5Pcreate", list_class)
        self._scan("property list class", self._call("H5Pget_class", plist), "H5Pclose_class")
        self._scan("property list", plist, "H5Pclose")
        self._scan("dataspace", self._call("H5Screate", 0), "H5Sclose")
        datatype = self._call("H5Tcopy", self._global("H5T_NATIVE_INT_g"))
        self._scan("memory datatype", datatype, "H5Tclose")
        self._scan("error stack", self._call("H5Ecreate_stack"), "H5Eclose_stack")
        counts.update((kind, len(alive)) for kind, alive in self._alive.items())
        return counts
