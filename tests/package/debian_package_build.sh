#!/usr/bin/env bash
# Builds the Debian package of a build tree into OUT_DIR, as `make package`
# does, for the tests that inspect and install it.
#   debian_package_build.sh BUILD_DIR OUT_DIR
set -euo pipefail
build=$(readlink -f "$1")
out=$2
rm -rf "$out"
mkdir -p "$out"
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$out" >"$out/cpack.log" 2>&1 \
  || { cat "$out/cpack.log"; echo "FAIL: cpack" >&2; exit 1; }
ls -l "$out"/*.deb
