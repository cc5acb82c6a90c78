"""Calls every function of zembra.h5 once with arguments that should do, each in a process
of its own, and prints what comes of it: a line of JSON each, the function, the count of
its arguments and either what kinds of values came or the key of the error.

    one_call_each.py            in a folder for the files
"""

import json
import os
import sys
from typing import Any

import numpy as np

import zembra
from zembra import _reference, h5

DEFAULT, ALL = "H5P_DEFAULT", "H5S_ALL"


def kind_of(value: Any) -> Any:
    """What of a Python type the reference can tell."""
    if isinstance(value, dict):
        return {name: kind_of(item) for name, item in value.items()}
    if isinstance(value, np.ndarray):
        return f"{value.dtype} array"
    if isinstance(value, list):
        return f"list of {sorted({kind_of(item) for item in value})}"
    return type(value).__name__


class Scene:
    """A file in memory with one of each, and what is open of it."""

    def __init__(self) -> None:
        core = h5.H5Pcreate("H5P_FILE_ACCESS")
        h5.H5Pset_fapl_core(core, 65536, False)
        h5.H5Fclose(h5.H5Fcreate("disk.h5", "H5F_ACC_TRUNC", DEFAULT, DEFAULT))
        self.file = h5.H5Fcreate("memory", "H5F_ACC_TRUNC", DEFAULT, core)
        self.child = h5.H5Fcreate("other", "H5F_ACC_TRUNC", DEFAULT, core)
        self.group = h5.H5Gcreate(self.file, "g", 0)
        h5.H5Gclose(h5.H5Gcreate(self.file, "g/inner", 0))
        self.space = h5.H5Screate_simple(2, [2, 3], [])
        self.points = h5.H5Scopy(self.space)
        h5.H5Sselect_elements(self.points, "H5S_SELECT_SET", [0, 1, 1, 2])
        self.slab = h5.H5Scopy(self.space)
        h5.H5Sselect_hyperslab(self.slab, "H5S_SELECT_SET", [0, 0], [], [1, 2], [])
        self.chunked = h5.H5Pcreate("H5P_DATASET_CREATE")
        h5.H5Pset_chunk(self.chunked, [2, 2])
        h5.H5Pset_deflate(self.chunked, 6)
        growing = h5.H5Screate_simple(2, [2, 3], [-1, -1])
        self.dataset = h5.H5Dcreate(self.file, "d", "H5T_STD_I32LE", growing, self.chunked)
        line = h5.H5Screate_simple(1, [3], [])
        self.scale = h5.H5Dcreate(self.file, "s", "H5T_IEEE_F64LE", line, DEFAULT)
        h5.H5DSset_scale(self.scale, "x")
        self.target = h5.H5Dcreate(self.file, "t", "H5T_IEEE_F64LE", self.space, DEFAULT)
        h5.H5DSattach_scale(self.target, self.scale, 1)
        h5.H5Dwrite(self.target, "H5ZB_DEFAULT", ALL, ALL, DEFAULT, [[1, 2, 3], [4, 5, 6]])
        scalar = h5.H5Screate("H5S_SCALAR")
        self.attribute = h5.H5Acreate(self.dataset, "a", "H5T_IEEE_F64BE", scalar, DEFAULT)
        h5.H5Awrite(self.attribute, "H5ZB_DEFAULT", 1.5)
        self.integer = h5.H5Tcopy("H5T_STD_I32BE")
        self.real = h5.H5Tcopy("H5T_IEEE_F32LE")
        self.text = h5.H5Tcopy("H5T_C_S1")
        self.compound = h5.H5Tcreate("H5T_COMPOUND", 24)
        h5.H5Tinsert(self.compound, "m", 0, "H5T_NATIVE_INT")
        self.opaque = h5.H5Tcreate("H5T_OPAQUE", 4)
        self.enum = h5.H5Tenum_create("H5T_NATIVE_INT")
        h5.H5Tenum_insert(self.enum, "m", 1)
        self.array = h5.H5Tarray_create("H5T_NATIVE_INT", [2, 3])
        self.committed = h5.H5Tcopy("H5T_STD_I16LE")
        h5.H5Tcommit(self.file, "type", self.committed)
        h5.H5Lcreate_soft("/d", self.file, "soft", DEFAULT, DEFAULT)
        h5.H5Gset_comment(self.file, "g", "words")
        self.reference = h5.H5Rcreate(self.file, "d", "H5R_OBJECT", -1)
        self.region = h5.H5Rcreate(self.file, "d", "H5R_DATASET_REGION", self.slab)
        self.lists = {
            kind: h5.H5Pcreate(f"H5P_{kind}")
            for kind in "FILE_CREATE FILE_ACCESS DATASET_XFER LINK_CREATE GROUP_CREATE"
            " OBJECT_COPY ATTRIBUTE_CREATE DATASET_ACCESS".split()
        }
        self.list_class = h5.H5Pget_class(self.chunked)

    def plist(self, function: str) -> int:
        """A list of the class that has the property."""
        name = function.partition("et_")[2]
        if function in ("H5Pget", "H5Pset", "H5Pget_size", "H5Pexist"):
            return self.lists["FILE_ACCESS"]
        if name in ("external", "external_count"):
            plain = h5.H5Pcreate("H5P_DATASET_CREATE")
            h5.H5Pset_external(plain, "raw.bin", 0, 48)
            return plain
        if name.startswith("fapl_"):
            return driver_list(name)
        if name == "family_offset":
            return driver_list("fapl_family")
        if name == "multi_type":
            return driver_list("fapl_multi")
        for kind, names in PROPERTIES.items():
            if name in names.split():
                return self.lists[kind]
        return self.chunked

    def argument(self, name: str, function: str) -> Any:
        """A value that should do."""
        for key in (f"{function} {name}", name):
            if key in VALUES:
                return VALUES[key]
        attribute = {f"{function} {name}": value for (function, name), value in OF_SCENE.items()}
        chosen = attribute.get(f"{function} {name}", name)
        if chosen == "plist":
            return self.plist(function)
        if chosen == "datatype" and function.startswith("H5T"):
            return getattr(self, next((t for t, f in TYPES.items() if function in f), "real"))
        if function.startswith("H5A") and chosen in ("object", "location"):
            return self.dataset if "by_" not in function else self.file
        if function.startswith("H5DS") and chosen == "dataset":
            return self.dataset if function == "H5DSset_scale" else self.target
        if chosen in ("object", "location", "new_location", "object_location"):
            return self.file
        return getattr(self, chosen)


