"""Writes the Parquet files the Octave tests read, with pyarrow, and what
pyarrow itself reads from them (JSON), for the tests to compare against.

    make_fixtures.py OUTDIR
"""
import datetime as dt
import json
import math
import os
import sys

import pyarrow as pa
import pyarrow.parquet as pq

DATENUM_EPOCH = 719529  # datenum(1970, 1, 1)


def types_table():
    n = 10
    paris = pa.timestamp("ms", tz="Europe/Paris")
    cols = {
        "d": pa.array([1.5, None, -2.25, 3.0, 1e300, 0.0, None, 7.0, 8.5, -0.5], pa.float64()),
        "f": pa.array([1.5, 2.5, None, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0, None], pa.float32()),
        "i8": pa.array([-128, 127, None, 0, 1, 2, 3, None, 5, 6], pa.int8()),
        "u16": pa.array([0, 65535, 1, 2, 3, 4, 5, 6, 7, 8], pa.uint16()),
        "i32": pa.array([1, 2, 3, None, 5, 6, 7, 8, 9, 10], pa.int32()),
        "i64": pa.array([2**53 + 1, -(2**62), None, 3, 4, 5, 6, 7, 8, 9], pa.int64()),
        "u64": pa.array([2**64 - 1, 0, 1, 2, 3, 4, 5, 6, 7, 8], pa.uint64()),
        "b": pa.array([True, False, None, True, True, False, False, None, True, False]),
        "s": pa.array(["a", "", None, "Grüße", "x" * 50, "b", "c", None, "d", "e"]),
        "cat": pa.array(["lo", "hi", None, "lo", "mid", "hi", "lo", "lo", None, "mid"]).dictionary_encode(),
        "ts": pa.array([1700000000123, None, 0, -86400001, 1700000000000, 1, 2, 3, 4, 5], paris),
        "date": pa.array([dt.date(2024, 1, 2), None, dt.date(1969, 12, 31), dt.date(2000, 2, 29)] + [dt.date(2020, 1, 1)] * 6),
        "dur": pa.array([1500000, None, -3, 0, 1, 2, 3, 4, 5, 6], pa.duration("us")),
        "lst": pa.array([[1, 2], [], None, [None, 4], [5], [6], [7, 8, 9], [], [10], [11]], pa.list_(pa.int32())),
        "lst_s": pa.array([["a"], ["b", None], None, [], ["c"], ["d"], ["e"], ["f"], ["g"], ["h"]], pa.list_(pa.string())),
        "st": pa.array([{"a": i, "b": str(i)} if i != 3 else {"a": None, "b": None} for i in range(n)],
                       pa.struct([("a", pa.int32()), ("b", pa.string())])),
        "mp": pa.array([[("k", 1)], [], None, [("x", 2), ("y", None)], [("z", 3)]] + [[("k", 4)]] * 5,
                       pa.map_(pa.string(), pa.int32())),
    }
    return pa.table(cols)


def jsonable(v):
    if isinstance(v, float) and (math.isnan(v) or math.isinf(v)):
        return None
    return v


def expected(table):
    """Per variable: the values as the Octave mapping shows them, and the
    missing mask."""
    out = {}
    for name in table.column_names:
        col = table.column(name).combine_chunks()
        t = col.type
        values = col.to_pylist()
        missing = [v is None for v in values]
        if pa.types.is_timestamp(t):
            per_day = {"s": 86400, "ms": 86400000, "us": 86400000000, "ns": 86400000000000}[t.unit]
            ints = col.cast(pa.int64()).to_pylist()
            values = [None if v is None else DATENUM_EPOCH + v / per_day for v in ints]
        elif pa.types.is_date32(t):
            values = [None if v is None else DATENUM_EPOCH + v for v in col.cast(pa.int32()).to_pylist()]
        elif pa.types.is_duration(t):
            per_s = {"s": 1, "ms": 1e3, "us": 1e6, "ns": 1e9}[t.unit]
            values = [None if v is None else v / per_s for v in col.cast(pa.int64()).to_pylist()]
        elif pa.types.is_integer(t):
            # As text: JSON numbers lose 64-bit integers.
            values = [None if v is None else str(v) for v in values]
        elif pa.types.is_map(t):
            values = [None if v is None else [{"Key": k, "Value": x} for k, x in v] for v in values]
        out[name] = {"values": [jsonable(v) for v in values], "missing": missing, "type": str(t)}
    return out


def main(outdir):
    os.makedirs(outdir, exist_ok=True)
    table = types_table()
    pq.write_table(table, os.path.join(outdir, "types.parquet"), row_group_size=4)
    with open(os.path.join(outdir, "types.json"), "w") as f:
        json.dump(expected(table), f)

    # Many row groups of a few variables, for the iterator, byte ranges and
    # statistics.
    rows = 2000
    t = pa.table({
        "id": pa.array(range(rows), pa.int64()),
        "x": pa.array([None if i % 97 == 0 else (i * 0.5) - 300 for i in range(rows)], pa.float64()),
        "name": pa.array([None if i % 101 == 0 else "n%05d" % ((i * 7919) % rows) for i in range(rows)]),
        "flag": pa.array([i % 3 == 0 for i in range(rows)]),
    })
    path = os.path.join(outdir, "groups.parquet")
    pq.write_table(t, path, row_group_size=150)
    meta = pq.ParquetFile(path).metadata
    stats = {"heights": [], "offsets": [], "variables": {}}
    for r in range(meta.num_row_groups):
        rg = meta.row_group(r)
        stats["heights"].append(rg.num_rows)
        c0 = rg.column(0)
        stats["offsets"].append(c0.dictionary_page_offset if c0.has_dictionary_page else c0.data_page_offset)
        for c in range(rg.num_columns):
            col = rg.column(c)
            s = col.statistics
            v = stats["variables"].setdefault(col.path_in_schema, {"nullCount": [], "min": [], "max": [], "hasMinMax": []})
            v["nullCount"].append(s.null_count)
            v["hasMinMax"].append(s.has_min_max)
            mn, mx = (s.min, s.max) if s.has_min_max else (None, None)
            if isinstance(mn, bool):
                mn, mx = int(mn), int(mx)
            v["min"].append(jsonable(mn))
            v["max"].append(jsonable(mx))
    with open(os.path.join(outdir, "groups.json"), "w") as f:
        json.dump(stats, f)

    # Text that is not valid UTF-8 in a string column.
    bad = pa.Array.from_buffers(pa.string(), 2, [None, pa.py_buffer(b"\x00\x00\x00\x00\x02\x00\x00\x00\x04\x00\x00\x00"),
                                                   pa.py_buffer(b"ok\xff\xfe")])
    pq.write_table(pa.table({"s": bad}), os.path.join(outdir, "badutf8.parquet"))

    # A file without row groups, and a file that is not Parquet.
    pq.write_table(t.slice(0, 0), os.path.join(outdir, "empty.parquet"))
    with open(os.path.join(outdir, "corrupt.parquet"), "wb") as f:
        f.write(b"PAR1" + b"\x00" * 100 + b"garbage" + b"PAR1")


if __name__ == "__main__":
    main(sys.argv[1])
