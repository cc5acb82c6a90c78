#!/usr/bin/python3
"""Writes the pages of the documents that are made of what the code says of itself.

make_pages.py FOLDER

FOLDER has a copy of docs/, and gets beside it:

The reference of the functions, an interface a page, of python/zembra/reference.txt; constants
and enumerations with their values; the messages, of host/message_keys.def and docs/advice.txt.
"""

import re
import sys
from collections import defaultdict
from collections.abc import Iterable, Iterator
from pathlib import Path
from typing import Any, NamedTuple

from load_reference import load_reference
from make_stubs import given, taken

ROOT = Path(__file__).resolve().parents[1]
# A function's entry in its interface's page begins with "Name: " and its name, to which
# browsers scroll.
MANUAL = "https://support.hdfgroup.org/HDF5/doc1.8/RM/RM_{}.html#:~:text=Name%3A-,{}"
TASKS = ROOT / "docs/tasks.md"
OWN = "H5ZB"  # the interface that HDF5 does not have

TITLES = {
    "H5": "The library",
    "H5A": "Attributes",
    "H5D": "Datasets",
    "H5DS": "Dimension scales",
    "H5E": "The error stack",
    "H5F": "Files",
    "H5G": "Groups",
    "H5I": "Identifiers",
    "H5L": "Links",
    "H5O": "Objects",
    "H5P": "Property lists",
    "H5R": "References",
    "H5S": "Dataspaces and selections",
    "H5T": "Datatypes",
    "H5Z": "Filters",
    "H5ZB": "The gateway's own",
}


def interface_of(function: str) -> str:
    found = re.match(r"H5[A-Z]*(?=[a-z])", function)
    assert found is not None, function
    return found[0]


# --- Functions ----------------------------------------------------------------------------


def uses() -> dict[str, list[Path]]:
    """The examples, pages and tests that a function is called in, the plainest first."""
    places = [
        *sorted((ROOT / "docs").glob("**/*.md")),
        *sorted((ROOT / "examples").glob("*.py")),
        *sorted((ROOT / "tests/scripts").glob("*.py")),
    ]
    found = defaultdict(list)
    for place in places:
        for name in sorted(set(re.findall(r"\bH5\w+(?=\()", place.read_text(encoding="utf-8")))):
            found[name].append(place)
    return found


def function_pages(reference: Any, keys: set[str]) -> Iterator[tuple[str, str]]:
    """Names of pages and their texts."""
    entries, records, used = reference.entries(), reference.records(), uses()
    by_interface = defaultdict(list)
    for name in sorted(entries):
        by_interface[interface_of(name)].append(name)
    for interface, names in by_interface.items():
        title = TITLES[interface]
        text = f"# {interface}: {title[0].lower() + title[1:]}\n\n{len(names)} functions.\n\n"
        text += "".join(
            _function(name, entries[name], records, keys, used.get(name, [])) for name in names
        )
        yield f"reference/{interface}.md", text
    yield "reference/records.md", _records(records)


def _function(name: str, entry: Any, records: Any, keys: set[str], used: list[Path]) -> str:
    text = f"({name})=\n## {name}\n\n```text\n"
    text += "\n".join(_shown(form) for form in entry.forms) + "\n```\n\n"
    text += _prose(entry.text, keys)
    text += _table("takes", [form.required + form.optional for form in entry.forms], taken, records)
    text += _table("gives", [form.results for form in entry.forms], given, records)
    notes = []
    if interface_of(name) != OWN:
        page = MANUAL.format(interface_of(name), name)
        notes.append(f"[{name}]({page}) in HDF5's manual")
    if used:
        notes.append(f"used in {_link(used[0])}")
    return text + (f"{'; '.join(notes)}.\n\n" if notes else "")


def _shown(form: Any) -> str:
    required = ", ".join(value.name for value in form.required)
    optional = ", ".join(value.name for value in form.optional)
    arguments = required + (f"[{', ' if required else ''}{optional}]" if optional else "")
    results = ", ".join(value.name for value in form.results)
    return f"{form.name}({arguments})" + (f" -> {results}" if results else "")


def _prose(text: str, keys: set[str]) -> str:
    """Paragraphs, with messages linked; a line that begins with names and a colon is one of a
    list."""

    def linked(found: re.Match[str]) -> str:
        key = found[1]
        return f"[`{key}`](message-{key.lower()})" if key in keys else found[0]

    names = r"(?:^|(?<=\. ))((?:[a-z]\w*(?:, )?)+): "
    paragraphs = []
    for number, paragraph in enumerate(text.split("\n\n")):
        joined = " ".join(paragraph.split())
        if number:
            joined = re.sub(names, r"\n- *\1*: ", joined)
        joined = _escaped(joined)
        paragraphs.append(re.sub(r"`(\w+)`", linked, joined).strip())
    return "\n\n".join(paragraphs) + "\n\n"


