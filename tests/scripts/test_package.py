"""The package zembra: its functions and their documentation, errors, identifiers,
records, and the command line."""

import ast
import inspect
import pickle
import pydoc
import rlcompleter
import subprocess
import sys
import threading
from pathlib import Path
from typing import Any

import h5py
import numpy as np
import pytest

import zembra
from zembra import _reference, h5

ALL = "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT"
PACKAGE = Path(zembra.__file__).parent


@pytest.fixture
def space():
    space = h5.H5Screate_simple(2, [3, 4], [])
    yield space
    h5.H5Sclose(space)


def write_compound(path, data):
    with h5py.File(path, "w") as file:
        file["data"] = data


def read(path, name="data"):
    with zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")) as file:
        with zembra.Id(h5.H5Dopen(file, name)) as dataset:
            return h5.H5Dread(dataset, *ALL)


# --- Functions and their documentation ------------------------------------------


def test_every_function_of_the_gateway_is_there():
    names = zembra.call("H5ZBget_function_names")
    assert h5.__all__ == names
    assert dir(h5) == sorted([*names, "constants"])
    assert len(set(names)) == len(names) >= 79
    for name in names:
        function = getattr(h5, name)
        assert callable(function)
        assert function.__name__ == function.__qualname__ == name
        assert function.__module__ == "zembra.h5"
        assert repr(function) == f"<gateway function {name}>"


@pytest.mark.parametrize("name", h5.__all__)
def test_every_function_is_documented(name):
    first, _, rest = getattr(h5, name).__doc__.partition("\n")
    assert first.startswith(f"{name}(") and rest.strip()


@pytest.mark.parametrize("name", h5.__all__)
def test_every_signature_agrees_with_the_reference(name):
    forms = _reference.entries()[name].forms
    if len(forms) > 1:
        with pytest.raises(ValueError):
            inspect.signature(getattr(h5, name))
        return
    signature = inspect.signature(getattr(h5, name))
    names = [value.name for value in forms[0].required + forms[0].optional]
    assert list(signature.parameters) == [*names, "nout"]


def test_every_function_is_in_the_type_stubs():
    """Each argument list twice: with its own results, and with `nout`."""
    module = ast.parse((PACKAGE / "h5.pyi").read_text())
    stubs: dict[str, list[ast.FunctionDef]] = {}
    for node in module.body:
        if isinstance(node, ast.FunctionDef):
            stubs.setdefault(node.name, []).append(node)
    assert set(h5.__all__) <= set(stubs)
    for name, entry in _reference.entries().items():
        plain, limited = stubs[name][::2], stubs[name][1::2]
        for versions in (plain, limited):
            found = [[argument.arg for argument in stub.args.posonlyargs] for stub in versions]
            assert found == [
                [value.name for value in form.required + form.optional] for form in entry.forms
            ]
        for stub, form in zip(plain, entry.forms):
            assert (ast.get_docstring(stub) or "").rstrip() == entry.text.rstrip()
            assert stub.returns is not None
            returned = stub.returns
            if len(form.results) > 1:
                assert isinstance(returned, ast.Subscript) and isinstance(returned.slice, ast.Tuple)
                assert len(returned.slice.elts) == len(form.results)
            elif not form.results:
                assert ast.unparse(returned) == "None"
        for stub in limited:
            assert [argument.arg for argument in stub.args.kwonlyargs] == ["nout"]
            assert stub.returns is not None and ast.unparse(stub.returns) == "Any"
    assert (PACKAGE / "py.typed").exists()


def test_help_and_completion():
    text = pydoc.plain(pydoc.render_doc(h5.H5Screate_simple))
    assert "H5Screate_simple(rank" in text and "nout=5" in text
    page = pydoc.plain(pydoc.render_doc(h5))
    assert all(name in page for name in ("H5Dread", "H5Fopen"))
    completer = rlcompleter.Completer({"h5": h5})
    assert completer.complete("h5.H5Dre", 0) == "h5.H5Dread("


