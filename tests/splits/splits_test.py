"""The splits command, run as a program, checked against the files
themselves (sizes from the file system, rows and row groups from pyarrow)."""
import csv
import io
import json
import os
import random
import subprocess
import sys
import tempfile
import unittest

import numpy as np
import pyarrow as pa
import pyarrow.parquet as pq

PROGRAM = sys.argv.pop(1)


def run(*args, ok=True):
    proc = subprocess.run([PROGRAM, *args], capture_output=True, text=True)
    if ok and proc.returncode != 0:
        raise AssertionError(f"{args}: status {proc.returncode}: {proc.stderr}")
    return proc


def splits_csv(*args):
    rows = list(csv.reader(io.StringIO(run("splits", *args, "--format", "csv").stdout)))
    assert rows[0] == ["location", "offset", "size"], rows[0]
    return [(r[0], int(r[1]), int(r[2])) for r in rows[1:]]


class Splits(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.tmp = tempfile.TemporaryDirectory()
        cls.dir = os.path.join(cls.tmp.name, "data")
        os.makedirs(os.path.join(cls.dir, "nested"))
        rng = np.random.default_rng(7)
        cls.rows = 0
        for i, name in enumerate(["b.parquet", "a.parquet", "nested/c.parquet", "d.parquet"]):
            n = 3000 + 1111 * i
            table = pa.table({"id": np.arange(n, dtype=np.int64), "x": rng.normal(size=n),
                              "s": [f"r{j}" for j in range(n)]})
            pq.write_table(table, os.path.join(cls.dir, name), row_group_size=400 + 150 * i, compression="none")
            cls.rows += n
        with open(os.path.join(cls.dir, "skip.txt"), "w") as f:
            f.write("not parquet")
        cls.empty = os.path.join(cls.tmp.name, "empty")
        os.makedirs(cls.empty)

    @classmethod
    def tearDownClass(cls):
        cls.tmp.cleanup()

    def test_csv_covers_every_byte_of_every_file(self):
        splits = splits_csv(self.dir, "--split-size", "10000")
        files = sorted({s[0] for s in splits})
        self.assertEqual([os.path.relpath(f, self.dir) for f in files],
                         ["a.parquet", "b.parquet", "d.parquet", "nested/c.parquet"])
        for f in files:
            ranges = [(o, n) for (loc, o, n) in splits if loc == f]
            self.assertEqual(ranges[0][0], 0)
            for (o1, n1), (o2, _) in zip(ranges, ranges[1:]):
                self.assertEqual(o1 + n1, o2)
                self.assertEqual(n1, 10000)
            self.assertEqual(ranges[-1][0] + ranges[-1][1], os.path.getsize(f))

    def test_json_lines_match_csv(self):
        lines = run("splits", self.dir, "--split-size", "16KiB", "--format", "json").stdout.splitlines()
        parsed = [json.loads(line) for line in lines]
        self.assertEqual([(p["location"], p["offset"], p["size"]) for p in parsed],
                         splits_csv(self.dir, "--split-size", "16384"))

    def test_default_size_keeps_small_files_whole(self):
        splits = splits_csv(self.dir)
        self.assertEqual(len(splits), 4)
        self.assertTrue(all(o == 0 and n == os.path.getsize(f) for f, o, n in splits))

    def test_units(self):
        self.assertEqual(splits_csv(self.dir, "--split-size", "1KiB"), splits_csv(self.dir, "--split-size", "1024"))
        self.assertEqual(splits_csv(self.dir, "--split-size", "1M"), splits_csv(self.dir, "--split-size", "1048576"))

    def test_bad_split_size(self):
        for bad in ["0", "-5", "12XB", "MiB", "1.5MiB", "99999999999999999999"]:
            proc = run("splits", self.dir, "--split-size", bad, ok=False)
            self.assertEqual(proc.returncode, 2, bad)
            self.assertIn("ORVANE:cli:InvalidOption", proc.stderr)
            self.assertIn("--split-size", proc.stderr)
            self.assertEqual(proc.stdout, "")

    def test_folder_without_parquet_files(self):
        proc = run("splits", self.empty, ok=False)
        self.assertEqual(proc.returncode, 1)
        self.assertIn("ORVANE:parquetio:read:NoParquetFiles", proc.stderr)
        self.assertIn(self.empty, proc.stderr)

    def test_missing_file(self):
        proc = run("splits", os.path.join(self.dir, "nope.parquet"), ok=False)
        self.assertEqual(proc.returncode, 1)
        self.assertIn("nope.parquet", proc.stderr)

    # The property: for random split sizes, reading every split by byte
    # range reads every row exactly once, and every row group once.
    def test_random_split_sizes_read_every_row_once(self):
        rng = random.Random(2323)
        groups = sum(pq.ParquetFile(os.path.join(self.dir, f)).num_row_groups
                     for f in ["a.parquet", "b.parquet", "d.parquet", "nested/c.parquet"])
        sizes = [3999] + [rng.randint(8000, 200_000) for _ in range(5)]
        for size in sizes:
            rows = 0
            ids = []
            splits = splits_csv(self.dir, "--split-size", str(size))
            nonempty = 0
            for loc, offset, n in splits:
                out = run("read", loc, "--range", f"{offset}:{n}", "--vars", "id", "--format", "csv").stdout
                lines = out.splitlines()[1:]
                rows += len(lines)
                ids.extend((loc, int(v)) for v in lines)
                nonempty += bool(lines)
            self.assertEqual(rows, self.rows, f"split size {size}")
            self.assertEqual(len(set(ids)), self.rows, f"split size {size}: a row read twice")
            self.assertLessEqual(nonempty, groups)


if __name__ == "__main__":
    unittest.main(verbosity=2)
