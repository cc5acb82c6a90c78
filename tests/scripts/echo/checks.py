"""Conversions both ways, seen through the echo gateway; run by test_conversions.py."""

import gc
import pathlib
import re
import sys
import warnings
import weakref

import numpy as np
import pytest

import zembra

# The functions of the echo, which the stubs do not know.
from zembra.h5 import (  # type: ignore[attr-defined]
    address,
    bytes as bytes_of,
    call,
    complain,
    copy,
    describe,
    fail,
    fields,
    matrix,
    report,
    same,
    unset,
    warn,
)


class Anything:
    pass


class WithCall:
    def __call__(self):
        return 0


def short(value):
    plain = (bool, int, float, complex, str, bytes, np.ndarray)
    return ascii(value)[:40] if isinstance(value, plain) else type(value).__name__


POINT = np.dtype([("x", "f8"), ("grid", "i2", (2, 5)), ("name", "S4")])

TO_HOST = [
    (1.5, "double 1-by-1"),
    (7, "double 1-by-1"),
    (-(2**53), "double 1-by-1"),
    (2**60, "double 1-by-1"),
    (True, "logical 1-by-1"),
    ("wind", "char 1-by-4"),
    ("Zürich", "char 1-by-7"),
    ("", "char 0-by-0"),
    (b"ab\0c", "char 1-by-4"),
    (b"", "char 0-by-0"),
    (pathlib.Path("a.h5"), "char 1-by-4"),
    (None, "double 0-by-0"),
    ([], "double 0-by-0"),
    ((), "double 0-by-0"),
    ([1, 2.5, 3], "double 1-by-3"),
    ((4, 5), "double 1-by-2"),
    (list(range(100)), "double 1-by-100"),
    ([np.int64(1), np.float32(2)], "double 1-by-2"),
    ([True, np.bool_(False)], "logical 1-by-2"),
    ([True, 1], "cell 1-by-2 {logical 1-by-1, double 1-by-1}"),
    (["a", 1], "cell 1-by-2 {char 1-by-1, double 1-by-1}"),
    ([[1, 2], []], "cell 1-by-2 {double 1-by-2, double 0-by-0}"),
    ({}, "struct 1-by-1"),
    (
        {"a": 1, "b": {"c": "x"}},
        "struct 1-by-1 {a: double 1-by-1, b: struct 1-by-1 {c: char 1-by-1}}",
    ),
    ({1: 2}, "foreign 1-by-1"),
    (len, "function_handle 1-by-1"),
    (WithCall(), "function_handle 1-by-1"),
    (Anything(), "foreign 1-by-1"),
    (1 + 2j, "double 1-by-1 complex"),
    (zembra.Id(5), "H5ZB.id 1-by-1 {identifier: double 1-by-1}"),
    ([zembra.Id(5), 6], "double 1-by-2"),
    (np.zeros(()), "double 1-by-1 rank 0"),
    (np.zeros(3), "double 3-by-1 rank 1"),
    (np.zeros((2, 3, 4)), "double 4-by-3-by-2 rank 3"),
    (np.zeros((0, 3)), "double 3-by-0 rank 2"),
    (np.zeros((2, 3), order="F"), "double 3-by-2 rank 2"),
    (np.zeros(2, ">f8"), "double 2-by-1 rank 1"),
    (np.zeros(2, "f2"), "single 2-by-1 rank 1"),
    (np.zeros(2, "f4"), "single 2-by-1 rank 1"),
    (np.zeros(2, "?"), "logical 2-by-1 rank 1"),
    (np.zeros(2, "c8"), "single 2-by-1 rank 1 complex"),
    (np.zeros((2, 3), "c16"), "double 3-by-2 rank 2 complex"),
    (np.zeros((2, 3), "S5"), "char 5-by-3-by-2 rank 3"),
    (np.array(["ab", "c"]), "cell 2-by-1 rank 1 {char 1-by-2, char 1-by-1}"),
    (np.array([[1, "x"]], object), "cell 2-by-1 rank 2 {double 1-by-1, char 1-by-1}"),
    (np.zeros(2, "V3"), "uint8 3-by-2 rank 2"),
    (
        np.zeros((3, 4), POINT),
        "struct 1-by-1 {x: double 4-by-3 rank 2, grid: int16 5-by-2-by-4-by-3 rank 4,"
        " name: char 4-by-4-by-3 rank 3}",
    ),
    (
        np.zeros(3, POINT)[0],
        "struct 1-by-1 {x: double 1-by-1 rank 0, grid: int16 5-by-2 rank 2,"
        " name: char 1-by-0 rank 1}",
    ),
    (np.float32(1), "single 1-by-1 rank 0"),
    (np.float64(1), "double 1-by-1"),
    (np.bool_(True), "logical 1-by-1 rank 0"),
    (np.str_("ab"), "char 1-by-2"),
] + [
    (np.zeros(2, code), f"{np.dtype(code).name} 2-by-1 rank 1")
    for code in ("i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8")
]


