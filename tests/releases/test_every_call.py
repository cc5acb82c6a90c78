"""Every function, called with whatever it may be called with: no call kills the process
or leaves anything open by failing, and what becomes of it is what HDF5 1.10.8 makes of
it, but for what docs/releases.md says of the release underneath."""

import os
import re
import subprocess
import sys
from pathlib import Path

import pytest

import differences
from zembra import call, h5

HERE = Path(__file__).resolve().parent
RECORD = HERE / f"calls-{differences.RECORDED}.txt"
# What the record leaves out, because it is what becomes of half of all calls.
USUAL = "raises libraryError"

# Functions of which no call succeeds, and why.
NEVER_SUCCEED = {
    "H5Pget_dxpl_multi": "later releases than 1.8 have none",
    "H5Pset_dxpl_multi": "later releases than 1.8 have none",
}

RELEASE = ".".join(str(int(number)) for number in call("H5get_libversion"))


def _split(lines):
    """What became of each call. Texts may have words in them that separate the two."""
    outcomes = {}
    for line in lines:
        words, separator, outcome = re.split(r"(?<=\)) (=|raises|is killed) ", line, maxsplit=1)
        outcomes[words] = f"{separator} {outcome}"
    return outcomes


@pytest.fixture(scope="module")
def calls():
    path = os.pathsep.join([str(HERE.parent / "scripts"), *filter(None, sys.path)])
    done = subprocess.run(
        [sys.executable, HERE / "every_call.py"],
        env={**os.environ, "PYTHONPATH": path},
        capture_output=True,
        text=True,
        check=False,
    )
    assert done.returncode == 0, done.stderr
    assert not done.stderr
    return _split(done.stdout.splitlines())


@pytest.fixture(scope="module")
def recorded():
    return _split(RECORD.read_text(encoding="utf-8").splitlines())


@pytest.fixture(scope="module")
def unlike(calls, recorded):
    """The lines that are not those of the record."""
    if RELEASE not in differences.RELEASES:
        pytest.skip(f"nobody has looked at what HDF5 {RELEASE} does differently")
    return [
        f"{words} {outcome}"
        for words, outcome in calls.items()
        if outcome != recorded.get(words, USUAL)
    ]


def test_no_call_kills_the_process(calls):
    assert not [f"{words} {outcome}" for words, outcome in calls.items() if "killed by" in outcome]


def test_no_failed_call_leaves_anything_open(calls):
    left = " and leaves open "
    assert not [f"{words} {outcome}" for words, outcome in calls.items() if left in outcome]


def test_every_function_succeeds(calls):
    succeeded = {
        words.partition("(")[0] for words, outcome in calls.items() if outcome.startswith("=")
    }
    failed = set(dir(h5)) - succeeded
    assert {name for name in failed if name.startswith("H5")} <= set(NEVER_SUCCEED)


def test_what_is_recorded_is_called(calls, recorded):
    assert not set(recorded) - set(calls)
    assert USUAL not in recorded.values()


def test_outcomes_are_as_recorded_or_as_documented(unlike):
    known = [entry for entry in differences.read() if entry.concerns(RELEASE)]
    assert not [line for line in unlike if not any(entry.accounts_for(line) for entry in known)]


def test_what_is_documented_is_so(unlike):
    """A difference that there is no more has to go."""
    gone = [
        (entry.call, pattern)
        for entry in differences.read()
        if entry.concerns(RELEASE)
        for pattern in entry.matches
        if not any(re.match(pattern, line) for line in unlike)
    ]
    assert not gone


def test_the_document_has_them_all():
    text = differences.DOCUMENT.read_text(encoding="utf-8")
    assert differences.in_document(text) == text, "run tests/releases/differences.py"


def test_what_is_documented_is_tested():
    untested = [entry.call for entry in differences.read() if not (entry.matches or entry.test)]
    assert not untested
