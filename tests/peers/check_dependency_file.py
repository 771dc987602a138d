"""DuckDB reads the file the C++ dependency test wrote and sees its values."""
import sys

import duckdb


def main(path: str) -> int:
    rows = duckdb.sql(f"SELECT id, value, name FROM read_parquet('{path}') ORDER BY id").fetchall()
    expected = [(i, i * 1.5, None if i == 3 else f"name{i}") for i in range(10)]
    if rows != expected:
        print(f"DuckDB read {rows!r}, expected {expected!r}")
        return 1
    groups = duckdb.sql(
        f"SELECT count(DISTINCT row_group_id) FROM parquet_metadata('{path}')").fetchone()[0]
    if groups != 3:
        print(f"DuckDB sees {groups} row groups, expected 3")
        return 1
    print(f"DuckDB read {len(rows)} rows in {groups} row groups as written")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
