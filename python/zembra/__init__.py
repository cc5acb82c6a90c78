"""The embedded Zembra host: HDF5, function by function, with NumPy arrays.

    import zembra
    from zembra import h5

    file = h5.H5Fopen("wind.h5", "H5F_ACC_RDONLY", "H5P_DEFAULT")
    speed = h5.H5Dopen(file, "speed")
    values = h5.H5Dread(speed, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")

What becomes of values on their way through the functions of h5:

    an argument                                    is
    ---------------------------------------------  -----------------------------------------
    int, float                                     a number; an int that a double does not
                                                   hold exactly is refused
    bool; a list of bool                           yes or no; several
    str, bytes, a path                             a text
    None, []                                       empty; among texts, HDF5's null text
    a list or tuple of numbers; nested ones        a vector; a matrix
    range, memoryview, array.array, columns of     an array
    pandas, whatever has `__array__` or a buffer
    a NumPy array or scalar                        an array of its class and shape, in place
                                                   where its layout allows
    a masked array                                 refused while anything is masked
    a matrix of scipy.sparse                       all its values, marked as sparse
    complex                                        marked as complex: no number, no identifier
    a list or tuple of anything else               a list
    dict                                           a record
    a callable                                     a callback
    zembra.Id, an object of h5py                   its identifier
    user data                                      themselves, whatever they are

Where a function wants whole or real numbers (dimensions, counts, identifiers) every
kind of number does that is one exactly. Data that are written keep their class: HDF5
converts. Numbers go into a memory datatype with a name if every one of them survives.

    a result                                       comes as
    ---------------------------------------------  -----------------------------------------
    a count, size, index, flag, enumerator or      int; several, an int64 array
    identifier
    yes or no                                      bool; -1 where a failure is not raised
    a real number                                  float; several, a float64 array
    a text, several texts                          str, list of str
    a record                                       dict
    data of a dataset or attribute                 an array of its shape; of a scalar
                                                   dataspace, a scalar of NumPy's
    fixed texts                                    an array of bytes; of a scalar, str
    texts of variable length                       a list of str, from two dimensions on an
                                                   object array; of a scalar, str
    sequences of variable length                   likewise, of arrays
    a compound                                     a dict of its members; `records` makes a
                                                   structured array
    opaque data, references                        their bytes as uint8
    user data                                      the very object that went in

`h5.NAME.__doc__` says what a function takes and gives. `call` is the gateway as it is:
it converts arguments no further than to the host's class for them (int64 arrays stay
such), and gives results as the host has them, numbers as float.

`tree` shows what is in a file, `table` the records of a compound. `inspect` reads a file from
a stranger in a process of its own, and tells whether it is whole, damaged, or deadly for those
who read it. The module `zembra.dask` gives datasets as dask arrays, where dask is installed.

`set_threads` says how many threads H5Dread and H5Dwrite use for compressed chunks: as many
as there are cores, unless told otherwise.

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
from ._inspect import Finding, Inspection, inspect
from ._records import records
from ._table import Table, table
from ._threads import set_threads
from ._tree import Tree, tree
from ._version import __version__
from ._zembra import call
from . import h5

_process.join()

__all__ = [
    "Error",
    "ErrorRecord",
    "Finding",
    "GatewayWarning",
    "Id",
    "Inspection",
    "LibraryError",
    "LibraryFileExistsError",
    "LibraryFileNotFoundError",
    "LibraryPermissionError",
    "Table",
    "Tree",
    "__version__",
    "call",
    "h5",
    "inspect",
    "records",
    "set_threads",
    "table",
    "tree",
]

# Tracebacks and help() name things as scripts do.
for _name in __all__:
    if _name not in ("__version__", "call", "h5"):
        globals()[_name].__module__ = __name__
del _name
