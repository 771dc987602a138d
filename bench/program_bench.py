"""The program's everyday jobs against DuckDB and pyarrow in the same run:
whole processes, wall time and peak memory (maximum resident set).

    program_bench.py OVPARQUET [ROWS] [WORKDIR] [TRIP_ROWS]

BENCH_BASELINE=OTHER_OVPARQUET adds a column for another build of the
program (A/B in the same run, the commands taking turns); BENCH_REPEAT
(default 3) sets how many runs the best time is taken of; BENCH_ONLY=text
runs only the jobs whose name holds it. The least CPU time (user + system,
all threads) is shown next to the wall time: on a shared machine it varies
far less.

Writes a file of ROWS rows (default 3,000,000; 12 row groups; integers,
doubles, dictionary strings, zoned and plain time stamps, dates, decimals, a
struct) and times: the first 20 rows, Parquet -> CSV and -> JSON of five
columns, and rewriting the whole file with zstd. A taxi-trip-like table of
TRIP_ROWS rows (default 5,000,000; 18 columns) goes Parquet -> CSV and
CSV -> Parquet. Last, how long the program takes to stop after Ctrl-C in
the middle of a long export and of a long write.
"""
import decimal
import os
import signal
import subprocess
import sys
import tempfile
import time

import numpy as np
import pyarrow as pa
import pyarrow.parquet as pq

PY = sys.executable