def natural(description):
    """Scalars and texts may or may not say that they come from a scalar."""
    scalar = r"((?:double|logical) 1-by-1) rank 0"
    text = r"(char (?:0-by-0|1-by-\d+)) rank 1"
    return re.sub(text, r"\1", re.sub(scalar, r"\1", description))


@pytest.mark.parametrize("value, expected", TO_HOST, ids=short)
def test_what_a_python_value_becomes(value, expected):
    if isinstance(value, np.void):  # the bytes of a scalar record's text, as NumPy holds them
        expected = expected.replace("char 1-by-0", "char 4-by-1")
    assert natural(describe(value)) == natural(expected)


@pytest.mark.parametrize("value", [value for value, _ in TO_HOST], ids=short)
def test_what_comes_back_unchanged_is_the_very_object(value):
    assert same(value) is value
    first, second, third = same(value, 1, value)
    assert first is value and third is value and second == 1


@pytest.mark.parametrize("value", [value for value, _ in TO_HOST], ids=short)
def test_a_callback_gets_the_very_object(value):
    seen = []
    call(lambda argument: seen.append(argument), value, nout=1)
    assert len(seen) == 1 and seen[0] is value


@pytest.mark.parametrize(
    "value, kind, text",
    [
        (2**53 + 1, OverflowError, "describe: argument 1: the integer 9007199254740993"),
        (2**2000, OverflowError, "describe: argument 1: an integer beyond the range of a double"),
        ([1, 2**53 + 1], OverflowError, "the integer 9007199254740993"),
        (np.zeros(2, "g"), TypeError, "describe: argument 1: an array of"),
        (np.longdouble(1), TypeError, "an array of"),
        ([np.longdouble(1)], TypeError, "an array of"),
        (np.zeros(2, "G"), TypeError, "an array of"),
        (np.zeros(2, "M8[s]"), TypeError, "an array of datetime64"),
        (np.timedelta64(1, "s"), TypeError, "an array of timedelta64"),
        ([np.timedelta64(1, "s")], TypeError, "an array of timedelta64"),
        ({"a": {"b": np.zeros(1, "g")}}, TypeError, "an array of"),
        ("\ud800", UnicodeEncodeError, "surrogates not allowed"),
    ],
    ids=short,
)
def test_what_has_no_host_form(value, kind, text):
    with pytest.raises(kind) as raised:
        describe(value)
    assert text in str(raised.value)


def test_the_argument_is_named():
    with pytest.raises(TypeError, match=r"^same: argument 3: an array of"):
        same(1, 2, np.longdouble(1))
    with pytest.raises(TypeError, match=r"^same: argument 2: an array of"):
        zembra.call("same", 1, np.longdouble(1))


def test_containers_that_contain_themselves():
    endless: list = []
    endless.append(endless)
    with pytest.raises(RecursionError):
        describe(endless)
    looped: dict = {}
    looped["self"] = looped
    with pytest.raises(RecursionError):
        describe(looped)


def test_lists_that_change_while_they_are_read():
    class Shrinking(pathlib.PurePosixPath):
        def __fspath__(self):
            victims.clear()
            return "x"

    victims = [Shrinking("a"), "b", "c"]
    assert describe(victims) == "cell 1-by-1 {char 1-by-1 rank 1}"


def test_data_are_read_where_they_lie():
    data = np.arange(1000.0).reshape(10, 100)
    assert address(data) == data.ctypes.data
    assert address(data[3:]) == data[3:].ctypes.data
    assert address(data[:, 1:]) != data[:, 1:].ctypes.data


@pytest.mark.parametrize(
    "array",
    [
        np.arange(6.0).reshape(2, 3).T,
        np.arange(10, dtype="i4")[::3],
        np.arange(4, dtype=">u2"),
        np.frombuffer(b"x" + np.arange(3.0).tobytes(), dtype="f8", offset=1),
    ],
    ids=["transposed", "strided", "foreign byte order", "unaligned"],
)
def test_other_layouts_are_brought_in_order(array):
    native = np.ascontiguousarray(array, array.dtype.newbyteorder("="))
    assert bytes_of(array).tobytes() == native.tobytes()


def test_the_real_part_of_complex_numbers():
    assert bytes_of(np.array([1 + 2j, 3 + 4j])).tobytes() == np.array([1.0, 3.0]).tobytes()