PROPERTIES = {
    "FILE_CREATE": "istore_k sizes sym_k userblock version",
    "FILE_ACCESS": "alignment cache driver fclose_degree gc_references libver_bounds mdc_config"
    " meta_block_size sieve_buf_size small_data_block_size",
    "DATASET_XFER": "btree_ratios edc_check hyper_vector_size preserve dxpl_multi",
    "LINK_CREATE": "char_encoding create_intermediate_group",
    "GROUP_CREATE": "link_creation_order link_phase_change",
    "OBJECT_COPY": "copy_object",
    "DATASET_ACCESS": "chunk_cache",
}


def driver_list(driver: str) -> int:
    plist = h5.H5Pcreate("H5P_FILE_ACCESS")
    if driver == "fapl_core":
        h5.H5Pset_fapl_core(plist, 4096, True)
    elif driver == "fapl_family":
        h5.H5Pset_fapl_family(plist, 4096, DEFAULT)
    elif driver == "fapl_multi":
        h5.H5Pset_fapl_multi(plist, True)
    return plist


TYPES = {
    "integer": "H5Tget_sign H5Tset_sign H5Tset_precision H5Tset_offset H5Tclose",
    "text": "H5Tget_cset H5Tset_cset H5Tget_strpad H5Tset_strpad H5Tset_size",
    "enum": "H5Tenum_insert H5Tenum_nameof H5Tenum_valueof H5Tget_member_value H5Tget_super",
    "compound": "H5Tget_member_class H5Tget_member_index H5Tget_member_name H5Tget_member_offset"
    " H5Tget_member_type H5Tget_nmembers H5Tinsert H5Tpack",
    "array": "H5Tget_array_dims H5Tget_array_ndims",
    "opaque": "H5Tget_tag H5Tset_tag",
    "committed": "H5Tget_create_plist",
}

OF_SCENE = {
    ("H5Sget_select_elem_npoints", "space"): "points",
    ("H5Sget_select_elem_pointlist", "space"): "points",
    ("H5Sget_select_hyper_nblocks", "space"): "slab",
    ("H5Sget_select_hyper_blocklist", "space"): "slab",
    ("H5Rget_region", "reference"): "region",
    ("H5Rget_region", "dataset"): "file",
    ("H5Dget_offset", "dataset"): "target",
    ("H5Oget_comment", "object"): "group",
    ("H5Tcommit", "datatype"): "integer",
    ("H5Dvlen_get_buf_size", "datatype"): "integer",
    ("H5Dfill", "space"): "space",
    ("H5Dfill", "fill_type"): "integer",
    ("H5Dfill", "buffer_type"): "integer",
    ("H5Sextent_copy", "destination"): "points",
    ("H5Sextent_copy", "source"): "space",
    ("H5Oclose", "object"): "group",
    ("H5ZBget_mem_datatype", "location"): "dataset",
}


