"""What a failed call has to say beside its text, as notes on the exception: the call as it
was made, the argument that was refused, and what would have been right.

Nothing here runs unless a call has failed, and HDF5's error stack stays as the failure
left it.
"""

import difflib
import errno
import functools
import os
import reprlib
from collections.abc import Callable, Iterator, Sequence
from typing import Any

import numpy as np

from . import _reference
from ._errors import Error, system_failure
from ._id import Id, kind_of
from ._zembra import ask

Arguments = Sequence[Any]


def add(error: BaseException, function: str, arguments: Arguments, refused: int) -> None:
    """Adds the notes of a failed call; `refused` counts arguments from 1, 0 is none."""
    if isinstance(error, OSError) and error.filename is None and function.startswith("H5F"):
        error.filename = arguments[0]  # HDF5's records do not always name the file
    for tell in Call(error, function, arguments, refused).tellers():
        try:
            for note in tell():
                error.add_note(note)
        except Exception:  # whatever an argument is or does, the failure itself is told
            continue


def unknown_attribute(name: str) -> AttributeError:
    """What to raise where zembra.h5 has no such name."""
    text = f"zembra.h5 has no function {name!r}"
    if name[:2] in ("H5", "h5"):
        if name in _constants():
            text += f"; constants are written as text: {name!r}"
        elif advice := _instead_of_function(name, "h5."):
            text += f"; {advice}"
    return AttributeError(text, name=name)


# --- Values in Python's words -----------------------------------------------------------

_short = reprlib.Repr()
_short.maxstring = _short.maxother = 60


def _in_short(value: Any) -> str:
    """Scalars of NumPy as the numbers that they are, which NumPy 2 does not show them as."""
    return _short.repr(value.item() if isinstance(value, np.generic) else value)


_PLAIN = (str, bytes, bool, int, float, complex)
_FEW = 6


def described(value: Any) -> str:
    """ "the int 3", "a list of 2 lists", "an array of float64 of shape (3, 4)"."""
    if value is None:
        return "None"
    if isinstance(value, Id):
        return f"the Id {value.identifier:.15g}"
    if _is_short(value):
        return f"the {_type_name(value)} {_in_short(value)}"
    return _with_article(_container(value))


def _is_short(value: Any) -> bool:
    """Whether a value says more than what it is made of."""
    if isinstance(value, (list, tuple)):
        return 0 < len(value) <= _FEW and all(isinstance(item, _PLAIN) for item in value)
    return isinstance(value, (*_PLAIN, np.generic, os.PathLike))


def _container(value: Any) -> str:
    name = _type_name(value)
    if isinstance(value, (list, tuple)):
        return f"{name} of {_counted(value)}" if value else f"empty {name}"
    if isinstance(value, dict):
        return f"dict with the keys {_short.repr(list(value))[1:-1]}" if value else "empty dict"
    if isinstance(value, np.ndarray):
        return f"array of {value.dtype} of shape {value.shape}"
    if callable(value) and hasattr(value, "__name__"):
        return f"function {value.__name__.strip('<>')}"
    return name


def _counted(items: Sequence[Any]) -> str:
    """ "2 lists", "3 items (int, str)"."""
    names = list(dict.fromkeys(_type_name(item) for item in items[:1000]))
    if len(names) > 1:
        return f"{len(items)} items ({', '.join(names[:4])}{', ...' * (len(names) > 4)})"
    return f"{len(items)} {names[0]}{'s' * (len(items) > 1)}"


def _type_name(value: Any) -> str:
    kind = type(value)
    return kind.__name__ if kind.__module__ == "builtins" else f"{kind.__module__}.{kind.__name__}"


def _with_article(words: str) -> str:
    return f"{'an' if words[0].lower() in 'aeiou' else 'a'} {words}"


# --- Names -------------------------------------------------------------------------------


@functools.lru_cache(maxsize=None)
def _functions() -> tuple[str, ...]:
    return tuple(ask("H5ZBget_function_names"))


@functools.lru_cache(maxsize=None)
def _constants() -> tuple[str, ...]:
    return tuple(ask("H5ZBget_constant_names"))


@functools.lru_cache(maxsize=64)
def nearest(name: str, names: tuple[str, ...]) -> list[str]:
    """Those that somebody who wrote `name` may have meant; the case does not count."""
    by_capitals = {known.upper(): known for known in names}
    wanted = name.upper()
    if wanted in by_capitals:
        return [by_capitals[wanted]]
    matcher = difflib.SequenceMatcher(b=wanted)
    scores: dict[str, float] = {}
    for found in difflib.get_close_matches(wanted, by_capitals, n=3, cutoff=0.8):
        matcher.set_seq1(found)
        scores[found] = matcher.ratio()
    return [by_capitals[found] for found in scores if scores[found] > max(scores.values()) - 0.05]


def _either(words: Sequence[str]) -> str:
    return " or ".join(filter(None, (", ".join(words[:-1]), words[-1])))


