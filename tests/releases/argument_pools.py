"""Values to call functions with, by the names that the reference gives their arguments.

The first value of a pool is what the argument should be; the others are what else it
may be, and what it may not. Keys become more special from "argument" over
"interface argument" to "function argument".
"""

import re
from pathlib import Path

import numpy as np

from zembra import LibraryError, call

from one_of_each import DEFAULT, EMPTY, LIST_CLASSES

NUMBERS = [1, 0, 2, 8, -1, 1e10, EMPTY, "text"]
WRONG = [99, 0, -1]
NAMES = ["d", "g", "soft", "dangling", "external", "type", "s", "none", ".", "", "/"]

# What a property belongs to; all others are of creation lists of datasets.
LISTS_OF_PROPERTIES = {
    "file_access": "alignment cache driver fapl_\\w+ fclose_degree gc_references libver_bounds "
    "mdc_config meta_block_size multi_type sieve_buf_size small_data_block_size family_offset",
    "file_create": "istore_k sizes sym_k userblock version",
    "dataset_access": "chunk_cache",
    "dataset_xfer": "btree_ratios edc_check hyper_vector_size dxpl_multi preserve",
    "group_create": "link_\\w+ est_link_info local_heap_size_hint",
    "link_create": "create_intermediate_group",
    "string_create": "char_encoding",
    "object_copy": "copy_object",
}


def _list_of(function):
    """The name of the list that has the property that the function gets or sets."""
    for name, properties in LISTS_OF_PROPERTIES.items():
        if re.fullmatch(f"H5P[gs]et_({properties.replace(' ', '|')})", function):
            return name
    return "dataset_create"


def answer(status, given):
    """Of a host function: those with user data, which come last, hand them on."""
    return (status, given[-1]) if len(given) > 2 else status


def go_on(*given):
    return answer(0, given)


def stop(*given):
    return answer(1, given)


def fail(*given):
    return answer(-1, given)


def close(*given):
    """The library, which waits for the answer."""
    try:
        call("H5close")
    except LibraryError:
        return go_on(*given)
    return fail(*given)


def complain(*_):
    raise ValueError("a host function's own error")


class Pools:
    """The pools of one_of_each.OneOfEach's identifiers."""

    def __init__(self, one):
        self._lists = [one[name] for name in (*LIST_CLASSES, "chunk_class")]
        self._one = one
        self._pools = {
            **_identifiers(one),
            **_lists(one),
            **_datatypes(one),
            **_texts(),
            **_enumerations(),
            **_numbers(),
            **_arrays(one),
            "function": [go_on, stop, fail, complain, close, 17],
            "config": [one.config, one.wrong_config, {}, 1],
        }

    def of(self, function, argument):
        interface = re.sub("^(H5(DS|ZB|[A-Z])?).*", r"\1", function)
        if argument in ("plist", "other_plist") and f"{function} {argument}" not in self._pools:
            return [self._one[_list_of(function)], *self._lists, DEFAULT, *WRONG]
        for key in (f"{function} {argument}", f"{interface} {argument}", argument):
            if key in self._pools:
                return self._pools[key]
        return NUMBERS