def _escaped(text: str) -> str:
    """Outside of what is code."""
    parts = text.split("`")
    parts[::2] = [re.sub(r"([<>\[\]_|])", r"\\\1", part) for part in parts[::2]]
    return "`".join(parts)


def _table(head: str, forms: Iterable[Any], kind_of: Any, records: Any) -> str:
    """Each name once, whichever argument list has it."""
    values = list({value.name: value for form in forms for value in form}.values())
    if not values:
        return ""
    text = f"| {head} | kind | in Python |\n|---|---|---|\n"
    for value in values:
        kinds = " or ".join(
            f"[{kind}](record-{kind})" if kind in records else kind for kind in value.kinds
        )
        python = kind_of(value).replace("|", "\\|")
        text += f"| `{value.name}` | {kinds} | `{python}` |\n"
    return text + "\n"


def _link(path: Path) -> str:
    """A page of these documents by a link, other files by their place."""
    if path.is_relative_to(ROOT / "docs"):
        if path == TASKS:
            return "[Coming from h5py](../from_h5py.md)"
        place = path.relative_to(ROOT / "docs")
        return f"[{_title(path)}](../{place})"
    return f"`{path.relative_to(ROOT)}`"


def _title(page: Path) -> str:
    return page.read_text(encoding="utf-8").split("\n", 1)[0].removeprefix("# ")


def _records(records: Any) -> str:
    text = "# Records\n\nWhat comes and goes as a `dict`. Fields with a question mark are not in\n"
    text += "every record.\n\n"
    for name, fields in records.items():
        text += f"(record-{name})=\n## {name}\n\n| field | kind |\n|---|---|\n"
        for field in fields:
            kinds = " or ".join(
                f"[{kind}](record-{kind})" if kind in records else kind for kind in field.kinds
            )
            text += f"| `{field.name}`{'?' if field.optional else ''} | {kinds} |\n"
        text += "\n"
    return text


# --- Constants and enumerations -------------------------------------------------------------

_ENUMERATION = re.compile(r"kEnumNames<(\w+)> =\s*enumNames\(\{(.*?)\}\);", re.DOTALL)
_ENUMERATOR = re.compile(r'\{"(\w+)", (-?\d+)\}')


def enumerations() -> dict[str, list[tuple[str, str]]]:
    text = (ROOT / "convert/enumerations.hpp").read_text(encoding="utf-8")
    return {name: _ENUMERATOR.findall(body) for name, body in _ENUMERATION.findall(text)}


def constants_page() -> str:
    from zembra import h5

    names = h5.constants()
    text = f"# Constants\n\nThe {len(names)} constants by topic, with the values that scripts see\n"
    text += "on every release of HDF5. An identifier's value is that of the running process.\n"
    text += '`h5.constants("H5F_ACC")` lists a topic, `h5.H5ZBget_constant_value` gives a value.\n'
    topics = defaultdict(list)
    for name in names:
        topics["_".join(name.split("_")[:2])].append(name)
    small = {topic for topic, found in topics.items() if len(found) == 1}
    grouped: dict[str, list[str]] = defaultdict(list)
    for topic, found in topics.items():
        grouped[topic.partition("_")[0] if topic in small else topic] += found
    for topic, found in sorted(grouped.items()):
        text += f"\n## {topic}\n\n| constant | value |\n|---|---|\n"
        for name in found:
            text += f"| `{name}` | {_value(h5, name)} |\n"
    return text


def _value(h5: Any, name: str) -> str:
    value = h5.H5ZBget_constant_value(name)
    return "an identifier" if h5.H5Iis_valid(value) else f"{value}"


def enumerations_page() -> str:
    found = enumerations()
    text = f"# Enumerations\n\nThe {len(found)} enumerations that arguments are taken from. An\n"
    text += "enumerator is given by its name, or by a number below the count of names.\n"
    for name, members in found.items():
        text += f"\n## {name}\n\n| name | value |\n|---|---|\n"
        text += "".join(f"| `{member}` | {value} |\n" for member, value in members)
    return text


# --- Messages -------------------------------------------------------------------------------

_MESSAGE = re.compile(r'^ZB_MESSAGE\((\w+), (\w+), \((.*?)\),\s*"(.*?)"\)', re.DOTALL)


