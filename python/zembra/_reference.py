"""The reference of the gateway's functions, read from reference.txt on demand.

Docstrings, signatures and the type stubs are made from what stands here; the
grammar of the file is explained at its top.
"""

import functools
import inspect
import re
from collections.abc import Iterable
from pathlib import Path
from typing import NamedTuple

_SIGNATURE = re.compile(
    r"(?P<name>\w+)\((?P<required>[\w, ]*)(?:\[,? ?(?P<optional>[\w, ]+)\])?\)"
    r"(?: -> (?P<results>[\w, ]+))?"
)


class Form(NamedTuple):
    """One argument list of a function."""

    line: str
    name: str
    required: list[str]
    optional: list[str]
    results: list[str]


class Entry(NamedTuple):
    """What the reference says about one function."""

    forms: list[Form]
    text: str


def parse(lines: Iterable[str]) -> dict[str, Entry]:
    entries: dict[str, Entry] = {}
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
        elif line and not line.startswith(" "):
            if text:
                finish()
            forms.append(_form(line))
        elif forms and (line or text):
            text.append(line)
    finish()
    return entries


def _form(line: str) -> Form:
    match = _SIGNATURE.fullmatch(line)
    if match is None:
        raise ValueError(f"no signature: {line}")

    required, optional, results = map(_names, match.group("required", "optional", "results"))
    return Form(line, match["name"], required, optional, results)


def _names(text: str | None) -> list[str]:
    return [name.strip() for name in (text or "").split(",") if name.strip()]


@functools.lru_cache(maxsize=None)
def entries() -> dict[str, Entry]:
    path = Path(__file__).with_name("reference.txt")
    return parse(path.read_text(encoding="utf-8").splitlines())


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
        [parameter(name, parameter.POSITIONAL_ONLY) for name in form.required]
        + [parameter(name, parameter.POSITIONAL_ONLY, default=...) for name in form.optional]
        + [parameter("nout", parameter.KEYWORD_ONLY, default=5)]
    )