def _identifiers(one):
    objects = [one[name] for name in ("file", "group", "dataset", "committed", "attribute")]
    datasets = [one[name] for name in ("dataset", "scale", "scaled", "group")]
    spaces = [one[name] for name in ("space", "points", "slab", "line", "scalar", "null")]
    anywhere = [*objects, one["space"], *WRONG]
    files = [one["file"], one["other"], one["group"], *WRONG]
    named = {"object", "location", "object_location", "low", "left"}
    return {
        **dict.fromkeys(named, anywhere),
        **dict.fromkeys({f"H5A {name}" for name in named}, [one["dataset"], *anywhere]),
        "new_location": [one["group"], "H5G_SAME_LOC", *anywhere],
        "dataset": [*datasets, *WRONG],
        "scale": [one["scale"], *datasets, *WRONG],
        "H5DS dataset": [one["scaled"], *datasets, *WRONG],
        "H5Dget_offset dataset": [one["scale"], *datasets, *WRONG],
        "attribute": [one["attribute"], one["dataset"], *WRONG],
        "group": [one["group"], one["file"], one["dataset"], *WRONG],
        "file": files,
        "H5Fget_obj_count file": ["H5F_OBJ_ALL", *files],
        "H5Fget_obj_ids file": ["H5F_OBJ_ALL", *files],
        "H5Funmount file": [one["host"], *files],
        "child": [one["other"], one["file"], one["guest"], *WRONG],
        "H5Rget_region dataset": [one["dataset"], one["file"], *WRONG],
        **dict.fromkeys({"space", "source", "destination"}, [*spaces, "H5S_ALL", *WRONG]),
        **dict.fromkeys({"mem_space", "file_space"}, ["H5S_ALL", *spaces, *WRONG]),
        "H5Rcreate space": [one["slab"], *spaces, "H5S_ALL", *WRONG],
        **{f"H5Sget_select_elem_{name} space": [one["points"], *spaces, *WRONG]
           for name in ("npoints", "pointlist")},
        **{f"H5Sget_select_hyper_{name} space": [one["slab"], *spaces, *WRONG]
           for name in ("nblocks", "blocklist")},
    }  # fmt: skip


def _lists(one):
    def pool(name):
        return [DEFAULT, one[name], 99, one["space"]]

    access = [one["file_access"], one["dataset_create"], *WRONG]
    return {
        "creation_list": pool("link_create"),
        "H5A creation_list": pool("attribute_create"),
        "H5D creation_list": pool("dataset_create"),
        "H5F creation_list": pool("file_create"),
        "H5G creation_list": pool("group_create"),
        "access_list": pool("link_access"),
        "H5D access_list": pool("dataset_access"),
        "H5F access_list": [*pool("file_access"), one["core"], one["family"]],
        "link_creation_list": pool("link_create"),
        "link_access_list": pool("link_access"),
        "transfer_list": pool("dataset_xfer"),
        "mount_list": pool("file_mount"),
        "copy_list": pool("object_copy"),
        **dict.fromkeys({"memb_fapl", "meta_list", "raw_list"}, pool("file_access")),
        "H5Pset_fapl_multi memb_fapl": [[one["file_access"]] * 7, [0] * 7, [99] * 7, EMPTY],
        "memb_dxpl": [[one["dataset_xfer"]] * 7, [0] * 7, [99] * 7, EMPTY],
        **{f"H5P{what} plist": access for what in ("get", "set", "get_size", "exist")},
        "H5Pget_external plist": [one["external_list"], *access],
        "H5Pset_external plist": [one["external_list"], *access],
        **{f"H5Pget_{what} plist": [one["split"], one["core"], one["dataset_xfer"], *access]
           for what in ("driver", "multi_type")},
        "H5Pset_multi_type plist": [one["multi"], *access],
        **{f"H5Pget_fapl_{driver} plist": [one[driver], one["split"], *access]
           for driver in ("core", "family", "multi")},
        "plist_class": [
            *("H5P_DATASET_CREATE", "H5P_FILE_ACCESS", "H5P_ROOT", one["chunk_class"]),
            *("H5P_ATTRIBUTE_CREATE", "H5P_STRING_CREATE", "H5P_LINK_ACCESS", *WRONG),
        ],
    }  # fmt: skip


