"""The reference of the gateway's functions, read from reference.txt on demand.

Docstrings, signatures, the type stubs and the table of kinds that the extension module
converts by are made from what stands here; the grammar of the file is explained at its
top.
"""

import functools
import inspect
import re
from collections.abc import Iterable
from pathlib import Path
from typing import NamedTuple

_VALUES = r"[\w|:?, ]*"
_SIGNATURE = re.compile(
    rf"(?P<name>\w+)\((?P<required>{_VALUES})(?:\[,? ?(?P<optional>{_VALUES})\])?\)"
    rf"(?: -> (?P<results>{_VALUES}))?"
)
_RECORD = re.compile(rf"(?P<name>\w+)\{{(?P<fields>{_VALUES})\}}")
_VALUE = re.compile(r"(?P<name>\w+)(?P<optional>\?)?: (?P<kind>[\w| ]+)")


class Value(NamedTuple):
    """An argument, a result, or a field of a record."""

    name: str
    kinds: tuple[str, ...]
    optional: bool = False


class Form(NamedTuple):
    """One argument list of a function."""

    line: str
    name: str
    required: list[Value]
    optional: list[Value]
    results: list[Value]


class Entry(NamedTuple):
    """What the reference says about one function."""

    forms: list[Form]
    text: str


class Reference(NamedTuple):
    """All of it, by name."""

    entries: dict[str, Entry]
    records: dict[str, list[Value]]


def parse(lines: Iterable[str]) -> Reference:
    entries: dict[str, Entry] = {}
    records: dict[str, list[Value]] = {}
    forms: list[Form] = []
    text: list[str] = []

    def finish() -> None:
        if forms:
            body = inspect.cleandoc("\n".join(text))
            entries[forms[0].name] = Entry(list(forms), body)
        forms.clear()
        text.clear()

    for line in map(str.rstrip, lines):
        if line.startswith("#"):
            finish()
        elif record := _RECORD.fullmatch(line):
            records[record["name"]] = _values(record["fields"])
        elif line and not line.startswith(" "):
            if text:
                finish()
            forms.append(_form(line))
        elif forms and (line or text):
            text.append(line)
    finish()
    return Reference(entries, records)


def _form(line: str) -> Form:
    match = _SIGNATURE.fullmatch(line)
    if match is None:
        raise ValueError(f"no signature: {line}")

    required, optional, results = map(_values, match.group("required", "optional", "results"))
    return Form(line, match["name"], required, optional, results)


def _values(text: str | None) -> list[Value]:
    return [_value(part.strip()) for part in (text or "").split(",") if part.strip()]


def _value(text: str) -> Value:
    match = _VALUE.fullmatch(text)
    if match is None:
        raise ValueError(f"no value with a kind: {text}")
    return Value(match["name"], tuple(match["kind"].split("|")), bool(match["optional"]))


@functools.lru_cache(maxsize=None)
def _reference() -> Reference:
    path = Path(__file__).with_name("reference.txt")
    return parse(path.read_text(encoding="utf-8").splitlines())


def entries() -> dict[str, Entry]:
    return _reference().entries


def records() -> dict[str, list[Value]]:
    return _reference().records


def docstring(name: str) -> str | None:
    entry = entries().get(name)
    if entry is None:
        return None
    return "\n".join(form.line for form in entry.forms) + "\n\n" + entry.text


def meaning(entry: Entry, argument: str) -> str:
    """What the text says an argument is: the sentence behind its name and a colon."""
    names = r"\w+(?:,\s\w+)*"
    clause = rf"(?<!\w)(?:\w+,\s)*{argument}(?:,\s\w+)*:\s(.*?)(?=\.\s|\.?\s{names}:\s|\.?$)"
    found = re.search(clause, entry.text, re.DOTALL)
    sentence = " ".join(found[1].split()) if found else ""
    return re.sub(r" \(`[^)]*\)", "", sentence)  # keys stand in the error


def signature(name: str) -> inspect.Signature | None:
    """None where the function takes argument lists that no single signature tells."""
    entry = entries().get(name)
    if entry is None or len(entry.forms) > 1:
        return None
    (form,) = entry.forms
    parameter = inspect.Parameter
    return inspect.Signature(
        [parameter(value.name, parameter.POSITIONAL_ONLY) for value in form.required]
        + [parameter(value.name, parameter.POSITIONAL_ONLY, default=...) for value in form.optional]
        + [parameter("nout", parameter.KEYWORD_ONLY, default=5)]
    )
