"""Who does a row's work in which time.

All do it on the same machine, in the same process, on the same HDF5, in turns: first once, then
in rounds of equal turns, the order of which rotates. The best turn counts, because whatever else
the machine does only ever makes a turn slower.
"""

import time
import timeit
from collections.abc import Mapping
from typing import Any

import numpy as np

import sizes
from compiled import Compiled
from row import Work

Timer = timeit.Timer | Compiled


def best_times(works: Mapping[str, Work], alike: bool) -> dict[str, float]:
    """Seconds of doing it once, by side."""
    best = first_times(works, alike)
    timers = {side: timer(work) for side, work in works.items()}
    counts = {side: calls_a_turn(timers[side], best[side]) for side in works}
    order = list(works)
    for _ in range(rounds(sum(counts[side] * best[side] for side in works))):
        for side in order:
            best[side] = min(best[side], timers[side].timeit(counts[side]) / counts[side])
        order.append(order.pop(0))
    return best


def timer(work: Work) -> Timer:
    return work if isinstance(work, Compiled) else timeit.Timer(work)


def first_times(works: Mapping[str, Work], alike: bool) -> dict[str, float]:
    """Of the first call, whose results are compared."""
    seconds, expected = {}, None
    for side, work in works.items():
        if isinstance(work, Compiled):
            seconds[side] = work.timeit(1)
            continue
        start = time.perf_counter()
        result = work()
        seconds[side] = time.perf_counter() - start
        expected = result if expected is None else expected
        if alike and result is not None and not same(result, expected):
            raise AssertionError(f"{side} gives something else than {next(iter(works))}")
    return seconds


def same(one: Any, other: Any) -> bool:
    if isinstance(one, dict):
        return one.keys() == other.keys() and all(same(one[name], other[name]) for name in one)
    return np.array_equal(one, other)


def calls_a_turn(timer: Timer, first: float) -> int:
    """As many as take a turn's time: the first call alone does not tell."""
    count, seconds = 1, first
    while seconds < sizes.TURN / 10:
        count *= 10
        seconds = timer.timeit(count)
    return max(1, round(count * sizes.TURN / seconds))


def rounds(seconds: float) -> int:
    """So many as a row has time for, if a round takes so long."""
    least, most = sizes.ROUNDS
    return min(max(least, int(sizes.ROW / seconds)), most)
