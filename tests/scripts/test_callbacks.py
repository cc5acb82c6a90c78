"""Python functions that HDF5 calls: after whatever they do the file can be closed,
deleted and made anew."""

import os
import warnings

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


@pytest.fixture(params=ITERATIONS)
def iteration(request):
    return ITERATIONS[request.param]


@pytest.fixture
def world(path):
    """Afterwards the file is made anew under its name, and deleted."""
    world = World(path)
    with warnings.catch_warnings():
        warnings.simplefilter("ignore", zembra.GatewayWarning)
        yield world
    world.close()
    h5.H5Fclose(h5.H5Fcreate(path, "H5F_ACC_TRUNC", DEFAULT, DEFAULT))
    os.remove(path)
    h5.H5Fclose(h5.H5Fcreate(path, "H5F_ACC_EXCL", DEFAULT, DEFAULT))


def raising(exception, at=1):
    """A function that raises at its n-th call, and goes on before that."""
    calls = []

    def function(*inputs):
        calls.append(inputs)
        if len(calls) == at:
            raise exception
        return 0 if len(inputs) == 2 else (0, inputs[-1])

    return function


@pytest.mark.parametrize("at", [1, 3])
def test_what_a_function_raises_is_the_cause(world, iteration, at):
    run, key = iteration
    exception = ValueError("not this one")
    with pytest.raises(zembra.Error) as caught:
        run(world, raising(exception, at), "data")
    assert caught.value.key == key
    assert caught.value.__cause__ is exception


def test_a_lambda_that_fails_is_the_cause(world, iteration):
    run, key = iteration
    with pytest.raises(zembra.Error) as caught:
        run(world, lambda *inputs: 1 / 0, None)
    assert caught.value.key == key
    assert isinstance(caught.value.__cause__, ZeroDivisionError)


def test_a_function_that_answers_nonsense_does_no_harm(world, iteration):
    run, key = iteration
    for nonsense in ("text", None, {}, [], object(), float("nan"), "text\0", (1, 2, 3)):
        try:
            run(world, lambda *inputs, answer=nonsense: answer, None)
        except zembra.Error:
            pass  # each of them fails by its own rule, or stops


@pytest.mark.parametrize("inside", ITERATIONS)
def test_what_fails_inside_can_be_recovered_from(world, iteration, inside):
    run, _ = iteration
    run_inside, key = ITERATIONS[inside]
    calls: list[tuple] = []

    def outer(*inputs):
        exception = KeyError(len(calls))
        with pytest.raises(zembra.Error) as caught:
            run_inside(world, raising(exception, 2), "inner")
        assert caught.value.key == key and caught.value.__cause__ is exception
        calls.append(inputs)
        status = 1 if len(calls) == 3 else 0
        return status if len(inputs) == 2 else (status, inputs[-1])

    run(world, outer, "outer")
    assert len(calls) == 3


@pytest.mark.parametrize("inside", ITERATIONS)
def test_what_fails_inside_is_the_cause_outside(world, iteration, inside):
    run, key = iteration
    run_inside, key_inside = ITERATIONS[inside]
    exception = RuntimeError("innermost")
    with pytest.raises(zembra.Error) as caught:
        run(world, lambda *inputs: run_inside(world, raising(exception), None), None)
    assert caught.value.key == key
    inner = caught.value.__cause__
    assert isinstance(inner, zembra.Error) and inner.key == key_inside
    assert inner.__cause__ is exception


def test_a_cause_is_not_that_of_the_next_error(world, iteration):
    run, _ = iteration
    with pytest.raises(zembra.Error):
        run(world, raising(ValueError()), None)
    with pytest.raises(zembra.LibraryError) as caught:
        h5.H5Gopen(world.file, "nowhere")
    assert caught.value.__cause__ is None


def test_attributes_warn_and_fail(world):
    with pytest.warns(zembra.GatewayWarning, match="not this one") as issued:
        with pytest.raises(zembra.LibraryError) as caught:
            h5.H5Aiterate(world.group, *BY_NAME, 0, raising(ValueError("not this one")), [])
    (warning,) = [one.message for one in issued]
    assert isinstance(warning, zembra.GatewayWarning)
    assert warning.identifier == "Zembra:h5gate:H5Aiterator2_Callback_failure"
    assert isinstance(caught.value.__cause__, ValueError)


def test_warnings_that_are_errors_end_the_iteration(world):
    with warnings.catch_warnings():
        warnings.simplefilter("error", zembra.GatewayWarning)
        with pytest.raises(zembra.GatewayWarning):
            h5.H5Aiterate(world.group, *BY_NAME, 0, raising(ValueError("not this one")), [])
    with pytest.raises(zembra.LibraryError) as caught:
        h5.H5Gopen(world.file, "nowhere")
    assert caught.value.__cause__ is None
