import inspect
from typing import Any

class Function:
    __name__: str
    __qualname__: str
    __signature__: inspect.Signature | None
    def __init__(self, name: str) -> None: ...
    def __call__(self, *arguments: Any, nout: int = 5) -> Any: ...

identifier_types: dict[int, tuple[str, str]]

def call(name: Any = ..., /, *arguments: Any, nout: int = 5) -> Any: ...
def encode_identifier(identifier: int, /) -> float: ...
