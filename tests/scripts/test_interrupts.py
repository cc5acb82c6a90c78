"""What is no error - an interrupt, an exit - ends a call as itself."""

import os
import signal
import sys
import threading

import numpy as np
import pytest

import zembra
from iterations import ITERATIONS
from zembra import h5


@pytest.fixture(autouse=True)
def interruptible():
    """As at a prompt: a shell's background jobs are started with the signal ignored."""
    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, before)


@pytest.fixture(params=ITERATIONS)
def run(request):
    return ITERATIONS[request.param][0]


class Calls:
    """A host function that counts its calls and does something in each."""

    def __init__(self, action):
        self.action = action
        self.count = 0

    def __call__(self, *inputs):
        self.count += 1
        self.action()
        return 0 if len(inputs) == 2 else (0, inputs[-1])


def test_control_c_in_a_callback(world, run):
    calls = Calls(lambda: os.kill(os.getpid(), signal.SIGINT))
    with pytest.raises(KeyboardInterrupt):
        run(world, calls, None)
    assert calls.count == 1


@pytest.mark.parametrize("kind", [KeyboardInterrupt, SystemExit, GeneratorExit])
def test_what_is_no_error_comes_out_as_itself(world, run, kind):
    exception = kind("enough")

    def raise_it():
        raise exception

    with pytest.raises(kind) as caught:
        run(world, Calls(raise_it), None)
    assert caught.value is exception


def test_an_exit_inside_of_a_callback_inside_of_a_callback(world, run):
    def leave():
        run(world, Calls(sys.exit), None)

    with pytest.raises(SystemExit):
        run(world, Calls(leave), None)


def test_an_interrupt_that_was_caught_is_over(world, run):
    def catch():
        with pytest.raises(KeyboardInterrupt):
            run(world, Calls(lambda: os.kill(os.getpid(), signal.SIGINT)), None)

    calls = Calls(catch)
    run(world, calls, None)
    assert calls.count > 1


def test_control_c_during_a_call_acts_when_hdf5_returns(path):
    """The call itself is whole: what it should do is done."""
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
    space = h5.H5Screate_simple(1, [4_000_000], [])
    chunked = h5.H5Pcreate("H5P_DATASET_CREATE")
    h5.H5Pset_chunk(chunked, [100_000])
    h5.H5Pset_deflate(chunked, 9)
    dataset = h5.H5Dcreate(file, "d", "H5T_STD_I32LE", space, chunked)
    values = np.arange(4_000_000)
    interrupt = threading.Timer(0.05, os.kill, (os.getpid(), signal.SIGINT))
    interrupt.start()
    with pytest.raises(KeyboardInterrupt):
        for _ in range(1000):
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", values)
    interrupt.join()
    for close, identifier in (
        (h5.H5Dclose, dataset),
        (h5.H5Pclose, chunked),
        (h5.H5Sclose, space),
        (h5.H5Fclose, file),
    ):
        close(identifier)


def test_the_library_cannot_be_closed_by_a_callback(world, run):
    failures = []

    def close():
        with pytest.raises(zembra.LibraryError) as caught:
            h5.H5close()
        failures.append(caught.value)

    run(world, Calls(close), None)
    assert failures
    for failure in failures:
        assert failure.stack[0].description == "the library is in use: a callback is running"
    h5.H5Fget_name(world.file)
