"""HDF5 identifiers that know how to close themselves."""

from typing import SupportsFloat


class Id:
    """An HDF5 identifier, accepted wherever an identifier is.

    As a context manager it closes what it stands for, by the function that its
    type asks for:

        with zembra.Id(h5.H5Fopen("wind.h5", "H5F_ACC_RDONLY", "H5P_DEFAULT")) as file:
            ...
    """

    __slots__ = ("identifier",)

    identifier: float

    def __init__(self, value: SupportsFloat) -> None:
        object.__setattr__(self, "identifier", float(value))

    def __setattr__(self, name: str, value: object) -> None:
        raise AttributeError("an Id stands for one identifier for good")

    def close(self) -> None:
        """Closes it; nothing happens when it is closed already."""
        kind = self._kind()
        if kind is not None:
            from ._zembra import call

            call(kind[1], self)

    def _kind(self) -> tuple[str, str] | None:
        """What it stands for, and the function that closes that; None when closed."""
        from ._zembra import call, identifier_types

        if not call("H5Iis_valid", self):
            return None
        return identifier_types.get(int(call("H5Iget_type", self)))

    def __enter__(self) -> "Id":
        return self

    def __exit__(self, *exception: object) -> None:
        self.close()

    def __float__(self) -> float:
        return self.identifier

    def __int__(self) -> int:
        return int(self.identifier)

    __index__ = __int__

    def __eq__(self, other: object) -> bool:
        if isinstance(other, (Id, int, float)):
            return self.identifier == float(other)
        return NotImplemented

    def __hash__(self) -> int:
        return hash(self.identifier)

    def __repr__(self) -> str:
        kind = self._kind()
        return f"<zembra.Id {int(self)}: {kind[0] if kind else 'closed'}>"

    def __reduce__(self) -> tuple[type["Id"], tuple[float]]:
        return Id, (self.identifier,)
