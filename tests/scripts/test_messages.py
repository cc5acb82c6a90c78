"""What a failed call says: the notes beside its text, HDF5's stack, the class it is of."""

import os
import pickle
import subprocess
import sys
import traceback
import warnings
from collections.abc import Callable
from contextlib import contextmanager
from pathlib import Path
from typing import Any

import numpy as np
import pytest

import zembra
from zembra import _notes, _reference, h5

DEFAULT = "H5P_DEFAULT"
ALL = "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", DEFAULT
CLOSED = 83886999


def raised(function: Callable[..., Any], *arguments: Any) -> Any:
    with pytest.raises(Exception) as caught:
        function(*arguments)
    return caught.value


def notes_of(function: Callable[..., Any], *arguments: Any) -> list[str]:
    return list(getattr(raised(function, *arguments), "__notes__", []))


def one_note(start: str, function: Callable[..., Any], *arguments: Any) -> str:
    notes = notes_of(function, *arguments)
    found = [note for note in notes if note.startswith(start)]
    assert len(found) == 1, notes
    return found[0]


@pytest.fixture
def file(path):
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
    yield file
    h5.H5Fclose(file)


@pytest.fixture
def space():
    space = h5.H5Screate_simple(2, [3, 4], [])
    yield space
    h5.H5Sclose(space)


@pytest.fixture
def dataset(file, space):
    dataset = h5.H5Dcreate(file, "data", "H5T_NATIVE_DOUBLE", space, DEFAULT)
    yield dataset
    h5.H5Dclose(dataset)


# --- The call ----------------------------------------------------------------------------


def test_a_note_says_what_was_called(dataset, space):
    error = raised(h5.H5Dread, dataset, "H5ZB_DEFAULT", space, "H5S_AL", DEFAULT)
    assert str(error) == "The file dataspace identifier, when given as text, must be 'H5S_ALL'."
    assert error.__notes__[0] == (
        f"called: H5Dread(dataset={int(dataset)} (dataset), mem_type='H5ZB_DEFAULT',"
        f" mem_space={int(space)} (dataspace), file_space='H5S_AL',"
        " transfer_list='H5P_DEFAULT'), 5 arguments"
    )
    shown = "".join(traceback.format_exception_only(error))
    assert shown.startswith("zembra.Error: The file dataspace") and "\ncalled: H5Dread(" in shown


def test_the_call_is_told_by_whichever_way_it_was_made(space):
    wrong = space, "H5S_SELECT_SET", [0] * 3
    assert notes_of(h5.H5Sselect_elements, *wrong) == notes_of(
        zembra.call, "H5Sselect_elements", *wrong
    )
    assert notes_of(zembra.call, "H5Nothing", 1, [])[0] == (
        "called: H5Nothing(1, <empty list>), 2 arguments"
    )
    assert notes_of(zembra.call)[0] == "called: zembra.call(), 0 arguments"


@pytest.mark.parametrize(
    "value, shown",
    [
        (None, "None"),
        (2.5, "2.5"),
        (True, "True"),
        (np.float32(2), "2.0"),
        ([1, 2], "[1, 2]"),
        (list(range(7)), "<list of 7 ints>"),
        ([[1, 2], [3, 4]], "<list of 2 lists>"),
        ((1, None), "<tuple of 2 items (int, NoneType)>"),
        (np.zeros((3, 4)), "<array of float64 of shape (3, 4)>"),
        ({"a": 1, "b": 2}, "<dict with the keys 'a', 'b'>"),
        (len, "<function len>"),
        (zembra.Id(7), "7 (not open)"),
        (Path("x"), "PosixPath('x')"),
        ("x" * 1000, "'" + "x" * 27 + "..."),
    ],
    ids=lambda value: type(value).__name__,
)
def test_arguments_are_shown_in_short(value, shown):
    note = one_note("called", h5.H5Oget_info, value, 1)
    assert note.startswith(f"called: H5Oget_info(object={shown}"), note
    assert len(note) < 150


