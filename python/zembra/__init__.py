"""The embedded Zembra host: HDF5, function by function, with NumPy arrays.

    import zembra
    from zembra import h5

    file = h5.H5Fopen("wind.h5", "H5F_ACC_RDONLY", "H5P_DEFAULT")
    speed = h5.H5Dopen(file, "speed")
    values = h5.H5Dread(speed, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")

What a script forgets to close is closed, and on disk, when the process ends in the
ordinary way.
"""

from . import _process  # first: it refuses what the extension module must not meet
from ._errors import (
    Error,
    ErrorRecord,
    GatewayWarning,
    LibraryError,
    LibraryFileExistsError,
    LibraryFileNotFoundError,
    LibraryPermissionError,
)
from ._id import Id
from ._records import records
from ._version import __version__
from ._zembra import call
from . import h5

_process.join()

__all__ = [
    "Error",
    "ErrorRecord",
    "GatewayWarning",
    "Id",
    "LibraryError",
    "LibraryFileExistsError",
    "LibraryFileNotFoundError",
    "LibraryPermissionError",
    "__version__",
    "call",
    "h5",
    "records",
]

# Tracebacks and help() name things as scripts do.
for _name in __all__:
    if _name not in ("__version__", "call", "h5"):
        globals()[_name].__module__ = __name__
del _name
