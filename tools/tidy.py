#!/usr/bin/python3
"""Runs clang-tidy on every C++ source that git knows.

    tidy.py BUILD_FOLDER

The compilation database in the build folder says how a source is compiled; one that is
not in it is a finding. What clang-tidy says of a source is kept in BUILD_FOLDER/tidy,
and used again until anything has changed that it depends on. Sources that CMake
compiles as one are looked at as one.

clang-tidy is shown every file with its NOLINTs blanked, and what they cover is taken
from its findings afterwards: so a NOLINT that covers nothing is a finding as well.
"""

import fnmatch
import functools
import hashlib
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile
from collections.abc import Iterator
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import NamedTuple

_HEADLINE = re.compile(
    r"^(?P<file>/[^:\n]+):(?P<line>\d+):\d+: (?:error|warning): .*\[(?P<checks>[^]]+)\]$",
    re.MULTILINE,
)
_NOLINT = re.compile(r"NOLINT(?P<kind>NEXTLINE|BEGIN|END|)(?:\((?P<checks>[^)]*)\))?")


class Finding(NamedTuple):
    """What clang-tidy says about a line, with the lines that explain it."""

    file: str
    line: int
    checks: list[str]
    text: str


class Nolint(NamedTuple):
    """A comment that keeps one check, or "*" for all, from some lines."""

    where: str  # file:line
    file: str
    lines: range
    check: str

    def covers(self, finding: Finding) -> bool:
        return (
            finding.file == self.file
            and finding.line in self.lines
            and any(fnmatch.fnmatchcase(check, self.check) for check in finding.checks)
        )


def read_findings(output: str) -> Iterator[Finding]:
    heads = list(_HEADLINE.finditer(output))
    ends = [head.start() for head in heads[1:]] + [len(output)]
    for head, end in zip(heads, ends):
        checks = [check for check in head["checks"].split(",") if check[0] != "-"]
        yield Finding(head["file"], int(head["line"]), checks, output[head.start() : end].rstrip())


def read_nolints(file: str, text: str) -> Iterator[Nolint]:
    """Those of a file; what a BEGIN covers goes on to the next END of the same checks."""
    lines = text.splitlines()
    begun: dict[str, int] = {}
    for number, line in enumerate(lines, 1):
        for match in _NOLINT.finditer(line):
            for check in (match["checks"] or "*").replace(" ", "").split(","):
                first, last = number, number
                if match["kind"] == "BEGIN":
                    begun[check] = number
                    continue
                if match["kind"] == "NEXTLINE":
                    first, last = number + 1, number + 1
                elif match["kind"] == "END":
                    first = begun.pop(check, number)
                yield Nolint(f"{file}:{number}", file, range(first, last + 1), check)
    for check, number in begun.items():  # without an end it covers nothing
        yield Nolint(f"{file}:{number}", file, range(0), check)


def blanked(text: str) -> str:
    return text.replace("NOLINT", "------")


def judge(findings: list[Finding], nolints: list[Nolint]) -> tuple[list[Finding], list[Nolint]]:
    """The findings that no NOLINT covers, and the NOLINTs that cover none."""
    bare = [one for one in findings if not any(nolint.covers(one) for nolint in nolints)]
    dead = [nolint for nolint in nolints if not any(nolint.covers(one) for one in findings)]
    return bare, dead


@functools.cache
def digest(file: str) -> str:
    try:
        return hashlib.sha256(Path(file).read_bytes()).hexdigest()
    except OSError:
        return "none"


def git_files(*patterns: str) -> list[str]:
    listed = subprocess.run(
        ["git", "ls-files", "-z", *patterns], check=True, capture_output=True, text=True
    )
    return [str(Path(name).resolve()) for name in listed.stdout.split("\0")[:-1]]


def is_of_several(unit: str) -> bool:
    """Whether it is what CMake makes of several sources: no more than #includes of them."""
    return Path(unit).match("Unity/unity_*")


def sources_of(unit: str) -> list[str]:
    if not is_of_several(unit):
        return [unit]
    return re.findall(r'^#include "(.*)"$', Path(unit).read_text(), re.MULTILINE)


def configuration_of(source: str) -> str:
    above = (folder / ".clang-tidy" for folder in Path(source).parents)
    return str(next(file for file in above if file.exists()))


def options_for(unit: str) -> list[str]:
    """What clang-tidy is not to take from the folder that the unit is in, which is CMake's."""
    if not is_of_several(unit):
        return []
    (configuration,) = {configuration_of(source) for source in sources_of(unit)}
    return [f"--config-file={configuration}", "--checks=-bugprone-suspicious-include"]