def test_identifiers_say_what_they_are(dataset, space):
    assert f"location={int(space)} (dataspace)" in one_note("called", h5.H5Dopen, space, "data")
    assert f"dataset={CLOSED} (not open)" in one_note("called", h5.H5Dget_space, CLOSED)
    created = h5.H5Pcreate("H5P_DATASET_CREATE")
    assert "(property list)" in one_note("called", h5.H5Pset_chunk, created, [0])
    h5.H5Pclose(created)
    assert "(" not in one_note("called", h5.H5Screate, int(dataset))[len("called: H5Screate(") :]


def test_every_wrong_count_shows_the_forms():
    for name, entry in _reference.entries().items():
        counts = _notes._argument_counts(name)
        for count in (counts[0] - 1, counts[-1] + 1):
            if count < 0:
                continue
            error = raised(getattr(h5, name), *[0] * count)
            assert error.key == "wrongNumberOfInputs"
            note = error.__notes__[1]
            assert note.startswith(f"{name} takes ") and f", not {count}:\n" in note
            assert note.splitlines()[1:] == [f"    {form.line}" for form in entry.forms]


def test_counts_are_told_as_people_say_them():
    assert one_note("H5Dopen takes", h5.H5Dopen, 1) == (
        "H5Dopen takes 2 or 3 arguments, not 1:\n"
        "    H5Dopen(location: identifier, name: text[, access_list: identifier|text])"
        " -> dataset: new identifier"
    )
    assert one_note("H5Sclose takes", h5.H5Sclose).startswith("H5Sclose takes 1 argument, not 0")


# --- Arguments that are refused ----------------------------------------------------------


@pytest.mark.parametrize(
    "name, arguments, start",
    [
        ("H5Fopen", (3, "H5F_ACC_RDONLY", DEFAULT), "argument 1 (name) is the int 3; it takes: t"),
        ("H5Fopen", ("f", "r", DEFAULT), "argument 2 (flags) is the str 'r'; it takes: \"H5F_ACC"),
        ("H5Screate", (2.5j,), 'argument 1 (space_class) is the complex 2.5j; it takes: "H5S_'),
        ("H5Screate_simple", (2, [[3, 4], [5, 6]], []), "argument 2 (dims) is a list of 2 lists"),
        ("H5Screate_simple", (2, [3, -4], []), "argument 2 (dims) is the list [3, -4]; it takes"),
        ("H5Screate_simple", (2, [3, 4], [5]), "argument 3 (maxdims) is the list [5]; it takes"),
        ("H5Sclose", ({"a": 1},), "argument 1 (space) is a dict with the keys 'a'"),
        ("H5Sclose", (None,), ""),
        ("H5Sclose", (np.longdouble(1),), "argument 1 (space) is the numpy.longdouble"),
        ("H5Sset_extent_none", ("x",), "argument 1 (space) is the str 'x'"),
        ("H5Tset_size", (CLOSED, "long"), "argument 2 (size) is the str 'long'"),
    ],
    ids=lambda value: value if isinstance(value, str) and value.startswith("H5") else "",
)
def test_a_refused_argument_is_named(name, arguments, start):
    start = start.replace("numpy.longdouble", type(np.longdouble(1)).__name__.join(["numpy.", ""]))
    notes = notes_of(getattr(h5, name), *arguments)
    found = [note for note in notes if note.startswith("argument ")]
    assert found[:1] == [note for note in found if note.startswith(start)][: bool(start)], notes


def test_data_are_described_in_python_s_words(dataset):
    error = raised(h5.H5Dwrite, dataset, *ALL, [[1, 2], [3]])
    assert error.key == "classMismatch"
    assert any(
        note.startswith("argument 6 (data) is a list of 2 lists") for note in error.__notes__
    )


def test_what_cannot_be_called_is_named(file):
    h5.H5Gclose(h5.H5Gcreate(file, "g", DEFAULT, DEFAULT, DEFAULT))
    note = one_note("argument", h5.H5Literate, file, 0, 0, 0, 3, None)
    assert note.startswith("argument 5 (function) is the int 3; it takes: function(group")


@pytest.mark.parametrize("nout, kind", [(9, ValueError), (-1, ValueError), ("1", TypeError)])
def test_a_wrong_nout_is_told_with_the_function(nout, kind):
    with pytest.raises(kind, match=f"^H5Sclose: nout must be an int from 0 to 8, not {nout!r}$"):
        h5.H5Sclose(1, nout=nout)
    with pytest.raises(TypeError, match="^H5Sclose takes no keyword argument 'out', only 'nout'"):
        h5.H5Sclose(1, out=1)  # type: ignore[call-overload]


