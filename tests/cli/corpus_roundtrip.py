"""Every corpus file goes through the program (write OUT --from FILE) and reads
back with pyarrow equal to the original after the canonical type mapping:
values (missing records included), types, row-group heights and the file's
key-value metadata.

The program reads its input row group by row group and writes each one with
writeRowGroups, so equal row-group heights and equal values also show that
per-row-group path.

usage: corpus_roundtrip.py PROGRAM DATA_DIR OUT_DIR
"""
import datetime
import decimal
import math
import os
import subprocess
import sys

import pyarrow as pa
import pyarrow.parquet as pq


def canonical_type(t):
    """The Arrow type a column of type t comes back as after the host."""
    if pa.types.is_float16(t):
        return pa.float32()
    if pa.types.is_decimal(t):
        return pa.float64()
    if pa.types.is_large_string(t):
        return pa.string()
    if pa.types.is_date64(t):
        return pa.date32()
    if pa.types.is_time32(t) or pa.types.is_time64(t):
        return pa.duration(t.unit)
    if pa.types.is_null(t):
        return pa.float64()
    if pa.types.is_dictionary(t):
        if pa.types.is_string(t.value_type) or pa.types.is_large_string(t.value_type):
            return pa.dictionary(pa.int32(), pa.string(), t.ordered)
        return canonical_type(t.value_type)
    if pa.types.is_list(t):
        return pa.list_(canonical_type(t.value_type))
    if pa.types.is_large_list(t):
        return pa.large_list(canonical_type(t.value_type))
    if pa.types.is_map(t):
        return pa.map_(canonical_type(t.key_type), canonical_type(t.item_type))
    if pa.types.is_struct(t):
        return pa.struct([pa.field(f.name, canonical_type(f.type)) for f in t])
    return t


def type_text(t):
    """A type's text without item names and nullability, which Parquet
    itself does not keep the same way in every writer."""
    if pa.types.is_list(t):
        return "list<" + type_text(t.value_type) + ">"
    if pa.types.is_large_list(t):
        return "large_list<" + type_text(t.value_type) + ">"
    if pa.types.is_map(t):
        return "map<" + type_text(t.key_type) + "," + type_text(t.item_type) + ">"
    if pa.types.is_struct(t):
        return "struct<" + ",".join(f.name + ":" + type_text(f.type) for f in t) + ">"
    return str(t)


def canonical_value(v, t):
    """The Python value of v (of Arrow type t) after the canonical mapping."""
    if v is None:
        return None
    if pa.types.is_decimal(t):
        return float(decimal.Decimal(v))  # correctly rounded
    if pa.types.is_float16(t):
        return float(v)  # exact in single precision
    if pa.types.is_time32(t) or pa.types.is_time64(t):
        return datetime.timedelta(hours=v.hour, minutes=v.minute, seconds=v.second,
                                  microseconds=v.microsecond)
    if pa.types.is_dictionary(t):
        return canonical_value(v, t.value_type)
    if pa.types.is_list(t) or pa.types.is_large_list(t):
        return [canonical_value(x, t.value_type) for x in v]
    if pa.types.is_map(t):
        return [(canonical_value(k, t.key_type), canonical_value(x, t.item_type)) for k, x in v]
    if pa.types.is_struct(t):
        return {f.name: canonical_value(v[f.name], f.type) for f in t}
    return v


def same(a, b):
    if isinstance(a, float) and isinstance(b, float):
        return (math.isnan(a) and math.isnan(b)) or a == b
    if isinstance(a, list) and isinstance(b, list):
        return len(a) == len(b) and all(same(x, y) for x, y in zip(a, b))
    if isinstance(a, tuple) and isinstance(b, tuple):
        return len(a) == len(b) and all(same(x, y) for x, y in zip(a, b))
    if isinstance(a, dict) and isinstance(b, dict):
        return a.keys() == b.keys() and all(same(a[k], b[k]) for k in a)
    return a == b


def values_of(column):
    """The column's Python values; out-of-range dates read as their day
    numbers (Python's dates end at year 9999)."""
    try:
        return column.to_pylist()
    except (ValueError, OverflowError):
        return column.cast(storage_type(column.type)).to_pylist()


def storage_type(t):
    if pa.types.is_date32(t):
        return pa.int32()
    if pa.types.is_date64(t) or pa.types.is_timestamp(t):
        return pa.int64()
    if pa.types.is_list(t):
        return pa.list_(storage_type(t.value_type))
    if pa.types.is_struct(t):
        return pa.struct([pa.field(f.name, storage_type(f.type)) for f in t])
    return t


def metadata_of(path):
    """The file's key-value metadata, without the stored Arrow schema (which
    each writer makes anew)."""
    metadata = dict(pq.ParquetFile(path).metadata.metadata or {})
    metadata.pop(b"ARROW:schema", None)
    return metadata


def check(program, source, out):
    original = pq.read_table(source)
    if os.path.exists(out):
        os.remove(out)
    run = subprocess.run([program, "write", out, "--from", source, "--input-format", "parquet"],
                         capture_output=True, text=True)
    if run.returncode != 0:
        return ["the program failed: " + (run.stderr or run.stdout).strip()]
    back = pq.read_table(out)
    problems = []
    if back.column_names != original.column_names:
        return [f"columns {back.column_names} vs {original.column_names}"]
    if back.num_rows != original.num_rows:
        return [f"{back.num_rows} rows vs {original.num_rows}"]
    source_meta = pq.ParquetFile(source).metadata
    out_meta = pq.ParquetFile(out).metadata
    heights = [source_meta.row_group(i).num_rows for i in range(source_meta.num_row_groups)]
    out_heights = [out_meta.row_group(i).num_rows for i in range(out_meta.num_row_groups)]
    # A file without rows may still hold empty row groups; none are written.
    if [h for h in out_heights if h] != [h for h in heights if h]:
        problems.append(f"row groups {out_heights} vs {heights}")
    if metadata_of(out) != metadata_of(source):
        problems.append(f"key-value metadata {sorted(metadata_of(out))} vs "
                        f"{sorted(metadata_of(source))}")
    for name, field in zip(original.column_names, original.schema):
        expected_type = canonical_type(field.type)
        actual_type = back.schema.field(name).type
        if type_text(actual_type) != type_text(expected_type):
            problems.append(f"{name}: type {actual_type} vs {expected_type}")
            continue
        expected = [canonical_value(v, field.type) for v in values_of(original.column(name))]
        actual = values_of(back.column(name))
        if not same(actual, expected):
            first = next(i for i, (x, y) in enumerate(zip(actual, expected)) if not same(x, y))
            problems.append(f"{name}: row {first}: {actual[first]!r} vs {expected[first]!r}")
    return problems


def main():
    program, data, out_dir = sys.argv[1:4]
    os.makedirs(out_dir, exist_ok=True)
    files = sorted(f for f in os.listdir(data) if f.endswith(".parquet"))
    if not files:
        print("no corpus files in " + data)
        return 1
    failures = 0
    for name in files:
        problems = check(program, os.path.join(data, name), os.path.join(out_dir, name))
        if problems:
            failures += 1
            print(f"FAIL {name}")
            for p in problems:
                print("    " + p)
        else:
            print(f"ok   {name}")
    print(f"{len(files) - failures} of {len(files)} files come back equal")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
