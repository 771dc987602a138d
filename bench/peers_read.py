"""The peers' side of read_bench.cpp: the same files read whole with
pyarrow -> pandas, polars and DuckDB -> numpy, best of 5.

The files are those read_bench left in the folder OVPARQUET_READ_BENCH_DIR
names (or the folder given as the first argument); bench/run.sh makes that
folder and removes it, so this script leaves it alone."""
import os
import sys
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
    folder = sys.argv[1] if len(sys.argv) > 1 else os.environ.get("OVPARQUET_READ_BENCH_DIR", "")
    if not folder or not os.path.isdir(folder):
        print("no files: run read_bench with OVPARQUET_READ_BENCH_DIR set first (bench/run.sh does)")
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


if __name__ == "__main__":
    main()