class Awkward:
    """Whatever one asks it, it fails."""

    def __repr__(self):
        raise RuntimeError("no")

    def __getattr__(self, name):
        raise RuntimeError(name)


def test_no_argument_hides_the_failure():
    for value in (Awkward(), [Awkward()], {"a": Awkward()}, float("nan"), 10**400):
        for name in ("H5Dopen", "H5Fopen"):
            error = raised(getattr(h5, name), value)
            if isinstance(error, zembra.Error):
                assert error.key == "wrongNumberOfInputs"
                assert any(
                    "takes 2 or 3 arg" in note or "takes 3 arg" in note for note in error.__notes__
                )
            else:
                assert isinstance(error, (OverflowError, RuntimeError)), error


def test_what_others_raised_has_no_notes(file):
    h5.H5Gclose(h5.H5Gcreate(file, "g", DEFAULT, DEFAULT, DEFAULT))
    space = h5.H5Screate("H5S_SCALAR")
    h5.H5Aclose(h5.H5Acreate(file, "a", "H5T_NATIVE_INT", space, DEFAULT))
    h5.H5Sclose(space)

    def fail(location, name, info, data):
        raise KeyError(name)

    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(zembra.GatewayWarning) as caught:
            h5.H5Aiterate(file, "H5_INDEX_NAME", "H5_ITER_INC", 0, fail, None)
    assert not hasattr(caught.value, "__notes__")


def test_a_call_within_a_call_has_notes_of_its_own(file):
    h5.H5Gclose(h5.H5Gcreate(file, "g", DEFAULT, DEFAULT, DEFAULT))

    def look(group, name, data):
        h5.H5Dopen(group, name)

    error = raised(h5.H5Literate, file, 0, 0, 0, look, None)
    assert error.__notes__[1].startswith("called: H5Literate(")
    assert error.__cause__.__notes__[0].startswith("called: H5Dopen(")


# --- Names -------------------------------------------------------------------------------


@pytest.mark.parametrize(
    "name, arguments, advice",
    [
        ("H5Dopen2", (), "write H5Dopen: the number of arguments says which version is called"),
        ("H5Tarray_create2", (), "write H5Tarray_create"),
        ("h5sclose", (), "did you mean H5Sclose?"),
        ("H5Screate_simpel", (), "did you mean H5Screate_simple?"),
        ("H5Tcopy", ("H5T_NATIVE_DUBLE",), "did you mean 'H5T_NATIVE_DOUBLE' or"),
        ("H5Tcopy", ("h5t_native_double",), "did you mean 'H5T_NATIVE_DOUBLE'?"),
        ("H5ZBget_constant_value", ("H5F_OBJ_ALLL",), "did you mean 'H5F_OBJ_ALL'?"),
        ("H5Screate", ("H5S_SIMPEL",), "did you mean 'H5S_SIMPLE'?"),
        ("H5Fopen", ("f", "H5F_ACC_RDONY", DEFAULT), "did you mean 'H5F_ACC_RDONLY'?"),
        ("H5Fopen", ("f", "H5F_ACC_TRUNC", DEFAULT), "'H5F_ACC_TRUNC' is a constant, but none"),
        ("H5Sclose", ("H5P_DEFALUT",), "did you mean 'H5P_DEFAULT'?"),
        ("H5Fget_obj_count", (1, "H5F_OBJ_DATASETS"), "did you mean 'H5F_OBJ_DATASET'?"),
        ("H5Pcreate", ("H5P_DATASET_CRATE",), "did you mean 'H5P_DATASET_CREATE'?"),
        ("H5Dwrite", (1, *ALL[:2], "H5S_AL", DEFAULT, 1), "did you mean 'H5S_ALL'?"),
        ("H5Tset_size", (CLOSED, "H5T_VARIBLE"), "did you mean 'H5T_VARIABLE'?"),
    ],
    ids=lambda value: value if isinstance(value, str) else "",
)
def test_unknown_names_have_the_nearest_beside_them(name, arguments, advice):
    notes = notes_of(zembra.call, name, *arguments)
    assert notes[-1].startswith(advice), notes


