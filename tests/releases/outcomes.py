"""What a call is called, and what became of it, as a line of text that is the same on
every run: no serial numbers, addresses and times."""

import numpy as np

import zembra
from zembra import call

VARYING_FIELDS = {"fileno", "objno", "mtime", "atime", "ctime", "btime", "addr", "address"}
VARYING_FUNCTIONS = {
    "H5Dget_offset",
    "H5Fget_filesize",
    "H5Fget_freespace",
    "H5Oget_info",
    "H5Rcreate",
    "H5get_libversion",
}
SHOWN = 40  # values of an array, of which there may be many


class Wording:
    """Words for values; some identifiers and other values have names."""

    def __init__(self, identifier_names, named_values):
        self._names = identifier_names
        self._named_values = named_values

    def of_call(self, function, arguments):
        return f"{function}({', '.join(map(self._of, arguments))})"

    def of_outcome(self, function, arguments):
        """Calls the function; also tells whether it failed."""
        try:
            result = call(function, *arguments)
        except zembra.LibraryError as error:
            return "raises libraryError" + ("" if error.stack else " without a record"), True
        except zembra.Error as error:
            return " ".join(["raises", error.key, *map(str, error.parameters)]), True
        except Warning as warning:  # where these are errors
            return f"raises {warning!r}", True
        return f"= {'something' if function in VARYING_FUNCTIONS else self._of(result)}", False

    def _of(self, value):
        for name, named in self._named_values.items():
            if value is named:
                return name
        if isinstance(value, (bool, type(None))):
            return str(value)
        if isinstance(value, (int, float)):
            return self._of_number(value)
        if isinstance(value, np.ndarray):
            return self._of_array(value)
        if isinstance(value, dict):
            return (
                "{" + ", ".join(f"{key}: {self._of_field(key, value[key])}" for key in value) + "}"
            )
        if isinstance(value, (list, tuple)):
            return "[" + ", ".join(map(self._of, value)) + "]"
        if isinstance(value, np.generic):
            value = value.item()  # NumPy 2 shows its scalars with their types
        return value.__name__ if callable(value) else repr(value)

    def _of_field(self, key, value):
        return "something" if key in VARYING_FIELDS else self._of(value)

    def _of_number(self, value):
        if value in self._names:
            return self._names[value]
        if not float(value).is_integer():
            return repr(value)
        kind = int(value) >> 24
        return f"<identifier of type {kind}>" if 0 < kind < 16 else str(int(value))

    def _of_array(self, values):
        shown = ", ".join(map(self._of, values.ravel()[:SHOWN].tolist()))
        return f"{values.dtype}{list(values.shape)}[{shown}]"
