"""What the functions of zembra.h5 hand the gateway of their arguments, seen through the
echo, which describes what it is given to a function that it does not know; run by
test_conversions.py."""

import array

import numpy as np
import pytest

import zembra
from zembra._zembra import Function

create_simple = Function("H5Screate_simple")  # (rank: integer, dims: integers, maxdims: integers)
close = Function("H5Sclose")  # (space: identifier)
write = Function("H5Dwrite")  # (..., data: data)
iterate = Function("H5Literate")  # (..., function: callback, user_data: object)
ratios = Function("H5Pset_btree_ratios")  # (plist: identifier, left: real, ...)
fapl = Function("H5Pset_fapl_multi")


def dims(value):
    """What becomes of a row of whole numbers."""
    return create_simple(2, value, None).split("; ")[1]


def data(value):
    return write(1, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", value).split("; ")[5]


class Arrays:
    def __array__(self, dtype=None, copy=None):
        return np.array([3, 4], "u1")


class Index:
    def __index__(self):
        return 5


@pytest.mark.parametrize(
    "value, expected",
    [
        ([3, 4], "double 1-by-2"),
        (range(3, 5), "double 2-by-1 rank 1"),
        (array.array("i", [3, 4]), "double 2-by-1 rank 1"),
        (memoryview(array.array("l", [3, 4])), "double 2-by-1 rank 1"),
        (bytearray(b"\3\4"), "double 2-by-1 rank 1"),
        (Arrays(), "double 2-by-1 rank 1"),
        (np.array([3, 4], object), "double 2-by-1 rank 1"),
        (np.array([3, 4], "f2"), "double 2-by-1 rank 1"),
        (np.array([3, 4], "g"), "double 2-by-1 rank 1"),
        (np.array([3, 4], ">i4"), "double 2-by-1 rank 1"),
        (np.array([[3, 4, 5], [6, 7, 8]], "u2")[::-1, ::2], "double 2-by-2 rank 2"),
        ([[3, 4], [5, 6], [7, 8]], "double 2-by-3 rank 2"),
        (((3,), (4,)), "double 1-by-2 rank 2"),
        ([[[1, 2], [3, 4]]], "double 2-by-2-by-1 rank 3"),
        ([[1, 2], [3]], "cell 1-by-2 {double 1-by-2, double 1-by-1}"),
        ([], "double 0-by-0"),
        (None, "double 0-by-0"),
        (7, "double 1-by-1 rank 0"),
        (np.uint64(7), "double 1-by-1 rank 0"),
        (Index(), "double 1-by-1 rank 0"),
        (zembra.Id(7), "H5ZB.id 1-by-1 {identifier: double 1-by-1 rank 0}"),
        (True, "logical 1-by-1 rank 0"),
        (np.array([True]), "logical 1-by-1 rank 1"),
        ("34", "char 1-by-2 rank 1"),
        (np.array(["a"]), "cell 1-by-1 rank 1 {char 1-by-1 rank 1}"),
    ],
    ids=lambda value: type(value).__name__,
)
def test_whole_numbers_are_doubles(value, expected):
    assert dims(value) == expected


@pytest.mark.parametrize("code", ["i1", "i2", "i4", "i8", "u1", "u2", "u4", "u8"])
def test_integers_of_every_width(code):
    assert dims(np.array([3, 4], code)) == "double 2-by-1 rank 1"
    assert close(np.dtype(code).type(3)) == "double 1-by-1 rank 0"


@pytest.mark.parametrize(
    "value, kind, text",
    [
        (2**53 + 1, OverflowError, "the integer 9007199254740993"),
        ([1, 2**53 + 1], OverflowError, "the integer 9007199254740993"),
        (np.array([1, 2**53 + 1]), OverflowError, "the number 9007199254740993"),
        (np.uint64(2**64 - 1), OverflowError, "the number 18446744073709551615"),
        ([[1], [2**64 - 1]], OverflowError, "the integer 18446744073709551615"),
        (1 + 2j, TypeError, "complex"),
        (np.array([1j, 2]), TypeError, "complex"),
        (np.complex64(1), TypeError, "complex"),
        (np.ma.masked_array([1, 2], [False, True]), ValueError, "fill them first"),
        (np.ma.masked, ValueError, "fill them first"),
        ([1, np.ma.masked], ValueError, "fill them first"),
    ],
    ids=lambda value: type(value).__name__,
)
def test_what_a_double_does_not_hold_is_refused_by_name(value, kind, text):
    for argument in (lambda: create_simple(1, value, None), lambda: ratios(1, 0.5, value, 0.5)):
        with pytest.raises(kind, match=text) as raised:
            argument()
        assert str(raised.value).startswith(
            ("H5Screate_simple: argument 2 (dims): ", "H5Pset_btree_ratios: argument 3 (middle): ")
        )


def test_exact_though_large():
    assert dims(np.array([2**60, -(2**62)])) == "double 2-by-1 rank 1"
    assert dims(np.ma.masked_array([1, 2])) == "double 2-by-1 rank 1"


def test_a_complex_number_is_no_identifier():
    for value in (1 + 0j, np.complex128(1), np.array(1j)):
        with pytest.raises(TypeError, match=r"^H5Sclose: argument 1 \(space\): .*complex"):
            close(value)


def test_the_gateway_as_it_is_gets_arrays_as_they_are():
    value = np.array([3, 4])
    call = zembra.call
    assert call("H5Screate_simple", value, range(3)) == "int64 2-by-1 rank 1; foreign 1-by-1"
    assert call("H5Sclose", 1j) == "double 1-by-1 rank 0 complex"
    assert call("H5Sclose", [[1], [2]]) == "cell 1-by-2 {double 1-by-1, double 1-by-1}"


@pytest.mark.parametrize(
    "value, expected",
    [
        ([1, 2, 3], "double 1-by-3"),
        ([[1, 2, 3], [4, 5, 6]], "double 3-by-2 rank 2"),
        ([[True], [False]], "logical 1-by-2 rank 2"),
        ([[1, 2], [3]], "cell 1-by-2 {double 1-by-2, double 1-by-1}"),
        ([[], []], "cell 1-by-2 {double 0-by-0, double 0-by-0}"),
        ([np.zeros(2), np.zeros(2)], "cell 1-by-2 {double 2-by-1 rank 1, double 2-by-1 rank 1}"),
        (["a", None], "cell 1-by-2 {char 1-by-1 rank 1, double 0-by-0}"),
        ([["a"], ["b"]], "cell 1-by-2 {cell 1-by-1 {char 1-by-1 rank 1}, cell 1-by-1 {char"),
        (range(3), "int64 3-by-1 rank 1"),
        (array.array("f", [1]), "single 1-by-1 rank 1"),
        (memoryview(b"ab"), "uint8 2-by-1 rank 1"),
        (Arrays(), "uint8 2-by-1 rank 1"),
        ({"a": range(2), "b": Arrays()}, "struct 1-by-1 {a: int64 2-by-1 rank 1, b: uint8"),
        (b"ab", "char 1-by-2 rank 1"),
        (np.array([1, 2], "i2"), "int16 2-by-1 rank 1"),
    ],
    ids=lambda value: type(value).__name__,
)
def test_data_keep_their_class(value, expected):
    assert data(value).startswith(expected)


def test_user_data_are_never_looked_at():
    looped: list = []
    looped.append(looped)
    for value in (looped, np.longdouble(1), 2**100, "text", [1, 2]):
        described = iterate(1, 0, 0, 0, print, value).split("; ")
        assert described[4:] == ["function_handle 1-by-1", "foreign 1-by-1"]


def test_several_identifiers():
    described = fapl(1, [0] * 7, [zembra.Id(3), 4.0], ["a"], [0] * 7, True).split("; ")
    assert described[2] == "double 1-by-2"


def test_other_counts_of_arguments_go_as_they_are():
    assert create_simple(np.int32(1)) == "int32 1-by-1 rank 0"


def test_pandas_columns():
    pandas = pytest.importorskip("pandas", reason="pandas is not installed")
    column = pandas.Series([3, 4])
    assert dims(column) == "double 2-by-1 rank 1"
    assert data(column) == "int64 2-by-1 rank 1"


def test_sparse_matrices_keep_their_mark():
    sparse = pytest.importorskip("scipy.sparse", reason="scipy is not installed")
    assert dims(sparse.csr_array([[3, 4.0]])) == "double 2-by-1 rank 2 sparse"
    assert dims(sparse.csr_array([[3, 4]])) == "double 2-by-1 rank 2 sparse"