def _datatypes(one):
    types = [
        *("integer", "float", "text", "variable_text", "compound", "bare", "enumeration"),
        *("opaque", "sequence", "array", "committed", "dataset"),
    ]
    every = [
        *(one[name] for name in types),
        *("H5T_NATIVE_DOUBLE", "H5T_STD_REF_OBJ", "H5T_STD_REF_DSETREG", "H5T_UNIX_D32LE"),
        *("H5T_STD_B8LE", *WRONG),
    ]

    def first(name):
        return [one[name], *every]

    best = {
        "compound": "get_nmembers get_member_class get_member_index get_member_name "
        "get_member_offset get_member_type insert pack",
        "enumeration": "enum_insert enum_nameof enum_valueof get_member_value get_super",
        "float": "get_ebias get_fields get_inpad get_norm set_ebias set_fields set_inpad set_norm",
        "text": "get_cset get_strpad is_variable_str set_cset set_strpad",
        "opaque": "get_tag set_tag",
        "array": "get_array_dims get_array_ndims",
        "committed": "committed",
    }
    return {
        **dict.fromkeys({"datatype", "base_type", "member_type", "other_datatype"}, every),
        "mem_type": ["H5ZB_DEFAULT", *every],
        "H5P mem_type": ["H5T_NATIVE_INT", *every],
        **{f"H5T{what} datatype": first(name)
           for name, functions in best.items() for what in functions.split()},
        "H5Dvlen_get_buf_size datatype": first("sequence"),
        **{f"H5Dfill {name}": [one["native"], *every] for name in ("fill_type", "buffer_type")},
    }  # fmt: skip


def _texts():
    return {
        **dict.fromkeys({"name", "object_name", "mount_point", "target_path"}, NAMES),
        **dict.fromkeys({"new_name", "label", "comment", "tag"}, ["new", "d", "", "g/new"]),
        "group_name": [".", *NAMES],
        "H5Giterate name": [".", *NAMES],
        "H5A name": ["a", "b", "none", ""],
        "H5O object_name": [".", *NAMES],
        "H5A object_name": ["d", ".", "soft", "none"],
        "H5P name": ["rdcc_nbytes", "type", "none", ""],
        "H5T name": ["m", "n", "none", ""],
        "H5Topen name": ["type", *NAMES],
        "H5ZB name": ["H5F_ACC_RDWR", "H5P_ROOT", "H5FD_MEM_DEFAULT", "none", ""],
        **{f"H5{kind}create{how} name": ["made", "a", "d", "", "g/made", "no/made"]
           for kind in "ADGL" for how in ("", "_soft", "_hard", "_external")},
        "H5Tcommit name": ["made", "type", "", "g/made", "no/made"],
        "H5Rcreate name": NAMES,
        **{f"H5F{how} name": ["b.h5", "a.h5", "none.h5", ".", ""]
           for how in ("open", "create", "is_hdf5")},
        "H5Fmount mount_point": ["g", *NAMES],
        "H5Funmount mount_point": ["point", *NAMES],
        **dict.fromkeys({"logfile", "file_name"}, ["new", "", "no/new"]),
        "meta_ext": ["-m.h5", "%s-m", "%d"],
        "raw_ext": ["-r.h5", "%s-r", "%d"],
        "memb_name": [["%s-a.h5"] * 7, ["x"] * 6, ["x"] * 7],
    }  # fmt: skip


def _enumerations():
    def spelled(pattern):
        before, _, rest = pattern.partition("{")
        words, _, after = rest.partition("}")
        return [*(before + word + after for word in words.split()), "none", 17, -1]

    lines = Path(__file__).with_name("enumerators.txt").read_text().splitlines()
    entries = (line.split(": ") for line in lines if not line.startswith("#"))
    return {key: spelled(pattern) for key, pattern in entries}


