"""Writes Parquet files with pyarrow, DuckDB and polars, and a manifest of
what those libraries themselves report about each file (row-group count,
row-group heights, variable names). The C++ tests read the same files and
compare with the manifest.

    make_fixtures.py OUTPUT_DIR
"""
import json
import os
import sys

import duckdb
import polars as pl
import pyarrow as pa
import pyarrow.parquet as pq


def pyarrow_files(out):
    n = 2500
    flat = pa.table({
        "id": pa.array(range(n), pa.int64()),
        "größe": pa.array([i * 0.25 for i in range(n)], pa.float64()),
        "名前": pa.array([None if i % 7 == 0 else f"n{i}" for i in range(n)], pa.string()),
        "flag": pa.array([i % 3 == 0 for i in range(n)], pa.bool_()),
    })
    pq.write_table(flat, os.path.join(out, "pyarrow_flat.parquet"), row_group_size=1000)

    nested = pa.table({
        "tags": pa.array([[f"t{i}", "x"] if i % 5 else None for i in range(300)], pa.list_(pa.string())),
        "point": pa.array([{"x": i, "y": float(i) / 2} for i in range(300)],
                          pa.struct([("x", pa.int32()), ("y", pa.float64())])),
        "attrs": pa.array([[("k", i)] for i in range(300)], pa.map_(pa.string(), pa.int64())),
        "when": pa.array(range(300), pa.timestamp("ms", tz="UTC")),
    })
    pq.write_table(nested, os.path.join(out, "pyarrow_nested.parquet"), row_group_size=128)

    # A writer closed before any row group was written.
    with pq.ParquetWriter(os.path.join(out, "pyarrow_empty.parquet"), flat.schema):
        pass


def duckdb_files(out):
    path = os.path.join(out, "duckdb_flat.parquet")
    duckdb.sql(f"""
        COPY (SELECT i AS id, i * 1.5 AS value, 'row ' || i AS label,
                     CASE WHEN i % 4 = 0 THEN NULL ELSE i END AS maybe
              FROM range(250000) t(i))
        TO '{path}' (FORMAT PARQUET, ROW_GROUP_SIZE 100000)""")
    path = os.path.join(out, "duckdb_nested.parquet")
    duckdb.sql(f"""
        COPY (SELECT i AS id, [i, i + 1] AS pair, {{'a': i, 'b': 'x' || i}} AS rec
              FROM range(5000) t(i))
        TO '{path}' (FORMAT PARQUET, ROW_GROUP_SIZE 2048)""")


def polars_files(out):
    df = pl.DataFrame({
        "a": list(range(30000)),
        "b": [f"s{i % 100}" for i in range(30000)],
        "c": [float(i) for i in range(30000)],
    })
    df.write_parquet(os.path.join(out, "polars_flat.parquet"), row_group_size=10000)


def report(path, writer):
    """What the writing library (and pyarrow, DuckDB as cross-checks) report."""
    meta = pq.ParquetFile(path).metadata
    heights = [meta.row_group(i).num_rows for i in range(meta.num_row_groups)]
    duck = duckdb.sql(
        f"SELECT row_group_id, any_value(row_group_num_rows) FROM parquet_metadata('{path}') "
        "GROUP BY row_group_id ORDER BY row_group_id").fetchall()
    duck_heights = [rows for _, rows in duck]
    if heights != duck_heights:
        raise SystemExit(f"{path}: pyarrow heights {heights} differ from DuckDB's {duck_heights}")
    if writer == "duckdb":
        names = [row[0] for row in duckdb.sql(f"DESCRIBE SELECT * FROM read_parquet('{path}')").fetchall()]
    elif writer == "polars":
        names = list(pl.read_parquet_schema(path).keys())
    else:
        names = pq.read_schema(path).names
    return {"file": os.path.basename(path), "writer": writer, "numRowGroups": len(heights),
            "rowGroupHeights": heights, "variableNames": names}


def main(out):
    os.makedirs(out, exist_ok=True)
    pyarrow_files(out)
    duckdb_files(out)
    polars_files(out)
    entries = []
    for name in sorted(os.listdir(out)):
        if name.endswith(".parquet"):
            entries.append(report(os.path.join(out, name), name.split("_")[0]))
    with open(os.path.join(out, "manifest.json"), "w", encoding="utf-8") as f:
        json.dump(entries, f, ensure_ascii=False, indent=1)
    print(f"wrote {len(entries)} fixtures to {out}")


if __name__ == "__main__":
    main(sys.argv[1])
