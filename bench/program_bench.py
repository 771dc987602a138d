"""The program's everyday jobs against DuckDB and pyarrow in the same run:
whole processes, wall time and peak memory (maximum resident set).

    program_bench.py OVPARQUET [ROWS] [WORKDIR]

Writes a file of ROWS rows (default 3,000,000; 12 row groups; integers,
doubles, dictionary strings, zoned and plain time stamps, dates, decimals, a
struct) and times: the first 20 rows, Parquet -> CSV and -> JSON of five
columns, and rewriting the whole file with zstd.
"""
import decimal
import os
import subprocess
import sys
import tempfile

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


def run(argv):
    # Under /usr/bin/time, so that the peak is the job's own and not that of
    # this Python process, which a forked child starts out as.
    process = subprocess.run(["/usr/bin/time", "-f", "%e %M", *argv], stdout=subprocess.DEVNULL,
                             stderr=subprocess.PIPE, text=True)
    if process.returncode != 0:
        raise RuntimeError(f"{argv[:3]} failed: {process.stderr}")
    elapsed, kilobytes = process.stderr.strip().splitlines()[-1].split()
    return float(elapsed), int(kilobytes) / 1024.0


def best(argv, repeat):
    runs = [run(argv) for _ in range(repeat)]
    return min(r[0] for r in runs), max(r[1] for r in runs)


def main():
    program = sys.argv[1]
    rows = int(sys.argv[2]) if len(sys.argv) > 2 else 3_000_000
    work = sys.argv[3] if len(sys.argv) > 3 else tempfile.mkdtemp(prefix="ovparquet-bench-")
    path = os.path.join(work, "jobs.parquet")
    if not os.path.exists(path):
        make_file(path, rows)
    out = os.path.join(work, "out")
    cols = "id,x,s,ts_ny,amount"
    duck = lambda sql: [PY, "-c", f"import duckdb; print(len(duckdb.execute(\"\"\"{sql}\"\"\").fetchall()))"]
    jobs = {
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
    }
    print(f"{rows:,} rows, {os.path.getsize(path) / 2**20:.0f} MiB; best of 2 (time), peak resident memory, whole processes")
    print("| job | ovparquet | DuckDB | pyarrow | ovparquet / DuckDB |")
    print("|---|---|---|---|---|")
    for name, (ours, theirs, arrow) in jobs.items():
        o = best(ours, 2)
        d = best(theirs, 2)
        a = best(arrow, 2) if arrow else None
        fmt = lambda r: f"{r[0]:.2f} s, {r[1]:.0f} MB" if r else "—"
        print(f"| {name} | {fmt(o)} | {fmt(d)} | {fmt(a)} | {o[0] / d[0]:.2f} |", flush=True)


if __name__ == "__main__":
    main()
