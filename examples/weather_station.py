#!/usr/bin/env python3
"""Writes a file as a weather service would keep it, and reads slices of it back.

    weather_station.py FILE

/stations is a table with one record a station. /readings holds the air
temperature, one row an hour and one column a station; the service appends a day
at a time, so the dataset grows along its first dimension and is stored in chunks.
"""

import sys
from collections.abc import Sequence
from typing import Any

import numpy as np
from numpy.typing import NDArray

from zembra import h5

Values = NDArray[Any]

STATIONS: dict[str, Any] = {
    "code": np.array([b"ZUG", b"SIO", b"DAV", b"LUG"]),
    "name": ["Zugspitze", "Sion", "Davos", "Lugano"],  # of any length
    "latitude": np.array([47.42, 46.22, 46.81, 46.00]),
    "longitude": np.array([10.98, 7.33, 9.84, 8.96]),
    "elevation": np.array([2964, 482, 1594, 273], dtype="int32"),  # metres
}
DAYS = 10


def one_day(day: int) -> Values:
    """24 hours of temperatures in degrees Celsius: colder at night and higher up."""
    hours = np.arange(24)[:, np.newaxis]
    sea_level = 14 + 0.4 * day - 6 * np.cos((hours - 3) * np.pi / 12)
    temperatures: Values = sea_level - 0.0065 * STATIONS["elevation"]
    return temperatures


def text_type(size: int | str) -> int:
    """A string datatype of `size` bytes, or of any length for "H5T_VARIABLE"."""
    datatype = h5.H5Tcopy("H5T_C_S1")
    h5.H5Tset_size(datatype, size)
    return datatype


def station_type() -> int:
    """The record of a station, as the file lays it out."""
    code, name = text_type(4), text_type("H5T_VARIABLE")
    members: list[tuple[str, int | str]] = [
        ("code", code),
        ("name", name),
        ("latitude", "H5T_IEEE_F64LE"),
        ("longitude", "H5T_IEEE_F64LE"),
        ("elevation", "H5T_STD_I32LE"),
    ]
    record = h5.H5Tcreate("H5T_COMPOUND", sum(h5.H5Tget_size(member) for _, member in members))
    offset = 0
    for member_name, member in members:
        h5.H5Tinsert(record, member_name, offset, member)
        offset += h5.H5Tget_size(member)
    h5.H5Tclose(code)
    h5.H5Tclose(name)
    return record


def write_stations(file: int) -> None:
    record = station_type()
    space = h5.H5Screate_simple(1, [len(STATIONS["name"])], [])
    table = h5.H5Dcreate(file, "stations", record, space, "H5P_DEFAULT")
    h5.H5Dwrite(table, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT", STATIONS)
    h5.H5Dclose(table)
    h5.H5Sclose(space)
    h5.H5Tclose(record)


def create_readings(file: int) -> int:
    """An empty dataset that can grow by days, never by stations."""
    stations = len(STATIONS["name"])
    unlimited = h5.H5ZBget_constant_value("H5S_UNLIMITED")
    space = h5.H5Screate_simple(2, [0, stations], [unlimited, stations])
    creation = h5.H5Pcreate("H5P_DATASET_CREATE")
    h5.H5Pset_chunk(creation, [24, stations])
    readings = h5.H5Dcreate(file, "readings", "H5T_IEEE_F32LE", space, creation)
    h5.H5Pclose(creation)
    h5.H5Sclose(space)
    return readings


def slab(dataset: int, start: Sequence[int], count: Sequence[int]) -> tuple[int, int]:
    """The dataset's space with a block selected, and a memory space of its shape."""
    file_space = h5.H5Dget_space(dataset)
    h5.H5Sselect_hyperslab(file_space, "H5S_SELECT_SET", start, [], count, [])
    return file_space, h5.H5Screate_simple(len(count), count, [])


def append_day(readings: int, temperatures: Values) -> None:
    _, (hours, stations), _ = extent(readings)
    h5.H5Dset_extent(readings, [hours + 24, stations])
    file_space, memory_space = slab(readings, [hours, 0], [24, stations])
    h5.H5Dwrite(readings, "H5ZB_DEFAULT", memory_space, file_space, "H5P_DEFAULT", temperatures)
    h5.H5Sclose(memory_space)
    h5.H5Sclose(file_space)


def extent(dataset: int) -> tuple[int, Values, Values]:
    """Rank, dimensions and maximum dimensions."""
    space = h5.H5Dget_space(dataset)
    dimensions = h5.H5Sget_simple_extent_dims(space)
    h5.H5Sclose(space)
    return dimensions


def read_slab(dataset: int, start: Sequence[int], count: Sequence[int]) -> Values:
    file_space, memory_space = slab(dataset, start, count)
    values: Values = h5.H5Dread(dataset, "H5ZB_DEFAULT", memory_space, file_space, "H5P_DEFAULT")
    h5.H5Sclose(memory_space)
    h5.H5Sclose(file_space)
    return values


def write(path: str) -> None:
    file = h5.H5Fcreate(path, "H5F_ACC_TRUNC", "H5P_DEFAULT", "H5P_DEFAULT")
    write_stations(file)
    readings = create_readings(file)
    for day in range(DAYS):
        append_day(readings, one_day(day))
    h5.H5Dclose(readings)
    h5.H5Fclose(file)


def read(path: str) -> None:
    file = h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")
    table = h5.H5Dopen(file, "/stations")
    stations = h5.H5Dread(table, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT")
    readings = h5.H5Dopen(file, "/readings")
    _, (hours, columns), _ = extent(readings)
    print(f"{path}: {hours} hourly readings of {columns} stations\n")

    print("  code  name        latitude  longitude  elevation")
    for code, name, latitude, longitude, elevation in zip(*stations.values()):
        print(f"  {code.decode():4}  {name:10}  {latitude:8.2f}  {longitude:9.2f}  {elevation:6} m")

    noon = read_slab(readings, [hours - 12, 0], [1, columns])
    print("\nTemperatures at noon of the last day")
    for name, value in zip(stations["name"], noon[0]):
        print(f"  {name:10}  {value:6.1f} °C")

    davos = stations["name"].index("Davos")
    print("\nDavos, coldest and warmest hour of each day")
    for day in range(DAYS):
        temperatures = read_slab(readings, [24 * day, davos], [24, 1])
        print(f"  day {day + 1:2}  {temperatures.min():6.1f} °C  {temperatures.max():6.1f} °C")

    h5.H5Dclose(readings)
    h5.H5Dclose(table)
    h5.H5Fclose(file)


def main() -> None:
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    write(sys.argv[1])
    read(sys.argv[1])


if __name__ == "__main__":
    main()