def test_names_that_resemble_nothing_have_no_advice():
    assert len(notes_of(zembra.call, "quite_another_name")) == 1
    assert len(notes_of(h5.H5Tcopy, "quite another name")) == 2


def test_the_case_of_a_name_does_not_matter():
    for names in (tuple(h5.__all__), tuple(h5.H5ZBget_constant_names())):
        for name in names:
            assert _notes.nearest(name.lower(), names) == [name]


@pytest.mark.parametrize(
    "name, advice",
    [
        ("H5Dopen2", "; write h5.H5Dopen: the number of arguments says which version is called"),
        ("H5T_NATIVE_DOUBLE", "; constants are written as text: 'H5T_NATIVE_DOUBLE'"),
        ("H5Screate_simpel", "; did you mean h5.H5Screate_simple?"),
        ("h5sclose", "; did you mean h5.H5Sclose?"),
        ("H5Quite_another", ""),
        ("nothing", ""),
    ],
)
def test_unknown_attributes_say_what_to_write(name, advice):
    with pytest.raises(AttributeError) as caught:
        getattr(h5, name)
    assert str(caught.value) == f"zembra.h5 has no function {name!r}{advice}"
    assert not hasattr(h5, name)


# --- What to do --------------------------------------------------------------------------


def test_all_of_a_space_that_memory_does_not_hold(file):
    space = h5.H5Screate_simple(2, [10**6, 10**6], [])
    chunked = h5.H5Pcreate("H5P_DATASET_CREATE")
    h5.H5Pset_chunk(chunked, [10, 10])
    dataset = h5.H5Dcreate(file, "large", "H5T_NATIVE_DOUBLE", space, chunked)
    h5.H5Sselect_hyperslab(space, "H5S_SELECT_SET", [0, 0], [], [2, 3], [])
    whole = "the memory space 'H5S_ALL' stands for the whole extent of the file space"
    note = one_note(whole, h5.H5Dread, dataset, "H5ZB_DEFAULT", "H5S_ALL", space, DEFAULT)
    assert "1000000 x 1000000, of which 2 x 3 are selected" in note
    advice = "h5.H5Screate_simple(2, [2, 3], [])"
    assert f"pass {advice} as memory space" in note
    memory = eval(advice)
    assert h5.H5Dread(dataset, "H5ZB_DEFAULT", memory, space, DEFAULT).shape == (2, 3)
    h5.H5Sselect_elements(space, "H5S_SELECT_SET", [0, 0, 5, 5, 9, 9])
    note = one_note(whole, h5.H5Dwrite, dataset, "H5ZB_DEFAULT", "H5S_ALL", space, DEFAULT, [1, 2])
    assert "h5.H5Screate_simple(1, [3], [])" in note
    note = one_note("'H5S_ALL' stands for the whole dataset", h5.H5Dread, dataset, *ALL)
    assert "1000000 x 1000000; for a part, pass a file space that selects it" in note
    h5.H5Sclose(memory)
    h5.H5Sclose(space)
    h5.H5Pclose(chunked)
    h5.H5Dclose(dataset)


def test_data_of_another_size_have_the_dataset_s_beside_them(dataset):
    note = one_note("'H5S_ALL'", h5.H5Dwrite, dataset, *ALL, np.arange(3.0))
    assert note == "'H5S_ALL' stands for the whole dataset, 3 x 4"


def test_a_file_that_is_open_already_is_told_by_its_identifier(path, file):
    create = path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT
    open_already = f"{path!r} is open in this process already, by the identifier "
    assert one_note(open_already, h5.H5Fcreate, *create) == f"{open_already}{int(file)} (file)"
    relative = os.path.relpath(path)
    assert str(int(file)) in one_note(repr(relative), h5.H5Fcreate, relative, *create[1:])