def _instead_of_function(name: str, prefix: str = "") -> str:
    functions = _functions()
    base = name.rstrip("0123456789")
    if base != name and base in functions:
        several = len(_argument_counts(base)) > 1
        choice = ": the number of arguments says which version is called" if several else ""
        return f"write {prefix}{base}{choice}"
    found = nearest(name, functions)
    return f"did you mean {_either([prefix + known for known in found])}?" if found else ""


def _instead_of_constant(name: str) -> str:
    constants = _constants()
    if name in constants:
        return f"{name!r} is a constant, but none that may stand here"
    found = nearest(name, constants)
    return f"did you mean {_either([repr(known) for known in found])}?" if found else ""


#: Which keys have a name that is not known as their first parameter.
_UNKNOWN_NAMES: dict[str, Callable[[str], str]] = {
    "invalidOperation": _instead_of_function,
    "constantNotFound": _instead_of_constant,
    "unmatchedString": _instead_of_constant,
    "unmatchedStringNoParam": _instead_of_constant,
    "unmatchedHidtString": _instead_of_constant,
    "badH5FobjectString": _instead_of_constant,
    "sizeStringUnrecognized": _instead_of_constant,
    "badBytesReservedArgument": _instead_of_constant,
}
#: Those that leave the name to the argument.
_UNTOLD_NAMES = (
    "memSpaceIdStringMatchFailure",
    "noStringMatchForSpaceId",
    "badDestinationName",
    "badCopyOptionsString",
)


# --- Forms -------------------------------------------------------------------------------


def _counts(form: _reference.Form) -> range:
    return range(len(form.required), len(form.required) + len(form.optional) + 1)


def _argument_counts(function: str) -> list[int]:
    entry = _reference.entries().get(function)
    return sorted({count for form in entry.forms for count in _counts(form)}) if entry else []


@functools.lru_cache(maxsize=None)
def _arguments_of(function: str, count: int) -> list[tuple[_reference.Value, str]]:
    """So many arguments and what they mean, by the form that takes so many or comes closest."""
    entry = _reference.entries().get(function)
    if entry is None:
        return []
    form = min(entry.forms, key=lambda one: min(abs(taken - count) for taken in _counts(one)))
    taken = (form.required + form.optional)[:count]
    return [(value, _reference.meaning(entry, value.name)) for value in taken]


def _extent_of(space: Any) -> list[int]:
    return [int(size) for size in np.atleast_1d(ask("H5Sget_simple_extent_dims", space)[1])]


def _as_shape(sizes: Sequence[int]) -> str:
    return " x ".join(map(str, sizes)) or "one element"


# --- The call ------------------------------------------------------------------------------