class Message:
    """One of the catalogue."""

    def __init__(self, component: str, key: str, kinds: str, text: str) -> None:
        self.component = component
        self.key = key
        self.kinds = [kind.strip() for kind in kinds.split(",") if kind.strip()]
        self.text = re.sub(r'"\s*"', "", text)


def messages() -> dict[str, list[Message]]:
    """By the headings of the catalogue."""
    text = (ROOT / "host/message_keys.def").read_text(encoding="utf-8")
    found: dict[str, list[Message]] = {}
    heading = ""
    for part in re.split(r"\n(?=ZB_MESSAGE|// )", text):
        if part.startswith("// "):
            heading = part[3:].strip()
        elif message := _MESSAGE.match(part):
            found.setdefault(heading, []).append(Message(*message.groups()))
    return found


def advice() -> dict[str, str]:
    """What to do about each message, by its key."""
    lines = (ROOT / "docs/advice.txt").read_text(encoding="utf-8").splitlines()
    pairs = (line.partition(": ") for line in lines if line and not line.startswith("#"))
    return {key: text for key, _, text in pairs}


def messages_page() -> str:
    told = advice()
    found = messages()
    count = sum(map(len, found.values()))
    text = f"# Messages\n\nThe {count} messages of the gateway. `zembra.Error` has the key in\n"
    text += "`key`, the whole identifier in `identifier`, and what %1 and %2 stand for in\n"
    text += "`parameters`.\n"
    for heading, group in found.items():
        text += f"\n## {heading}\n"
        for message in group:
            text += f"\n(message-{message.key.lower()})=\n### {message.key}\n\n"
            text += f"> {_escaped(message.text)}\n\n{told[message.key]}\n\n"
            text += f"`Zembra:{message.component}:{message.key}`"
            if message.kinds:
                text += f"; parameters: {', '.join(message.kinds).lower()}"
            text += "\n"
    return text


# --- Tasks side by side -----------------------------------------------------------------------

_TASK = re.compile(r"^## (.*?)\n(.*?)(?=^## |\Z)", re.DOTALL | re.MULTILINE)
_WAY = re.compile(r"^```(?:python )?(zembra|h5py|c)\n(.*?)^```$", re.DOTALL | re.MULTILINE)
_WAYS = {
    "h5py": (
        "h5py",
        "python",
        "h5py has objects with methods, the gateway has HDF5's functions. Both may be used in one"
        " process, on one\nfile: objects of h5py are identifiers here.",
    ),
    "c": (
        "C",
        "c",
        "Names and the order of arguments are the same. Sizes of arrays, pointers to results and"
        " buffers go: results are\nreturned, and failures raise instead of returning a negative"
        " number.",
    ),
}


class Task(NamedTuple):
    """What is to be done, and how, in each of the ways."""

    title: str
    code: dict[str, str]


def tasks() -> list[Task]:
    text = TASKS.read_text(encoding="utf-8")
    return [Task(title, dict(_WAY.findall(body))) for title, body in _TASK.findall(text)]


def tasks_page(way: str) -> str:
    name, language, words = _WAYS[way]
    text = f"# Coming from {name}\n\n{words}\n"
    for task in tasks():
        text += f"\n## {task.title}\n\n::::{{container}} side-by-side\n"
        text += f"```{{code-block}} {language}\n:caption: {name}\n\n{task.code[way]}```\n"
        text += f"```{{code-block}} python\n:caption: zembra\n\n{task.code['zembra']}```\n::::\n"
    return text


# --- Pages that are written by hand -----------------------------------------------------------

_OUTWARD = re.compile(r"\[([^]]*)\]\((?:\.\./)+(?:examples|tests|tools|bench)[^)]*\)")


def without_links_outward(folder: Path) -> None:
    """What is beside the pages in the repository is not on the site."""
    for page in folder.glob("**/*.md"):
        text = page.read_text(encoding="utf-8")
        page.write_text(_OUTWARD.sub(r"\1", text), encoding="utf-8")


def write(folder: Path) -> None:
    without_links_outward(folder)
    reference = load_reference(ROOT / "python/zembra")
    keys = {message.key for group in messages().values() for message in group}
    pages = dict(function_pages(reference, keys))
    pages["reference/constants.md"] = constants_page()
    pages["reference/enumerations.md"] = enumerations_page()
    pages["reference/messages.md"] = messages_page()
    pages["from_h5py.md"], pages["from_c.md"] = tasks_page("h5py"), tasks_page("c")
    for name, text in pages.items():
        (folder / name).parent.mkdir(parents=True, exist_ok=True)
        (folder / name).write_text(text, encoding="utf-8")


if __name__ == "__main__":
    write(Path(sys.argv[1]))