def go_on(*given: Any) -> Any:
    """A callback with user data or without."""
    return (0, given[-1]) if len(given) > 2 or given[-1] == 7 else 0


VALUES: dict[str, Any] = {
    **{f"{kind}_list": DEFAULT for kind in "creation access link_creation link_access".split()},
    **dict.fromkeys("transfer_list mount_list copy_list meta_list raw_list".split(), DEFAULT),
    **dict.fromkeys("dim index position start start_point start_block start_index".split(), 0),
    **dict.fromkeys("mem_space file_space".split(), ALL),
    **dict.fromkeys("left middle right rdcc_w0".split(), 0.5),
    **dict.fromkeys("rank num_points ik lk max_count increment level threshold".split(), 2),
    **dict.fromkeys("num_blocks flag relax backing_store follow_link".split(), 1),
    **dict.fromkeys("size size_hint memb_size buf_size offset".split(), 512),
    **dict.fromkeys("sizeof_addr sizeof_size alignment rdcc_nslots rdcc_nbytes".split(), 8),
    **dict.fromkeys("mdc_nelmts max_compact min_dense precision".split(), 8),
    **dict.fromkeys("base_type member_type datatype mem_type".split(), "H5T_NATIVE_INT"),
    **{f"{kind}_list_lim": -1 for kind in "reg arr blk".split()},
    **{f"{kind}_global_lim": -1 for kind in "reg arr blk".split()},
    "name": "d",
    "object_name": "d",
    "group_name": "g",
    "new_name": "new",
    "mount_point": "g",
    "comment": "words",
    "label": "y",
    "tag": "tag",
    "target_path": "/d",
    "file_name": "disk.h5",
    "logfile": "log",
    "meta_ext": "-m.h5",
    "raw_ext": "-r.h5",
    "dims": [2, 2],
    "maxdims": [],
    "count": [1, 1],
    "stride": [],
    "block": [],
    "coordinates": [0, 1],
    "client_data": [5],
    "permutation": [],
    "data": np.arange(6, dtype="int32").reshape(2, 3),
    "fill": np.int32(1),
    "buffer": np.zeros((2, 3), "int32"),
    "value": np.int32(1),
    "function": go_on,
    "user_data": 7,
    "plist_class": "H5P_DATASET_CREATE",
    "other_plist": "H5P_FILE_ACCESS",
    "other_datatype": "H5T_NATIVE_INT",
    "memb_map": [0] * 7,
    "memb_fapl": DEFAULT,
    "memb_name": ["%s-a.h5"] * 7,
    "memb_addr": [0] * 7,
    "memb_dxpl": [0] * 7,
    "types": "H5F_OBJ_ALL",
    "options": "H5O_COPY_WITHOUT_ATTR_FLAG",
    "flags": 1,
    "major": 1,
    "minor": 1,
    "scale_factor": 2,
    "ebias": 127,
    "spos": 31,
    "epos": 23,
    "esize": 8,
    "mpos": 0,
    "msize": 23,
    "index_type": "H5_INDEX_NAME",
    "order": "H5_ITER_INC",
    "direction": "H5T_DIR_ASCEND",
    "operator": "H5S_SELECT_SET",
    "ref_type": "H5R_OBJECT",
    "type_class": "H5T_COMPOUND",
    "space_class": "H5S_SIMPLE",
    "filter_id": "H5Z_FILTER_DEFLATE",
    "strpad": "H5T_STR_NULLPAD",
    "sign": "H5T_SGN_2",
    "norm": "H5T_NORM_IMPLIED",
    "inpad": "H5T_PAD_ZERO",
    "lsb": "H5T_PAD_ZERO",
    "msb": "H5T_PAD_ZERO",
    "cset": "H5T_CSET_UTF8",
    "encoding": "H5T_CSET_UTF8",
    "layout": "H5D_CHUNKED",
    "fill_time": "H5D_FILL_TIME_IFSET",
    "alloc_time": "H5D_ALLOC_TIME_INCR",
    "scope": "H5F_SCOPE_LOCAL",
    "degree": "H5F_CLOSE_WEAK",
    "link_type": "H5G_LINK_HARD",
    "scale_type": "H5Z_SO_INT",
    "check": "H5Z_ENABLE_EDC",
    "low": "H5F_LIBVER_EARLIEST",
    "high": "H5F_LIBVER_LATEST",
    "H5Tset_order order": "H5T_ORDER_BE",
    "H5Ewalk direction": "H5E_WALK_UPWARD",
    "H5Pset_multi_type mem_type": "H5FD_MEM_DRAW",
    "H5Dextend size": [2, 4],
    "H5Dset_extent size": [2, 4],
    "H5Soffset_simple offset": [0, 0],
    "H5Sselect_hyperslab start": [0, 0],
    "H5Pset_fapl_multi memb_fapl": [0] * 7,
    "H5Rget_region ref_type": "H5R_DATASET_REGION",
    "H5Pmodify_filter filter_id": 1,
    "H5Pset_fapl_log flags": 0,
    "H5Awrite data": 1,
    "H5DSdetach_scale dim": 1,
    "H5DSget_num_scales dim": 1,
    "H5DSiterate_scales dim": 1,
    "H5Fopen name": "disk.h5",
    "H5Fis_hdf5 name": "disk.h5",
    "H5Fcreate name": "made.h5",
    "H5Fopen flags": "H5F_ACC_RDONLY",
    "H5Fcreate flags": "H5F_ACC_TRUNC",
    "H5Gopen name": "g",
    "H5Giterate name": "g",
    "H5Gget_comment name": "g",
    "H5Oget_comment_by_name name": "g",
    "H5Topen name": "type",
    "H5Gget_linkval name": "soft",
    "H5Lget_val name": "soft",
    "H5Pexist name": "rdcc_nbytes",
    "H5Pget name": "rdcc_nbytes",
    "H5Pget_size name": "rdcc_nbytes",
    "H5Pset name": "rdcc_nbytes",
    "H5ZBget_constant_value name": "H5S_UNLIMITED",
    "H5Tset_size size": 5,
    "H5Tset_offset offset": 0,
    "H5Tinsert offset": 8,
    "H5Pset_sizes sizeof_addr": 8,
    "H5Tget_native_type direction": "H5T_DIR_ASCEND",
    **{f"{function} name": "made" for function in "H5Dcreate H5Gcreate H5Tcommit".split()},
    **{f"{function} name": "made" for function in "H5Acreate H5Tinsert H5Tenum_insert".split()},
    **{f"H5Lcreate_{kind} name": "made" for kind in "hard soft external".split()},
    **{f"H5A{kind} name": "a" for kind in "delete open open_by_name open_name".split()},
    **{f"H5Tenum_{kind} name": "m" for kind in ("valueof",)},
    "H5Tget_member_index name": "m",
    "H5Tenum_insert value": 3,
    "H5Tenum_nameof value": np.int32(1),
    "H5Acreate datatype": "H5T_NATIVE_INT",
}
del VALUES["datatype"]
for _function in "H5Acreate H5Dcreate".split():
    VALUES[f"{_function} datatype"] = "H5T_NATIVE_INT"


