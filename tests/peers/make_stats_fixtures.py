"""Writes Parquet files with pyarrow, with row-group statistics on, off and on
for some columns only, across every type that rows can be filtered on, and a
manifest of what pyarrow itself reports about each row group's statistics
(the library's statistics are checked against it).

    make_stats_fixtures.py OUTPUT_DIR

Manifest values are encoded so that C++ can compare them exactly:
- timestamps and times: the raw integer stored in the file, with the unit of
  the Parquet logical type ("ms", "us", "ns");
- dates: the raw number of days;
- integers: the logical value (unsigned ones above 2**63 stay exact);
- floats: repr() of the raw value ("nan", "inf", "-inf", "-0.0", ...);
- strings: the text; booleans: true/false.
"""
import json
import math
import os
import random
import sys

import pyarrow as pa
import pyarrow.parquet as pq

ROWS_PER_GROUP = 50
GROUPS = 5
N = ROWS_PER_GROUP * (GROUPS - 1) + 17  # the last row group is shorter

TIME_UNITS = {"milliseconds": "ms", "microseconds": "us", "nanoseconds": "ns"}


def column_values(rng, kind, n):
    """Values of one column: nulls scattered, whole null row groups in some."""
    out = []
    for i in range(n):
        group = i // ROWS_PER_GROUP
        if kind.get("null_group") == group or rng.random() < 0.1:
            out.append(None)
            continue
        out.append(kind["make"](rng, i, group))
    return out


def float_value(rng, i, group):
    # Group 0 holds +inf, group 1 -inf, group 2 signed zeros, group 3 only
    # NaN, NaN sprinkled everywhere else.
    if group == 3:
        return float("nan")
    if i % ROWS_PER_GROUP == 7:
        return {0: float("inf"), 1: float("-inf"), 2: -0.0}.get(group, float("nan"))
    if group == 2:
        return 0.0 if i % 2 else -0.0
    if rng.random() < 0.1:
        return float("nan")
    return rng.uniform(-1e6, 1e6)


def text_value(rng, i, group):
    words = ["", "alpha", "Beta", "gamma", "δέλτα", "ε", "zeta", "ηta", "日本", "z" * 40, "\u00e9", "e\u0301"]
    return rng.choice(words) + str(i % 7)


COLUMNS = [
    # name, Arrow type, generator, optional whole-null row group
    ("b", pa.bool_(), {"make": lambda r, i, g: r.random() < 0.5}),
    ("b_true", pa.bool_(), {"make": lambda r, i, g: True}),
    ("i8", pa.int8(), {"make": lambda r, i, g: r.randint(-128, 127)}),
    ("u8", pa.uint8(), {"make": lambda r, i, g: r.randint(0, 255)}),
    ("i16", pa.int16(), {"make": lambda r, i, g: r.randint(-2**15, 2**15 - 1), "null_group": 2}),
    ("u16", pa.uint16(), {"make": lambda r, i, g: r.randint(0, 2**16 - 1)}),
    ("i32", pa.int32(), {"make": lambda r, i, g: r.randint(-2**31, 2**31 - 1)}),
    ("u32", pa.uint32(), {"make": lambda r, i, g: r.randint(0, 2**32 - 1)}),
    ("i64", pa.int64(), {"make": lambda r, i, g: r.choice([-2**63, 2**63 - 1, r.randint(-2**40, 2**40)])}),
    ("u64", pa.uint64(), {"make": lambda r, i, g: r.choice([0, 2**64 - 1, r.randint(2**62, 2**64 - 2)])}),
    ("f32", pa.float32(), {"make": float_value}),
    ("f64", pa.float64(), {"make": float_value}),
    ("str", pa.string(), {"make": text_value, "null_group": 1}),
    ("lstr", pa.large_string(), {"make": text_value}),
    ("d32", pa.date32(), {"make": lambda r, i, g: r.randint(-30000, 30000)}),
    ("d64", pa.date64(), {"make": lambda r, i, g: r.randint(-30000, 30000) * 86400000}),
    ("t32s", pa.time32("s"), {"make": lambda r, i, g: r.randint(0, 86399)}),
    ("t32ms", pa.time32("ms"), {"make": lambda r, i, g: r.randint(0, 86399999)}),
    ("t64us", pa.time64("us"), {"make": lambda r, i, g: r.randint(0, 86399999999)}),
    ("t64ns", pa.time64("ns"), {"make": lambda r, i, g: r.randint(0, 86399999999999)}),
    ("null", pa.null(), {"make": lambda r, i, g: None}),
]
for unit, scale in (("s", 1), ("ms", 10**3), ("us", 10**6), ("ns", 10**9)):
    for zone in (None, "UTC", "America/New_York"):
        name = f"ts_{unit}" + ("" if zone is None else "_" + zone.split("/")[-1].lower())
        COLUMNS.append((name, pa.timestamp(unit, tz=zone),
                        {"make": (lambda s: lambda r, i, g: r.randint(-2 * 10**9, 4 * 10**9) * s + r.randint(0, s - 1))(scale)}))


