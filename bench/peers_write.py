"""pyarrow's write_table on the data of write_bench.cpp, with the same
options (snappy, dictionary on, row groups of at most 2^26 rows)."""
import os
import tempfile
import time

import numpy as np
import pyarrow as pa
import pyarrow.parquet as pq


def best(f, repetitions=3):
    times = []
    for _ in range(repetitions):
        start = time.perf_counter()
        f()
        times.append(time.perf_counter() - start)
    return min(times)


def main():
    n = 10_000_000
    i = np.arange(n, dtype=np.uint64)
    numeric = pa.table({
        "d1": (i * 0.5).astype(np.float64),
        "d2": ((i * 7919) % 1000003).astype(np.float64) / 3.0,
        "i1": i.astype(np.int64),
        "i2": ((i * np.uint64(2654435761)) % np.uint64(1000000007)).astype(np.int64),
    })
    m = 2_000_000
    strings = pa.table({
        "s1": pa.array([f"name{k % 100000}" for k in range(m)], pa.string()),
        "s2": pa.array([f"v{k}" for k in range(m)], pa.string()),
    })
    path = os.path.join(tempfile.gettempdir(), "ovparquet-peer-write.parquet")
    for label, table in (("numeric", numeric), ("strings", strings)):
        seconds = best(lambda: pq.write_table(table, path, compression="snappy", use_dictionary=True,
                                              row_group_size=1 << 26))
        print(f"{label:8} pyarrow write_table {seconds * 1e3:8.1f} ms")
    os.remove(path)


if __name__ == "__main__":
    main()
