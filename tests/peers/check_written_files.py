"""pyarrow, DuckDB, polars and fastparquet read the files ParquetWriter wrote
(write_peer_files) and see the values the row-number formulas give.

    check_written_files.py DIR
"""
import math
import os
import sys

import duckdb
import fastparquet
import numpy as np
import polars as pl
import pyarrow as pa
import pyarrow.compute as pc
import pyarrow.parquet as pq

ROWS = 50


def missing(i):
    return i % 7 == 3


def expected_columns():
    """Column name -> list of expected Python values (None = null); temporal
    values as integer ticks in the column's unit."""
    def with_missing(f):
        return [None if missing(i) else f(i) for i in range(ROWS)]

    def vals(i):
        return None if i % 9 == 4 else [j * 1.5 for j in range(i % 4)]

    return {
        "flag": with_missing(lambda i: i % 2 == 0),
        "i8": with_missing(lambda i: i % 100 - 50),
        "u8": with_missing(lambda i: i),
        "i16": with_missing(lambda i: i * 100 - 2000),
        "u16": with_missing(lambda i: i * 1000),
        "i32": with_missing(lambda i: i * 100000 - 1000000),
        "u32": with_missing(lambda i: i * 50000000),
        "i64": with_missing(lambda i: i * 10**12 - 5 * 10**12),
        "u64": with_missing(lambda i: i * 10**17),
        "single": with_missing(lambda i: i * 0.25),
        "double": with_missing(lambda i: i / 3.0),
        "text": with_missing(lambda i: "" if i % 5 == 0 else f"s{i}ü"),
        "when": [None if i == 3 else 1700000000000 + i * 1000 for i in range(ROWS)],
        "whenz": [None if i == 3 else 1700000000000000 + i for i in range(ROWS)],
        "day": [None if i == 3 else 19000 + i for i in range(ROWS)],
        "span": [i * 1500 for i in range(ROWS)],
        "cat": with_missing(lambda i: ["lo", "mid", "hi"][i % 3]),
        "vals": [vals(i) for i in range(ROWS)],
        "point": [{"x": i, "y": f"p{i}"} for i in range(ROWS)],
        "items": [[{"k": j, "v": float(i + j)} for j in range(i % 3)] for i in range(ROWS)],
    }


failures = []


def check(reader, column, got, want):
    if len(got) != len(want):
        failures.append(f"{reader} {column}: {len(got)} rows, expected {len(want)}")
        return
    for i, (g, w) in enumerate(zip(got, want)):
        same = (g == w) or (isinstance(g, float) and isinstance(w, float) and math.isclose(g, w, rel_tol=1e-15))
        if not same:
            failures.append(f"{reader} {column} row {i}: got {g!r}, expected {w!r}")
            return


def ticks(array):
    """Temporal arrow column -> integer ticks in its own unit."""
    t = array.type
    if pa.types.is_date32(t):
        return array.cast(pa.int32()).to_pylist()
    return array.cast(pa.int64()).to_pylist()


def check_pyarrow(path, want):
    table = pq.read_table(path)
    for name, values in want.items():
        column = table.column(name).combine_chunks()
        if name in ("when", "whenz", "day", "span"):
            got = ticks(column)
        elif name == "cat":
            got = column.cast(pa.string()).to_pylist() if not pa.types.is_dictionary(column.type) \
                else pc.take(column.dictionary, column.indices).to_pylist()
        else:
            got = column.to_pylist()
        check("pyarrow", name, got, values)
    schema = table.schema
    for name, type_ in [("when", pa.timestamp("ms")), ("whenz", pa.timestamp("us", tz="UTC")),
                        ("day", pa.date32()), ("span", pa.duration("ms")), ("single", pa.float32())]:
        if schema.field(name).type != type_:
            failures.append(f"pyarrow {name}: type {schema.field(name).type}, expected {type_}")