def make_table(seed=20240229):
    rng = random.Random(seed)
    arrays = {}
    for name, arrow_type, kind in COLUMNS:
        arrays[name] = pa.array(column_values(rng, kind, N), arrow_type)
    return pa.table(arrays)


def kind_of(arrow_type):
    if pa.types.is_boolean(arrow_type):
        return "bool"
    if pa.types.is_integer(arrow_type):
        return "int"
    if pa.types.is_floating(arrow_type):
        return "float"
    if pa.types.is_string(arrow_type) or pa.types.is_large_string(arrow_type):
        return "string"
    if pa.types.is_timestamp(arrow_type):
        return "timestamp"
    if pa.types.is_date(arrow_type):
        return "date"
    if pa.types.is_time(arrow_type):
        return "time"
    if pa.types.is_null(arrow_type):
        return "null"
    raise ValueError(f"no statistics kind for {arrow_type}")


def encode(kind, stats, which):
    raw = stats.min_raw if which == "min" else stats.max_raw
    logical = stats.min if which == "min" else stats.max
    if kind == "float":
        return repr(float(raw))
    if kind == "string":
        return raw.decode("utf-8") if isinstance(raw, bytes) else raw
    if kind == "bool":
        return bool(raw)
    if kind == "int":
        return int(logical)
    return int(raw)  # timestamps, dates and times: the stored integer


def describe(path):
    f = pq.ParquetFile(path)
    meta = f.metadata
    arrow_schema = f.schema_arrow
    assert meta.num_columns == len(arrow_schema), "flat files only: one leaf per variable"
    columns = []
    for j, field in enumerate(arrow_schema):
        kind = kind_of(field.type)
        logical = json.loads(f.schema.column(j).logical_type.to_json())
        entry = {"name": field.name, "arrowType": str(field.type), "kind": kind,
                 "physicalType": f.schema.column(j).physical_type}
        if kind in ("timestamp", "time"):
            entry["unit"] = TIME_UNITS[logical["timeUnit"]]
        if kind == "timestamp":
            entry["zone"] = field.type.tz
        row_groups = []
        for r in range(meta.num_row_groups):
            chunk = meta.row_group(r).column(j)
            stats = chunk.statistics if chunk.is_stats_set else None
            rg = {"statsSet": bool(chunk.is_stats_set)}
            if stats is not None:
                rg["hasNullCount"] = bool(stats.has_null_count)
                rg["nullCount"] = int(stats.null_count) if stats.has_null_count else 0
                rg["hasDistinctCount"] = bool(stats.has_distinct_count)
                rg["distinctCount"] = int(stats.distinct_count) if stats.has_distinct_count else 0
                rg["hasMinMax"] = bool(stats.has_min_max)
                if stats.has_min_max:
                    rg["min"] = encode(kind, stats, "min")
                    rg["max"] = encode(kind, stats, "max")
            row_groups.append(rg)
        entry["rowGroups"] = row_groups
        columns.append(entry)
    return {"numRowGroups": meta.num_row_groups, "columns": columns}


def main(out):
    os.makedirs(out, exist_ok=True)
    table = make_table()
    variants = [
        ("stats_on.parquet", {}),
        ("stats_off.parquet", {"write_statistics": False}),
        ("stats_some.parquet", {"write_statistics": ["i32", "str", "ts_ns_utc", "f64"]}),
        # Format 1.0 has no nanosecond timestamps: they are stored in microseconds.
        ("stats_plain_v1.parquet", {"version": "1.0", "use_dictionary": False,
                                    "coerce_timestamps": "us", "allow_truncated_timestamps": True}),
        ("stats_v2_pages.parquet", {"version": "2.6", "data_page_version": "2.0", "compression": "zstd"}),
    ]
    entries = []
    for name, options in variants:
        path = os.path.join(out, name)
        pq.write_table(table, path, row_group_size=ROWS_PER_GROUP, **options)
        entries.append({"file": name, **describe(path)})
    # A table without rows: no row group at all.
    path = os.path.join(out, "stats_no_rows.parquet")
    pq.write_table(table.slice(0, 0), path)
    entries.append({"file": "stats_no_rows.parquet", **describe(path)})

    # The point of the cross-check is files where pyarrow did write minima
    # and maxima; make sure the fixtures hold some, and some row groups
    # without them.
    with_min_max = sum(1 for e in entries for c in e["columns"] for rg in c["rowGroups"] if rg.get("hasMinMax"))
    without = sum(1 for e in entries for c in e["columns"] for rg in c["rowGroups"] if not rg.get("hasMinMax"))
    assert with_min_max > 100 and without > 50, (with_min_max, without)
    with open(os.path.join(out, "manifest.json"), "w", encoding="utf-8") as f:
        json.dump(entries, f, ensure_ascii=False, indent=1)
    print(f"wrote {len(entries)} files to {out}")


if __name__ == "__main__":
    main(sys.argv[1])
