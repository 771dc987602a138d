"""Files written by pyarrow and DuckDB with nested columns (lists of
structs, maps), dictionaries, timestamps of every unit, decimals, binary and
nulls, and, for each, the values those libraries read, written as JSON in
the form the host arrays take:

- integers, floats and booleans as numbers and booleans; decimals as floats;
- strings and dictionary (categorical) values as text;
- timestamps, dates and times as integer ticks in the column's unit (dates
  in days; date64 in days too);
- binary values as lists of byte values;
- lists as lists, structs as objects, maps as lists of {"Key", "Value"};
- nulls as null.

    make_read_fixtures.py OUTPUT_DIR
"""
import datetime
import decimal
import json
import os
import sys

import duckdb
import pyarrow as pa
import pyarrow.parquet as pq

N = 300


def canonical(value, type_):
    """A value as pyarrow's to_pylist gives it -> the JSON form above."""
    if value is None:
        return None
    if pa.types.is_dictionary(type_):
        return canonical(value, type_.value_type)
    if pa.types.is_timestamp(type_):
        return value  # read as integers (see column_values)
    if pa.types.is_decimal(type_):
        return float(value)
    if pa.types.is_binary(type_) or pa.types.is_large_binary(type_) or pa.types.is_fixed_size_binary(type_):
        return list(value)
    if pa.types.is_map(type_):
        return [{"Key": canonical(k, type_.key_type), "Value": canonical(v, type_.item_type)} for k, v in value]
    if pa.types.is_list(type_) or pa.types.is_large_list(type_):
        return [canonical(v, type_.value_type) for v in value]
    if pa.types.is_struct(type_):
        return {type_.field(i).name: canonical(value[type_.field(i).name], type_.field(i).type)
                for i in range(type_.num_fields)}
    if isinstance(value, float) and value != value:
        return "NaN"
    return value


def integer_view(type_):
    """Temporal types become their integer storage, recursively."""
    if pa.types.is_timestamp(type_) or pa.types.is_time64(type_) or pa.types.is_duration(type_):
        return pa.int64()
    if pa.types.is_date32(type_) or pa.types.is_time32(type_):
        return pa.int32()
    if pa.types.is_date64(type_):
        return pa.int64()
    if pa.types.is_list(type_):
        return pa.list_(pa.field(type_.value_field.name, integer_view(type_.value_type)))
    if pa.types.is_struct(type_):
        return pa.struct([pa.field(f.name, integer_view(f.type)) for f in type_])
    return type_


