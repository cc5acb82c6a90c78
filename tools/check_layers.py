#!/usr/bin/python3
"""Checks that the C++ files stand in the house as tools/layers.txt says.

    check_layers.py          in the folder that the names in the list start from

Looked at are the C++ files that git knows. A folder includes only what it is allowed
to, no files include one another in a circle, a quoted include names one of our files,
and files in different folders have different names. Files of one name in one folder,
foo.hpp and foo.cpp, are one unit. Prints a line a finding, and fails if there is any.
"""

import re
import subprocess
import sys
from collections import defaultdict
from collections.abc import Iterator, Mapping
from dataclasses import dataclass, field
from graphlib import CycleError, TopologicalSorter
from pathlib import Path, PurePosixPath
from typing import NamedTuple

LIST = "tools/layers.txt"
SOURCES = ("*.cpp", "*.hpp", "*.def")

_INCLUDE = re.compile(r'\s*#\s*include\s*(?P<quote>["<])(?P<name>[^">]+)[">]')


@dataclass
class Layers:
    """What the list says."""

    allowed: dict[str, list[str]] = field(default_factory=dict)  # folders by folder
    same: list[list[str]] = field(default_factory=list)  # units that may share a name
    findings: list[str] = field(default_factory=list)  # what is wrong with the list itself


def read_layers(text: str) -> Layers:
    layers = Layers()
    for number, line in enumerate(text.splitlines(), 1):
        line = line.partition("#")[0].strip()
        name, colon, rest = line.partition(":")
        if not line:
            continue
        if not colon or name in layers.allowed:
            why = "said twice" if colon else "not 'FOLDER: FOLDERS'"
            layers.findings.append(f"{LIST}:{number}: {line}: {why}")
        elif name == "same":
            layers.same.append(rest.split())
        else:
            layers.allowed[name] = rest.split()
    for folders in layers.allowed.values():
        layers.findings += [
            f"{LIST}: {folder} is allowed to be included and has no line of its own"
            for folder in folders
            if folder not in layers.allowed
        ]
    layers.findings += [
        f"{LIST}: the arrows lead in a circle: {' -> '.join(circle)}"
        for circle in circles(layers.allowed)
    ]
    return layers


def circles(graph: Mapping[str, list[str]]) -> Iterator[list[str]]:
    """Circles, each from a node back to it; each is broken before the next is looked for."""
    arrows = {node: list(others) for node, others in graph.items()}
    while True:
        try:
            TopologicalSorter(arrows).prepare()
            return
        except CycleError as error:
            nodes = error.args[1][:0:-1]  # the sorter walks against the arrows
            first = nodes.index(min(nodes))
            circle = [*nodes[first:], *nodes[: first + 1]]
            arrows[circle[0]].remove(circle[1])
            yield circle


class Include(NamedTuple):
    """An include of one of our files."""

    where: str  # file:line
    source: str
    target: str

    def refused(self, why: str) -> str:
        return f'{self.where}: includes "{self.target}": {why}'


def folder_of(path: str) -> str:
    return str(PurePosixPath(path).parent)


def unit_of(path: str) -> str:
    return str(PurePosixPath(path).with_suffix(""))


def check(files: Mapping[str, str], layers: Layers) -> list[str]:
    """The findings in files of these names and texts."""
    includes, findings = read_includes(files)
    kept = []
    for include in includes:
        if why := refusal(folder_of(include.source), folder_of(include.target), layers):
            findings.append(include.refused(why))
        else:
            kept.append(include)
    findings += check_circles(kept)
    findings += check_folders(files, layers)
    findings += check_names(files, layers)
    return layers.findings + findings


def read_includes(files: Mapping[str, str]) -> tuple[list[Include], list[str]]:
    """Every include of a file of ours, and a finding for each that is of nobody's."""
    includes, findings = [], []
    for source, text in files.items():
        for number, line in enumerate(text.splitlines(), 1):
            match = _INCLUDE.match(line)
            if match is None:
                continue
            beside = str(PurePosixPath(source).parent / match["name"])
            include = Include(f"{source}:{number}", source, match["name"])
            if match["name"] in files:
                includes.append(include)
            elif match["quote"] == '"' and beside in files:
                includes.append(include._replace(target=beside))
            elif match["quote"] == '"':
                findings.append(include.refused("there is no such file"))
    return includes, findings


def refusal(source: str, target: str, layers: Layers) -> str | None:
    """Why a folder may not include from another; None where it may."""
    allowed = layers.allowed.get(source)
    if allowed is None or source == target or target in allowed:
        return None  # a folder that is not in the list is reported once
    return f"{source}/ may include from " + (" ".join(allowed) or "no other folder")


def check_circles(includes: list[Include]) -> list[str]:
    graph: dict[str, list[str]] = defaultdict(list)
    where: dict[tuple[str, str], Include] = {}
    for include in includes:
        source, target = unit_of(include.source), unit_of(include.target)
        if source != target and (source, target) not in where:
            graph[source].append(target)
            where[source, target] = include
    return [
        where[circle[0], circle[1]].refused(f"a circle: {' -> '.join(circle)}")
        for circle in circles(graph)
    ]


def check_folders(files: Mapping[str, str], layers: Layers) -> list[str]:
    first = {folder_of(path): path for path in sorted(files, reverse=True)}
    return [
        f"{path}:1: {folder}/ is not in {LIST}"
        for folder, path in sorted(first.items())
        if folder not in layers.allowed
    ]


def check_names(files: Mapping[str, str], layers: Layers) -> list[str]:
    units = {unit_of(path): path for path in sorted(files)}
    named: dict[str, list[str]] = defaultdict(list)
    for unit in units:
        named[PurePosixPath(unit).name].append(unit)
    findings = []
    for namesakes in named.values():
        for position, unit in enumerate(namesakes):
            friends = [same for same in layers.same if unit in same]
            others = [
                other
                for other in namesakes[:position]
                if not any(other in same for same in friends)
            ]
            if others:
                findings.append(f"{units[unit]}:1: has the name of {' and '.join(others)}")
    findings += [
        f"{LIST}: same: there is no {unit}"
        for same in layers.same
        for unit in same
        if unit not in units
    ]
    return findings


def main() -> None:
    listed = subprocess.run(
        ["git", "ls-files", "-z", *SOURCES], check=True, capture_output=True, text=True
    )
    names = listed.stdout.split("\0")[:-1]
    files = {name: Path(name).read_text(encoding="utf-8") for name in names}
    findings = check(files, read_layers(Path(LIST).read_text(encoding="utf-8")))
    print("".join(finding + "\n" for finding in findings), end="")
    sys.exit(bool(findings))


if __name__ == "__main__":
    main()
