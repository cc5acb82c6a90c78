"""What a gateway call can end in: errors and warnings."""

import errno
import os
import re
from collections.abc import Sequence
from typing import Any, NamedTuple


class ErrorRecord(NamedTuple):
    """One record of HDF5's error stack."""

    function: str
    file: str
    line: int
    description: str
    major: str
    minor: str


class Error(Exception):
    """A call failed. `str()` is the text that the catalogue has for it; what was called, and
    what would have been right, are notes beside it, which tracebacks show.

    identifier: the whole identifier, such as "Zembra:h5gate:constantNotFound".
    key: its last part.
    parameters: what the message is about, str and int in order.
    stack: HDF5's error stack as records, innermost first; empty where HDF5 had no part.

    Where a callback raised an exception, that exception is the `__cause__`.
    """

    def __init__(
        self,
        text: str,
        identifier: str = "",
        key: str = "",
        parameters: Sequence[str | int] = (),
        stack: Sequence[ErrorRecord] = (),
    ) -> None:
        Exception.__init__(self, text, identifier, key, parameters, stack)
        self.identifier = identifier
        self.key = key
        self.parameters: list[str | int] = list(parameters)
        self.stack: list[ErrorRecord] = list(stack)

    def __str__(self) -> str:
        return str(self.args[0])


class LibraryError(Error):
    """HDF5 itself failed; `stack` says where."""


class _FileError(LibraryError):
    """A file could not be had: with what OSError has, as far as HDF5 tells."""

    errno: int
    filename: str | None

    def __init__(self, *arguments: Any) -> None:
        super().__init__(*arguments)
        self.errno, self.filename = system_failure(self.stack) or (0, None)
        self.strerror = os.strerror(self.errno)

    def __reduce__(self) -> tuple[Any, ...]:
        return type(self), self.args, {**self.__dict__, "filename": self.filename}


class LibraryFileNotFoundError(_FileError, FileNotFoundError):
    """HDF5 failed because there is no such file or folder."""


class LibraryFileExistsError(_FileError, FileExistsError):
    """HDF5 failed because there is such a file already."""


class LibraryPermissionError(_FileError, PermissionError):
    """HDF5 failed because the system does not permit it."""


_FILE_ERRORS: dict[int, type[_FileError]] = {
    errno.ENOENT: LibraryFileNotFoundError,
    errno.EEXIST: LibraryFileExistsError,
    errno.EACCES: LibraryPermissionError,
    errno.EPERM: LibraryPermissionError,
}


def library_error(
    text: str,
    identifier: str,
    key: str,
    parameters: Sequence[str | int],
    stack: Sequence[ErrorRecord],
) -> LibraryError:
    """The failure of HDF5 that the stack tells of, in the class that says it best."""
    number, _ = system_failure(stack) or (0, None)
    return _FILE_ERRORS.get(number, LibraryError)(text, identifier, key, parameters, stack)


def system_failure(stack: Sequence[ErrorRecord]) -> tuple[int, str | None] | None:
    """The number of the system's error and the file that it is about, as HDF5's records of
    files have them. The search for plugins has failures of its own."""
    for record in stack:
        if record.major.startswith("Plugin"):
            continue
        if number := re.search(r"\berrno = (\d+)", record.description):
            name = re.search(r"\bname = '(.*?)'(?:, |$)", record.description, re.DOTALL)
            return int(number[1]), name[1] if name else None
        if record.major.startswith("File access") and "file exists" in record.description.lower():
            return errno.EEXIST, None  # one that HDF5 has open itself
    return None


class GatewayWarning(UserWarning):
    """Something went wrong that does not stop the call.

    identifier: the whole identifier of the message.
    """

    def __init__(self, text: str, identifier: str = "") -> None:
        super().__init__(text, identifier)
        self.identifier = identifier

    def __str__(self) -> str:
        return str(self.args[0])