def column_values(column):
    column = column.combine_chunks() if isinstance(column, pa.ChunkedArray) else column
    type_ = column.type
    if pa.types.is_date64(type_):  # milliseconds -> days, rounding down
        return [None if v is None else v // 86400000 for v in column.cast(pa.int64()).to_pylist()]
    if pa.types.is_dictionary(type_):
        return [canonical(v, type_.value_type) for v in column.to_pylist()]
    view = integer_view(type_)
    if view != type_:
        column = column.cast(view)
    return [canonical(v, view) for v in column.to_pylist()]


def pyarrow_files(out):
    i = list(range(N))
    table = pa.table({
        "id": pa.array(i, pa.int64()),
        "maybe": pa.array([None if k % 5 == 0 else k * 1.25 for k in i], pa.float64()),
        "ts_s": pa.array([None if k % 7 == 0 else 1700000000 + k for k in i], pa.timestamp("s")),
        "ts_ms": pa.array([1700000000000 + k for k in i], pa.timestamp("ms", tz="Europe/Paris")),
        "ts_us": pa.array([1700000000000000 + k for k in i], pa.timestamp("us", tz="UTC")),
        "ts_ns": pa.array([1700000000000000000 + k for k in i], pa.timestamp("ns")),
        "day": pa.array([19000 + k for k in i], pa.date32()),
        "day64": pa.array([(19000 + k) * 86400000 for k in i], pa.date64()),
        "tod": pa.array([k * 1000 for k in i], pa.time32("ms")),
        "tod_ns": pa.array([k * 1000 for k in i], pa.time64("ns")),
        "price": pa.array([decimal.Decimal(k) / 100 for k in i], pa.decimal128(10, 2)),
        "label": pa.array([None if k % 11 == 0 else ["red", "green", "blue"][k % 3] for k in i],
                          pa.dictionary(pa.int32(), pa.string())),
        "blob": pa.array([None if k % 13 == 0 else bytes([k % 256, 7]) for k in i], pa.binary()),
        "items": pa.array([None if k % 17 == 0 else [{"a": k, "b": f"x{j}"} for j in range(k % 3)] for k in i],
                          pa.list_(pa.struct([("a", pa.int32()), ("b", pa.string())]))),
        "attrs": pa.array([None if k % 19 == 0 else [("k1", k), ("k2", -k)] for k in i],
                          pa.map_(pa.string(), pa.int64())),
        "deep": pa.array([{"p": {"q": [k, k + 1]}, "r": None if k % 2 else "even"} for k in i],
                         pa.struct([("p", pa.struct([("q", pa.list_(pa.int16()))])), ("r", pa.string())])),
        "text": pa.array([None if k % 9 == 0 else ("" if k % 10 == 1 else f"Grüße {k} ✓") for k in i],
                         pa.large_string()),
    })
    path = os.path.join(out, "pyarrow_read.parquet")
    pq.write_table(table, path, row_group_size=100)
    back = pq.read_table(path)
    return {"file": "pyarrow_read.parquet", "reader": "pyarrow",
            "columns": {name: column_values(back.column(name)) for name in back.column_names}}


def duckdb_files(out):
    path = os.path.join(out, "duckdb_read.parquet")
    duckdb.sql(f"""
        COPY (SELECT i AS id,
                     CASE WHEN i % 5 = 0 THEN NULL ELSE i * 1.5 END AS val,
                     'name ' || i AS name,
                     [i, i * 2] AS pair,
                     {{'a': i, 'b': 'x' || i}} AS rec,
                     CASE WHEN i % 3 = 0 THEN NULL ELSE [{{'k': i, 'v': 'y'}}] END AS recs,
                     MAP(['one', 'two'], [i, i + 1]) AS m,
                     (i / 100)::DECIMAL(12, 2) AS amount,
                     TIMESTAMP '2024-01-01 00:00:00' + INTERVAL (i) SECOND AS stamp,
                     DATE '2024-01-01' + i::INTEGER AS day
              FROM range({N}) t(i))
        TO '{path}' (FORMAT PARQUET, ROW_GROUP_SIZE 128)""")
    relation = duckdb.sql(f"""
        SELECT id, val::DOUBLE AS val, name, pair, rec, recs, m, amount::DOUBLE AS amount,
               epoch_us(stamp) AS stamp, (day - DATE '1970-01-01') AS day
        FROM read_parquet('{path}')""")
    names = relation.columns
    rows = relation.fetchall()
    columns = {name: [row[k] for row in rows] for k, name in enumerate(names)}
    # DuckDB gives maps as dicts (in entry order): the host form is a list of entries.
    columns["m"] = [None if v is None else [{"Key": key, "Value": val} for key, val in v.items()]
                    for v in columns["m"]]
    columns["amount"] = [None if v is None else float(v) for v in columns["amount"]]
    return {"file": "duckdb_read.parquet", "reader": "duckdb", "columns": columns}


def main(out):
    os.makedirs(out, exist_ok=True)
    entries = [pyarrow_files(out), duckdb_files(out)]
    with open(os.path.join(out, "manifest.json"), "w", encoding="utf-8") as f:
        json.dump(entries, f, ensure_ascii=False)
    print(f"wrote {len(entries)} files to {out}")


if __name__ == "__main__":
    main(sys.argv[1])