def test_sparse_matrices_carry_their_mark():
    sparse = pytest.importorskip("scipy.sparse", reason="scipy is not installed")
    value = sparse.csr_array([[0, 1.5], [2, 0], [0, 0]])
    assert describe(value) == "double 2-by-3 rank 2 sparse"
    assert bytes_of(value).tobytes() == value.toarray().tobytes()
    assert same(value) is value
    assert describe(sparse.coo_matrix(np.eye(2, dtype="i4"))) == "int32 2-by-2 rank 2 sparse"
    assert describe(sparse.csc_array([[1j]])) == "double 1-by-1 rank 2 complex sparse"


def test_text_survives_as_bytes():
    for raw in (b"plain", "Zürich".encode(), b"\xff\xfe broken", b"with\0inside"):
        text = copy(raw)
        assert text == raw.decode("utf-8", "surrogateescape")
        assert copy(text) == text and bytes_of(text).tobytes() == raw
    assert copy("") == ""


@pytest.mark.parametrize(
    "array",
    [
        np.arange(24, dtype=code).reshape(2, 3, 4)
        for code in ("f8", "f4", "i1", "u1", "i2", "u2", "i4", "u4", "i8", "u8")
    ]
    + [
        np.array([True, False]),
        np.zeros(0),
        np.zeros((0, 3)),
        np.zeros((1, 5)),
        np.zeros((5, 1)),
        np.arange(1e5),
        np.zeros((300, 300), "i4"),
        np.array([b"ab", b"c"]),
        np.zeros((2, 3), "S300"),
        np.zeros((1,) * 20),
    ],
    ids=lambda array: f"{array.dtype}{array.shape}",
)
def test_arrays_keep_class_shape_and_values(array):
    back = copy(array)
    assert isinstance(back, np.ndarray) and back is not array
    assert back.dtype == array.dtype and back.shape == array.shape
    assert np.array_equal(back, array)
    assert back.flags.writeable and back.flags.c_contiguous


def test_scalars_come_back_as_pythons_own():
    for value in (2.5, True):
        back = copy(value)
        assert type(back) is type(value) and back == value
    assert type(copy(3)) is float
    assert type(copy(np.array(2.5))) is float
    assert type(copy(np.bool_(True))) is bool
    for scalar in (np.int64(5), np.float32(2.5), np.uint8(7)):
        back = copy(scalar)
        assert type(back) is type(scalar) and back == scalar
        assert type(copy(np.array(scalar))) is type(scalar)
    one = np.empty((), object)
    one[()] = "x"
    assert copy(one) == "x"


def test_vectors_and_matrices_without_a_natural_rank():
    assert np.array_equal(copy([1, 2, 3]), [1, 2, 3])
    assert copy(None).shape == (0,)
    assert matrix(np.zeros(4)).shape == (4,)
    assert matrix(np.array(3, "i4")).shape == matrix(3.0).shape == (1,)
    for shape in ((3, 2), (300, 2), (2, 3, 4)):
        original = np.arange(np.prod(shape), dtype=float).reshape(shape)
        assert np.array_equal(matrix(original), original)  # as it went in, so it comes out
    assert matrix(np.zeros((2, 0))).shape == (0,)


def test_memory_is_shared_and_outlives_the_call():
    back = copy(np.arange(1e6))
    assert back.base is not None and not back.flags.owndata
    part = back[10:20]
    del back
    gc.collect()
    assert part.tolist() == list(range(10, 20))


def test_cells_and_structures_come_back_as_containers():
    back = copy(["a", 1.0, [True]])
    assert back == ["a", 1.0, [True]]
    assert copy({"a": 1, "ß": {"c": "x"}}) == {"a": 1.0, "ß": {"c": "x"}}
    assert copy({}) == {}
    objects = copy(np.array([["a", "bc"], ["d", "e"]], object))
    assert objects.dtype == object and objects.tolist() == [["a", "bc"], ["d", "e"]]
    assert copy(np.array(["a", "b"], object)) == ["a", "b"]
    assert matrix(np.array([["a", "bc", "d"], ["e", "f", "g"]], object)).shape == (2, 3)
    assert fields(0) == {}
    several = fields(2)
    assert len(several) == 2 and set(several[0]) == {"a", "b"}


def test_identifiers_come_back_as_identifiers():
    back = copy(zembra.Id(7))
    assert isinstance(back, zembra.Id) and back == 7


def test_what_only_travels_cannot_be_copied():
    with pytest.raises(TypeError, match="no Python form"):
        copy(Anything())


def test_results_up_to_the_first_gap():
    nothing = unset()
    assert isinstance(nothing, list) and [value.shape for value in nothing] == [(0,), (0,)]
    assert same() is None
    assert same(1) == 1
    assert same(1, 2) == (1, 2)
    assert same(1, 2, nout=1) == 1
    assert same(1, 2, nout=0) is None
    assert same(*range(8)) == (0, 1, 2, 3, 4)
    assert same(*range(8), nout=8) == tuple(range(8))


