#!/usr/bin/env bash
# The bundled example: generates a year of weather-station readings, writes
# them to Parquet with ovparquet, then shows the file, its statistics, and a
# filtered read that skips the row groups the statistics rule out.
#
#   example/run.sh [BUILD_DIR]     (BUILD_DIR defaults to "build")
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build="${1:-build}"
case "$build" in /*) ;; *) build="$root/$build" ;; esac
program="$build/cli/ovparquet"
python="${OVPARQUET_PYTHON:-$root/.venv/bin/python}"
work="$build/example"

if [ ! -x "$program" ]; then
  echo "example: $program is not built (run 'make build' first)" >&2
  exit 1
fi
mkdir -p "$work"
cd "$work"

# Shows each command as a user would type it, then runs it.
run() {
  local shown="" arg
  for arg in "$@"; do
    case "$arg" in
      *[[:space:]\'\"\<\>\&\;\|\*]*) shown+=" \"$arg\"" ;;
      *) shown+=" $arg" ;;
    esac
  done
  printf '\n$ ovparquet%s\n' "$shown"
  "$program" "$@"
}

"$python" "$root/example/make_data.py" readings_raw.parquet

run write readings.parquet --from readings_raw.parquet --row-group-length 20000 \
  --compression zstd,station=snappy --encoding dictionary,temperature=plain
run info readings.parquet
run stats readings.parquet --vars time,temperature
run --verbose read readings.parquet \
  --where "time >= '2023-11-01' and time < '2023-11-03' and temperature > 12" \
  --vars station,time,temperature,humidity,tags --max-rows 10
run read readings.parquet --vars station,time,temperature,position --head 3 --format json