def test_help_tells_what_becomes_of_values():
    text = pydoc.plain(pydoc.render_doc(zembra))
    for word in ("memoryview", "`__array__`", "masked", "int64", "user data", "scipy.sparse"):
        assert word in text


def test_constants_by_topic():
    every = h5.H5ZBget_constant_names()
    assert h5.constants() == every
    assert "H5T_NATIVE_INT" in h5.constants("H5T") and "H5T_CSET_UTF8" in h5.constants("H5T_")
    assert h5.constants("H5F_ACC") == [name for name in every if name.startswith("H5F_ACC_")]
    assert "H5FD_SEC2" not in h5.constants("H5F") and "H5T_NATIVE_INT" not in h5.constants("H5")
    topics = {name.partition("_")[0] for name in every}
    assert sorted(name for topic in topics for name in h5.constants(topic)) == sorted(every)
    with pytest.raises(ValueError, match="no constants of the topic 'H5X'; there are H5, H5D"):
        h5.constants("H5X")
    completer = rlcompleter.Completer({"h5": h5})
    assert (completer.complete("h5.const", 0) or "").startswith("h5.constants(")


def test_functions_bind_to_nothing():
    class Holder:
        version = h5.H5get_libversion

    holder: Any = Holder()
    assert holder.version() == h5.H5get_libversion()


def test_a_name_may_be_bound_by_hand(space):
    function: Any = type(h5.H5Sclose)
    rank = function("H5Sget_simple_extent_ndims")
    assert rank(space) == 2
    assert function(name="Zürich").__doc__ is None
    for arguments in ((), (3,), ("a", "b")):
        with pytest.raises(TypeError):
            function(*arguments)


# --- Calls ------------------------------------------------------------------------


def test_call_and_function_are_the_same(space):
    name = "H5Sget_simple_extent_dims"
    given = (zembra.call(name, space), float), (h5.H5Sget_simple_extent_dims(space), int)
    for (rank, dims, maxdims), kind in given:
        assert rank == 2 and type(rank) is kind
        assert dims.tolist() == maxdims.tolist() == [3, 4]
        assert dims.dtype == maxdims.dtype == kind


def test_nout_limits_the_results(space):
    assert h5.H5Sget_simple_extent_dims(space, nout=0) is None
    assert h5.H5Sget_simple_extent_dims(space, nout=1) == 2
    assert len(h5.H5Sget_simple_extent_dims(space, nout=2)) == 2
    assert len(zembra.call("H5Sget_simple_extent_dims", space, nout=2)) == 2
    for wrong in (-1, 9, 2**40):
        with pytest.raises(ValueError):
            h5.H5Sget_simple_extent_dims(space, nout=wrong)
    with pytest.raises(TypeError):
        h5.H5Sget_simple_extent_dims(space, nout="1")  # type: ignore[call-overload]
    with pytest.raises(TypeError, match="no keyword argument 'space'"):
        h5.H5Sget_simple_extent_dims(space=space)  # type: ignore[call-overload]
    with pytest.raises(TypeError):
        zembra.call("H5Sclose", nuot=3)  # type: ignore[call-arg]


def test_dimensions_keep_their_order_and_their_number(path):
    shapes = {"scalar": (), "row": (5,), "matrix": (1, 5), "cube": (2, 3, 4)}
    with h5py.File(path, "w") as file:
        for name, shape in shapes.items():
            file[name] = np.arange(np.prod(shape), dtype="i4").reshape(shape)
    for name, shape in shapes.items():
        value = read(path, name)
        assert value.shape == shape and value.dtype == np.int32
        assert value.ravel().tolist() == list(range(value.size))


def test_one_row_a_point(space):
    points = np.array([[0, 1], [2, 3], [1, 1.0]])
    h5.H5Sselect_elements(space, "H5S_SELECT_SET", points)
    listed = h5.H5Sget_select_elem_pointlist(space, 0, 3)
    assert np.array_equal(listed, points)
    h5.H5Sselect_none(space)
    h5.H5Sselect_elements(space, "H5S_SELECT_SET", listed)
    assert np.array_equal(h5.H5Sget_select_elem_pointlist(space, 0, 3), listed)


