"""Walks through whole files: what scripts find there, and what h5py finds."""

import os
from pathlib import Path
from typing import Any

import h5py
import numpy as np
import pytest

import zembra
from samples import STRICT
from zembra import h5

ROOT = Path(__file__).resolve().parents[2]
SAMPLES = Path(os.environ.get("H5GATE_SHARED_DATA", ROOT.parent / "shared" / "data"))
DEFAULT = "H5P_DEFAULT"
BY_NAME = "H5_INDEX_NAME", "H5_ITER_INC"
ORDERS = {"H5_ITER_INC": h5py.h5.ITER_INC, "H5_ITER_DEC": h5py.h5.ITER_DEC}
INDEXES = {"H5_INDEX_NAME": h5py.h5.INDEX_NAME, "H5_INDEX_CRT_ORDER": h5py.h5.INDEX_CRT_ORDER}


class Both:
    """A file opened by the gateway and by h5py."""

    def __init__(self, path):
        self.theirs = h5py.h5f.open(str(path).encode(), h5py.h5f.ACC_RDONLY)
        self.their_root = h5py.h5g.open(self.theirs, b"/")
        self.ours = h5.H5Fopen(str(path), "H5F_ACC_RDONLY", DEFAULT)

    def __enter__(self):
        return self

    def __exit__(self, *exception):
        h5.H5Fclose(self.ours)
        self.their_root.close()
        self.theirs.close()


def write_hierarchy(path):
    """Links of every kind, cycles, and the order of creation kept."""
    with h5py.File(path, "w", track_order=True) as file:
        for name in ("zeta", "alpha", "zeta/inner", "alpha/ünïcode", "alpha/inner"):
            file.create_group(name, track_order=True)
        file["alpha/data"] = np.arange(6.0).reshape(2, 3)
        file["alpha/data"].attrs["unit"] = "m"
        file["alpha/type"] = np.dtype("int32")
        file["zeta/up"] = file  # a cycle
        file["again"] = file["alpha/data"]
        file["soft"] = h5py.SoftLink("/alpha/data")
        file["dangling"] = h5py.SoftLink("/nowhere")
        file["missing"] = h5py.ExternalLink("missing.h5", "/data")
        h5py.h5o.set_comment(file["alpha"].id, b"the first letter")


@pytest.fixture
def hierarchy(path):
    write_hierarchy(path)
    with Both(path) as both:
        yield both


def openable(path):
    """Whether HDF5 opens the file as it is; else the reason."""
    try:
        h5py.h5f.open(str(path).encode(), h5py.h5f.ACC_RDONLY).close()
        return True, ""
    except OSError as error:
        return False, str(error)


OPENABLE = {path: openable(path) for path in sorted(SAMPLES.glob("*.h5"))}


def files():
    yield pytest.param(None, id="hierarchy")
    for path, (good, _) in OPENABLE.items():
        if good:
            strict = pytest.mark.skip("h5py opens it too strictly on this HDF5")
            yield pytest.param(path, id=path.name, marks=strict if path.name in STRICT else ())
    if not OPENABLE:
        reason = f"no sample files in {SAMPLES}; H5GATE_SHARED_DATA names another folder"
        yield pytest.param(None, marks=pytest.mark.skip(reason), id="samples")


@pytest.fixture(params=files())
def file(request):
    """Every file that there is to walk through."""
    if request.param is None:
        yield request.getfixturevalue("hierarchy")
    else:
        with Both(request.param) as both:
            yield both


@pytest.mark.parametrize(
    "path", [pytest.param(path, id=path.name) for path, (good, _) in OPENABLE.items() if not good]
)
def test_samples_that_are_left_out_are_parts_of_files(path):
    with pytest.raises(zembra.LibraryError):
        h5.H5Fopen(str(path), "H5F_ACC_RDONLY", DEFAULT)
    pytest.skip(f"{path.name} takes a file driver of its own: {OPENABLE[path][1]}")


# --- Walks --------------------------------------------------------------------------


def note(seen):
    """A callback that appends the names that it is called with."""

    def append(identifier, name, seen):
        seen.append(name)
        return 0, seen

    return append


def text(name):
    """What h5py gives as bytes."""
    return name.decode("utf-8", "surrogateescape")


