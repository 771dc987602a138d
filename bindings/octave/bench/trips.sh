#!/usr/bin/env bash
# Octave reading trip records: ovparquet_read of the Parquet file against
# Octave's own csvread (numeric columns only) and textscan (every column) of
# the same rows as CSV. Prints seconds and the peak resident memory of each
# Octave process.
#   trips.sh PACKAGE_DIR [ROWS] [PYTHON]
set -euo pipefail
package=$1 rows=${2:-5000000} python=${3:-.venv/bin/python}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$python" - "$work" "$rows" <<'PY'
import sys
import numpy as np, pyarrow as pa, pyarrow.csv as pc, pyarrow.parquet as pq
work, n = sys.argv[1], int(sys.argv[2])
rng = np.random.default_rng(7)
start = np.datetime64("2023-01-01T00:00:00", "ms").astype(np.int64)
pickup = start + rng.integers(0, 365 * 86400000, n)
passengers = pa.array(rng.integers(0, 7, n).astype(np.int8), mask=rng.random(n) < 0.05)
zones = np.array(["Zone %03d" % i for i in range(260)])
t = pa.table({
    "pickup": pa.array(pickup, pa.timestamp("ms", tz="America/New_York")),
    "passengers": passengers,
    "distance": rng.gamma(2.0, 1.5, n),
    "fare": np.round(rng.gamma(3.0, 5.0, n), 2),
    "zone": pa.array(zones[rng.integers(0, 260, n)]).dictionary_encode(),
    "note": pa.array(["trip-%d" % i for i in range(n)]),
    "cash": rng.random(n) < 0.3,
})
pq.write_table(t, f"{work}/trips.parquet")
# CSV: the time as seconds since 1970 so that every reader parses a number.
csv = t.set_column(0, "pickup", pa.compute.divide(t["pickup"].cast(pa.int64()), 1000).cast(pa.float64()))
csv = csv.set_column(4, "zone", csv["zone"].cast(pa.string()))
csv = csv.set_column(6, "cash", csv["cash"].cast(pa.int8()))
pc.write_csv(csv, f"{work}/trips.csv", pc.WriteOptions(include_header=False, quoting_style="none"))
PY
ls -l "$work"
run() {
  /usr/bin/time -f "%e s, peak %M KB" octave-cli --no-gui --norc --eval "addpath('$package'); $1" 2>&1 | grep -v "preparing to exit"
}
echo "ovparquet_read:"; run "t = ovparquet_read('$work/trips.parquet'); disp(numel(t.fare))"
echo "ovparquet_read, numeric variables:"; run "t = ovparquet_read('$work/trips.parquet', 'Variables', {'pickup','passengers','distance','fare','cash'}); disp(numel(t.fare))"
echo "csvread (numbers only; text columns read as 0):"; run "m = csvread('$work/trips.csv'); disp(rows(m))"
echo "textscan (every column):"; run "f = fopen('$work/trips.csv'); c = textscan(f, '%f %d8 %f %f %s %s %d8', 'Delimiter', ','); fclose(f); disp(numel(c{4}))"
