"""Random --where expressions against DuckDB: the program keeps exactly the
rows DuckDB's WHERE keeps, on a file with missing values in every column,
and its statistics skip the row groups they should.

    where_duckdb.py PROGRAM SCRATCH_DIR [COUNT]
"""
import datetime
import os
import random
import re
import subprocess
import sys

import duckdb
import pyarrow as pa
import pyarrow.parquet as pq

ROWS = 2000
GROUP = 200
START = datetime.datetime(2024, 1, 1)
ZONED_START = datetime.datetime(2024, 3, 9, tzinfo=datetime.timezone.utc)


def missing_at(rid):
    """Row group 3 holds only missing values, row group 5 none; elsewhere
    about one value in eight is missing."""
    group = rid // GROUP
    if group == 3:
        return True
    if group == 5:
        return False
    return (rid * 7919) % 8 == 0


def make_file(path):
    rnd = random.Random(7)

    def col(values):
        return [None if missing_at(r) else v for r, v in enumerate(values)]

    table = pa.table({
        "rid": pa.array(range(ROWS), pa.int64()),
        "i": pa.array(col([r // 3 for r in range(ROWS)]), pa.int64()),
        "d": pa.array(col([(r // GROUP) * 100 + rnd.randrange(400) * 0.25 for r in range(ROWS)]), pa.float64()),
        "s": pa.array(col([f"k{r // 2:04d}" for r in range(ROWS)]), pa.string()),
        "b": pa.array(col([(r // GROUP) % 3 == 0 or (r // GROUP == 4 and r % 2 == 0) for r in range(ROWS)]),
                      pa.bool_()),
        "ts": pa.array(col([START + datetime.timedelta(minutes=7 * r) for r in range(ROWS)]), pa.timestamp("us")),
        "day": pa.array(col([(START + datetime.timedelta(hours=3 * r)).date() for r in range(ROWS)]), pa.date32()),
        # A categorical: Parquet keeps no statistics the program uses for it.
        "c": pa.array(col([f"c{(r * 31) % 5}" for r in range(ROWS)])).dictionary_encode(),
        "zt": pa.array(col([ZONED_START + datetime.timedelta(minutes=10 * r) for r in range(ROWS)]),
                       pa.timestamp("us", tz="America/New_York")),
    })
    pq.write_table(table, path, row_group_size=GROUP)
    return table


def literal(rnd, column):
    """(program text, SQL text) of a literal for a column."""
    if column == "i":
        v = str(rnd.randrange(-10, ROWS // 3 + 10))
        return v, v
    if column == "d":
        v = str(rnd.randrange(-40, 4400) * 0.25)
        return v, v
    if column == "s":
        v = f"'k{rnd.randrange(0, ROWS // 2 + 5):04d}'"
        return v, v
    if column == "b":
        v = rnd.choice(["true", "false"])
        return v, v
    if column == "c":
        v = f"'c{rnd.randrange(0, 6)}'"
        return v, v
    if column == "ts":
        t = START + datetime.timedelta(minutes=rnd.randrange(-100, 7 * ROWS + 100))
        v = "'" + t.strftime("%Y-%m-%d %H:%M:%S") + "'"
        return v, v
    if column == "day":
        t = START + datetime.timedelta(days=rnd.randrange(-2, ROWS // 8 + 3))
        v = "'" + t.strftime("%Y-%m-%d") + "'"
        return v, v
    # zt: wall-clock time in the column's zone, or with an offset or a zone
    # name; never in the hour New York skips on 2024-03-10.
    while True:
        t = datetime.datetime(2024, 3, 8, 12) + datetime.timedelta(minutes=10 * rnd.randrange(0, ROWS + 200))
        if not (t.date() == datetime.date(2024, 3, 10) and t.hour == 2):
            break
    text = t.strftime("%Y-%m-%d %H:%M:%S")
    form = rnd.randrange(3)
    if form == 1:
        text += rnd.choice(["+00:00", "-05:00", "+02:00"])
    elif form == 2:
        text += " " + rnd.choice(["Europe/Oslo", "UTC", "Asia/Tokyo"])
    return f"'{text}'", f"'{text}'"


COLUMNS = ["i", "d", "s", "b", "ts", "day", "zt", "c"]
OPERATORS = ["=", "!=", "<", "<=", ">", ">="]


def condition(rnd):
    column = rnd.choice(COLUMNS)
    kind = rnd.randrange(10)
    if kind == 0:
        neg = rnd.random() < 0.5
        return (f"{column} is {'not ' if neg else ''}missing", f"{column} IS {'NOT ' if neg else ''}NULL")
    if kind == 1:
        items = [literal(rnd, column) for _ in range(rnd.randrange(1, 4))]
        neg = " not" if rnd.random() < 0.3 else ""
        return (f"{column}{neg} in ({', '.join(p for p, _ in items)})",
                f"{column}{neg.upper()} IN ({', '.join(q for _, q in items)})")
    op = rnd.choice(OPERATORS)
    p, q = literal(rnd, column)
    if kind == 2:  # the literal first
        return f"{p} {op} {column}", f"{q} {op} {column}"
    return f"{column} {op} {p}", f"{column} {op} {q}"


def expression(rnd, depth):
    if depth == 0 or rnd.random() < 0.35:
        return condition(rnd)
    kind = rnd.randrange(3)
    if kind == 0:
        p, q = expression(rnd, depth - 1)
        return f"not ({p})", f"NOT ({q})"
    a = expression(rnd, depth - 1)
    b = expression(rnd, depth - 1)
    word = "and" if kind == 1 else "or"
    return f"({a[0]}) {word} ({b[0]})", f"({a[1]}) {word.upper()} ({b[1]})"


def program_rows(program, path, where):
    run = subprocess.run([program, "-v", "read", path, "--vars", "rid", "--where", where, "--format", "csv"],
                         capture_output=True, text=True)
    if run.returncode != 0:
        raise AssertionError(f"--where \"{where}\" failed ({run.returncode}): {run.stderr}")
    rows = [int(line) for line in run.stdout.splitlines()[1:]]
    m = re.search(r"skipped (\d+) of (\d+) row groups", run.stderr)
    return rows, (int(m.group(1)) if m else None)


def duckdb_rows(con, path, sql):
    return [r[0] for r in con.execute(f"SELECT rid FROM read_parquet('{path}') WHERE {sql} ORDER BY rid").fetchall()]


def main():
    program, scratch = sys.argv[1], sys.argv[2]
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 150
    os.makedirs(scratch, exist_ok=True)
    path = os.path.join(scratch, "where_duckdb.parquet")
    make_file(path)
    con = duckdb.connect()
    # Wall-clock literals of the zoned column are New York times.
    con.execute("SET TimeZone='America/New_York'")
    failures = 0

    # Fixed cases: the rows, and how many of the 10 row groups statistics skip.
    fixed = [
        ("i is missing", "i IS NULL", 1),                       # only group 5 has none
        ("i is not missing", "i IS NOT NULL", 1),               # group 3 has only missing
        ("i < 70 or i >= 600", "i < 70 OR i >= 600", 7),        # groups 0, 1 and 9 are read
        ("not i >= 67", "NOT i >= 67", 9),
        ("not (i < 67 or s > 'k0900')", "NOT (i < 67 OR s > 'k0900')", 2),
        ("i in (5, 610)", "i IN (5, 610)", 8),
        ("i not in (5, 610)", "i NOT IN (5, 610)", 1),
        ("b = true and d >= 800", "b = true AND d >= 800", 9),
        ("not b", None, None),  # a bare variable is no condition: a usage error
        ("zt < '2024-03-09 00:00:00'", "zt < '2024-03-09 00:00:00'", 9),
        ("zt < '2024-03-09 00:00:00+00:00'", "zt < '2024-03-09 00:00:00+00:00'", 10),
        ("day = '2024-01-10'", "day = '2024-01-10'", 9),
        ("i is missing or i = 100", "i IS NULL OR i = 100", 1),  # group 5: no missing i, no 100
        # Group 1 has missing values and may hold 100: statistics cannot tell
        # that no row has both.
        ("i is missing and i = 100", "i IS NULL AND i = 100", 9),
    ]
    for where, sql, skip in fixed:
        if sql is None:
            run = subprocess.run([program, "read", path, "--where", where], capture_output=True, text=True)
            if run.returncode != 2 or "InvalidWhere" not in run.stderr:
                print(f"FAIL: --where \"{where}\" should be a usage error: {run.returncode} {run.stderr}")
                failures += 1
            continue
        got, skipped = program_rows(program, path, where)
        expected = duckdb_rows(con, path, sql)
        if got != expected or skipped != skip:
            print(f"FAIL: {where}: {len(got)} rows (DuckDB {len(expected)}), skipped {skipped} (expected {skip})")
            failures += 1

    rnd = random.Random(20241122)
    skipping = 0
    for k in range(count):
        where, sql = expression(rnd, 3)
        got, skipped = program_rows(program, path, where)
        expected = duckdb_rows(con, path, sql)
        if got != expected:
            print(f"FAIL {k}: --where \"{where}\": {len(got)} rows, DuckDB {len(expected)} ({sql})")
            failures += 1
        if skipped:
            skipping += 1
    print(f"{count} random expressions, {skipping} of them skipped row groups; {failures} failures")
    if skipping == 0:
        print("FAIL: no random expression skipped a row group")
        failures += 1
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