def test_threads_take_turns():
    failures = []

    def work():
        try:
            for _ in range(300):
                space = h5.H5Screate_simple(2, [3, 4], [])
                assert h5.H5Sget_simple_extent_npoints(space) == 12
                h5.H5Sclose(space)
                with pytest.raises(zembra.LibraryError):
                    h5.H5Sclose(0)  # HDF5 1.8 soon gives an identifier to another thread again
        except BaseException as failure:
            failures.append(failure)

    threads = [threading.Thread(target=work) for _ in range(6)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []


def test_callbacks_travel_with_their_user_data(path):
    with h5py.File(path, "w") as file:
        for name in ("a", "b", "c"):
            file[name] = 1
    order = "H5_INDEX_NAME", "H5_ITER_INC", 0

    def collect(group, name, names):
        assert h5.H5Lexists(group, name, "H5P_DEFAULT")  # calls within calls
        names.append(name)
        return (0 if name != "b" else 1), names

    def fail(group, name, names):
        raise KeyError(name)

    names: list[str] = []
    with zembra.Id(open_file(path)) as file:
        status, position, last = h5.H5Literate(file, *order, collect, names)
        assert (status, position) == (1, 2)
        assert last is names == ["a", "b"]
        with pytest.raises(zembra.Error) as raised:
            h5.H5Literate(file, *order, fail, names)
    assert raised.value.key == "linkIterationFailure"
    assert raised.value.parameters == ["KeyError: 'a'"]
    assert isinstance(raised.value.__cause__, KeyError)


# --- Errors -----------------------------------------------------------------------


def test_an_error_has_key_and_parameters():
    with pytest.raises(zembra.Error) as raised:
        h5.H5ZBget_constant_value("H5X_NOTHING")
    error = raised.value
    assert type(error) is zembra.Error
    assert error.key == "constantNotFound"
    assert error.identifier == "Zembra:h5gate:constantNotFound"
    assert error.parameters == ["H5X_NOTHING"]
    assert error.stack == []
    assert "H5X_NOTHING" in str(error)


def test_parameters_are_str_and_int(space):
    with pytest.raises(zembra.Error) as raised:
        h5.H5Sselect_elements(space, "H5S_SELECT_SET", [0] * 7)
    assert raised.value.parameters == [7, 2]
    assert all(type(parameter) is int for parameter in raised.value.parameters)


def test_text_that_is_no_utf8_comes_back_in_the_error():
    with pytest.raises(zembra.Error) as raised:
        h5.H5ZBget_constant_value(b"caf\xe9")
    assert raised.value.parameters == [b"caf\xe9".decode("utf-8", "surrogateescape")]


def test_a_failure_of_hdf5_has_its_stack(tmp_path):
    missing = str(tmp_path / "missing.h5")
    with pytest.raises(zembra.LibraryError) as raised:
        h5.H5Fopen(missing, "H5F_ACC_RDONLY", "H5P_DEFAULT")
    stack = raised.value.stack
    assert stack[-1].function == "H5Fopen"
    assert missing in stack[0].description and missing in str(raised.value)
    assert all(isinstance(record, zembra.ErrorRecord) for record in stack)
    assert all(type(record.line) is int and record.file for record in stack)


def test_errors_travel_between_processes():
    with pytest.raises(zembra.Error) as raised:
        h5.H5ZBget_constant_value("H5X_NOTHING")
    copy = pickle.loads(pickle.dumps(raised.value))
    assert type(copy) is zembra.Error
    assert (copy.key, copy.parameters) == ("constantNotFound", ["H5X_NOTHING"])
    assert str(copy) == str(raised.value)


def test_calls_that_name_nothing():
    with pytest.raises(zembra.Error) as raised:
        zembra.call()
    assert raised.value.key == "wrongNumberOfInputs"
    with pytest.raises(zembra.Error) as raised:
        zembra.call(3)
    assert raised.value.key == "firstArgNotChar"
    with pytest.raises(zembra.Error) as raised:
        zembra.call("h5sclose", 1)
    assert raised.value.key == "invalidOperation" and raised.value.parameters == ["h5sclose"]


def test_a_value_without_host_form_is_named():
    with pytest.raises(TypeError, match=r"^H5Sclose: argument 1 \(space\): an array of datetime"):
        zembra.h5.H5Sclose(np.datetime64(1, "s"))  # type: ignore[call-overload]
    with pytest.raises(TypeError, match="^zembra.call: argument"):
        zembra.call(3, np.longdouble(1))


# --- Identifiers ------------------------------------------------------------------


def test_an_id_stands_for_its_number(space):
    wrapped = zembra.Id(space)
    assert wrapped.identifier == space and float(wrapped) == space
    assert int(wrapped) == space and "abc"[zembra.Id(1)] == "b"
    assert wrapped == zembra.Id(space) == space and wrapped != zembra.Id(space + 1)
    assert wrapped != "a space"
    assert len({wrapped, zembra.Id(space), space}) == 1
    assert h5.H5Sget_simple_extent_ndims(wrapped) == 2
    assert "dataspace" in repr(wrapped)
    assert pickle.loads(pickle.dumps(wrapped)) == wrapped
    with pytest.raises(AttributeError):
        wrapped.identifier = 3.0
    with pytest.raises((TypeError, ValueError)):
        zembra.Id("a space")  # type: ignore[arg-type]


def open_file(path):
    return h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")


def inside(path, function, *arguments):
    """What the function opens in the file, or below the dataset in it."""
    with zembra.Id(open_file(path)) as file:
        if function in ("H5Dopen", "H5Gopen"):
            return zembra.call(function, file, *arguments)
        with zembra.Id(h5.H5Dopen(file, "data")) as dataset:
            return zembra.call(function, dataset, *arguments)


@pytest.mark.parametrize(
    "kind, close, make",
    [
        ("file", "H5Fclose", open_file),
        ("dataset", "H5Dclose", lambda path: inside(path, "H5Dopen", "data")),
        ("dataspace", "H5Sclose", lambda path: inside(path, "H5Dget_space")),
        ("datatype", "H5Tclose", lambda path: inside(path, "H5Dget_type")),
        ("property list", "H5Pclose", lambda path: inside(path, "H5Dget_create_plist")),
        ("group", "H5Gclose", lambda path: inside(path, "H5Gopen", "/")),
        ("attribute", "H5Aclose", lambda path: inside(path, "H5Aopen_name", "unit")),
        (
            "property list class",
            "H5Pclose_class",
            lambda path: h5.H5Pget_class_parent("H5P_FILE_CREATE"),
        ),
    ],
    ids=lambda value: value if isinstance(value, str) else "",
)
def test_an_id_closes_what_it_stands_for(path, kind, close, make):
    if close not in h5.__all__:
        pytest.skip(f"the gateway has no {close}")
    with h5py.File(path, "w") as file:
        file["data"] = np.arange(3)
        file["data"].attrs["unit"] = 1
    with zembra.Id(make(path)) as opened:
        assert repr(opened) == f"<zembra.Id {int(opened)}: {kind}>"
    assert not h5.H5Iis_valid(opened)
    assert "closed" in repr(opened)
    opened.close()  # once more does nothing


def test_an_id_closes_when_the_block_fails():
    with pytest.raises(KeyError):
        with zembra.Id(h5.H5Screate("H5S_SCALAR")) as space:
            raise KeyError("x")
    assert not h5.H5Iis_valid(space)


def test_every_closable_type_has_its_function():
    from zembra._zembra import identifier_types

    names = [name for name, _ in identifier_types.values()]
    assert sorted(names) == [
        "attribute",
        "dataset",
        "dataspace",
        "datatype",
        "file",
        "group",
        "property list",
        "property list class",
    ]
    assert all(name in _reference.entries() for _, name in identifier_types.values())


# --- Records ----------------------------------------------------------------------

STATION = np.dtype(
    [
        ("name", "S6"),
        ("place", [("lat", "f8"), ("lon", "f8")]),
        ("grid", "i2", (2, 3)),
        ("on", "u1"),
    ]
)


def stations(shape):
    data = np.zeros(shape, STATION)
    flat = data.reshape(-1)
    for index in range(flat.size):
        grid = np.arange(6).reshape(2, 3) + index
        flat[index] = (f"st{index}", (index + 0.5, -index), grid, index % 2)
    return data


@pytest.mark.parametrize("shape", [(4,), (2, 3), (1,), (1, 1)], ids=str)
def test_compound_data_as_records(path, shape):
    original = stations(shape)
    write_compound(path, original)
    fields = read(path)
    assert list(fields) == ["name", "place", "grid", "on"]
    assert fields["place"]["lat"].shape == shape
    records = zembra.records(fields)
    assert records.dtype == original.dtype and records.shape == shape
    assert np.array_equal(records, original)


def test_a_scalar_compound_as_records(path):
    original = stations(())
    write_compound(path, original)
    records = zembra.records(read(path))
    assert records.shape == ()
    assert records["name"] == b"st0"
    assert records["place"]["lat"] == 0.5 and records["grid"].tolist() == [[0, 1, 2], [3, 4, 5]]


def test_records_with_texts_and_sequences():
    sequences = [np.arange(2), np.arange(3)]
    records = zembra.records({"name": ["a", "bcd"], "values": sequences, "n": [1, 2]})
    assert records.shape == (2,)
    assert records["name"].tolist() == ["a", "bcd"]
    assert records["values"][1].tolist() == [0, 1, 2]
    assert records["n"].tolist() == [1, 2]
    single = zembra.records({"values": [np.arange(3)]})
    assert single.shape == (1,) and single["values"][0].tolist() == [0, 1, 2]


def test_records_of_an_ambiguous_shape():
    data = {"grid": np.arange(6).reshape(3, 2)}
    assert zembra.records(data).shape == (3, 2)
    assert zembra.records(data, shape=3).dtype["grid"].shape == (2,)
    assert zembra.records(data, (3,))["grid"].tolist() == [[0, 1], [2, 3], [4, 5]]
    assert zembra.records(data, ()).shape == ()
    with pytest.raises(ValueError, match="field 'grid' has the shape"):
        zembra.records(data, 2)
    with pytest.raises(ValueError, match="field 'b' has the shape"):
        zembra.records({"a": np.zeros((3, 2)), "b": np.zeros(3)}, (3, 2))


# --- The command line ---------------------------------------------------------------


def run(*arguments, **options):
    return subprocess.run(
        [sys.executable, "-m", "zembra", *map(str, arguments)],
        capture_output=True,
        text=True,
        **options,
    )


def test_a_script_finds_everything_imported(tmp_path):
    (tmp_path / "helper.py").write_text("GREETING = 'hello'\n")
    script = tmp_path / "script.py"
    script.write_text(
        "import sys, helper\n"
        "print(helper.GREETING, sys.argv[1:], __name__, np.arange(2).sum(), zembra.Id(0) == 0)\n"
        "print(h5.H5ZBget_constant_value('H5S_UNLIMITED'))\n"
    )
    done = run(script, "a", "-b")
    assert done.returncode == 0, done.stderr
    assert done.stdout.splitlines() == ["hello ['a', '-b'] __main__ 1 True", "-1"]


def test_a_script_ends_as_it_would_by_itself(tmp_path):
    script = tmp_path / "script.py"
    script.write_text("h5.H5ZBget_constant_value('x')\n")
    done = run(script)
    assert done.returncode == 1
    assert "zembra.Error" in done.stderr and "script.py" in done.stderr
    script.write_text("raise SystemExit(7)\n")
    assert run(script).returncode == 7
    assert run(tmp_path / "missing.py").returncode != 0


def test_the_prompt():
    done = run(input="h5.H5get_libversion()\nnp.arange(3)\nzembra.Id(0)\n")
    assert done.returncode == 0, done.stderr
    major, minor, release = h5.H5get_libversion()
    assert f"({major}, {minor}, {release})" in done.stdout
    assert "array([0, 1, 2])" in done.stdout
    assert "HDF5" in done.stderr