def check_duckdb(path, want):
    simple = [n for n in want if n not in ("when", "whenz", "day", "span", "u64")]
    rows = duckdb.sql(f"SELECT {', '.join(simple)} FROM read_parquet('{path}')").fetchall()
    for k, name in enumerate(simple):
        got = [row[k] for row in rows]
        if name == "single":
            got = [None if g is None else float(g) for g in got]
        check("duckdb", name, got, want[name])
    temporal = duckdb.sql(
        f"SELECT epoch_ms(\"when\"), epoch_us(whenz), day - DATE '1970-01-01', u64 "
        f"FROM read_parquet('{path}')").fetchall()
    check("duckdb", "when", [r[0] for r in temporal], want["when"])
    check("duckdb", "whenz", [r[1] for r in temporal], want["whenz"])
    check("duckdb", "day", [r[2] for r in temporal], want["day"])
    check("duckdb", "u64", [r[3] for r in temporal], want["u64"])


def check_polars(path, want):
    df = pl.read_parquet(path)
    for name, values in want.items():
        series = df[name]
        if name in ("when", "whenz", "span"):
            got = series.cast(pl.Int64).to_list()
        elif name == "day":
            got = series.cast(pl.Int32).to_list()
        elif name == "cat":
            got = series.cast(pl.Utf8).to_list()
        else:
            got = series.to_list()
        check("polars", name, got, values)


def check_fastparquet(path, want):
    flat = ["flag", "i8", "u8", "i16", "u16", "i32", "u32", "i64", "u64", "single", "double", "text", "cat",
            "when", "whenz", "day", "span"]
    df = fastparquet.ParquetFile(path).to_pandas(columns=flat)
    for name in flat:
        series = df[name]
        missing = series.isna().to_numpy()
        if name in ("when", "whenz", "day"):
            # datetime64 of some unit -> ticks in the column's own unit
            unit = {"when": "ms", "whenz": "us", "day": "D"}[name]
            values = series.dt.tz_localize(None) if name == "whenz" and series.dt.tz is not None else series
            ticks = values.to_numpy().astype(f"datetime64[{unit}]").astype(np.int64)
            got = [None if m else int(t) for m, t in zip(missing, ticks)]
        else:
            got = [None if m else (v.item() if hasattr(v, "item") else v) for m, v in zip(missing, series.tolist())]
            if name == "single":
                got = [None if g is None else float(g) for g in got]
        check("fastparquet", name, got, want[name])


def check_metadata(directory):
    meta = pq.ParquetFile(os.path.join(directory, "codecs.parquet")).metadata
    chunks = {meta.row_group(0).column(j).path_in_schema: meta.row_group(0).column(j)
              for j in range(meta.num_columns)}
    want = {"a": ("ZSTD", False), "point.x": ("GZIP", True), "point.y": ("GZIP", True),
            "vals.list.element": ("BROTLI", False)}
    for path, (codec, dictionary) in want.items():
        chunk = chunks.get(path)
        if chunk is None or chunk.compression != codec or chunk.has_dictionary_page != dictionary:
            failures.append(f"codecs.parquet {path}: {chunk and (chunk.compression, chunk.has_dictionary_page)}, "
                            f"expected {(codec, dictionary)}")
    meta = pq.ParquetFile(os.path.join(directory, "heights.parquet")).metadata
    heights = [meta.row_group(i).num_rows for i in range(meta.num_row_groups)]
    if heights != [10, 25, 5, 10] or meta.format_version != "1.0":
        failures.append(f"heights.parquet: heights {heights}, version {meta.format_version}")
    values = pq.read_table(os.path.join(directory, "heights.parquet")).column("a").to_pylist()
    if values != [float(i) for i in range(ROWS)]:
        failures.append("heights.parquet: values differ")


def main(directory):
    path = os.path.join(directory, "all_classes.parquet")
    want = expected_columns()
    check_pyarrow(path, want)
    check_duckdb(path, want)
    check_polars(path, want)
    check_fastparquet(path, want)
    check_metadata(directory)
    for line in failures:
        print(line)
    print(f"{len(failures)} failed checks")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
