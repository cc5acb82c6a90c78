"""The package's own reader of its reference, for the tools that make files of it."""

import importlib.util
from pathlib import Path
from types import ModuleType


def load_reference(package: Path) -> ModuleType:
    """Without the package, which may not be built yet."""
    spec = importlib.util.spec_from_file_location("reference", package / "_reference.py")
    assert spec is not None and spec.loader is not None
    module = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(module)
    return module
