"""h5dump, the reader that shares no code with either of us."""

import os
import subprocess


def h5dump(*arguments):
    """What h5dump prints; a file that it cannot read is a failure of the test.

    The sanitizers that are loaded into Python are not loaded into it as well.
    """
    environment = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
    return subprocess.run(
        ["h5dump", *map(str, arguments)], check=True, capture_output=True, env=environment
    ).stdout.decode(errors="surrogateescape")