def assert_same_walks(file, index, order):
    theirs = []
    keywords = {"idx_type": INDEXES[index], "order": ORDERS[order]}

    h5py.h5o.visit(file.their_root, lambda name: theirs.append(text(name)), **keywords)
    status, ours = h5.H5Ovisit(file.ours, index, order, note([]), [])
    assert (status, ours) == (0, [".", *theirs])  # h5py leaves the starting point out

    theirs = []
    file.their_root.links.visit(lambda name: theirs.append(text(name)), **keywords)
    status, ours = h5.H5Lvisit(file.ours, index, order, note([]), [])
    assert (status, ours) == (0, theirs)
    status, ours = h5.H5Lvisit_by_name(file.ours, "/", index, order, note([]), [], DEFAULT)
    assert (status, ours) == (0, theirs)


@pytest.mark.parametrize("order", ORDERS)
def test_visits_find_what_h5py_finds(file, order):
    assert_same_walks(file, "H5_INDEX_NAME", order)


@pytest.mark.parametrize("order", ORDERS)
def test_visits_find_it_in_the_order_of_creation(hierarchy, order):
    assert_same_walks(hierarchy, "H5_INDEX_CRT_ORDER", order)


def our_descent(group, index="H5_INDEX_NAME", order="H5_ITER_INC"):
    """All links below a group, each group entered once, by iterations within iterations."""
    entered = {h5.H5Oget_info(group)["addr"]}

    def down(parent, name, found):
        path = found["prefix"] + name
        found["paths"].append(path)
        link = h5.H5Lget_info(parent, name, DEFAULT)
        if "address" in link and link["address"] not in entered:
            with zembra.Id(h5.H5Oopen(parent, name, DEFAULT)) as child:
                info = h5.H5Oget_info(child)
                if info["type"] == 0:
                    entered.add(info["addr"])
                    below = {"prefix": path + "/", "paths": found["paths"]}
                    h5.H5Literate(child, index, order, [], down, below)
        return 0, found

    found = {"prefix": "", "paths": []}
    status, position, found = h5.H5Literate(group, index, order, 0, down, found)
    assert (status, position) == (0, h5.H5Gget_num_objs(group))
    return found["paths"]


def their_descent(root, index="H5_INDEX_NAME", order="H5_ITER_INC"):
    entered = {h5py.h5o.get_info(root).addr}
    paths = []

    def walk(group, prefix):
        def down(name, info):
            paths.append(prefix + text(name))
            if info.type == h5py.h5l.TYPE_HARD and info.u not in entered:
                child = h5py.h5o.open(group, name)
                if isinstance(child, h5py.h5g.GroupID):
                    entered.add(info.u)
                    walk(child, prefix + text(name) + "/")

        group.links.iterate(down, info=True, idx_type=INDEXES[index], order=ORDERS[order])

    walk(root, "")
    return paths


@pytest.mark.parametrize("order", ORDERS)
def test_iterations_find_what_h5py_finds(file, order):
    ours = our_descent(file.ours, "H5_INDEX_NAME", order)
    assert ours == their_descent(file.their_root, "H5_INDEX_NAME", order)


def test_iterations_find_it_in_the_order_of_creation(hierarchy):
    ours = our_descent(hierarchy.ours, "H5_INDEX_CRT_ORDER")
    assert ours == their_descent(hierarchy.their_root, "H5_INDEX_CRT_ORDER")
    assert ours[:2] == ["zeta", "zeta/inner"]


def member_type(root, name):
    """Of the link itself: HDF5's own answer follows soft links since 1.12."""
    name = name.encode("utf-8", "surrogateescape")
    link = root.links.get_info(name).type
    if link != h5py.h5l.TYPE_HARD:
        return h5py.h5g.LINK if link == h5py.h5l.TYPE_SOFT else 4  # H5G_UDLINK
    return h5py.h5g.get_objinfo(root, name).type


def test_members_are_found_one_by_one(file):
    root, names = file.their_root, []
    for position in range(int(h5.H5Gget_num_objs(file.ours))):
        name = h5.H5Gget_objname_by_idx(file.ours, position)
        assert name == text(root.get_objname_by_idx(position))
        assert name == h5.H5Lget_name_by_idx(file.ours, "/", *BY_NAME, position, DEFAULT)
        assert h5.H5Gget_objtype_by_idx(file.ours, position) == member_type(root, name)
        names.append(name)
    called = []
    assert h5.H5Giterate(file.ours, "/", 0, lambda group, name: called.append(name)) == 0
    assert called == names


# --- Records --------------------------------------------------------------------------