def make_file(path, n):
    rng = np.random.default_rng(7)
    t0 = 1_704_067_200_000_000
    table = pa.table({
        "id": pa.array(np.arange(n, dtype=np.int64)),
        "i32": pa.array(rng.integers(-1000, 1000, n, dtype=np.int32)),
        "x": pa.array(rng.random(n)),
        "y": pa.array(rng.normal(size=n)),
        "s": pa.array(np.array(["alpha", "beta", "gamma", "delta", "epsilon"])[rng.integers(0, 5, n)]).dictionary_encode(),
        "ts_utc": pa.array(t0 + np.arange(n, dtype=np.int64) * 1_000_000, pa.timestamp("us", tz="UTC")),
        "ts_ny": pa.array(t0 + np.arange(n, dtype=np.int64) * 1_000_000, pa.timestamp("us", tz="America/New_York")),
        "ts": pa.array(t0 + np.arange(n, dtype=np.int64) * 1_000_000, pa.timestamp("us")),
        "day": pa.array((np.arange(n) // 1000).astype(np.int32), pa.date32()),
        "amount": pa.array([decimal.Decimal(int(v)).scaleb(-4) for v in rng.integers(-10**8, 10**8, n)],
                           pa.decimal128(18, 4)),
        "pt": pa.StructArray.from_arrays([pa.array(rng.random(n)), pa.array(rng.random(n))], ["x", "y"]),
    })
    pq.write_table(table, path, row_group_size=(n + 11) // 12, write_page_index=True)


def make_trips(csv_path, parquet_path, n):
    import pyarrow.csv as pacsv
    rng = np.random.default_rng(11)
    t0 = 1_704_067_200
    pickup = t0 + np.sort(rng.integers(0, 31 * 86400, n))
    money = lambda scale: np.round(rng.random(n) * scale, 2)
    table = pa.table({
        "vendor_id": pa.array(rng.integers(1, 3, n, dtype=np.int64)),
        "pickup": pa.array(pickup, pa.timestamp("s")),
        "dropoff": pa.array(pickup + rng.integers(60, 3600, n), pa.timestamp("s")),
        "passengers": pa.array(rng.integers(0, 7, n, dtype=np.int64)),
        "distance": pa.array(np.round(rng.exponential(3.0, n), 2)),
        "rate_code": pa.array(rng.integers(1, 7, n, dtype=np.int64)),
        "store_and_forward": pa.array(np.array(["N", "Y"])[(rng.random(n) < 0.01).astype(int)]),
        "pickup_zone": pa.array(rng.integers(1, 266, n, dtype=np.int64)),
        "dropoff_zone": pa.array(rng.integers(1, 266, n, dtype=np.int64)),
        "payment": pa.array(rng.integers(1, 5, n, dtype=np.int64)),
        "fare": pa.array(money(80)),
        "extra": pa.array(money(5)),
        "tax": pa.array(np.full(n, 0.5)),
        "tip": pa.array(money(20)),
        "tolls": pa.array(money(10)),
        "surcharge": pa.array(np.full(n, 1.0)),
        "total": pa.array(money(120)),
        "congestion": pa.array(np.full(n, 2.5)),
    })
    pacsv.write_csv(table, csv_path)
    pq.write_table(table, parquet_path, row_group_size=1 << 20)


def stop_latency(argv, output, after=1.0):
    """Seconds from SIGINT (sent `after` seconds in) to the process's end,
    and whether it exited 130 and left no output behind."""
    if os.path.exists(output):  # from an earlier run that was not stopped
        os.remove(output)
    with open(os.devnull, "wb") as sink:
        process = subprocess.Popen(argv, stdout=sink, stderr=subprocess.DEVNULL)
        time.sleep(after)
        if process.poll() is not None:
            return None, process.returncode, os.path.exists(output)
        sent = time.monotonic()
        process.send_signal(signal.SIGINT)
        status = process.wait()
        return time.monotonic() - sent, status, os.path.exists(output)


def run(argv):
    # Under /usr/bin/time, so that the peak is the job's own and not that of
    # this Python process, which a forked child starts out as.
    process = subprocess.run(["/usr/bin/time", "-f", "%e %M %U %S", *argv], stdout=subprocess.DEVNULL,
                             stderr=subprocess.PIPE, text=True)
    if process.returncode != 0:
        raise RuntimeError(f"{argv[:3]} failed: {process.stderr}")
    elapsed, kilobytes, user, system = process.stderr.strip().splitlines()[-1].split()
    return float(elapsed), int(kilobytes) / 1024.0, float(user) + float(system)


def best_of(argvs, repeat):
    """Best wall time, peak memory and least CPU time of each command line
    (None for none); the command lines take turns, so that they meet the
    same load."""
    runs = [[] for _ in argvs]
    for _ in range(repeat):
        for k, argv in enumerate(argvs):
            if argv:
                runs[k].append(run(argv))
    return [(min(r[0] for r in rs), max(r[1] for r in rs), min(r[2] for r in rs)) if rs else None for rs in runs]


def load():
    return " ".join(f"{v:.1f}" for v in os.getloadavg())


def make_jobs(program, path, trips, trips_csv, out, cols):
    duck = lambda sql: [PY, "-c", f"import duckdb; print(len(duckdb.execute(\"\"\"{sql}\"\"\").fetchall()))"]
    return {
        "first 20 rows": (
            [program, "read", path, "--head", "20"],
            duck(f"SELECT * FROM '{path}' LIMIT 20"),
            [PY, "-c", f"import pyarrow.parquet as pq; f=pq.ParquetFile('{path}'); "
                       f"print(next(f.iter_batches(batch_size=20)).to_pandas())"],
        ),
        "Parquet -> CSV, 5 columns": (
            ["sh", "-c", f"{program} read {path} --vars {cols} --format csv > {out}.csv"],
            duck(f"COPY (SELECT {cols} FROM '{path}') TO '{out}.duck.csv' (HEADER)"),
            [PY, "-c", f"import pyarrow.parquet as pq, pyarrow.csv as c; "
                       f"c.write_csv(pq.read_table('{path}', columns='{cols}'.split(',')), '{out}.pa.csv')"],
        ),
        "Parquet -> JSON, 5 columns": (
            ["sh", "-c", f"{program} read {path} --vars {cols} --format json > {out}.json"],
            duck(f"COPY (SELECT {cols} FROM '{path}') TO '{out}.duck.json' (FORMAT JSON)"),
            None,
        ),
        "rewrite with zstd": (
            [program, "write", f"{out}.ov.parquet", "--from", path, "--compression", "zstd"],
            duck(f"COPY (SELECT * FROM '{path}') TO '{out}.duck.parquet' (FORMAT PARQUET, COMPRESSION ZSTD)"),
            [PY, "-c", f"import pyarrow.parquet as pq; f=pq.ParquetFile('{path}'); "
                       f"w=pq.ParquetWriter('{out}.pa.parquet', f.schema_arrow, compression='zstd')\n"
                       f"for i in range(f.num_row_groups): w.write_table(f.read_row_group(i))\nw.close()"],
        ),
        "trips: Parquet -> CSV": (
            ["sh", "-c", f"{program} read {trips} --format csv > {out}.trips.csv"],
            duck(f"COPY (SELECT * FROM '{trips}') TO '{out}.trips.duck.csv' (HEADER)"),
            [PY, "-c", f"import pyarrow.parquet as pq, pyarrow.csv as c; "
                       f"c.write_csv(pq.read_table('{trips}'), '{out}.trips.pa.csv')"],
        ),
        "trips: CSV -> Parquet": (
            [program, "write", f"{out}.trips.ov.parquet", "--from", trips_csv],
            duck(f"COPY (SELECT * FROM read_csv('{trips_csv}')) TO '{out}.trips.duck.parquet' (FORMAT PARQUET)"),
            [PY, "-c", f"import pyarrow.parquet as pq, pyarrow.csv as c; "
                       f"pq.write_table(c.read_csv('{trips_csv}'), '{out}.trips.pa.parquet')"],
        ),
    }


def main():
    program = sys.argv[1]
    rows = int(sys.argv[2]) if len(sys.argv) > 2 else 3_000_000
    work = sys.argv[3] if len(sys.argv) > 3 else tempfile.mkdtemp(prefix="ovparquet-bench-")
    trip_rows = int(sys.argv[4]) if len(sys.argv) > 4 else 5_000_000
    only = os.environ.get("BENCH_ONLY", "")
    baseline = os.environ.get("BENCH_BASELINE", "")
    repeat = int(os.environ.get("BENCH_REPEAT", "3"))
    path = os.path.join(work, "jobs.parquet")
    if not os.path.exists(path):
        make_file(path, rows)
    trips_csv = os.path.join(work, f"trips{trip_rows}.csv")
    trips = os.path.join(work, f"trips{trip_rows}.parquet")
    if not os.path.exists(trips):
        make_trips(trips_csv, trips, trip_rows)
    out = os.path.join(work, "out")
    cols = "id,x,s,ts_ny,amount"
    jobs = make_jobs(program, path, trips, trips_csv, out, cols)
    base_jobs = make_jobs(baseline, path, trips, trips_csv, out + ".base", cols) if baseline else {}
    print(f"{rows:,} rows, {os.path.getsize(path) / 2**20:.0f} MiB; best of {repeat} (wall time), peak resident "
          f"memory, least CPU time; whole processes; load average {load()} at the start")
    print("| job | ovparquet |" + (" ovparquet (base) |" if baseline else "") + " DuckDB | pyarrow | ovparquet / DuckDB |"
          + (" base / DuckDB |" if baseline else ""))
    print("|---|---|---|---|---|" + ("---|---|" if baseline else ""))
    fmt = lambda r: f"{r[0]:.2f} s, {r[1]:.0f} MB, cpu {r[2]:.2f} s" if r else "—"
    our_time = {}
    for name, (ours, theirs, arrow) in jobs.items():
        if only and only not in name:
            continue
        base = base_jobs[name][0] if baseline else None
        o, b, d, a = best_of([ours, base, theirs, arrow], repeat)
        our_time[name] = o[0]
        cells = f"| {name} | {fmt(o)} |" + (f" {fmt(b)} |" if baseline else "") + f" {fmt(d)} | {fmt(a)} |"
        print(cells + f" {o[0] / d[0]:.2f} |" + (f" {b[0] / d[0]:.2f} |" if baseline else ""), flush=True)
    print(f"load average {load()} at the end")

    # Ctrl-C halfway through each job (by its best time above), at most one
    # second in, so that the signal always meets the job at work.
    print()
    print("| Ctrl-C halfway (at most 1 s in) | stopped after | exit status | output left |")
    print("|---|---|---|---|")
    stops = {
        "trips: Parquet -> CSV": ([program, "read", trips, "--format", "csv"], f"{out}.none"),
        "rewrite with zstd": ([program, "write", f"{out}.stop.parquet", "--from", path, "--compression", "zstd"],
                              f"{out}.stop.parquet"),
        "trips: CSV -> Parquet": ([program, "write", f"{out}.stop2.parquet", "--from", trips_csv],
                                  f"{out}.stop2.parquet"),
    }
    for name, (argv, output) in stops.items():
        if only and only not in name:
            continue
        latency, status, left = stop_latency(argv, output, min(1.0, our_time.get(name, 2.0) / 2))
        shown = "ended before the signal" if latency is None else f"{latency:.2f} s"
        print(f"| {name} | {shown} | {status} | {'yes' if left else 'no'} |", flush=True)



if __name__ == "__main__":
    main()
