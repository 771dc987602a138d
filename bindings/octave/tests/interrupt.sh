#!/usr/bin/env bash
# Ctrl-C stops a long read in Octave: SIGINT to octave-cli during a read of
# many row groups ends the read long before it would finish, as Octave's own
# interrupt, and Octave does not crash.
#   interrupt.sh OCTAVE_CLI PACKAGE_DIR PYTHON WORKDIR
set -euo pipefail
octave=$1 package=$2 python=$3 work=$4
mkdir -p "$work"
file="$work/long.parquet"
"$python" - "$file" <<'PY'
import sys
import pyarrow as pa, pyarrow.parquet as pq
n = 1_500_000
t = pa.table({"x": pa.array(range(n), pa.float64()),
              "s": pa.array(["value %d" % (i % 1000) for i in range(n)])})
pq.write_table(t, sys.argv[1], row_group_size=20_000)
PY
script="addpath('$package'); tic; t = ovparquet_read('$file'); printf('finished after %.2f s\n', toc);"

# The whole read, for comparison.
start=$(date +%s.%N)
"$octave" --no-gui --norc --eval "$script" | tee "$work/full.txt"
full=$(awk -v a="$start" -v b="$(date +%s.%N)" 'BEGIN { print b - a }')
grep -q finished "$work/full.txt"

# The same read, interrupted after a fraction of its time.
delay=$(awk -v f="$full" 'BEGIN { printf "%.2f", f / 4 }')
start=$(date +%s.%N)
"$octave" --no-gui --norc --eval "$script" >"$work/interrupted.txt" 2>&1 &
pid=$!
sleep "$delay"
kill -INT "$pid"
set +e
wait "$pid"
status=$?
set -e
took=$(awk -v a="$start" -v b="$(date +%s.%N)" 'BEGIN { print b - a }')
cat "$work/interrupted.txt"
echo "full read ${full}s, interrupted after ${delay}s, ended after ${took}s, status $status"
# Not finished, not killed by a signal (a crash would be 128+N), and ended
# well before the full read would have.
! grep -q finished "$work/interrupted.txt"
[ "$status" -lt 128 ]
awk -v t="$took" -v f="$full" 'BEGIN { exit !(t < f * 0.75) }'
rm -f "$file"