def test_a_file_that_something_in_it_keeps_open(path):
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
    group = h5.H5Gcreate(file, "g", DEFAULT, DEFAULT, DEFAULT)
    h5.H5Fclose(file)
    note = one_note(repr(path), h5.H5Fcreate, path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
    assert note.endswith(f"by the identifier {int(group)} (group)")
    h5.H5Gclose(group)


def test_a_file_that_another_process_has(path):
    if h5.H5get_libversion()[:2] < (1, 10):
        pytest.skip("HDF5 locks files from 1.10 on")
    h5.H5Fclose(h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT))
    script = (
        "from zembra import h5; import sys\n"
        f"h5.H5Fopen({path!r}, 'H5F_ACC_RDWR', 'H5P_DEFAULT'); print('open', flush=True)\n"
        "sys.stdin.read()\n"
    )
    with subprocess.Popen(
        [sys.executable, "-c", script], stdin=subprocess.PIPE, stdout=subprocess.PIPE
    ) as other:
        assert other.stdout is not None and other.stdout.readline() == b"open\n"
        notes = notes_of(h5.H5Fopen, path, "H5F_ACC_RDWR", DEFAULT)
        assert notes[-1] == "another process has the file open and holds a lock on it"
        other.communicate()


# --- HDF5's stack ------------------------------------------------------------------------


def stack_now() -> list[str]:
    found: list[str] = []

    def note(position, record):
        found.append(record["func_name"])

    h5.H5Ewalk("H5E_WALK_UPWARD", note)
    return found


def nothing(*arguments):
    return 0, None


@pytest.mark.parametrize(
    "name, arguments",
    [
        ("H5Literate", (CLOSED, 0, 0, 0, nothing, None)),
        ("H5Lvisit", (CLOSED, 0, 0, nothing, None)),
        ("H5Ovisit_by_name", (CLOSED, "x", 0, 0, nothing, None, DEFAULT)),
        ("H5DSis_scale", (CLOSED,)),
        ("H5DSattach_scale", (CLOSED, CLOSED, 0)),
        ("H5Gget_linkval", (CLOSED, "x")),
        ("H5Dopen", (CLOSED, "x")),
        ("H5Fopen", ("missing.h5", "H5F_ACC_RDONLY", DEFAULT)),
        ("H5Dread", (CLOSED, *ALL)),
        ("H5Sselect_hyperslab", (CLOSED, 0, [0], [], [1], [])),
    ],
    ids=lambda value: value if isinstance(value, str) else "",
)
def test_hdf5_s_stack_is_carried_and_stays(name, arguments):
    error = raised(getattr(h5, name), *arguments)
    assert error.stack and stack_now() == [record.function for record in error.stack]
    if not isinstance(error, zembra.LibraryError):
        assert error.__notes__[0].startswith("HDF5 said: " + error.stack[-1].function)


def test_scales_say_why(file, dataset, space):
    scale = h5.H5Dcreate(file, "scale", "H5T_NATIVE_DOUBLE", space, DEFAULT)
    h5.H5DSset_scale(scale, "s")
    for wrong, reason in {
        (dataset, dataset, 0): "a dataset cannot be its own scale",
        (scale, dataset, 0): "a dimension scale cannot have scales",
        (dataset, scale, 2): "the dataset has no such dimension",
        (dataset, file, 0): "the scale is not a dataset identifier",
    }.items():
        note = one_note("HDF5 said", h5.H5DSattach_scale, *wrong)
        assert note == f"HDF5 said: H5DSattach_scale: {reason} (Bad value)"
    note = one_note("HDF5 said", h5.H5DSdetach_scale, dataset, scale, 0)
    assert "not attached to the dimension" in note
    h5.H5Dclose(scale)


def test_a_missing_filter_is_named(path):
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
    space = h5.H5Screate_simple(1, [4], [])
    chunked = h5.H5Pcreate("H5P_DATASET_CREATE")
    h5.H5Pset_chunk(chunked, [4])
    h5.H5Pset_deflate(chunked, 1)
    dataset = h5.H5Dcreate(file, "data", "H5T_NATIVE_DOUBLE", space, chunked)
    h5.H5Dwrite(dataset, *ALL, [1, 2, 3, 4])
    for close, one in zip("DPSF", (dataset, chunked, space, file)):
        getattr(h5, f"H5{close}close")(one)
    content = Path(path).read_bytes()
    name = content.index(b"deflate\0")
    number = name - 8
    assert content[number : number + 2] == b"\1\0"
    renamed = content[:number] + b"\x34\x12" + content[number + 2 : name] + b"myfiltr\0"
    Path(path).write_bytes(renamed + content[name + 8 :])
    with zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", DEFAULT)) as opened:
        with zembra.Id(h5.H5Dopen(opened, "data")) as read:
            error = raised(h5.H5Dread, read, *ALL)
    named = " 'myfiltr'" if h5.H5get_libversion()[:2] >= (1, 10) else ""
    assert str(error).startswith(f"H5Dread: required filter{named} is not registered (")


