"""On what it was measured, and with what."""

import datetime
import os
import platform

import h5py
import numpy as np

import zembra


def machine() -> dict[str, str]:
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
        "load": f"{os.getloadavg()[0]:.1f} when it began",
    }


def is_busy() -> bool:
    """Whether something else is at work, which makes figures worthless."""
    return os.getloadavg()[0] > 0.5


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