def _numbers():
    return {
        **dict.fromkeys({"position", "index", "dim", "start_point", "start_block"}, [
            *(0, 1, 2, 4096, -1, 1e10, EMPTY, "text")]),
        **dict.fromkeys({"user_data"}, [7, EMPTY]),
        "rank": [2, 1, 0, 33, -1],
        "max_count": [10, 1, 0, -1, 1e10],
        "H5Pmodify_filter filter_id": [1, 2, 99, -1, "H5Z_FILTER_DEFLATE"],
        "H5Pset_userblock size": [512, *NUMBERS],
        "H5Tcreate size": [16, *NUMBERS],
        "H5Tset_size size": [8, 16, "H5T_VARIABLE", *NUMBERS],
        "sizeof_addr": [8, 4, 3, -1, EMPTY], "sizeof_size": [8, 4, 3, -1, EMPTY],
        "H5Pset_btree_ratios left": [0.1, 2, -1, EMPTY, "text"],
        "middle": [0.5, 2, -1, EMPTY, "text"], "right": [0.9, 2, -1, EMPTY, "text"],
        "H5DS dim": [1, 0, 2, -1, 1e10, EMPTY, "text"],
        "H5DSiterate_scales start": [0, *NUMBERS],
        "esize": [8, 0, 64], "epos": [23, 30, 64], "msize": [23, 0, 64], "mpos": [0, 30],
        "spos": [31, 0, 64],
        "precision": [16, 8, 0, 64, 1e10], "H5Tset_offset offset": [0, 8, 1e10, -1],
        "H5Tinsert offset": [16, 4, 0, 24, -1],
        "increment": [65536, 0, -1], "buf_size": [4096, 0, -1], "memb_size": [4096, 0, -1],
        "H5Pset_fapl_log flags": [0, 1, 8, 64, 16384, 32767, -1],
        "H5Pset_chunk_cache rdcc_w0": [0.75, 2, -1], "rdcc_w0": [0.75, 2, -1],
    }  # fmt: skip


def _arrays(one):
    vectors = [[1, 1], EMPTY, [0, 0], [2, 3], [1], [5, 5], [-1, -1], [0, 3]]
    table = np.arange(6, dtype="int32").reshape(2, 3)
    bytes8 = np.zeros(8, "uint8")
    values = [np.array([1], "int32"), np.zeros(4, "uint8"), 1, EMPTY, "x", np.zeros(24, "uint8")]
    references = [
        one.object_reference,
        one.region_reference,
        bytes8,
        np.zeros(12, "uint8"),
        np.full(8, 255, "uint8"),
        np.zeros(3, "uint8"),
    ]
    return {
        **{f"H5S {name}": vectors for name in (
            "dims maxdims start stride count block offset".split())},
        "H5Sselect_hyperslab start": [[0, 0], *vectors],
        "H5Sselect_hyperslab stride": [EMPTY, *vectors],
        "H5Sselect_hyperslab block": [EMPTY, *vectors],
        "maxdims": [EMPTY, *vectors, ["H5S_UNLIMITED", 3]],
        "H5S maxdims": [EMPTY, *vectors],
        "coordinates": [np.array([[0.0, 1], [1, 2]]), [0, 1], EMPTY, [5, 5], [-1, -1]],
        "H5D size": [[2, 3], [1, 1], EMPTY, [5, 5], [1], -1],
        "dims": [[2, 2], [1], EMPTY, [0], [1e6, 1e6]],
        "permutation": [[0, 1], EMPTY],
        "data": [table, table[0], 1.5, EMPTY, "text", bytes8],
        "H5Awrite data": [1.5, table, EMPTY, "text", bytes8],
        "H5Dfill fill": values,
        "H5Dfill buffer": [table, table[0], 1.5, EMPTY, "text", bytes8],
        "value": values,
        "H5Pset value": [bytes8, *values],
        "H5Tenum_insert value": [np.array([2], "int32"), *values],
        "reference": references,
        "H5Rget_region reference": [one.region_reference, *references],
        "memb_map": [[0] * 7, [1, 1, 1, 3, 4, 1, 1], [17] * 7, EMPTY],
        "memb_addr": [[i * 2**40 for i in range(7)], [-1] * 7, EMPTY],
        "client_data": [[6], EMPTY, [-1], "text"],
    }  # fmt: skip
