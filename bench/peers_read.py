"""The peers' side of read_bench.cpp: the same files read whole with
pyarrow -> pandas, polars and DuckDB -> numpy.

    peers_read.py [FOLDER] [--ours READ_BENCH] [--rounds N]

The files are those read_bench left in FOLDER (or the folder
OVPARQUET_READ_BENCH_DIR names); bench/run.sh makes that folder and removes
it, so this script leaves it alone.

Without --ours, each peer's best of 5 is printed. With --ours (the path of
the read_bench program), our whole read takes turns with the peers for N
rounds (default 5): in each round our best of 3 reads (read_bench time, one
more untimed read before them) and each peer's best of 3. The ratios of a
round compare runs seconds apart, so a slow spell of a shared machine falls
on both; the script prints the best times and the median of the per-round
ratios ours / peer."""
import argparse
import os
import statistics
import subprocess
import time

import duckdb
import polars as pl
import pyarrow.parquet as pq


def best(f, repetitions):
    times = []
    for _ in range(repetitions):
        start = time.perf_counter()
        f()
        times.append(time.perf_counter() - start)
    return min(times)


def peers(path):
    return {
        "pyarrow->pandas": lambda: pq.read_table(path).to_pandas(),
        "polars": lambda: pl.read_parquet(path),
        "DuckDB->numpy": lambda: duckdb.sql(f"SELECT * FROM read_parquet('{path}')").fetchnumpy(),
    }


def ours_best(program, path, repetitions):
    out = subprocess.run([program, "time", path, str(repetitions)], check=True, capture_output=True, text=True)
    return float(out.stdout.split()[0]) / 1e3


def peers_alone(label, path):
    cells = [f"{name} {best(read, 5) * 1e3:8.1f} ms" for name, read in peers(path).items()]
    print(f"{label:8} " + "   ".join(cells))


def paired(label, path, program, rounds):
    readers = peers(path)
    ours_times = []
    peer_times = {name: [] for name in readers}
    for _ in range(rounds):
        ours = ours_best(program, path, 3)
        ours_times.append(ours)
        for name, read in readers.items():
            peer_times[name].append(best(read, 3))
    cells = [f"ours {min(ours_times) * 1e3:7.1f} ms"]
    for name, times in peer_times.items():
        ratio = statistics.median(o / p for o, p in zip(ours_times, times))
        cells.append(f"{name} {min(times) * 1e3:7.1f} ms (ours/it {ratio:.2f}x)")
    print(f"{label:8} " + "   ".join(cells))


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("folder", nargs="?", default=os.environ.get("OVPARQUET_READ_BENCH_DIR", ""))
    parser.add_argument("--ours", help="the read_bench program, to take turns with it")
    parser.add_argument("--rounds", type=int, default=5)
    args = parser.parse_args()
    if not args.folder or not os.path.isdir(args.folder):
        print("no files: run read_bench with OVPARQUET_READ_BENCH_DIR set first (bench/run.sh does)")
        return
    for label in ("numeric", "strings", "nested", "mixed"):
        path = os.path.join(args.folder, label + ".parquet")
        if not os.path.exists(path):
            continue
        if args.ours:
            paired(label, path, args.ours, max(1, args.rounds))
        else:
            peers_alone(label, path)


if __name__ == "__main__":
    main()
