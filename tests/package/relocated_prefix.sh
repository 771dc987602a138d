#!/usr/bin/env bash
# The installed prefix stands on its own: install the build into a prefix,
# check that nothing in it names the checkout, the build or the build's Arrow
# prefix, move it elsewhere, make those three unreachable, then run the moved
# program and build and run an outside project against the moved prefix, once
# with CMake and once with pkg-config.
#   relocated_prefix.sh BUILD_DIR SOURCE_DIR ARROW_PREFIX PYTHON [CXX_FLAGS]
# The three directories are hidden under empty file systems in a private
# mount namespace (unshare -m) that only this test's commands see; where that
# is not permitted, the test runs unhidden and relies on its checks that
# nothing resolves into them.
set -euo pipefail
build=$(readlink -f "$1")
source=$(readlink -f "$2")
arrow=$3
python=$4
flags=${5:-}
here=$(cd "$(dirname "$0")" && pwd)
. "$here/common.sh"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/installed" >/dev/null
check_self_contained "$work/installed" "$source" "$build" "$arrow"
for f in bin/ovparquet lib/libarrow.so.1500 lib/libparquet.so.1500 lib/libarrow.so lib/libparquet.so \
         include/ovparquet/core.hpp include/parquet/arrow/reader.h include/arrow/type_fwd.h \
         lib/cmake/ovparquet/ovparquetConfig.cmake lib/pkgconfig/ovparquet.pc; do
  [ -e "$work/installed/$f" ] || fail "the prefix has no $f"
done

# Elsewhere, at another depth.
mkdir -p "$work/some/where"
mv "$work/installed" "$work/some/where/moved"
prefix="$work/some/where/moved"
# What runs once the checkout is hidden comes along.
mkdir -p "$work/run"
cp "$here/common.sh" "$here/relocated_inner.sh" "$work/run/"
cp -r "$here/consumer" "$work/run/consumer"

hide=("$(readlink -f "$arrow")" "$build" "$source")
if unshare -m --propagation private true 2>/dev/null; then
  echo "hiding ${hide[*]} in a private mount namespace"
  unshare -m --propagation private bash "$work/run/relocated_inner.sh" hide "$prefix" "$work/run" "$flags" "${hide[@]}"
else
  echo "unshare -m is not permitted here: running unhidden, checking where everything resolves"
  bash "$work/run/relocated_inner.sh" check "$prefix" "$work/run" "$flags" "${hide[@]}"
fi

# The file the moved program wrote, read by an independent implementation.
"$python" - "$work/run/out.parquet" <<'PY'
import sys
import pyarrow.parquet as pq
t = pq.read_table(sys.argv[1])
got = t.to_pydict()
assert got["id"] == [1, 2, 3], got
assert got["name"] == ["alpha", "beta", "Grüße"], got
assert got["value"] == [1.5, None, -2.25], got
print("pyarrow reads the moved program's file:", t.num_rows, "rows")
PY
echo "relocated prefix: program, CMake consumer and pkg-config consumer all ran"
