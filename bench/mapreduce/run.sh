#!/usr/bin/env bash
# The same mapreduce with the "serial" engine, on Spark with one one-core
# executor and on Spark with two, on a standalone cluster started on
# 127.0.0.1; the fixed cost of a Spark job, and the per-task overhead (an
# octave-cli start and the package load). Prints a table with the ratios of
# the same run against the targets.
#   bench/mapreduce/run.sh BUILD_DIR [--files N] [--work N] [--task-groups N]
# --files: Parquet files of one row group of 100,000 rows, one split each
#   (default 48);
# --work: sorts of each row group in the map, the job's CPU cost (default
#   150: about 1.8 s a row group, 85 s serially on a quiet machine);
# --task-groups: map tasks on Spark (default 8, four per core of two
#   executors, so that an executor that starts late does not hold the job).
# The defaults take about five minutes on a quiet two-core machine.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
usage="usage: run.sh BUILD_DIR [--files N] [--work N] [--task-groups N]"
build=$(cd "${1:?$usage}" && pwd)
shift
files=48 work=150 groups=8
while [ $# -gt 0 ]; do
  case "$1" in
    --files) files=$2; shift 2 ;;
    --work) work=$2; shift 2 ;;
    --task-groups) groups=$2; shift 2 ;;
    *) echo "$usage" >&2; exit 2 ;;
  esac
done
python="$root/.venv/bin/python"
package="$build/bindings/octave/ovparquet"
here="$root/bench/mapreduce"
octave=(octave-cli --no-gui --norc --no-history --quiet)
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
    n = 100_000
    t = pa.table({"cat": pa.array(cats[rng.integers(0, 6, n)]), "x": rng.normal(size=n)})
    pq.write_table(t, f"{out}/part-{i:03d}.parquet", row_group_size=n, compression="none")
PY
mkdir "$scratch/one"
cp "$scratch/data/part-000.parquet" "$scratch/one/"
split=$((4 * 1024 * 1024))

# The map reads this setting: the workers (and so the executors' tasks)
# inherit it from here.
export OVPARQUET_BENCH_WORK=$work OVPARQUET_PYTHON="$python"
echo "starting a master and two one-core workers on 127.0.0.1"
"$python" "$root/bindings/octave/tests/spark_cluster.py" start "$state" --cores 1 --workers 2
master=$(cat "$state.url")

# Seconds and peak resident KiB of one command: "SECONDS KIB".
measure() { /usr/bin/time -f "%e %M" -o "$scratch/time" "$@" >"$scratch/log" 2>&1 || { cat "$scratch/log" >&2; exit 1; }; cat "$scratch/time"; }
# Mean seconds and largest peak of five runs.
five() {
  for _ in 1 2 3 4 5; do measure "$@"; done | awk '{ s += $1; if ($2 > m) m = $2 } END { printf "%.2f %d\n", s / NR, m }'
}
echo "per-task overhead"
bare=$(five "${octave[@]}" --eval "1;")
loaded=$(five "${octave[@]}" --eval "addpath('$package'); ovparquet_splits('$scratch/one', 'SplitSize', $split);")

job() {  # job NAME ENGINE DATA CORES GROUPS
  echo "  $1" >&2
  measure "${octave[@]}" --eval "addpath('$package'); addpath('$here'); bench_job('$2', '$3', $split, '$scratch/$1.bin', $4, $5);"
}
echo "jobs"
serial=$(job serial serial "$scratch/data" 0 0)
fixed=$(job fixed "$master" "$scratch/one" 1 1)
spark1=$(job spark1 "$master" "$scratch/data" 1 "$groups")
spark2=$(job spark2 "$master" "$scratch/data" 2 "$groups")

"${octave[@]}" --eval "
addpath('$package');
n = numel (ovparquet_splits ('$scratch/data', 'SplitSize', $split));
runs = {'serial', 'spark1', 'spark2', 'fixed'};
for i = 1:numel (runs)
  s.(runs{i}) = load (fullfile ('$scratch', [runs{i} '.bin']));
endfor
same = @(a, b) isequal ({a.r.Key}, {b.r.Key}) && max (abs (vertcat (a.r.Value)(:) - vertcat (b.r.Value)(:))) < 1e-6;
identical = same (s.serial, s.spark1) && same (s.serial, s.spark2);
ts = s.serial.seconds; t1 = s.spark1.seconds; t2 = s.spark2.seconds;
bare = str2num ('$bare'); loaded = str2num ('$loaded');
rss = [str2num('$serial')(2), str2num('$spark1')(2), str2num('$spark2')(2)];
verdict = {'NOT MET', 'met'};
printf ('\n%d splits (one row group of 100000 rows each), %d sorts per row group, %d map tasks on Spark\n\n', ...
        n, $work, min ($groups, n));
printf ('%-44s %9s %12s\n', 'run', 'seconds', 'peak MiB');
printf ('%-44s %9.2f %12.0f\n', 'octave-cli start', bare(1), bare(2) / 1024);
printf ('%-44s %9.2f %12.0f\n', 'per-task overhead (start + package load)', loaded(1), loaded(2) / 1024);
printf ('%-44s %9.2f\n', 'Spark job of one split (fixed cost)', s.fixed.seconds);
printf ('%-44s %9.2f %12.0f\n', 'serial', ts, rss(1) / 1024);
printf ('%-44s %9.2f %12.0f\n', 'Spark, one one-core executor', t1, rss(2) / 1024);
printf ('%-44s %9.2f %12.0f\n', 'Spark, two one-core executors', t2, rss(3) / 1024);
printf ('(peak MiB: the largest of the calling octave-cli and the processes it waited for;\n Spark''s JVMs and the tasks'' octave-cli are not counted)\n\n');
printf ('%-44s %9s %12s\n', 'target', 'measured', '');
big = n >= 40; long = ts >= 30;
printf ('%-44s %8.2fx %12s\n', 'two executors >= 1.6x faster than one', t1 / t2, ...
        {'job < 40 splits', verdict{(t1 / t2 >= 1.6) + 1}}{big + 1});
printf ('%-44s %8.2fx %12s\n', 'one executor <= 1.5x serial', t1 / ts, ...
        {'serial < 30 s', verdict{(t1 / ts <= 1.5) + 1}}{long + 1});
printf ('results identical: %d\n', identical);
exit (! identical);
"
