"""The peers' side of read_bench.cpp: the same files (left by read_bench in
$TMPDIR/ovparquet-read-bench) read whole with pyarrow -> pandas, polars and
DuckDB -> numpy, best of 5; the files are removed afterwards."""
import os
import shutil
import tempfile
import time

import duckdb
import polars as pl
import pyarrow.parquet as pq


def best(f, repetitions=5):
    times = []
    for _ in range(repetitions):
        start = time.perf_counter()
        f()
        times.append(time.perf_counter() - start)
    return min(times)


def main():
    folder = os.path.join(tempfile.gettempdir(), "ovparquet-read-bench")
    if not os.path.isdir(folder):
        print("no files: run read_bench first")
        return
    for label in ("numeric", "strings", "nested", "mixed"):
        path = os.path.join(folder, label + ".parquet")
        if not os.path.exists(path):
            continue
        pandas = best(lambda: pq.read_table(path).to_pandas())
        polars = best(lambda: pl.read_parquet(path))
        ddb = best(lambda: duckdb.sql(f"SELECT * FROM read_parquet('{path}')").fetchnumpy())
        print(f"{label:8} pyarrow->pandas {pandas * 1e3:8.1f} ms   polars {polars * 1e3:8.1f} ms   "
              f"DuckDB->numpy {ddb * 1e3:8.1f} ms")
    shutil.rmtree(folder)


if __name__ == "__main__":
    main()
