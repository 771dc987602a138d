"""Files for the mapreduce tests, and DuckDB's GROUP BY of them.

Writes DIR/data/part-NN.parquet (uncompressed, so that the files are large
enough to be cut into many splits with row groups across split bounds),
DIR/noparquet/ (a folder without Parquet files) and DIR/expected.csv: per
key, the count, sum, mean, minimum and maximum of "x" as DuckDB computes
them.
"""
import os
import sys

import duckdb
import numpy as np
import pyarrow as pa
import pyarrow.parquet as pq

FILES = 8
ROWS = 12000
ROW_GROUP = 1700


def main(out):
    data = os.path.join(out, "data")
    os.makedirs(data, exist_ok=True)
    os.makedirs(os.path.join(out, "noparquet"), exist_ok=True)
    with open(os.path.join(out, "noparquet", "readme.txt"), "w") as f:
        f.write("no Parquet here\n")
    rng = np.random.default_rng(23)
    keys = np.array(["alpha", "beta", "gamma", "delta", "epsilon", "zeta", "eta"])
    for i in range(FILES):
        n = ROWS + 97 * i
        table = pa.table({
            "id": pa.array(np.arange(n, dtype=np.int64) + i * 1_000_000),
            "cat": pa.array(keys[rng.integers(0, len(keys), n)]),
            "g": pa.array(rng.integers(0, 5, n).astype(np.int32)),
            "x": pa.array(rng.normal(10.0, 3.0, n)),
        })
        pq.write_table(table, os.path.join(data, f"part-{i:02d}.parquet"), row_group_size=ROW_GROUP,
                       compression="none", use_dictionary=False)
    con = duckdb.connect()
    glob = os.path.join(data, "*.parquet")
    con.execute(
        "COPY (SELECT cat, count(*) AS n, sum(x) AS s, avg(x) AS m, min(x) AS lo, max(x) AS hi "
        f"FROM read_parquet('{glob}') GROUP BY cat ORDER BY cat) TO '{os.path.join(out, 'expected.csv')}' "
        "(HEADER, DELIMITER ',')")
    con.execute(
        "COPY (SELECT g, count(*) AS n, sum(x) AS s FROM read_parquet('" + glob + "') GROUP BY g ORDER BY g) "
        f"TO '{os.path.join(out, 'expected_g.csv')}' (HEADER, DELIMITER ',')")


if __name__ == "__main__":
    main(sys.argv[1])
