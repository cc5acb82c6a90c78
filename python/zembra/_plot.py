"""`zembra plot`: a picture of a dataset of numbers.

A line for one dimension, an image for two, a histogram otherwise. Only as many values are read
as a picture can show: of a large dataset one of so many along each dimension. matplotlib is
imported here only, where it is asked for.
"""

import math
from collections.abc import Sequence
from typing import Any, NamedTuple

import numpy as np

from . import h5
from ._errors import Error
from ._id import Id
from ._inspect import printable
from ._model import DATASET, attribute_names, kind_of_object, open_object, opened
from ._show import Refused
from ._values import Block, read, space_of
from ._words import class_in_words, class_of

DRAWN = ("H5T_INTEGER", "H5T_FLOAT", "H5T_ENUM", "H5T_BITFIELD")
MOST_POINTS = 100_000  # of a line
MOST_PIXELS = 2000  # along a side of an image
MOST_COUNTED = 4_000_000  # in a histogram
BINS = 100
SIZE = 8, 4.5  # of a picture, in inches


class Axis(NamedTuple):
    """positions: of the values that are drawn, where a dimension scale gives them."""

    label: str
    positions: Any = None


class Picture(NamedTuple):
    title: str
    unit: str
    values: Any
    axes: list[Axis]


def plot(file: str, path: str, output: str | None) -> None:
    """Draws into the file `output`, or into a window."""
    try:
        import matplotlib.figure
    except ImportError:
        raise Refused(
            "plot needs matplotlib, which is not installed (Debian: python3-matplotlib)"
        ) from None
    if output is None:
        _show(file, path)
        return
    figure = matplotlib.figure.Figure(figsize=SIZE, layout="constrained")
    draw(figure, file, path)
    try:
        figure.savefig(output, dpi=150)
    except ValueError as error:  # a file format that matplotlib does not know
        raise Refused(str(error)) from None


def _show(file: str, path: str) -> None:
    import matplotlib
    from matplotlib import pyplot

    if matplotlib.get_backend().lower() == "agg":
        raise Refused("there is no display to draw on: -o FILE.png writes a picture")
    figure = pyplot.figure(figsize=SIZE, layout="constrained")
    try:
        draw(figure, file, path)
        pyplot.show()
    finally:
        pyplot.close(figure)


def draw(figure: Any, file: str, path: str) -> None:
    picture = _picture(file, path)
    axes = figure.subplots()
    {1: _line, 2: _image}.get(picture.values.ndim, _histogram)(figure, axes, picture)
    axes.set_title(_escaped(picture.title))


def _escaped(text: str) -> str:
    return printable(text).replace("$", r"\$")  # no formula


# --- What is drawn ------------------------------------------------------------------------


def _picture(file: str, path: str) -> Picture:
    with opened(file) as identifier, open_object(identifier, path) as dataset:
        kind = kind_of_object(dataset)
        if kind != DATASET:
            raise Refused(f"{path} is a {kind}: only datasets can be drawn")
        _check_class(dataset, path)
        extent = space_of(dataset)
        if extent is None or 0 in extent[0]:
            raise Refused(f"{path} has no values to draw")
        dimensions = extent[0]
        block = _thinned(dimensions)
        values = np.asarray(read(dataset, block))
        axes = [_axis(dataset, axis, block) for axis in range(len(dimensions))]
        every = ""
        if max(block.step, default=1) > 1:
            every = f", one of {' x '.join(map(str, block.step))} values"
        return Picture(path + every, _text_attribute(dataset, "units"), values, axes)


def _check_class(dataset: Id, path: str) -> None:
    with Id(h5.H5Dget_type(dataset)) as datatype:
        name = class_of(datatype)
    if name not in DRAWN:
        drawn = ", ".join(map(class_in_words, DRAWN))
        raise Refused(f"{path} is of the class {class_in_words(name)}: plot draws {drawn}")


def _thinned(dimensions: Sequence[int]) -> Block:
    """One of so many values along each dimension."""
    rank = len(dimensions)
    each = {1: MOST_POINTS, 2: MOST_PIXELS}.get(rank)
    if each is None:
        each = max(1, math.floor(MOST_COUNTED ** (1 / max(rank, 1))))
    steps = [-(-size // each) for size in dimensions]
    counts = [-(-size // step) for size, step in zip(dimensions, steps)]
    return Block([0] * rank, counts, steps)


def _axis(dataset: Id, axis: int, block: Block) -> Axis:
    """The first scale of a dimension gives its axis a name, a unit and positions."""
    label = f"dimension {axis}"
    try:
        label = h5.H5DSget_label(dataset, axis) or label
        scales: list[Axis] = []

        def take(_dataset: object, _axis: object, scale: int, nothing: object) -> Any:
            scales.append(_scale(scale, label, Block(*([part[axis]] for part in block))))
            return 1, nothing

        if h5.H5DSget_num_scales(dataset, axis) > 0:
            h5.H5DSiterate_scales(dataset, axis, [], take, None)
            return scales[0]
    except Error:
        pass  # scales that are broken leave a picture with plain axes
    return Axis(label)


def _scale(scale: int, label: str, block: Block) -> Axis:
    name = h5.H5DSget_scale_name(scale) or h5.H5Iget_name(scale).rpartition("/")[2]
    unit = _text_attribute(scale, "units")
    label = (name or label) + (f" ({unit})" if unit else "")
    extent = space_of(scale)
    with Id(h5.H5Dget_type(scale)) as datatype:
        if class_of(datatype) not in DRAWN[:2] or extent is None or len(extent[0]) != 1:
            return Axis(label)
    last = block.start[0] + (block.size[0] - 1) * block.step[0]
    if last >= extent[0][0]:
        return Axis(label)
    return Axis(label, read(scale, block))


def _text_attribute(thing: Id | int, name: str) -> str:
    if name not in attribute_names(thing):
        return ""
    with Id(h5.H5Aopen(thing, name, "H5P_DEFAULT")) as attribute:
        value = h5.H5Aread(attribute, "H5ZB_DEFAULT")
    return value if isinstance(value, str) else ""


# --- Drawing ------------------------------------------------------------------------------


def _line(_figure: Any, axes: Any, picture: Picture) -> None:
    (axis,) = picture.axes
    positions = np.arange(len(picture.values)) if axis.positions is None else axis.positions
    axes.plot(positions, picture.values, linewidth=1)
    axes.set_xlabel(_escaped(axis.label))
    axes.set_ylabel(_escaped(picture.unit))


def _image(figure: Any, axes: Any, picture: Picture) -> None:
    rows, columns = picture.axes
    if all(_is_monotonic(axis.positions) for axis in picture.axes):
        drawn = axes.pcolormesh(
            columns.positions, rows.positions, picture.values, shading="nearest", rasterized=True
        )
    else:
        drawn = axes.imshow(picture.values, aspect="auto", interpolation="nearest")
    axes.set_xlabel(_escaped(columns.label))
    axes.set_ylabel(_escaped(rows.label))
    figure.colorbar(drawn, ax=axes, label=_escaped(picture.unit))


def _is_monotonic(positions: Any) -> bool:
    if positions is None or len(positions) < 2:
        return False
    steps = np.diff(np.asarray(positions, float))
    return bool(np.all(steps > 0) or np.all(steps < 0))


def _histogram(_figure: Any, axes: Any, picture: Picture) -> None:
    values = np.ravel(picture.values).astype(float)
    values = values[np.isfinite(values)]
    axes.hist(values, bins=min(BINS, max(1, len(values))))
    axes.set_xlabel(_escaped(picture.unit) or "value")
    axes.set_ylabel("values")
