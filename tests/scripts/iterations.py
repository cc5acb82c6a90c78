"""Every function that calls back, and a file with something for each to iterate over."""

import pytest

import zembra
from zembra import h5

DEFAULT = "H5P_DEFAULT"
BY_NAME = "H5_INDEX_NAME", "H5_ITER_INC"


class World:
    """A file with three of everything that is iterated over."""

    def __init__(self, path):
        self.path = path
        self.file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
        self.group = h5.H5Gcreate(self.file, "g", DEFAULT, DEFAULT, DEFAULT)
        self.list = h5.H5Pcreate("H5P_DATASET_CREATE")
        space = h5.H5Screate_simple(1, [2], [])
        self.dataset = h5.H5Dcreate(self.file, "d", "H5T_STD_I32LE", space, DEFAULT)
        for name in "abc":
            h5.H5Gclose(h5.H5Gcreate(self.group, name, DEFAULT, DEFAULT, DEFAULT))
            h5.H5Aclose(h5.H5Acreate(self.group, name, "H5T_STD_I32LE", space, DEFAULT))
            scale = h5.H5Dcreate(self.file, name, "H5T_STD_I32LE", space, DEFAULT)
            h5.H5DSset_scale(scale, name)
            h5.H5DSattach_scale(self.dataset, scale, 0)
            h5.H5Dclose(scale)
        h5.H5Sclose(space)

    def close(self):
        """Nothing but what this object opened holds the file."""
        assert h5.H5Fget_obj_count(self.file, "H5F_OBJ_ALL") == 3
        h5.H5Pclose(self.list)
        h5.H5Dclose(self.dataset)
        h5.H5Gclose(self.group)
        h5.H5Fclose(self.file)
        for identifier in (self.list, self.dataset, self.group, self.file):
            assert h5.H5Iis_valid(identifier) == 0


def walk_errors(world, function, data):
    with pytest.raises(zembra.LibraryError):
        h5.H5Gopen(world.file, "nowhere")
    return h5.H5Ewalk("H5E_WALK_UPWARD", function)


# How each function is called, and the key that it raises when the Python function does.
ITERATIONS = {
    "H5Aiterate, short": (
        lambda world, f, data: h5.H5Aiterate(world.group, 0, f),
        "attributeIteratorCallback",
    ),
    "H5Aiterate, long": (
        lambda world, f, data: h5.H5Aiterate(world.group, *BY_NAME, 0, f, data),
        "libraryError",
    ),
    "H5Giterate": (
        lambda world, f, data: h5.H5Giterate(world.file, "g", 0, f),
        "H5GiteratorCallbackFailure",
    ),
    "H5Literate": (
        lambda world, f, data: h5.H5Literate(world.group, *BY_NAME, 0, f, data),
        "linkIterationFailure",
    ),
    "H5Literate_by_name": (
        lambda world, f, data: h5.H5Literate_by_name(
            world.file, "g", *BY_NAME, 0, f, data, DEFAULT
        ),
        "linkIterationByNameFailure",
    ),
    "H5Lvisit": (
        lambda world, f, data: h5.H5Lvisit(world.group, *BY_NAME, f, data),
        "linkVisitFailure",
    ),
    "H5Lvisit_by_name": (
        lambda world, f, data: h5.H5Lvisit_by_name(world.file, "g", *BY_NAME, f, data, DEFAULT),
        "linkVisitationByNameFailure",
    ),
    "H5Ovisit": (
        lambda world, f, data: h5.H5Ovisit(world.group, *BY_NAME, f, data),
        "visitFailure",
    ),
    "H5Ovisit_by_name": (
        lambda world, f, data: h5.H5Ovisit_by_name(world.file, "g", *BY_NAME, f, data, DEFAULT),
        "visitByNameFailure",
    ),
    "H5Ewalk": (walk_errors, "H5Ewalk1_Callback"),
    "H5Piterate": (
        lambda world, f, data: h5.H5Piterate(world.list, 0, f),
        "propertyListIteratorCallback",
    ),
    "H5DSiterate_scales": (
        lambda world, f, data: h5.H5DSiterate_scales(world.dataset, 0, 0, f, data),
        "iterateScalesFailure",
    ),
}