# --- Identifiers at the prompt -----------------------------------------------------------


def test_looking_at_an_identifier_leaves_the_stack_alone(space):
    error = raised(h5.H5Dopen, CLOSED, "x")
    shown = repr(zembra.Id(space)), repr(zembra.Id(CLOSED))
    assert shown == (f"<zembra.Id {int(space)}: dataspace>", f"<zembra.Id {CLOSED}: closed>")
    assert stack_now() == [record.function for record in error.stack]


def test_any_number_can_be_looked_at():
    assert repr(zembra.Id(float("nan"))) == "<zembra.Id nan: closed>"
    assert repr(zembra.Id(float("inf"))) == "<zembra.Id inf: closed>"
    assert repr(zembra.Id(-1)) == "<zembra.Id -1: closed>"


# --- Files that cannot be had ------------------------------------------------------------


@contextmanager
def without_privileges():
    privileged = os.geteuid() == 0
    if privileged:
        os.seteuid(65534)
    try:
        yield
    finally:
        if privileged:
            os.seteuid(0)


def check_file_error(error, kind, path):
    assert isinstance(error, zembra.LibraryError) and isinstance(error, kind)
    assert error.filename == path and error.strerror == os.strerror(error.errno)
    assert str(error).startswith("H5F") and error.key == "libraryError" and error.stack
    copy = pickle.loads(pickle.dumps(error))
    assert type(copy) is type(error) and str(copy) == str(error)
    for name in ("errno", "strerror", "filename", "key", "stack", "args", "__notes__"):
        assert getattr(copy, name) == getattr(error, name), name


def test_a_file_that_is_not_there(tmp_path):
    path = str(tmp_path / "it's missing, there.h5")
    with pytest.raises(FileNotFoundError) as caught:
        h5.H5Fopen(path, "H5F_ACC_RDONLY", DEFAULT)
    check_file_error(caught.value, zembra.LibraryFileNotFoundError, path)
    path = str(tmp_path / "no folder" / "new.h5")
    with pytest.raises(FileNotFoundError) as caught:
        h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT)
    check_file_error(caught.value, zembra.LibraryFileNotFoundError, path)


def test_a_file_that_is_there_already(tmp_path, path):
    Path(path).write_bytes(b"")
    with pytest.raises(FileExistsError) as caught:
        h5.H5Fcreate(path, "H5F_ACC_EXCL", DEFAULT, DEFAULT)
    check_file_error(caught.value, zembra.LibraryFileExistsError, path)


def test_an_open_file_is_there_already(path, file):
    with pytest.raises(FileExistsError) as caught:
        h5.H5Fcreate(path, "H5F_ACC_EXCL", DEFAULT, DEFAULT)
    check_file_error(caught.value, zembra.LibraryFileExistsError, path)


def test_a_file_that_is_not_ours(path):
    Path(path).write_bytes(b"")
    os.chmod(path, 0)
    with without_privileges(), pytest.raises(PermissionError) as caught:
        h5.H5Fopen(path, "H5F_ACC_RDONLY", DEFAULT)
    check_file_error(caught.value, zembra.LibraryPermissionError, path)


def test_other_failures_of_files_are_library_errors(path):
    Path(path).write_bytes(b"no HDF5" * 100)
    error = raised(h5.H5Fopen, path, "H5F_ACC_RDONLY", DEFAULT)
    assert type(error) is zembra.LibraryError


def test_objects_that_are_not_there_are_no_files(file):
    assert type(raised(h5.H5Dopen, file, "missing")) is zembra.LibraryError
