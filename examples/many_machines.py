#!/usr/bin/env python3
"""Computes the monthly climate of many stations, a file each, by many processes or machines.

    many_machines.py FOLDER              by four processes of this machine
    many_machines.py FOLDER SCHEDULER    by the cluster whose scheduler has this address

FOLDER is filled with a year of hourly temperatures of two dozen stations; machines have to
find it under the same name. The climate goes to FOLDER/climate.h5, and is compared with the
one that is computed serially.
"""

import sys
from pathlib import Path
from typing import Any

import numpy as np
from numpy.typing import NDArray

import zembra
from zembra import h5
from zembra.dask import from_dataset, to_dataset

Values = NDArray[Any]

STATIONS = 24
HOURS = 365 * 24
MONTHS = np.cumsum([0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31]) * 24  # in hours
WORKERS = 4


def measure(station: int) -> Values:
    """A year of one station, in degrees Celsius: seasons, days, and weather."""
    hours = np.arange(HOURS)
    weather = np.random.default_rng(station).normal(0, 2, HOURS // 24).repeat(24)
    seasons = -10 * np.cos(2 * np.pi * (hours / HOURS - 0.05))
    days = -4 * np.cos(2 * np.pi * (hours / 24 - 0.1))
    temperatures: Values = (12 - station / 3 + seasons + days + weather).astype("float32")
    return temperatures


def write_station(path: Path, temperatures: Values) -> None:
    name, default = str(path), "H5P_DEFAULT"
    with zembra.Id(h5.H5Fcreate(name, "H5F_ACC_TRUNC", default, default)) as file:
        with (
            zembra.Id(h5.H5Screate_simple(1, [HOURS], [])) as space,
            zembra.Id(h5.H5Pcreate("H5P_DATASET_CREATE")) as creation,
        ):
            h5.H5Pset_chunk(creation, [24 * 73])
            h5.H5Pset_deflate(creation, 4)
            dataset = zembra.Id(
                h5.H5Dcreate(file, "temperature", "H5T_IEEE_F32LE", space, creation)
            )
        with dataset:
            h5.H5Dwrite(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", default, temperatures)


def monthly(temperatures: Any) -> list[Any]:
    """The means of each month, whatever kind of array it is."""
    return [temperatures[:, start:end].mean(axis=1) for start, end in zip(MONTHS, MONTHS[1:])]


def serially(folder: Path) -> Values:
    """The same without dask, a file after the other."""
    rows = []
    for path in sorted(folder.glob("station-*.h5")):
        with (
            zembra.Id(h5.H5Fopen(path, "H5F_ACC_RDONLY", "H5P_DEFAULT")) as file,
            zembra.Id(h5.H5Dopen(file, "temperature")) as dataset,
        ):
            rows.append(h5.H5Dread(dataset, "H5ZB_DEFAULT", "H5S_ALL", "H5S_ALL", "H5P_DEFAULT"))
    climate: Values = np.stack(monthly(np.stack(rows)), axis=1)
    return climate


def by_many(folder: Path, client: Any) -> Values:
    """One array of all files; a task reads a block of one, wherever it runs."""
    import dask.array as da

    (folder / "climate.h5").unlink(missing_ok=True)
    year = from_dataset(folder / "station-*.h5", "temperature")
    climate = da.stack(monthly(year), axis=1).rechunk((6, 12))
    to_dataset(climate, folder / "climate.h5", "/climate", gzip=6, scheduler=client)
    result: Values = from_dataset(folder / "climate.h5", "/climate").compute()
    return result


def main() -> None:
    if len(sys.argv) not in (2, 3):
        sys.exit(__doc__)
    from distributed import Client, LocalCluster

    folder = Path(sys.argv[1]).resolve()
    folder.mkdir(parents=True, exist_ok=True)
    for station in range(STATIONS):
        write_station(folder / f"station-{station:02}.h5", measure(station))
    if len(sys.argv) == 3:
        client = Client(sys.argv[2])
    else:
        cluster = LocalCluster(n_workers=WORKERS, threads_per_worker=1, dashboard_address=None)
        client = Client(cluster)
    with client:
        climate = by_many(folder, client)
        workers = len(client.scheduler_info()["workers"])
    if len(sys.argv) == 2:
        cluster.close()
    difference = float(np.abs(climate - serially(folder)).max())
    print(f"{workers} workers, {STATIONS} stations; largest difference {difference:.1e} degrees")
    print("coldest and warmest month of the first station:")
    print(f"  {climate[0].min():.1f} °C, {climate[0].max():.1f} °C")
    if difference > 1e-4:  # sums of float32, in another order
        sys.exit("this is not the climate that is computed serially")


if __name__ == "__main__":
    main()
