"""Measures rows one after the other, on files in a folder."""

import os
import shutil
from collections.abc import Iterable, Iterator
from contextlib import ExitStack

from contest import best_times
from peak import peak_memory
from result import Result
from row import File, Row

WITH_PEAK = ("zembra", "h5py")


class Files:
    """Each is made once; who writes has a copy."""

    def __init__(self, folder: str) -> None:
        self._folder = folder
        self._made: dict[File, str] = {}

    def of(self, row: Row) -> dict[str, str]:
        """Paths, by side."""
        sides = row.sides.by_name()
        if row.file is None:
            return {side: self._path(side) for side in sides}
        if row.file not in self._made:
            self._made[row.file] = self._path(str(len(self._made)))
            row.file(self._made[row.file])
        made = self._made[row.file]
        return {side: self._copy(made, side) if row.writes else made for side in sides}

    def forget(self, paths: dict[str, str]) -> None:
        for path in paths.values():
            if path not in self._made.values() and os.path.exists(path):
                os.remove(path)

    def _path(self, name: str) -> str:
        return os.path.join(self._folder, f"{name}.h5")

    def _copy(self, made: str, side: str) -> str:
        return shutil.copyfile(made, self._path(side))


def measure(rows: Iterable[tuple[str, Row]], folder: str, peaks: bool) -> Iterator[Result]:
    """The result of each row of a group, as soon as there is one."""
    files = Files(folder)
    for group, row in rows:
        paths = files.of(row)
        with ExitStack() as opened:
            works = {
                side: opened.enter_context(contestant(paths[side]))
                for side, contestant in row.sides.by_name().items()
            }
            seconds = best_times(works, row.alike)
        memory = {
            side: peak_memory(group, row.name, side, paths[side])
            for side in WITH_PEAK
            if peaks and row.peak
        }
        files.forget(paths)
        yield Result(group, row.name, row.unit, seconds, memory)