class Call:
    """One failed call."""

    def __init__(
        self, error: BaseException, function: str, arguments: Arguments, refused: int
    ) -> None:
        self.error = error
        self.key = error.key if isinstance(error, Error) else ""
        self.stack = error.stack if isinstance(error, Error) else []
        self.function = function
        self.arguments = arguments
        taken = _arguments_of(function, len(arguments))
        self.names = [value.name for value, _ in taken]
        self.kinds = [value.kinds for value, _ in taken]
        self.meanings = [meaning for _, meaning in taken]
        self.refused = refused or self._refused_by_host() or self._not_callable()

    def tellers(self) -> Sequence[Callable[[], Iterator[str]]]:
        """What makes the notes, in their order."""
        return (
            self._as_it_was_made,
            self._right_count,
            self._refused_argument,
            self._right_name,
            self._memory_space,
            self._open_already,
            self._locked,
        )

    # What was called

    def _as_it_was_made(self) -> Iterator[str]:
        count = len(self.arguments)
        shown = ", ".join(self._shown(index) for index in range(count))
        yield f"called: {self.function}({shown}), {count} argument{'s' * (count != 1)}"

    def _shown(self, index: int) -> str:
        value = self.arguments[index]
        if self._is_identifier(index):
            text = f"{float(value):.15g} ({kind_of(value) or 'not open'})"
        elif value is None or _is_short(value):
            text = _in_short(value)
        elif isinstance(value, Id):
            text = f"Id({value.identifier:.15g})"
        else:
            text = f"<{_container(value)}>"
        return f"{self.names[index]}={text}" if index < len(self.names) else text

    def _is_identifier(self, index: int) -> bool:
        """Whether the argument is one by the reference, and not given as text."""
        value = self.arguments[index]
        if isinstance(value, bool) or not isinstance(value, (int, float, Id)):
            return False
        kinds = self.kinds[index] if index < len(self.kinds) else ()
        return not {"identifier", "memory datatype"}.isdisjoint(kinds)

    def _meaning(self, index: int) -> str:
        """What the reference says that the argument is."""
        return self.meanings[index] if index < len(self.meanings) else ""

    # What was wrong

    def _right_count(self) -> Iterator[str]:
        entry = _reference.entries().get(self.function)
        if self.key != "wrongNumberOfInputs" or entry is None:
            return
        counts = _either([str(count) for count in _argument_counts(self.function)])
        given = len(self.arguments)
        lines = "".join(f"\n    {form.line}" for form in entry.forms)
        yield f"{self.function} takes {counts} argument{'s' * (counts != '1')}, not {given}:{lines}"

    def _refused_argument(self) -> Iterator[str]:
        if self.refused:
            index = self.refused - 1
            name = f" ({self.names[index]})" if index < len(self.names) else ""
            right = f"; it takes: {meaning}" if (meaning := self._meaning(index)) else ""
            yield f"argument {self.refused}{name} is {described(self.arguments[index])}{right}"

    def _refused_by_host(self) -> int:
        """Data are refused with the path to what is wrong in them, not by position."""
        if not isinstance(self.error, Error):
            return 0
        if not self.error.identifier.startswith("Zembra:host:") or "data" not in self.names:
            return 0
        return self.names.index("data") + 1

    def _not_callable(self) -> int:
        """What a callback is, is found out when it is to be called."""
        if not self.key or "function" not in self.names:
            return 0
        position = self.names.index("function")
        return 0 if callable(self.arguments[position]) else position + 1

    def _right_name(self) -> Iterator[str]:
        name: Any = None
        instead: Callable[[str], str] = _instead_of_constant
        if self.key in _UNKNOWN_NAMES and isinstance(self.error, Error):
            name, instead = self.error.parameters[0], _UNKNOWN_NAMES[self.key]
        elif self.key in _UNTOLD_NAMES and self.refused:
            name = self.arguments[self.refused - 1]
        if isinstance(name, str) and (advice := instead(name)):
            yield advice

    # What to do

    def _memory_space(self) -> Iterator[str]:
        """H5S_ALL in memory stands for all of the file space, selected or not."""
        if self.function not in ("H5Dread", "H5Dwrite") or len(self.arguments) < 5:
            return
        too_large = self.key in ("tooLarge", "outOfMemory") or isinstance(self.error, MemoryError)
        if not (too_large or self.key == "sizeMismatch") or self.arguments[2] != "H5S_ALL":
            return
        dataset, file_space = self.arguments[0], self.arguments[3]
        if isinstance(file_space, str):
            space = Id(ask("H5Dget_space", dataset))
            try:
                extent = _as_shape(_extent_of(space))
            finally:
                ask("H5Sclose", space)
            advice = (
                "; for a part, pass a file space that selects it and a memory space of its size"
            )
            yield f"'H5S_ALL' stands for the whole dataset, {extent}{advice if too_large else ''}"
            return
        extent = _as_shape(_extent_of(file_space))
        selected = _selected_block(file_space)
        yield (
            f"the memory space 'H5S_ALL' stands for the whole extent of the file space, {extent},"
            f" of which {_as_shape(selected)} are selected; for an array of that size, pass"
            f" h5.H5Screate_simple({len(selected)}, {selected}, []) as memory space"
        )

    def _open_already(self) -> Iterator[str]:
        """HDF5 opens a file once: who opens it again must want the same of it."""
        if self.function not in ("H5Fopen", "H5Fcreate") or not self.stack:
            return
        name = self.arguments[0]
        for identifier in _open_in(name):
            found = f"{name!r} is open in this process already, by the identifier {identifier}"
            kind = kind_of(identifier)
            yield f"{found} ({kind})" if kind else found

    def _locked(self) -> Iterator[str]:
        locking = any("unable to lock" in record.description.lower() for record in self.stack)
        number, _ = system_failure(self.stack) or (0, None)
        if locking and number in (errno.EAGAIN, errno.EACCES):
            yield "another process has the file open and holds a lock on it"


def _selected_block(space: Any) -> list[int]:
    """The sizes of the block that is selected; of other selections, the number of elements."""
    points = int(ask("H5Sget_select_npoints", space))
    if points < 1:
        return [0]
    start, end = ask("H5Sget_select_bounds", space)
    block = [int(size) for size in np.atleast_1d(end) - np.atleast_1d(start) + 1]
    return block if int(np.prod(block)) == points else [points]


def _open_in(name: Any) -> list[int]:
    """The identifiers that keep the file open: files, or else what is open in them."""
    everywhere = ask("H5ZBget_constant_value", "H5F_OBJ_ALL")
    for kinds in ("H5F_OBJ_FILE", "H5F_OBJ_ALL"):
        count = int(ask("H5Fget_obj_count", everywhere, kinds))
        if count < 1:
            continue
        identifiers = np.atleast_1d(ask("H5Fget_obj_ids", everywhere, kinds, count)[1])
        if found := [int(one) for one in identifiers if _same_file(ask("H5Fget_name", one), name)]:
            return found[:3]
    return []


def _same_file(one: Any, other: Any) -> bool:
    try:
        return os.path.samefile(one, other)
    except (OSError, TypeError, ValueError):
        return bool(one == other)
