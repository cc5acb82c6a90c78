"""The HDF5 functions of the gateway, by their own names.

Identifiers are numbers (or zembra.Id), enumerations and constants go by name,
indices count from zero and dimensions run from the slowest to the fastest. A call
gives None, its one result, or a tuple of results; `nout=` limits how many are
asked for, 5 unless it says otherwise. Failures raise zembra.Error.

A callback is called with what the function hands it, and returns a status: 0 goes
on, a positive number stops, a negative one fails the call; None is as good as 0.
Where user data travel along it returns a pair, the status and the user data to go
on with.

Other Python threads run while HDF5 works. HDF5 does one thing at a time: calls of several
threads take turns, with one another and with h5py's. A callback runs in the middle of a
call: what it waits for must not be waiting for HDF5.
"""

from ._zembra import Function as _Function
from ._zembra import call as _call

__all__: list[str] = _call("H5ZBget_function_names")

globals().update({name: _Function(name) for name in __all__})


def __dir__() -> list[str]:
    return __all__


def __getattr__(name: str) -> _Function:
    from . import _notes

    raise _notes.unknown_attribute(name)
