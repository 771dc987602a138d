#!/usr/bin/env bash
# Ctrl-C in Octave during a Spark mapreduce: SIGINT to octave-cli while the
# job runs ends the call as Octave's interrupt, the Spark application ends,
# and no scratch folder is left on the caller's side or the executors'.
#   spark_interrupt.sh OCTAVE_CLI PACKAGE_DIR FUNCTIONS PYTHON STATE DATA
set -euo pipefail
octave=$1 package=$2 functions=$3 python=$4 state=$5 data=$6
master=$(cat "$state.url")
scratch=$("$python" -c 'import json, sys; print(json.load(open(sys.argv[1]))["scratch"])' "$state")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Task folders of earlier tests (a killed worker leaves its own) do not count.
ls -d "$scratch"/tmp/ovparquet-* 2>/dev/null | sort >"$work/before.txt" || true
new_folders() { ls -d "$scratch"/tmp/ovparquet-* 2>/dev/null | sort | comm -13 "$work/before.txt" - || true; }

TMPDIR="$work" OVPARQUET_PYTHON="$python" "$octave" --no-gui --norc --no-history --eval "
addpath('$package'); addpath('$functions');
r = ovparquet_mapreduce ('$data', @mr_slow_map, @mr_stats_reduce, 'Engine', '$master', 'SplitSize', 32768, 'TaskGroups', 40);
printf ('finished\n');" >"$work/out.txt" 2>&1 &
pid=$!

# Interrupt once tasks run on the executors.
for _ in $(seq 1 600); do
  if [ -n "$(new_folders)" ]; then break; fi
  sleep 0.1
done
[ -n "$(new_folders)" ] || { echo "no task ever started"; cat "$work/out.txt"; exit 1; }
sleep 1
kill -INT "$pid"
set +e
wait "$pid"
status=$?
set -e
cat "$work/out.txt"
echo "octave ended with status $status"
! grep -q finished "$work/out.txt"
[ "$status" -lt 128 ]
# The caller's job folder is gone at once.
leftover=$(find "$work" -maxdepth 1 -name 'ovparquet-job-*')
[ -z "$leftover" ] || { echo "left behind: $leftover"; exit 1; }
# The executors' task folders go when Spark ends the cancelled tasks' workers
# (within two minutes on a loaded machine).
for _ in $(seq 1 1200); do
  if [ -z "$(new_folders)" ] && ! pgrep -f "__ovparquet_task__" >/dev/null; then
    echo "no scratch folder and no task left"
    exit 0
  fi
  sleep 0.1
done
echo "left behind on the executors:"; new_folders; pgrep -af "__ovparquet_task__" || true
exit 1