def test_records_of_objects_are_those_of_h5py(file):
    def compare(group, name, count):
        theirs = h5py.h5o.get_info(file.their_root, name=name.encode("utf-8", "surrogateescape"))
        with zembra.Id(h5.H5Oopen(group, name, DEFAULT)) as identifier:
            ours: Any = h5.H5Oget_info(identifier)
        for field in ("fileno", "addr", "type", "rc"):
            assert ours[field] == getattr(theirs, field), (name, field)
        for field in ("version", "nmesgs"):
            assert ours["hdr"][field] == getattr(theirs.hdr, field), (name, field)
        for field in ("total", "meta", "mesg", "free"):
            assert ours["hdr"]["space"][field] == getattr(theirs.hdr.space, field), (name, field)
        for field in ("present", "shared"):
            assert ours["hdr"]["mesg"][field] == getattr(theirs.hdr.mesg, field), (name, field)
        their_object = h5py.h5o.open(file.their_root, name.encode("utf-8", "surrogateescape"))
        assert ours["num_attrs"] == h5py.h5a.get_num_attrs(their_object)
        return 0, count + 1

    status, count = h5.H5Ovisit(file.ours, *BY_NAME, compare, 0)
    assert status == 0 and count > 0


def test_records_of_links_are_those_of_h5py(file):
    theirs: dict[str, tuple] = {}
    file.their_root.links.visit(
        lambda name, info: theirs.update(
            {text(name): (info.type, bool(info.corder_valid), info.corder, info.cset, info.u)}
        ),
        info=True,
    )
    ours: dict[str, tuple] = {}

    def take(group, name, data):
        link = h5.H5Lget_info(group, name, DEFAULT)
        assert list(link)[:4] == ["type", "corder_valid", "corder", "cset"]
        assert list(link)[4:] == ["address" if link["type"] == 0 else "val_size"]
        ours[name] = tuple(link.values())
        return 0, data

    h5.H5Lvisit(file.ours, *BY_NAME, take, [])
    # Where no order of creation is kept, what stands for it means nothing.
    for records in (theirs, ours):
        for name, record in records.items():
            records[name] = record[:2] + (record[2] if record[1] else None,) + record[3:]
    assert ours == theirs


def test_values_of_links_are_those_of_h5py(file):
    root = file.their_root

    def compare(group, name, data):
        theirs = name.encode("utf-8", "surrogateescape")
        kind = h5.H5Lget_info(group, name, DEFAULT)["type"]
        value = h5.H5Lget_val(group, name, DEFAULT)
        if kind == 0:
            assert value == ""
            with pytest.raises(zembra.LibraryError):
                h5.H5Gget_linkval(group, name)
        elif kind == 1:
            assert value == [text(root.links.get_val(theirs))]
            assert h5.H5Gget_linkval(group, name) == text(root.get_linkval(theirs))
        elif kind == 64:
            assert value == [text(part) for part in root.links.get_val(theirs)]
        else:  # of a class of somebody's own, which h5py does not read either
            assert value == ""
        return 0, data

    assert h5.H5Lvisit(file.ours, *BY_NAME, compare, [])[0] == 0


def test_status_of_objects_is_that_of_h5py(file):
    def compare(group, name, data):
        theirs = h5py.h5g.get_objinfo(
            file.their_root, name.encode("utf-8", "surrogateescape"), follow_link=False
        )
        ours: Any = h5.H5Gget_objinfo(group, name, 0)
        assert tuple(ours["fileno"]) == tuple(theirs.fileno)
        assert tuple(ours["objno"]) == tuple(theirs.objno)
        for field in ("nlink", "type", "mtime", "linklen"):
            assert ours[field] == getattr(theirs, field), (name, field)
        return 0, data

    assert h5.H5Lvisit(file.ours, *BY_NAME, compare, [])[0] == 0


def test_comments_are_those_of_h5py(file):
    def compare(group, name, comments):
        theirs = file.their_root.get_comment(name.encode("utf-8", "surrogateescape"))
        comment = h5.H5Oget_comment_by_name(group, name, DEFAULT)
        assert comment == text(theirs or b"")
        assert comment == h5.H5Gget_comment(group, name)
        with zembra.Id(h5.H5Oopen(group, name, DEFAULT)) as identifier:
            assert comment == h5.H5Oget_comment(identifier)
        return 0, comments + [comment]

    assert h5.H5Ovisit(file.ours, *BY_NAME, compare, [])[0] == 0


