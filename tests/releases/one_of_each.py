"""Files with one of each kind of object, and what is open of them: what every call of
every_call.py begins with."""

import numpy as np

from zembra import call

DEFAULT = "H5P_DEFAULT"
EMPTY: list[float] = []
LIST_CLASSES = [
    "file_create",
    "file_access",
    "file_mount",
    "dataset_create",
    "dataset_access",
    "dataset_xfer",
    "group_create",
    "link_create",
    "link_access",
    "object_copy",
    "attribute_create",
    "string_create",
]


class OneOfEach:
    """Identifiers by name, the same on every making."""

    def __init__(self):
        self._ids = {}
        self._make_lists()
        self._make_spaces()
        self._make_files()
        self._make_datasets()
        self._make_scales()
        self._make_attributes()
        self._make_datatypes()
        self._make_links()
        self.object_reference = call("H5Rcreate", self["file"], "d", "H5R_OBJECT", -1)
        self.region_reference = call(
            "H5Rcreate", self["file"], "d", "H5R_DATASET_REGION", self["slab"]
        )
        self.config = call("H5Fget_mdc_config", self["file"])
        self.wrong_config = {**self.config, "epoch_length": 0}
        call("H5Fflush", self["file"], "H5F_SCOPE_GLOBAL")

    def __getitem__(self, name):
        return self._ids[name]

    def names(self):
        """Of the identifiers."""
        return {identifier: name for name, identifier in self._ids.items()}

    def values(self):
        """By name: what looks otherwise on every release."""
        return {name: value for name, value in vars(self).items() if not name.startswith("_")}

    def _make(self, name, function, *arguments):
        self._ids[name] = call(function, *arguments)

    def _make_lists(self):
        for kind in LIST_CLASSES:
            self._make(kind, "H5Pcreate", "H5P_" + kind.upper())
        call("H5Pset_chunk", self["dataset_create"], [2, 2])
        call("H5Pset_deflate", self["dataset_create"], 6)
        self._make("chunk_class", "H5Pget_class", self["dataset_create"])
        self._make("external_list", "H5Pcreate", "H5P_DATASET_CREATE")
        call("H5Pset_external", self["external_list"], "raw", 0, 48)
        for driver in ("core", "family", "multi", "split"):
            self._make(driver, "H5Pcreate", "H5P_FILE_ACCESS")
        call("H5Pset_fapl_core", self["core"], 65536, False)
        call("H5Pset_fapl_family", self["family"], 4096, DEFAULT)
        call("H5Pset_fapl_multi", self["multi"], True)
        call("H5Pset_fapl_split", self["split"], "-m", DEFAULT, "-r", DEFAULT)

    def _make_spaces(self):
        self._make("space", "H5Screate_simple", 2, [2, 3], EMPTY)
        self._make("points", "H5Scopy", self["space"])
        call("H5Sselect_elements", self["points"], "H5S_SELECT_SET", np.array([[0.0, 1], [1, 2]]))
        self._make("slab", "H5Scopy", self["space"])
        call("H5Sselect_hyperslab", self["slab"], "H5S_SELECT_SET", [0, 0], EMPTY, [1, 2], EMPTY)
        self._make("line", "H5Screate_simple", 1, [3], EMPTY)
        self._make("scalar", "H5Screate", "H5S_SCALAR")
        self._make("null", "H5Screate", "H5S_NULL")

    def _make_files(self):
        """All in memory: no call finds a file as another call has left it."""
        for name in ("file", "other", "host", "guest"):
            self._make(name, "H5Fcreate", name, "H5F_ACC_TRUNC", DEFAULT, self["core"])
        self._make("group", "H5Gcreate", self["file"], "g", 0)
        call("H5Gclose", call("H5Gcreate", self["file"], "g/inner", 0))
        call("H5Gclose", call("H5Gcreate", self["host"], "point", 0))
        call("H5Fmount", self["host"], "point", self["guest"], DEFAULT)

    def _make_datasets(self):
        file = self["file"]
        chunks = self["dataset_create"]
        self._make("dataset", "H5Dcreate", file, "d", "H5T_STD_I32LE", self["space"], chunks)
        values = np.arange(6, dtype="int32").reshape(2, 3)
        call("H5Dwrite", self["dataset"], "H5T_NATIVE_INT", "H5S_ALL", "H5S_ALL", DEFAULT, values)

    def _make_scales(self):
        file = self["file"]
        self._make("scale", "H5Dcreate", file, "s", "H5T_IEEE_F64LE", self["line"], DEFAULT)
        values = np.arange(3.0)
        call("H5Dwrite", self["scale"], "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", DEFAULT, values)
        call("H5DSset_scale", self["scale"], "x")
        self._make("scaled", "H5Dcreate", file, "t", "H5T_IEEE_F64LE", self["space"], DEFAULT)
        call("H5DSattach_scale", self["scaled"], self["scale"], 1)
        call("H5DSset_label", self["scaled"], 0, "y")

    def _make_attributes(self):
        where = self["dataset"]
        scalar = self["scalar"]
        self._make("attribute", "H5Acreate", where, "a", "H5T_IEEE_F64BE", scalar, DEFAULT)
        call("H5Awrite", self["attribute"], "H5T_NATIVE_DOUBLE", 1.5)
        call("H5Aclose", call("H5Acreate", where, "b", "H5T_STD_U8LE", self["space"], DEFAULT))

    def _make_datatypes(self):
        self._make("native", "H5Tcopy", "H5T_NATIVE_INT")
        self._make("integer", "H5Tcopy", "H5T_STD_I32BE")
        self._make("float", "H5Tcopy", "H5T_IEEE_F32LE")
        self._make("text", "H5Tcopy", "H5T_C_S1")
        call("H5Tset_size", self["text"], 5)
        self._make("variable_text", "H5Tcopy", "H5T_C_S1")
        call("H5Tset_size", self["variable_text"], "H5T_VARIABLE")
        self._make("compound", "H5Tcreate", "H5T_COMPOUND", 24)
        call("H5Tinsert", self["compound"], "m", 0, "H5T_NATIVE_INT")
        call("H5Tinsert", self["compound"], "n", 8, "H5T_NATIVE_DOUBLE")
        self._make("bare", "H5Tcreate", "H5T_COMPOUND", 8)
        self._make("enumeration", "H5Tenum_create", "H5T_NATIVE_INT")
        call("H5Tenum_insert", self["enumeration"], "m", np.array([1], "int32"))
        self._make("opaque", "H5Tcreate", "H5T_OPAQUE", 4)
        self._make("sequence", "H5Tvlen_create", "H5T_NATIVE_INT")
        self._make("array", "H5Tarray_create", "H5T_NATIVE_INT", [2, 3])
        self._make("committed", "H5Tcopy", "H5T_STD_I16LE")
        call("H5Tcommit", self["file"], "type", self["committed"])

    def _make_links(self):
        file = self["file"]
        call("H5Lcreate_soft", "/d", file, "soft", DEFAULT, DEFAULT)
        call("H5Lcreate_soft", "/nowhere", file, "dangling", DEFAULT, DEFAULT)
        call("H5Lcreate_external", "missing.h5", "/x", file, "external", DEFAULT, DEFAULT)
        call("H5Gset_comment", file, "g", "words")
