"""What was measured."""

from dataclasses import asdict, dataclass
from typing import Any

UNITS = {"ns": 1e9, "us": 1e6, "ms": 1e3, "s": 1.0}  # in a second


@dataclass(frozen=True)
class Result:
    """Of a row."""

    group: str
    name: str
    unit: str
    seconds: dict[str, float]  # by side
    peaks: dict[str, float]  # MB, where they were measured

    def ratio(self, other: str) -> float | None:
        """zembra's time to another's."""
        return self.seconds["zembra"] / self.seconds[other] if other in self.seconds else None

    def as_json(self) -> dict[str, Any]:
        return asdict(self)
