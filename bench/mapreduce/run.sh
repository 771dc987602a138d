#!/usr/bin/env bash
# The same mapreduce with the "serial" engine, on Spark with one one-core
# executor and on Spark with two, on a standalone cluster started on
# 127.0.0.1; and the per-task overhead (an octave-cli start and the package
# load). Prints seconds and the ratios of the same run.
#   bench/mapreduce/run.sh BUILD_DIR [FILES] [WORK]
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
build=$(cd "${1:?usage: run.sh BUILD_DIR [FILES] [WORK]}" && pwd)
files=${2:-40} work=${3:-15}
python="$root/.venv/bin/python"
package="$build/bindings/octave/ovparquet"
here="$root/bench/mapreduce"
scratch=$(mktemp -d)
state="$scratch/cluster.json"
cleanup() { "$python" "$root/bindings/octave/tests/spark_cluster.py" stop "$state" || true; rm -rf "$scratch"; }
trap cleanup EXIT

"$python" - "$scratch/data" "$files" <<'PY'
import os, sys
import numpy as np, pyarrow as pa, pyarrow.parquet as pq
out, files = sys.argv[1], int(sys.argv[2])
os.makedirs(out)
rng = np.random.default_rng(5)
cats = np.array(["a", "b", "c", "d", "e", "f"])
for i in range(files):
    n = 200_000
    t = pa.table({"cat": pa.array(cats[rng.integers(0, 6, n)]), "x": rng.normal(size=n)})
    pq.write_table(t, f"{out}/part-{i:03d}.parquet", row_group_size=100_000, compression="none")
PY

echo "starting a master and two one-core workers on 127.0.0.1"
"$python" "$root/bindings/octave/tests/spark_cluster.py" start "$state" --cores 1 --workers 2
master=$(cat "$state.url")

OVPARQUET_BENCH_WORK=$work OVPARQUET_PYTHON="$python" octave-cli --no-gui --norc --no-history --eval "
addpath('$package'); addpath('$here');
data = '$scratch/data';
split = 2 * 2^20;
n = numel (ovparquet_splits (data, 'SplitSize', split));
args = {'SplitSize', split, 'Variables', {'cat', 'x'}, 'Progress', false};
## Per-task overhead: an octave-cli that starts and loads the package.
t0 = tic ();
for k = 1:5
  system (sprintf ('octave-cli --no-gui --norc --no-history --quiet --eval \"addpath(''%s''); ovparquet_splits(''%s'', ''SplitSize'', %d);\"', '$package', data, split));
endfor
overhead = toc (t0) / 5;
t0 = tic (); serial = ovparquet_mapreduce (data, @bench_map, @bench_reduce, args{:}); ts = toc (t0);
one = {'spark.cores.max', '1', 'spark.executor.cores', '1'};
two = {'spark.cores.max', '2', 'spark.executor.cores', '1'};
t0 = tic (); s1 = ovparquet_mapreduce (data, @bench_map, @bench_reduce, 'Engine', '$master', 'SparkConf', one, 'TaskGroups', 16, args{:}); t1 = toc (t0);
t0 = tic (); s2 = ovparquet_mapreduce (data, @bench_map, @bench_reduce, 'Engine', '$master', 'SparkConf', two, 'TaskGroups', 16, args{:}); t2 = toc (t0);
same = isequal ({serial.Key}, {s1.Key}, {s2.Key}) && max (abs (vertcat (s1.Value)(:) - vertcat (serial.Value)(:))) < 1e-6 ...
       && max (abs (vertcat (s2.Value)(:) - vertcat (serial.Value)(:))) < 1e-6;
printf ('splits: %d in %d files, %d map tasks on Spark\n', n, numel (glob ([data '/*.parquet'])), 16);
printf ('per-task overhead (octave-cli start + package load): %.2f s\n', overhead);
printf ('serial:                  %7.1f s\n', ts);
printf ('Spark, one 1-core exec.: %7.1f s   (%.2fx serial)\n', t1, t1 / ts);
printf ('Spark, two 1-core exec.: %7.1f s   (%.2fx faster than one)\n', t2, t1 / t2);
printf ('results identical: %d\n', same);
exit (! same);
"
