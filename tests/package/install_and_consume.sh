#!/usr/bin/env bash
# Installs the build tree into a temporary prefix, builds a tiny outside
# project against the installed package and runs it.
#   install_and_consume.sh BUILD_DIR
set -euo pipefail
build=$1
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$here/consumer" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/build" >/dev/null
# The consumer must have compiled against the installed headers.
(cd "$work/build" && ninja -t deps) | grep -q "$work/prefix/include/ovparquet/host.hpp"
out=$("$work/build/consumer")
echo "consumer printed: $out"
[ "$out" = "Grüße 5" ]
