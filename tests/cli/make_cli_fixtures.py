"""Writes the Parquet files the command-line tests run the program on, with
pyarrow and DuckDB.

    make_cli_fixtures.py OUTPUT_DIR
"""
import datetime
import json
import math
import os
import sys

import duckdb
import pyarrow as pa
import pyarrow.parquet as pq


def sorted_file(out):
    # 100 row groups of 1000 rows; every column ordered (or constant) within
    # a row group, so that statistics can rule most row groups out.
    n = 100_000
    start = datetime.datetime(2024, 1, 1)
    value = []
    for i in range(n):
        if i % 97 == 0:
            value.append(None)
        elif i % 101 == 0:
            value.append(math.nan)
        else:
            value.append(i * 0.25)
    table = pa.table({
        "id": pa.array(range(n), pa.int64()),
        "bucket": pa.array([i // 1000 for i in range(n)], pa.int32()),
        "ts": pa.array([start + datetime.timedelta(minutes=i) for i in range(n)], pa.timestamp("us")),
        "day": pa.array([(start + datetime.timedelta(minutes=i)).date() for i in range(n)], pa.date32()),
        "name": pa.array([f"k{i:06d}" for i in range(n)], pa.string()),
        "value": pa.array(value, pa.float64()),
        "flag": pa.array([(i // 1000) % 2 == 0 for i in range(n)], pa.bool_()),
        "cat": pa.array([f"c{i % 3}" for i in range(n)]).dictionary_encode(),
        "tags": pa.array([[f"t{i % 5}"] for i in range(n)], pa.list_(pa.string())),
    })
    pq.write_table(table, os.path.join(out, "pyarrow_sorted.parquet"), row_group_size=1000)
    # The same data without statistics: nothing can be skipped.
    pq.write_table(table, os.path.join(out, "pyarrow_no_stats.parquet"), row_group_size=1000,
                   write_statistics=False)


def nested_file(out):
    n = 300
    table = pa.table({
        "tags": pa.array([[f"t{i}", "x"] if i % 5 else None for i in range(n)], pa.list_(pa.string())),
        "point": pa.array([{"x": i, "y": float(i) / 2} for i in range(n)],
                          pa.struct([("x", pa.int32()), ("y", pa.float64())])),
        "attrs": pa.array([[("k", i)] for i in range(n)], pa.map_(pa.string(), pa.int64())),
        "when": pa.array(range(n), pa.timestamp("ms", tz="UTC")),
        "größe": pa.array([i * 0.5 for i in range(n)], pa.float64()),
    })
    pq.write_table(table, os.path.join(out, "pyarrow_nested.parquet"), row_group_size=128)


def other_files(out):
    schema = pa.schema([("id", pa.int64()), ("name", pa.string())])
    with pq.ParquetWriter(os.path.join(out, "pyarrow_empty.parquet"), schema):
        pass
    # Dictionaries inside lists, in one row group: readable, and writing them
    # back warns.
    words = pa.array([["a", "b"], ["b"], None, ["c", "a"]] * 10, pa.list_(pa.dictionary(pa.int32(), pa.string())))
    pq.write_table(pa.table({"words": words, "n": pa.array(range(40), pa.int64())}),
                   os.path.join(out, "pyarrow_list_dict.parquet"))


def records_file(out):
    # Missing records, one-element lists, bytes, and key-value metadata of the
    # file's own.
    table = pa.table({
        "rec": pa.array([{"a": 1, "b": "x"}, None, {"a": None, "b": None}],
                        pa.struct([("a", pa.int32()), ("b", pa.string())])),
        "one": pa.array([["a"], ["a", "b"], None], pa.list_(pa.string())),
        "bin": pa.array([b"\x00\x01", None, b""], pa.binary()),
    }).replace_schema_metadata({"origin": "fixture"})
    pq.write_table(table, os.path.join(out, "pyarrow_records.parquet"))
    # A record holding a list, which --where cannot compare.
    holder = pa.array([{"tags": ["a"], "n": 1}, {"tags": [], "n": 2}],
                      pa.struct([("tags", pa.list_(pa.string())), ("n", pa.int64())]))
    pq.write_table(pa.table({"holder": holder}), os.path.join(out, "pyarrow_record_list.parquet"))


def duckdb_file(out):
    path = os.path.join(out, "duckdb_flat.parquet")
    duckdb.sql(f"""
        COPY (SELECT i AS id, i * 1.5 AS value, 'row ' || i AS label,
                     CASE WHEN i % 4 = 0 THEN NULL ELSE i END AS maybe
              FROM range(250000) t(i))
        TO '{path}' (FORMAT PARQUET, ROW_GROUP_SIZE 100000)""")


def zoned_decimal_file(out):
    # Time stamps in New York and exact decimals, in 4 row groups of 25 rows;
    # the texts pyarrow and Python's zoneinfo give for them go to a CSV file
    # the tests compare the program's output with.
    import decimal
    import zoneinfo
    n = 100
    zone = zoneinfo.ZoneInfo("America/New_York")
    start = datetime.datetime(2024, 1, 1, tzinfo=datetime.timezone.utc)
    # Across the spring change of offset (2024-03-10 07:00 UTC).
    instants = [start + datetime.timedelta(days=i, hours=i % 24) for i in range(n)]
    amounts = [decimal.Decimal(-86026138 + 12345 * i).scaleb(-4) for i in range(n)]
    amounts[3] = None
    table = pa.table({
        "id": pa.array(range(n), pa.int64()),
        "at": pa.array(instants, pa.timestamp("us", tz="America/New_York")),
        "amount": pa.array(amounts, pa.decimal128(18, 4)),
    })
    pq.write_table(table, os.path.join(out, "pyarrow_zoned_decimal.parquet"), row_group_size=25)
    with open(os.path.join(out, "pyarrow_zoned_decimal_expected.csv"), "w") as f:
        for i in range(n):
            local = instants[i].astimezone(zone).isoformat(timespec="microseconds")
            amount = "" if amounts[i] is None else str(amounts[i])
            f.write(f"{i},{local},{amount}\n")


def decimals_file(out):
    # Decimals of every scale from 0 to 8 (small, large, negative, zero; the
    # scales above 6 write small values with an exponent) and 38 digits, in
    # 128 and 256 bits; pyarrow's texts of them go to a CSV file.
    import decimal
    import random
    rng = random.Random(5)
    n = 400
    columns = {}
    for scale in range(9):
        values = []
        for i in range(n):
            magnitude = rng.choice([0, 1, 9, 10, 99, 12345, 10**9, 10**15 - 1, 10**17, rng.randrange(10**18)])
            values.append(None if i % 37 == 5 else decimal.Decimal((-1) ** i * magnitude).scaleb(-scale))
        columns[f"d{scale}"] = pa.array(values, pa.decimal128(18, scale))
    wide = [decimal.Decimal((-1) ** i * rng.randrange(10**37)).scaleb(-3) for i in range(n)]
    columns["wide"] = pa.array(wide, pa.decimal128(38, 3))
    columns["w256"] = pa.array(wide, pa.decimal256(40, 3))
    table = pa.table(columns)
    pq.write_table(table, os.path.join(out, "pyarrow_decimals.parquet"), row_group_size=150)
    # Arrow's own decimal texts (Python's differ in the exponent form).
    texts = [table.column(c).cast(pa.string()).to_pylist() for c in table.column_names]
    with open(os.path.join(out, "pyarrow_decimals_expected.csv"), "w") as f:
        f.write(",".join(table.column_names) + "\n")
        for i in range(n):
            f.write(",".join("" if column[i] is None else column[i] for column in texts) + "\n")


def page_types_file(out):
    # One page per column chunk, with the page index: its bounds are the
    # chunk's, of dates, time stamps, times, decimals, unsigned integers and
    # bytes.
    import decimal
    table = pa.table({
        "day": pa.array([datetime.date(2024, 1, 2), datetime.date(2023, 12, 31)], pa.date32()),
        "at": pa.array([1704164645000000, 1704067200000000], pa.timestamp("us", tz="UTC")),
        "naive": pa.array([1704164645250, 1704067200000], pa.timestamp("ms")),
        "clock": pa.array([3723000000, 0], pa.time64("us")),
        "price": pa.array([decimal.Decimal("-12.50"), decimal.Decimal("3.25")], pa.decimal128(9, 2)),
        "big": pa.array([1, 2**63 + 5], pa.uint64()),
        "blob": pa.array([b"\x00\xff", b"\x01"], pa.binary()),
        "name": pa.array(["b", "a"]),
    })
    pq.write_table(table, os.path.join(out, "pyarrow_page_types.parquet"), write_page_index=True,
                   use_dictionary=False)


def pages_file(out):
    # Known pages: 1000 rows in row groups of 600 and 400, pages of 200 rows
    # (small pages, batches of 100), no dictionary, with the page index and
    # key-value metadata. Every 7th text is missing.
    table = pa.table({
        "id": pa.array(range(1000), pa.int64()),
        "s": pa.array([None if i % 7 == 0 else f"v{i:04d}" for i in range(1000)]),
    }).replace_schema_metadata({"owner": "ovparquet tests", "note": "gr\u00fc\u00dfe"})
    pq.write_table(table, os.path.join(out, "pyarrow_pages.parquet"), row_group_size=600, data_page_size=1000,
                   write_batch_size=100, use_dictionary=False, write_page_index=True,
                   compression={"id": "zstd", "s": "snappy"})


def metadata_views(out):
    # What pyarrow's metadata reports about some files, for the tests to
    # compare the program's inspection with.
    views = {}
    for name in ["pyarrow_pages.parquet", "pyarrow_nested.parquet", "duckdb_flat.parquet", "pyarrow_empty.parquet"]:
        metadata = pq.ParquetFile(os.path.join(out, name)).metadata
        schema = metadata.schema
        view = {
            "createdBy": metadata.created_by,
            "numRows": metadata.num_rows,
            "numRowGroups": metadata.num_row_groups,
            "fileSize": os.path.getsize(os.path.join(out, name)),
            "keyValueMetadata": {k.decode(): v.decode() for k, v in (metadata.metadata or {}).items()},
            "leaves": [{"path": schema.column(i).path, "physicalType": schema.column(i).physical_type,
                        "logicalType": str(schema.column(i).logical_type),
                        "convertedType": schema.column(i).converted_type}
                       for i in range(metadata.num_columns)],
            "chunks": [],
        }
        for r in range(metadata.num_row_groups):
            for c in range(metadata.num_columns):
                chunk = metadata.row_group(r).column(c)
                view["chunks"].append({
                    "rowGroup": r + 1, "column": chunk.path_in_schema, "codec": chunk.compression.lower(),
                    "encodings": list(chunk.encodings), "numValues": chunk.num_values,
                    "compressedBytes": chunk.total_compressed_size,
                    "uncompressedBytes": chunk.total_uncompressed_size, "hasStatistics": chunk.is_stats_set,
                    "hasDictionaryPage": chunk.has_dictionary_page, "hasColumnIndex": chunk.has_column_index,
                    "hasOffsetIndex": chunk.has_offset_index, "dataPageOffset": chunk.data_page_offset})
        views[name] = view
    with open(os.path.join(out, "pyarrow_metadata.json"), "w") as f:
        json.dump(views, f, indent=1)


def main():
    out = sys.argv[1]
    os.makedirs(out, exist_ok=True)
    sorted_file(out)
    nested_file(out)
    other_files(out)
    records_file(out)
    duckdb_file(out)
    zoned_decimal_file(out)
    decimals_file(out)
    page_types_file(out)
    pages_file(out)
    metadata_views(out)


if __name__ == "__main__":
    main()