def test_comments_are_found(hierarchy):
    assert h5.H5Gget_comment(hierarchy.ours, "alpha") == "the first letter"


# --- Building and rearranging -------------------------------------------------------------


def test_h5py_sees_what_scripts_rearrange(path):
    with zembra.Id(h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)) as file:
        for name in ("a", "a/b", "c"):
            h5.H5Gclose(h5.H5Gcreate(file, name, DEFAULT, DEFAULT, DEFAULT))
        h5.H5Lcreate_hard(file, "a/b", "H5L_SAME_LOC", "hard", DEFAULT, DEFAULT)
        h5.H5Lcreate_soft("/a/b", file, "soft", DEFAULT, DEFAULT)
        h5.H5Lcreate_external("other.h5", "/x", file, "external", DEFAULT, DEFAULT)
        h5.H5Lmove(file, "c", "H5L_SAME_LOC", "a/moved", DEFAULT, DEFAULT)
        h5.H5Lcopy(file, "soft", file, "copied", DEFAULT, DEFAULT)
        h5.H5Ocopy(file, "a", file, "tree", DEFAULT, DEFAULT)
        h5.H5Gset_comment(file, "a", "words")
        h5.H5Ldelete(file, "soft", DEFAULT)
    with h5py.File(path, "r") as file:
        assert sorted(file) == ["a", "copied", "external", "hard", "tree"]
        assert sorted(file["a"]) == sorted(file["tree"]) == ["b", "moved"]
        assert file["hard"] == file["a/b"]
        assert file.get("copied", getlink=True).path == "/a/b"
        external = file.get("external", getlink=True)
        assert (external.filename, external.path) == ("other.h5", "/x")
        assert file["/"].id.get_comment(b"a") == b"words"


# --- Errors ----------------------------------------------------------------------------------


def test_a_script_walks_the_records_of_the_error_that_it_caught():
    with pytest.raises(zembra.LibraryError) as caught:
        h5.H5Gopen(99, "anything")
    lines = []

    def take(position, record):
        lines.append(
            (
                position,
                record["func_name"],
                record["desc"],
                h5.H5Eget_major(record["maj_num"]),
                h5.H5Eget_minor(record["min_num"]),
            )
        )
        return 0

    nothing: Any = h5.H5Ewalk("H5E_WALK_UPWARD", take)
    assert nothing is None
    stack = caught.value.stack
    assert lines == [
        (position, record.function, record.description, record.major, record.minor)
        for position, record in enumerate(stack)
    ]
    assert len(lines) > 1 and lines[-1][1] == "H5Gopen1" and all(all(line[1:]) for line in lines)

    once, lines[:] = list(lines), []
    h5.H5Ewalk("H5E_WALK_DOWNWARD", take)
    assert [line[1:] for line in lines] == [line[1:] for line in reversed(once)]

    h5.H5Eclear()
    lines.clear()
    h5.H5Ewalk("H5E_WALK_UPWARD", take)
    assert not lines


def test_an_error_inside_a_walk_is_the_cause_of_the_one_that_it_raises():
    with pytest.raises(zembra.LibraryError):
        h5.H5Gopen(99, "anything")
    broken = ValueError("not like this")

    def fail(position, record):
        raise broken

    with pytest.raises(zembra.Error) as caught:
        h5.H5Ewalk("H5E_WALK_UPWARD", fail)
    assert caught.value.key == "H5Ewalk1_Callback"
    assert caught.value.__cause__ is broken


def test_a_visit_that_fails_says_why(hierarchy):
    broken = KeyError("inner")

    def fail(identifier, name, data):
        if name.endswith("inner"):
            raise broken
        return 0, data

    with pytest.raises(zembra.Error) as caught:
        h5.H5Lvisit(hierarchy.ours, *BY_NAME, fail, [])
    assert caught.value.key == "linkVisitFailure"
    assert caught.value.__cause__ is broken
    assert "inner" in str(caught.value.parameters[0])


def test_user_data_come_back_as_they_were(hierarchy):
    class Anything:
        pass

    data = Anything()
    status, same = h5.H5Ovisit(hierarchy.ours, *BY_NAME, lambda *inputs: (0, inputs[2]), data)
    assert status == 0 and same is data
    status, position, same = h5.H5Literate(
        hierarchy.ours, *BY_NAME, 0, lambda *inputs: (1, inputs[2]), data
    )
    assert (status, position) == (1, 1) and same is data
