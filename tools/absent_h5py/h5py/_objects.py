"""What the package takes of every h5py as soon as it is loaded."""

import threading

phil = threading.RLock()


class ObjectID:
    """The base of h5py's identifiers."""
