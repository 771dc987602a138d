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
ui_port=$("$python" -c 'import json, sys; print(json.load(open(sys.argv[1]))["ui_port"])' "$state")
# Task folders of earlier jobs do not count.
task_folders() { find "$scratch" -name 'ovparquet-tasks-*' 2>/dev/null | sort; }
task_folders >"$work/before.txt"
new_folders() { task_folders | comm -13 "$work/before.txt" -; }
# The processes of this cluster's tasks: a guard and its octave-cli.
task_processes() { pgrep -af "__ovparquet_task__.*$scratch" || true; }
active_apps() {
  "$python" -c 'import json, sys, urllib.request; print(len(json.load(urllib.request.urlopen(sys.argv[1], timeout=5))["activeapps"]))' \
    "http://127.0.0.1:$ui_port/json/"
}

TMPDIR="$work" OVPARQUET_PYTHON="$python" "$octave" --no-gui --norc --no-history --eval "
addpath('$package'); addpath('$functions');
r = ovparquet_mapreduce ('$data', @mr_slow_map, @mr_stats_reduce, 'Engine', '$master', 'SplitSize', 32768, 'TaskGroups', 40);
printf ('finished\n');" >"$work/out.txt" 2>&1 &
pid=$!

# Interrupt once tasks run on the executors.
for _ in $(seq 1 1800); do
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
# The application ends, and with it the cancelled tasks' processes and
# their folders (within two minutes on a loaded machine).
for _ in $(seq 1 240); do
  if [ -z "$(new_folders)" ] && [ -z "$(task_processes)" ] && [ "$(active_apps)" = 0 ]; then
    echo "no scratch folder, no task process and no Spark application left"
    exit 0
  fi
  sleep 0.5
done
echo "left behind:"; new_folders; task_processes; echo "active Spark applications: $(active_apps)"
exit 1
