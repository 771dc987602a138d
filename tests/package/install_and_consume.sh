#!/usr/bin/env bash
# Installs the build tree into a temporary prefix, builds a tiny outside
# project against the installed package and runs it.
#   install_and_consume.sh BUILD_DIR [CXX_FLAGS]
set -euo pipefail
build=$1
flags=${2:-}
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$here/consumer" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
  "-DCMAKE_CXX_FLAGS=$flags" "-DCMAKE_EXE_LINKER_FLAGS=$flags" >/dev/null
cmake --build "$work/build" >"$work/build.log" 2>&1 || { tail -30 "$work/build.log"; exit 1; }
# The consumer must have compiled against the installed headers.
deps=$(cd "$work/build" && ninja -t deps)
grep -q "$work/prefix/include/ovparquet/core.hpp" <<<"$deps"
out=$("$work/build/consumer")
echo "consumer printed: $out"
[ "$out" = "Grüße 5 List<Int32> double" ]
