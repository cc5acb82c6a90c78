#!/usr/bin/env python3
"""Keeps the temperatures of a lake in a compressed, self-describing dataset.

    compressed_timeseries.py FILE

A chain of sensors measures once a minute at several depths. /temperature has a row
a minute and a column a depth; /time and /depth are the scales of its dimensions.
What was never measured takes no space on disk and reads as NaN.
"""

import sys
from collections.abc import Sequence
from typing import Any

import numpy as np
from numpy.typing import NDArray

from zembra import h5

Values = NDArray[Any]

DEPTHS = np.array([0.5, 2.0, 5.0, 12.0], dtype="float32")  # metres
DAYS = 28
DAY = 24 * 60  # minutes
BROKEN = (2, range(9, 12))  # the third sensor, for three days


def measure(day: int, depth: float) -> Values:
    """One day of one sensor, in degrees Celsius to the hundredth."""
    minutes = np.arange(DAY) + DAY * day
    warmth = 6 + 14 * np.exp(-depth / 6) + 0.05 * day
    daily = 1.5 * np.exp(-depth) * np.sin(2 * np.pi * (minutes / DAY - 0.4))
    waves = 0.2 * np.exp(-depth / 3) * np.sin(minutes / 47) * np.sin(minutes / 11)
    temperatures: Values = np.round(warmth + daily + waves, 2).astype("float32")
    return temperatures


# --- Writing ------------------------------------------------------------------------


def create_dataset(
    file: int,
    name: str,
    datatype: str,
    shape: Sequence[int],
    creation: int | str = "H5P_DEFAULT",
) -> int:
    space = h5.H5Screate_simple(len(shape), shape, [])
    dataset = h5.H5Dcreate(file, name, datatype, space, creation)
    h5.H5Sclose(space)
    return dataset


def write_scale(file: int, name: str, values: Values, description: str) -> int:
    """A dataset of coordinates, ready to be attached to a dimension."""
    datatype = "H5T_IEEE_F32LE" if values.dtype == "float32" else "H5T_STD_I64LE"
    scale = create_dataset(file, name, datatype, values.shape)
    h5.H5Dwrite(scale, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", values)
    h5.H5DSset_scale(scale, description)
    return scale


def create_temperature(file: int) -> int:
    """A chunk is a day of one sensor: compressed, checked, and absent until written."""
    creation = h5.H5Pcreate("H5P_DATASET_CREATE")
    h5.H5Pset_chunk(creation, [DAY, 1])
    h5.H5Pset_shuffle(creation)
    h5.H5Pset_deflate(creation, 6)
    h5.H5Pset_fletcher32(creation)
    h5.H5Pset_fill_value(creation, "H5T_NATIVE_FLOAT", np.float32("nan"))
    dataset = create_dataset(
        file, "temperature", "H5T_IEEE_F32LE", [DAYS * DAY, len(DEPTHS)], creation
    )
    h5.H5Pclose(creation)
    return dataset


def write_day(dataset: int, day: int, sensor: int) -> None:
    file_space = h5.H5Dget_space(dataset)
    h5.H5Sselect_hyperslab(file_space, "H5S_SELECT_SET", [day * DAY, sensor], [], [DAY, 1], [])
    memory_space = h5.H5Screate_simple(1, [DAY], [])
    h5.H5Dwrite(
        dataset,
        "H5ZB_DEFAULT",
        memory_space,
        file_space,
        "H5P_DEFAULT",
        measure(day, DEPTHS[sensor]),
    )
    h5.H5Sclose(memory_space)
    h5.H5Sclose(file_space)


def write(path: str) -> None:
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
    temperature = create_temperature(file)
    scales = [
        write_scale(file, "time", np.arange(DAYS * DAY), "minutes since the start"),
        write_scale(file, "depth", DEPTHS, "metres below the surface"),
    ]
    for dimension, label in enumerate(["time", "depth"]):
        h5.H5DSset_label(temperature, dimension, label)
        h5.H5DSattach_scale(temperature, scales[dimension], dimension)
    for sensor in range(len(DEPTHS)):
        for day in range(DAYS):
            if sensor != BROKEN[0] or day not in BROKEN[1]:
                write_day(temperature, day, sensor)
    for dataset in [temperature, *scales]:
        h5.H5Dclose(dataset)
    h5.H5Fclose(file)


# --- Reading --------------------------------------------------------------------------


def read_all(dataset: int) -> Values:
    values: Values = h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")
    return values


def scales_of(dataset: int, dimension: int) -> list[tuple[str, Values]]:
    """What each scale of a dimension is called, and its values."""

    found = []

    def look(_dataset: int, _dimension: int, scale: int, data: None) -> tuple[int, None]:
        found.append((h5.H5DSget_scale_name(scale), read_all(scale)))
        return 0, data

    h5.H5DSiterate_scales(dataset, dimension, 0, look, None)
    return found


def show_dimensions(dataset: int, shape: Sequence[int]) -> None:
    for dimension, size in enumerate(shape):
        ((name, values),) = scales_of(dataset, dimension)
        label = h5.H5DSget_label(dataset, dimension)
        print(f"  {label:6} {size:6} values, {values[0]:g} to {values[-1]:g} {name}")


def show_storage(dataset: int, values: Values) -> None:
    creation = h5.H5Dget_create_plist(dataset)
    _, chunk = h5.H5Pget_chunk(creation)
    filters = [
        h5.H5Pget_filter(creation, index)[3] for index in range(h5.H5Pget_nfilters(creation))
    ]
    h5.H5Pclose(creation)
    stored = h5.H5Dget_storage_size(dataset)
    print(f"  in chunks of {chunk[0]} x {chunk[1]} through {', '.join(filters)}")
    print(f"  {values.nbytes:,} bytes kept in {stored:,}: {values.nbytes / stored:.1f} to 1")


def show_depths(dataset: int, values: Values) -> None:
    ((_, depths),) = scales_of(dataset, 1)
    print("\n   depth    coldest   mean  warmest    measured")
    for depth, column in zip(depths, values.T):
        measured = column[~np.isnan(column)]
        print(
            f"  {depth:4.1f} m  {measured.min():7.2f}  {measured.mean():7.2f}"
            f"  {measured.max():7.2f} °C  {measured.size / column.size:7.1%}"
        )


def read(path: str) -> None:
    file = h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")
    dataset = h5.H5Dopen(file, "temperature")
    values = read_all(dataset)
    print(f"{path}: temperatures by time and depth")
    show_dimensions(dataset, values.shape)
    show_storage(dataset, values)
    show_depths(dataset, values)
    h5.H5Dclose(dataset)
    h5.H5Fclose(file)


def main() -> None:
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    write(sys.argv[1])
    read(sys.argv[1])


if __name__ == "__main__":
    main()
