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
        kind = _kind_of(self)
        if kind is not None and kind[1]:
            from ._zembra import call

            call(kind[1], self)

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
        return f"<zembra.Id {self.identifier:.15g}: {kind_of(self) or 'closed'}>"

    def __reduce__(self) -> tuple[type["Id"], tuple[float]]:
        return Id, (self.identifier,)


def _kind_of(value: Id | SupportsFloat) -> tuple[str, str] | None:
    """What the identifier stands for and the function that closes it, as far as there are any;
    None when it is closed. HDF5's error stack stays as it is."""
    from ._zembra import ask, identifier_types

    if not ask("H5Iis_valid", value):
        return None
    return identifier_types.get(int(ask("H5Iget_type", value)), ("identifier", ""))


def kind_of(value: Id | SupportsFloat) -> str | None:
    """ "dataset" and the like; None when it is closed."""
    kind = _kind_of(value)
    return kind[0] if kind else None
