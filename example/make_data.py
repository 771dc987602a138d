"""Generates the example dataset: a year of weather-station readings, as a
data logger might export them (one big row group, in time order).

    make_data.py OUTPUT.parquet [ROWS]

Columns: station (text), time (UTC time stamp, increasing), temperature
(double, about 2% missing), humidity (single, about 1% missing), wind
(int16), raining (logical), quality (categorical: good/suspect/bad), tags
(list of texts, missing for some rows) and position (a record of latitude
and longitude).
"""
import sys

import numpy as np
import pyarrow as pa
import pyarrow.parquet as pq

STATIONS = [
    ("Oslo", 59.91, 10.75), ("Bergen", 60.39, 5.32), ("Tromsø", 69.65, 18.96),
    ("Lyon", 45.76, 4.84), ("Sevilla", 37.39, -5.98), ("Kraków", 50.06, 19.94),
    ("Porto", 41.15, -8.61), ("Graz", 47.07, 15.44), ("Zürich", 47.37, 8.54),
    ("Aarhus", 56.16, 10.20), ("Tampere", 61.50, 23.79), ("Cork", 51.90, -8.47),
]
TAGS = ["calibrated", "heated", "rooftop", "coastal", "urban", "backup"]


def main():
    out = sys.argv[1]
    rows = int(sys.argv[2]) if len(sys.argv) > 2 else 300_000
    rng = np.random.default_rng(20240601)

    # One reading every 105 seconds from 2023-01-01: a little over a year.
    start = np.datetime64("2023-01-01T00:00:00", "ms")
    time = start + np.arange(rows, dtype=np.int64) * np.int64(105_000)
    station = rng.integers(0, len(STATIONS), rows)
    latitude = np.array([s[1] for s in STATIONS])[station]
    day_of_year = (time - start).astype("timedelta64[s]").astype(np.int64) / 86400.0
    hour = (day_of_year % 1.0) * 24.0

    # Seasons and days, colder further north, plus noise.
    temperature = (
        22.0 - 0.45 * (latitude - 37.0)
        - 11.0 * np.cos(2 * np.pi * (day_of_year - 15) / 365.25)
        - 4.0 * np.cos(2 * np.pi * (hour - 3) / 24.0)
        + rng.normal(0, 2.0, rows)
    ).round(2)
    temperature_missing = rng.random(rows) < 0.02
    humidity = np.clip(70 - 0.8 * (temperature - 10) + rng.normal(0, 8, rows), 5, 100).astype(np.float32)
    humidity_missing = rng.random(rows) < 0.01
    wind = np.clip(rng.gamma(2.0, 6.0, rows), 0, 200).astype(np.int16)
    raining = (humidity > 85) & (rng.random(rows) < 0.6)
    quality = np.where(rng.random(rows) < 0.95, 0, np.where(rng.random(rows) < 0.7, 1, 2))

    tag_count = rng.integers(0, 3, rows)
    tag_pick = rng.integers(0, len(TAGS), (rows, 2))
    tags = [None if n == 0 and m else [TAGS[t] for t in pick[:n]]
            for n, m, pick in zip(tag_count, rng.random(rows) < 0.3, tag_pick)]

    table = pa.table({
        "station": pa.array([STATIONS[s][0] for s in station], pa.string()),
        "time": pa.array(time, pa.timestamp("ms", tz="UTC")),
        "temperature": pa.array(temperature, pa.float64(), mask=temperature_missing),
        "humidity": pa.array(humidity, pa.float32(), mask=humidity_missing),
        "wind": pa.array(wind, pa.int16()),
        "raining": pa.array(raining, pa.bool_()),
        "quality": pa.DictionaryArray.from_arrays(
            pa.array(quality, pa.int32()), pa.array(["good", "suspect", "bad"])),
        "tags": pa.array(tags, pa.list_(pa.string())),
        "position": pa.StructArray.from_arrays(
            [pa.array(latitude), pa.array(np.array([s[2] for s in STATIONS])[station])],
            names=["lat", "lon"]),
    })
    pq.write_table(table, out, row_group_size=rows, compression="snappy")
    print(f"generated {rows} readings in {out}")


if __name__ == "__main__":
    main()
