"""Writes Parquet files with pyarrow across format versions, codecs,
dictionary settings and nesting, and a manifest of what pyarrow's own
metadata says about each (the file summary is checked against it).

    make_info_fixtures.py OUTPUT_DIR
"""
import json
import os
import sys

import duckdb
import fastparquet
import pandas as pd
import pyarrow as pa
import pyarrow.parquet as pq

VERSIONS = ["1.0", "2.4", "2.6"]
CODECS = ["snappy", "gzip", "zstd", "brotli", "lz4", "none"]


def flat_table(n=3000):
    return pa.table({
        "i64": pa.array(range(n), pa.int64()),
        "f64": pa.array([i / 3 for i in range(n)], pa.float64()),
        "text": pa.array([None if i % 11 == 0 else f"v{i % 50}" for i in range(n)], pa.string()),
        "flag": pa.array([i % 2 == 0 for i in range(n)], pa.bool_()),
        "small": pa.array([i % 100 for i in range(n)], pa.int8()),
        "when": pa.array(range(n), pa.timestamp("us", tz="UTC")),
        "day": pa.array(range(n), pa.date32()),
    })


def nested_table(n=500):
    return pa.table({
        "id": pa.array(range(n), pa.int32()),
        "tags": pa.array([[f"t{i % 7}"] * (i % 3) for i in range(n)], pa.list_(pa.string())),
        "point": pa.array([{"x": i, "y": i * 0.5} for i in range(n)],
                          pa.struct([("x", pa.int64()), ("y", pa.float64())])),
        "attrs": pa.array([[("k", float(i))] for i in range(n)], pa.map_(pa.string(), pa.float64())),
    })


def describe(path):
    f = pq.ParquetFile(path)
    meta = f.metadata
    arrow_schema = f.schema_arrow
    parquet_schema = f.schema
    # Leaf columns per top-level variable, in Parquet leaf order.
    leaves = {}
    for j in range(meta.num_columns):
        top = parquet_schema.column(j).path.split(".")[0]
        leaves.setdefault(top, []).append(j)
    variables = []
    for field in arrow_schema:
        cols = leaves.get(field.name, [])
        entry = {"name": field.name, "arrowType": str(field.type), "leaves": cols}
        if len(cols) == 1:
            col = parquet_schema.column(cols[0])
            entry["physicalType"] = col.physical_type
            if meta.num_row_groups > 0:
                chunk = meta.row_group(0).column(cols[0])
                entry["compression"] = chunk.compression.lower()
                entry["hasDictionaryPage"] = chunk.has_dictionary_page
                entry["encodings"] = list(chunk.encodings)
            if field.type.num_fields == 0:  # a top-level primitive: its node is the leaf
                entry["convertedType"] = col.converted_type
                entry["logicalType"] = str(col.logical_type)
        variables.append(entry)
    return {
        "formatVersion": meta.format_version,
        "numRowGroups": meta.num_row_groups,
        "rowGroupHeights": [meta.row_group(i).num_rows for i in range(meta.num_row_groups)],
        "fileSize": os.path.getsize(path),
        "variables": variables,
    }


def main(out):
    os.makedirs(out, exist_ok=True)
    entries = []
    flat, nested = flat_table(), nested_table()
    for version in VERSIONS:
        for codec in CODECS:
            for dictionary in (True, False):
                for kind, table in (("flat", flat), ("nested", nested)):
                    name = f"v{version}_{codec}_{'dict' if dictionary else 'plain'}_{kind}.parquet"
                    path = os.path.join(out, name)
                    pq.write_table(table, path, version=version, compression=codec,
                                   use_dictionary=dictionary, row_group_size=1000)
                    entries.append({"file": name, **describe(path)})
    # DuckDB and fastparquet list only PLAIN for a plain-encoded chunk (no
    # level encoding), which the summary's narrow rule reports as "".
    path = os.path.join(out, "duckdb_plain.parquet")
    duckdb.sql(f"""
        COPY (SELECT range::BIGINT AS i64, range / 3 AS f64, range % 2 = 0 AS flag FROM range(3000))
        TO '{path}' (FORMAT parquet)""")
    entries.append({"file": "duckdb_plain.parquet", "writer": "duckdb", **describe(path)})
    path = os.path.join(out, "fastparquet_plain.parquet")
    frame = pd.DataFrame({"i64": range(3000), "f64": [i / 3 for i in range(3000)],
                          "text": [f"v{i % 50}" for i in range(3000)]})
    fastparquet.write(path, frame, write_index=False)
    entries.append({"file": "fastparquet_plain.parquet", "writer": "fastparquet", **describe(path)})
    path = os.path.join(out, "zero_row_groups.parquet")
    with pq.ParquetWriter(path, flat.schema):
        pass
    entries.append({"file": "zero_row_groups.parquet", **describe(path)})
    with open(os.path.join(out, "manifest.json"), "w", encoding="utf-8") as f:
        json.dump(entries, f, ensure_ascii=False, indent=1)
    print(f"wrote {len(entries)} files to {out}")


if __name__ == "__main__":
    main(sys.argv[1])
