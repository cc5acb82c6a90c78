"""What the package shares the process with: forks, the end, and h5py.

h5py uses the same HDF5 under a lock of its own, which is held together with ours from the
moment h5py is loaded. Two different copies of HDF5 in one process would mix up each
other's functions and data; whoever comes second is refused.
"""

import atexit
import ctypes
import importlib.util
import os
import sys
from collections.abc import Sequence
from contextlib import contextmanager
from importlib.machinery import ExtensionFileLoader, ModuleSpec, PathFinder
from types import ModuleType
from typing import TYPE_CHECKING, Iterator

if TYPE_CHECKING:  # their base classes would bring along half of importlib
    from importlib.abc import Loader, MetaPathFinder
else:
    Loader = MetaPathFinder = object

PEER = "h5py"
OWN = "zembra._zembra"


class _Hdf5:
    """The HDF5 that an extension module is linked to, without running any of its code."""

    def __init__(self, extension: str) -> None:
        self._library = ctypes.CDLL(extension)

    @property
    def address(self) -> int | None:
        """Where it is in memory; None where the extension needs no HDF5."""
        function = getattr(self._library, "H5open", None)
        return ctypes.cast(function, ctypes.c_void_p).value if function else None

    @property
    def version(self) -> str:
        """For example 1.10.8."""
        text = ctypes.c_char.in_dll(self._library, "H5_lib_vers_info_g")
        return ctypes.string_at(ctypes.addressof(text)).decode().split()[-1]


def _refuse_other_hdf5(extension: str) -> None:
    peer, own = _Hdf5(extension), _Hdf5(_path_of(OWN))
    if peer.address in (None, own.address):
        return
    raise ImportError(
        f"{PEER} brings HDF5 {peer.version} into this process, zembra uses HDF5 {own.version}: "
        f"two copies of HDF5 in one process damage each other's data. Use an {PEER} that is "
        f"built for the same HDF5, or another process. ({PEER}'s is needed by {extension})",
        name=PEER,
        path=extension,
    )


def _path_of(module: str) -> str:
    spec = importlib.util.find_spec(module)
    if spec is None or spec.origin is None:
        raise ImportError(f"{module} is missing", name=module)
    return spec.origin


def _adopt_lock() -> None:
    from h5py._objects import phil

    from ._zembra import adopt_lock

    adopt_lock(phil)


@contextmanager
def library_lock() -> Iterator[None]:
    """While no other thread is in a call of HDF5."""
    from ._zembra import acquire_library, release_library

    acquire_library()
    try:
        yield
    finally:
        release_library()


class _LockedLoader(Loader):
    """Loads h5py while no other thread uses HDF5, and shares the lock from then on."""

    def __init__(self, loader: Loader) -> None:
        self._loader = loader

    def create_module(self, spec: ModuleSpec) -> ModuleType | None:
        return self._loader.create_module(spec)

    def exec_module(self, module: ModuleType) -> None:
        if module.__spec__ is not None:  # what it is to others
            module.__spec__.loader = self._loader
        module.__loader__ = self._loader
        with library_lock():
            self._loader.exec_module(module)
            _adopt_lock()
        sys.meta_path.remove(_finder)


class _PeerFinder(MetaPathFinder):
    """Finds h5py where it is, and looks at what it brings along before it is loaded."""

    def find_spec(
        self, name: str, path: Sequence[str] | None, target: ModuleType | None = None
    ) -> ModuleSpec | None:
        if name.partition(".")[0] != PEER:
            return None
        spec = PathFinder.find_spec(name, path, target)
        if spec is None or spec.loader is None:
            return None
        if name == PEER:
            spec.loader = _LockedLoader(spec.loader)
        elif isinstance(spec.loader, ExtensionFileLoader) and spec.origin is not None:
            _refuse_other_hdf5(spec.origin)
        return spec


_finder = _PeerFinder()


def _check_peer() -> None:
    """Refuses the h5py that is loaded already if it has another HDF5."""
    if PEER in sys.modules:
        from h5py import h5

        _refuse_other_hdf5(h5.__file__)


def join() -> None:
    """Shares locks with h5py, forks between calls only, and ends before HDF5 does."""
    from ._zembra import acquire_library, keep_library, release_library

    if PEER in sys.modules:
        _adopt_lock()
    else:
        sys.meta_path.insert(0, _finder)
    os.register_at_fork(
        before=acquire_library, after_in_parent=release_library, after_in_child=release_library
    )
    atexit.register(keep_library)


# The extension module offers its HDF5 to the whole process as soon as it is loaded.
_check_peer()
