"""pyarrow reads the tables the Octave tests wrote and finds what they
wrote.

    check_written.py OUTDIR DATADIR
"""
import datetime as dt
import math
import os
import sys

import pyarrow as pa
import pyarrow.parquet as pq


def main(out, data):
    t = pq.read_table(os.path.join(out, "from_octave.parquet"))
    assert t.column_names == ["d", "f", "i8", "u64", "b", "s", "cat", "ts", "dur", "lst", "st"], t.column_names
    assert t.num_rows == 3
    assert pq.ParquetFile(os.path.join(out, "from_octave.parquet")).metadata.num_row_groups == 2
    col = {n: t.column(n).to_pylist() for n in t.column_names}
    assert col["d"] == [1.5, None, -3.0], col["d"]  # NaN is written as missing
    assert t.schema.field("f").type == pa.float32() and col["f"] == [1.0, 2.0, 3.0]
    assert t.schema.field("i8").type == pa.int8() and col["i8"] == [-128, None, 127], col["i8"]
    assert t.schema.field("u64").type == pa.uint64() and col["u64"] == [0, 2**64 - 1, 5]
    assert col["b"] == [True, False, None]
    assert col["s"] == ["a", None, "Grüße"], col["s"]
    assert pa.types.is_dictionary(t.schema.field("cat").type) and col["cat"] == ["lo", "hi", "lo"]
    ts = t.schema.field("ts").type
    assert ts == pa.timestamp("ms", tz="UTC"), ts
    base = dt.datetime(2024, 1, 2, 3, 4, 5, 250000, tzinfo=dt.timezone.utc)
    assert col["ts"] == [base + dt.timedelta(days=k) for k in range(3)], col["ts"]
    assert t.schema.field("dur").type == pa.duration("us")
    assert col["dur"] == [dt.timedelta(seconds=1.5), dt.timedelta(seconds=-0.25), dt.timedelta(0)]
    assert t.schema.field("lst").type == pa.list_(pa.int32()), t.schema.field("lst").type
    assert col["lst"] == [[1, 2], None, []], col["lst"]
    assert col["st"] == [{"a": 1.0, "b": "x"}, {"a": None, "b": "y"}, {"a": 3.0, "b": None}], col["st"]
    codecs = [pq.ParquetFile(os.path.join(out, "from_octave.parquet")).metadata.row_group(0).column(i).compression
              for i in range(3)]
    assert codecs == ["ZSTD", "SNAPPY", "GZIP"], codecs

    # The pyarrow file, through Octave and back.
    a = pq.read_table(os.path.join(data, "groups.parquet"))
    b = pq.read_table(os.path.join(out, "groups_again.parquet"))
    assert a.column_names == b.column_names
    for name in a.column_names:
        x, y = a.column(name).to_pylist(), b.column(name).to_pylist()
        assert x == y, name
    assert b.schema == a.schema.remove_metadata(), (a.schema, b.schema)
    print("pyarrow read what Octave wrote")


if __name__ == "__main__":
    main(sys.argv[1], sys.argv[2])