def arguments_of(scene: Scene, form: Any) -> list[Any]:
    function = form.name
    if function in ("H5Pset_mdc_config", "H5Fset_mdc_config"):
        config = h5.H5Pget_mdc_config(scene.lists["FILE_ACCESS"])
        first = scene.file if function.startswith("H5F") else scene.lists["FILE_ACCESS"]
        return [first, config]
    names = [value.name for value in form.required + form.optional]
    arguments = [scene.argument(name, function) for name in names]
    if function == "H5Pclose_class":
        arguments = [scene.list_class]  # those of the library stay open
    if function == "H5Funmount":
        h5.H5Fmount(scene.file, "g", scene.child, DEFAULT)
    if function == "H5Pset":
        arguments[2] = h5.H5Pget(arguments[0], arguments[1])
    if function == "H5Sget_select_bounds":
        arguments[0] = scene.points
    return arguments


def outcome(function: str, arguments: list[Any]) -> Any:
    try:
        result = getattr(h5, function)(*arguments)
    except (zembra.Error, TypeError, ValueError) as error:
        return {"error": f"{type(error).__name__}: {error}"}
    results = [] if result is None else list(result) if isinstance(result, tuple) else [result]
    return {"results": [kind_of(value) for value in results]}


def main() -> None:
    scene = Scene()
    for entry in _reference.entries().values():
        for form in entry.forms:
            sys.stdout.flush()
            child = os.fork()
            if child == 0:
                arguments = arguments_of(scene, form)
                print(json.dumps([form.name, len(arguments), outcome(form.name, arguments)]))
                sys.stdout.flush()
                os._exit(0)
            os.waitpid(child, 0)


if __name__ == "__main__":
    main()
