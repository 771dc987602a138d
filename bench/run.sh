#!/usr/bin/env bash
# Runs every benchmark program of a build directory.
#   bash bench/run.sh BUILD_DIR [benchmark options...]
set -euo pipefail

build="${1:?usage: bench/run.sh BUILD_DIR [benchmark options...]}"
shift

# The files read_bench writes and peers_read.py reads: a folder of this run's
# own, removed when it ends.
OVPARQUET_READ_BENCH_DIR=$(mktemp -d "${TMPDIR:-/tmp}/ovparquet-read-bench-XXXXXX")
export OVPARQUET_READ_BENCH_DIR
trap 'rm -rf "$OVPARQUET_READ_BENCH_DIR"' EXIT

found=0
for program in "$build"/bench/*_bench; do
  [[ -f "$program" && -x "$program" ]] || continue
  found=1
  echo "== $(basename "$program")"
  "$program" "$@"
done

if [[ $found -eq 0 ]]; then
  echo "no benchmark programs in $build/bench (build with OVPARQUET_BUILD_BENCH=ON)" >&2
  exit 1
fi

# The peers' figures on the same data, for the ratios.
root=$(cd "$(dirname "$0")/.." && pwd)
for script in "$root"/bench/peers_*.py; do
  [[ -f "$script" ]] || continue
  echo "== $(basename "$script")"
  ours=()
  # Our whole read takes turns with the peers' reads there.
  if [[ $(basename "$script") == peers_read.py && -x "$build/bench/read_bench" ]]; then
    ours=(--ours "$build/bench/read_bench")
  fi
  "$root/.venv/bin/python" "$script" "${ours[@]}"
done