def test_references_are_given_back():
    value = Anything()
    gone = weakref.ref(value)
    before = sys.getrefcount(value)
    for _ in range(100):
        same(value, [value], {"a": value})
        call(lambda argument: 0, value, nout=1)
        with pytest.raises(TypeError):
            same(value, np.longdouble(1))
    gc.collect()
    assert sys.getrefcount(value) == before
    del value
    assert gone() is None


def test_memory_is_given_back():
    block = np.zeros(1 << 17)
    before = _resident()
    for _ in range(1500):
        copy(block)
    assert _resident() - before < 512 << 20  # far below what 1500 blocks take


def _resident():
    return int(pathlib.Path("/proc/self/statm").read_text().split()[1]) * 4096


def test_callbacks_answer():
    assert call(lambda a, b: a + b, 1, 2, nout=1) == 3
    assert call(lambda: None, nout=1).shape == (0,)  # nothing, for want of a better status
    user_data = Anything()
    status, travelled = call(lambda: (4, user_data), nout=2)
    assert status == 4 and travelled is user_data
    assert call(lambda: [5, user_data], nout=2)[1] is user_data
    huge = 2**100
    assert call(lambda: (0, huge), nout=2)[1] is huge  # user data only travel


def test_callbacks_may_call_again():
    def down(depth):
        return 0 if depth == 0 else call(down, depth - 1, nout=1) + 1

    assert call(down, 20, nout=1) == 20


def test_what_a_callback_raises_is_reported_in_one_line():
    def raising(error):
        def callback():
            raise error

        return callback

    class Silent(Exception):
        def __str__(self):
            raise RuntimeError

    assert report(raising(ValueError("no such station"))) == "ValueError: no such station"
    assert report(raising(ValueError("two\nlines\0and a NUL"))) == "ValueError: two lines and a NUL"
    with pytest.raises(KeyboardInterrupt):  # no error, but an end
        report(raising(KeyboardInterrupt()))
    assert report(raising(Silent())) == "Silent"
    assert report(lambda: (0, None)) == ""
    assert "what the callback returned: an array of" in report(lambda: (np.longdouble(1), 0))
    for answer in (None, 0, (0,), (0, 1, 2), "ab"):
        text = report(lambda: answer)
        assert text == (
            "TypeError: what the callback returned: a pair (status, user_data) is needed,"
            f" not {answer!r}"
        )


class Stop(Exception):
    pass


def stop():
    raise Stop("enough")


def test_an_error_knows_what_the_callback_raised():
    with pytest.raises(zembra.Error) as raised:
        complain(stop)
    error = raised.value
    assert not isinstance(error, zembra.LibraryError)
    assert error.key == "linkIterationFailure"
    assert error.identifier == "Zembra:h5gate:linkIterationFailure"
    assert error.parameters == ["Stop: enough"] and error.stack == []
    assert "Stop: enough" in str(error)
    assert type(error.__cause__) is Stop
    traceback = error.__cause__.__traceback__
    assert traceback is not None and traceback.tb_frame.f_code is stop.__code__
    with pytest.raises(zembra.Error) as raised:
        complain(lambda: (0, None))
    assert raised.value.__cause__ is None


def test_warnings_go_through_pythons():
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        assert warn(stop) == -1
    (warning,) = caught
    assert warning.category is zembra.GatewayWarning
    assert "Stop: enough" in str(warning.message)
    assert isinstance(warning.message, zembra.GatewayWarning)
    assert warning.message.identifier == "Zembra:h5gate:H5Aiterator2_Callback_failure"
    assert type(warning.message.__cause__) is Stop
    assert warning.filename == __file__


def test_a_warning_may_be_an_error():
    with warnings.catch_warnings():
        warnings.simplefilter("error", zembra.GatewayWarning)
        with pytest.raises(zembra.GatewayWarning, match="Stop: enough"):
            warn(stop)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", zembra.GatewayWarning)
        assert warn(stop) == -1


def test_other_exceptions_from_the_gateway():
    with pytest.raises(MemoryError):
        fail("memory")
    with pytest.raises(RuntimeError, match="out of order"):
        fail("library")
    with pytest.raises(RuntimeError):
        fail("otherwise")


def test_many_arguments():
    values = [object() for _ in range(200)]
    back = same(*values[:8], nout=8)
    assert all(one is other for one, other in zip(back, values))
    assert describe(*values) == "foreign 1-by-1"


def test_no_warning_on_the_way():
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        for value, _ in TO_HOST:
            describe(value)
