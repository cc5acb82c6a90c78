"""On what it was measured, and with what."""

import datetime
import os
import platform
import time

import h5py
import numpy as np

import zembra

QUIET = 0.1  # of the cores' time may be taken by others


def machine(busy: float) -> dict[str, str]:
    """Words for each, in the order to be told in."""
    return {
        "date": datetime.date.today().isoformat(),
        "machine": f"{_cores()}, {_processor()}, {_memory():.0f} GB",
        "system": f"{_system()}, Linux {platform.release()}, {platform.machine()}",
        "zembra": zembra.__version__,
        "HDF5": h5py.version.hdf5_version,
        "h5py": h5py.__version__,
        "NumPy": np.__version__,
        "Python": platform.python_version(),
        "others": f"took {busy:.0%} of the cores' time when it began" + _doubt(busy),
    }


def _doubt(busy: float) -> str:
    return ": figures are not to be trusted" if busy > QUIET else ""


def busy_share(seconds: float = 1.0) -> float:
    """Of the cores' time, what others take while we sleep."""
    idle, total = _core_time()
    time.sleep(seconds)
    idle_now, total_now = _core_time()
    return 1 - (idle_now - idle) / max(1, total_now - total)


def _core_time() -> tuple[int, int]:
    """Idle, and all, since the machine started."""
    with open("/proc/stat", encoding="ascii") as lines:
        spent = [int(word) for word in lines.readline().split()[1:9]]  # the rest counts twice
    return spent[3] + spent[4], sum(spent)


def _cores() -> str:
    count = len(os.sched_getaffinity(0))
    return "1 core" if count == 1 else f"{count} cores"


def _processor() -> str:
    with open("/proc/cpuinfo", encoding="utf-8") as lines:
        names = [line.partition(":")[2].strip() for line in lines if line.startswith("model name")]
    return names[0] if names else platform.machine()


def _memory() -> float:
    return os.sysconf("SC_PHYS_PAGES") * os.sysconf("SC_PAGE_SIZE") / 2**30


def _system() -> str:
    return platform.freedesktop_os_release().get("PRETTY_NAME", platform.system())
