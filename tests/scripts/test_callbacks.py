"""Python functions that HDF5 calls: after whatever they do the file can be closed,
deleted and made anew."""

import warnings

import pytest

import zembra
from iterations import BY_NAME, ITERATIONS
from zembra import h5


@pytest.fixture(params=ITERATIONS)
def iteration(request):
    return ITERATIONS[request.param]


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