class Tidy:
    """clang-tidy, with what it said before at hand."""

    def __init__(self, build: Path, overlay: Path) -> None:
        self._build = build
        self._overlay = overlay
        database = json.loads((build / "compile_commands.json").read_text())
        self._commands: dict[str, list[str]] = {
            str(Path(entry["file"]).resolve()): shlex.split(entry["command"]) for entry in database
        }
        self._units = {source: unit for unit in self._commands for source in sources_of(unit)}
        version = subprocess.run(["clang-tidy", "--version"], check=True, capture_output=True)
        rules = [digest(file) for file in git_files("*.clang-tidy")]
        self._setup = [version.stdout.decode(), *rules]

    def unit_of(self, source: str) -> str | None:
        """What the source is compiled with; None if it is not compiled."""
        return self._units.get(source)

    def check(self, unit: str) -> list[Finding]:
        store = self._build / "tidy" / (unit[1:].replace("/", "-") + ".json")
        setup = [*self._setup, *self._commands[unit]]
        if store.exists():
            known = json.loads(store.read_text())
            if known["setup"] == setup and all(
                digest(file) == then for file, then in known["inputs"].items()
            ):
                return [Finding(*finding) for finding in known["findings"]]
        findings = self._run(unit)
        if not any("clang-diagnostic-error" in finding.checks for finding in findings):
            inputs = {file: digest(file) for file in self._inputs(unit)}
            known = {"setup": setup, "inputs": inputs, "findings": findings}
            store.parent.mkdir(exist_ok=True)
            store.write_text(json.dumps(known))
        return findings

    def _run(self, unit: str) -> list[Finding]:
        # Which warnings are errors is for the compiler that builds it to say, not for clang.
        done = subprocess.run(
            ["clang-tidy", "--quiet", "--extra-arg=-Wno-error", f"--vfsoverlay={self._overlay}"]
            + [*options_for(unit), "-p", str(self._build), unit],
            capture_output=True,
            text=True,
        )
        findings = list(read_findings(done.stdout))
        if done.returncode != 0 and not findings:
            raise RuntimeError(f"clang-tidy fails on {unit}:\n{done.stdout}{done.stderr}")
        return findings

    def _inputs(self, unit: str) -> list[str]:
        """All files that the compiler reads for it."""
        command = self._commands[unit]
        output = command.index("-o")
        rule = subprocess.run(
            [*command[:output], *command[output + 2 :], "-M"],
            check=True,
            capture_output=True,
            text=True,
            cwd=self._build,
        )
        return shlex.split(rule.stdout.replace("\\\n", " "))[1:]


def write_overlay(folder: Path, files: dict[str, str]) -> Path:
    """Says to read the given texts in the place of files."""
    roots = []
    for number, (file, text) in enumerate(files.items()):
        copy = folder / str(number)
        copy.write_text(text)
        roots.append({"type": "file", "name": file, "external-contents": str(copy)})
    overlay = folder / "overlay.yaml"
    overlay.write_text(json.dumps({"version": 0, "use-external-names": False, "roots": roots}))
    return overlay


def main() -> None:
    build = Path(sys.argv[1]).resolve()
    texts = {file: Path(file).read_text() for file in git_files("*.cpp", "*.hpp", "*.def")}
    nolints = [nolint for file, text in texts.items() for nolint in read_nolints(file, text)]
    covered = {nolint.file: blanked(texts[nolint.file]) for nolint in nolints}
    with tempfile.TemporaryDirectory() as folder, ThreadPoolExecutor(os.cpu_count()) as pool:
        tidy = Tidy(build, write_overlay(Path(folder), covered))
        sources = [file for file in texts if file.endswith(".cpp")]
        units = {source: tidy.unit_of(source) for source in sources}
        left_out = [source for source, unit in units.items() if unit is None]
        found = pool.map(tidy.check, dict.fromkeys(unit for unit in units.values() if unit))
        # A header is read with many sources, and each finds the same.
        findings = {(one.file, one.line, one.text): one for some in found for one in some}
    bare, dead = judge(list(findings.values()), nolints)
    lines = [f"{source}:1: is not in the compilation database of {build}" for source in left_out]
    lines += [finding.text for finding in bare]
    lines += [f"{nolint.where}: this NOLINT keeps nothing from {nolint.check}" for nolint in dead]
    here = f"{Path.cwd()}/"
    print("".join(line.replace(here, "") + "\n" for line in lines), end="")
    sys.exit(bool(lines))


if __name__ == "__main__":
    main()
