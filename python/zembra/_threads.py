"""How many threads work on the chunks of one call."""

import operator
import os
from typing import SupportsIndex

from ._process import library_lock

_VARIABLE = "H5GATE_THREADS"


def set_threads(count: SupportsIndex | None) -> None:
    """Has H5Dread and H5Dwrite use so many threads for compressed chunks.

    1 leaves chunks to HDF5 alone; None, as at the start, means one thread for each core
    that the process may use. The setting is the process's, from the next call on, and
    its children inherit it: it is the environment variable H5GATE_THREADS.
    """
    if count is None:
        value = None
    else:
        number = operator.index(count)
        if isinstance(count, bool) or number < 1:
            raise ValueError(f"count is {count!r}; it is to be 1 or more, or None")
        value = str(number)
    with library_lock():  # calls look at the environment, and do not wait for the interpreter
        if value is None:
            os.environ.pop(_VARIABLE, None)
        else:
            os.environ[_VARIABLE] = value
