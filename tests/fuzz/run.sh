#!/usr/bin/env bash
# Runs every libFuzzer target of a fuzz build for FUZZ_SECONDS each (default
# 60), in FUZZ_JOBS processes at once (default: one per core), under a 2 GiB
# RSS limit and a 10 s limit per input. The corpus grows
# in BUILD/fuzz/corpus/<target> (seeded from tests/fuzz/seeds, the kept
# crashes and apache/arrow-testing's Parquet files); every crashing input found is copied into
# tests/fuzz/crashes/<target>/, which the default test run replays. Inputs
# that only ran out of memory or time are listed but left in
# BUILD/fuzz/artifacts/<target>/.
#
#   tests/fuzz/run.sh BUILD [TARGET...]
set -euo pipefail

build=${1:?usage: run.sh BUILD [TARGET...]}
shift
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
seconds=${FUZZ_SECONDS:-60}
jobs=${FUZZ_JOBS:-$(nproc)}
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(info read statistics convert)

# Arrow's allocations go through malloc, where AddressSanitizer sees them.
export ARROW_DEFAULT_MEMORY_POOL=system
# Arrow keeps process-wide pools and caches alive to the end: not leaks.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0}

total=0
summary=()
for target in "${targets[@]}"; do
  binary="$build/tests/fuzz/fuzz_$target"
  corpus="$build/fuzz/corpus/$target"
  artifacts="$build/fuzz/artifacts/$target"
  log="$build/fuzz/$target.log"
  mkdir -p "$corpus" "$artifacts" "$root/tests/fuzz/crashes/$target"
  echo "fuzzing $target for ${seconds}s in $jobs processes (log: $log)"
  "$binary" -fork="$jobs" -ignore_crashes=1 -ignore_ooms=1 -ignore_timeouts=1 \
    -rss_limit_mb=2048 -malloc_limit_mb=2048 -timeout=10 -max_total_time="$seconds" \
    -artifact_prefix="$artifacts/" "$corpus" "$root/tests/fuzz/seeds" "$root/tests/fuzz/crashes" \
    "$root/tests/data/arrow-testing/data/parquet" \
    >"$log" 2>&1 || true
  # Fork mode reports "#<runs>: cov: ... crash: N" lines; the last one counts.
  last=$(grep -E '^#[0-9]+: cov' "$log" | tail -n 1 || true)
  runs=$(sed -E 's/^#([0-9]+):.*/\1/' <<<"${last:-#0:}")
  total=$((total + runs))
  kept=0
  for crash in "$artifacts"/crash-* "$artifacts"/leak-*; do
    [ -e "$crash" ] || continue
    if [ ! -e "$root/tests/fuzz/crashes/$target/$(basename "$crash")" ]; then
      cp "$crash" "$root/tests/fuzz/crashes/$target/"
      kept=$((kept + 1))
    fi
  done
  ooms=$(find "$artifacts" -name 'oom-*' | wc -l)
  timeouts=$(find "$artifacts" -name 'timeout-*' | wc -l)
  summary+=("$target: $runs executions, $kept new crashes kept, $ooms out-of-memory and $timeouts slow inputs in $artifacts | ${last:-no stats}")
done
printf '%s\n' "${summary[@]}"
echo "total: $total executions"
