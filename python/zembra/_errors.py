"""What a gateway call can end in: errors and warnings."""

from collections.abc import Sequence
from typing import NamedTuple


class ErrorRecord(NamedTuple):
    """One record of HDF5's error stack."""

    function: str
    file: str
    line: int
    description: str
    major: str
    minor: str


class Error(Exception):
    """A call failed. `str()` is the text that the catalogue has for it.

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
        super().__init__(text, identifier, key, parameters, stack)
        self.identifier = identifier
        self.key = key
        self.parameters: list[str | int] = list(parameters)
        self.stack: list[ErrorRecord] = list(stack)

    def __str__(self) -> str:
        return str(self.args[0])


class LibraryError(Error):
    """HDF5 itself failed; `stack` says where."""


class GatewayWarning(UserWarning):
    """Something went wrong that does not stop the call.

    identifier: the whole identifier of the message.
    """

    def __init__(self, text: str, identifier: str = "") -> None:
        super().__init__(text, identifier)
        self.identifier = identifier

    def __str__(self) -> str:
        return str(self.args[0])
