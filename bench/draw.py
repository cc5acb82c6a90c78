"""The ratios as a picture: narrow, for telephones, and on a ground of its own, for dark pages."""

from collections.abc import Sequence
from itertools import groupby

import matplotlib

matplotlib.use("Agg")

from matplotlib.figure import Figure  # noqa: E402 - where it draws is said first

from result import Result  # noqa: E402

GROUND, INK, GRID = "#fbfaf7", "#22262b", "#d8d5cc"
FASTER, SLOWER, C = "#2a78a5", "#c2571a", "#22262b"
LEAST, MOST = 0.1, 6.0
WIDTH, LINE, MARGIN = 6.4, 0.25, 1.2  # inches


def draw(results: Sequence[Result], facts: dict[str, str], path: str) -> None:
    """zembra's times to h5py's, and where C's are, of the rows that h5py has."""
    shown = [result for result in results if "h5py" in result.seconds]
    lines = _lines(shown)
    figure = Figure((WIDTH, LINE * len(lines) + MARGIN), facecolor=GROUND)
    inches = figure.get_figheight()
    axes = figure.add_axes((0.50, 0.55 / inches, 0.46, 1 - MARGIN / inches), facecolor=GROUND)
    for place, line in enumerate(lines):
        if isinstance(line, Result):
            _draw_row(axes, place, line)
        else:
            axes.text(-1.05, place, line, transform=axes.get_yaxis_transform(), weight="bold",
                      color=INK, va="center")  # fmt: skip
    _dress(axes, len(lines))
    figure.text(0.03, 1 - 0.2 / inches, "Time of zembra, h5py's being 1: left is faster",
                color=INK, weight="bold", size=12, va="center")  # fmt: skip
    figure.text(
        0.03, 1 - 0.42 / inches, "dots: bare C; arrows: off the scale", color=INK, va="center"
    )
    figure.text(
        0.03, 0.14 / inches, size=8, color=INK, va="center",
        s=f"{facts['machine']}; HDF5 {facts['HDF5']}, h5py {facts['h5py']}; {facts['date']}",
    )  # fmt: skip
    with matplotlib.rc_context({"svg.hashsalt": "speed", "svg.fonttype": "none"}):
        figure.savefig(path, facecolor=GROUND, metadata={"Date": None})


def _lines(results: Sequence[Result]) -> list[Result | str]:
    """Names of groups, and their results."""
    lines: list[Result | str] = []
    for group, of_group in groupby(results, lambda result: result.group):
        lines += [group, *of_group]
    return lines


def _draw_row(axes: matplotlib.axes.Axes, place: int, result: Result) -> None:
    ratio = result.seconds["zembra"] / result.seconds["h5py"]
    end = min(max(ratio, LEAST), MOST)
    axes.plot([1, end], [place, place], lw=9, solid_capstyle="butt",
              color=FASTER if ratio <= 1 else SLOWER)  # fmt: skip
    if "c" in result.seconds:
        bare = result.seconds["c"] / result.seconds["h5py"]
        marker = "<" if bare < LEAST else ">" if bare > MOST else "o"
        at = min(max(bare, LEAST * 1.05), MOST)
        axes.plot([at], [place], marker, ms=4.5, color=C, mec=GROUND, mew=0.7)
    axes.text(-1.02, place, result.name, transform=axes.get_yaxis_transform(), size=8.5,
              color=INK, va="center")  # fmt: skip
    axes.text(1.0, place, f"{ratio:.2f}", transform=axes.get_yaxis_transform(), size=8.5,
              color=INK, va="center", ha="right")  # fmt: skip


def _dress(axes: matplotlib.axes.Axes, lines: int) -> None:
    axes.set(xscale="log", xlim=(LEAST, MOST * 1.8), ylim=(lines - 0.3, -0.7), yticks=[])
    axes.set_xticks([0.1, 0.25, 0.5, 1, 2, 4], ["0.1", "0.25", "0.5", "1", "2", "4"])
    axes.minorticks_off()
    axes.tick_params(colors=INK, length=0, labelsize=9, labeltop=True)
    axes.grid(axis="x", color=GRID, lw=0.8)
    axes.axvline(1, color=INK, lw=1)
    axes.set_axisbelow(True)
    axes.spines[:].set_visible(False)
