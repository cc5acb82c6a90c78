"""The HDF5 functions of the gateway, by their own names.

Identifiers are numbers (or zembra.Id, or objects of h5py), enumerations and constants go
by name, indices count from zero and dimensions run from the slowest to the fastest. A
call gives None, its one result, or a tuple of results; `nout=` limits how many are
asked for, 5 unless it says otherwise. Failures raise zembra.Error. What arguments may be
and what comes of results is the table in help(zembra).

A callback is called with what the function hands it, and returns a status: 0 goes
on, a positive number stops, a negative one fails the call; None is as good as 0.
Where user data travel along it returns a pair, the status and the user data to go
on with.

constants("H5T") lists the names of the constants of a topic.

Other Python threads run while HDF5 works. HDF5 does one thing at a time: calls of several
threads take turns, with one another and with h5py's. A callback runs in the middle of a
call: what it waits for must not be waiting for HDF5.
"""

from ._zembra import Function as _Function
from ._zembra import call as _call

__all__: list[str] = _call("H5ZBget_function_names")

globals().update({name: _Function(name) for name in __all__})


def constants(topic: str = "") -> list[str]:
    """The names of the constants of a topic, such as "H5T", "H5F_ACC" or "H5T_NATIVE", in
    ascending order; all of them without one. H5ZBget_constant_value gives their values."""
    names: list[str] = _call("H5ZBget_constant_names")
    found = [name for name in names if not topic or name.startswith(topic.rstrip("_") + "_")]
    if not found:
        topics = ", ".join(sorted({name.partition("_")[0] for name in names}))
        raise ValueError(f"no constants of the topic {topic!r}; there are {topics}")
    return found


def __dir__() -> list[str]:
    return sorted([*__all__, "constants"])


def __getattr__(name: str) -> _Function:
    from . import _notes

    raise _notes.unknown_attribute(name)
