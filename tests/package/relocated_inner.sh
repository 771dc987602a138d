#!/usr/bin/env bash
# The half of relocated_prefix.sh that runs against the moved prefix, in its
# private mount namespace when MODE is "hide".
#   relocated_inner.sh MODE PREFIX RUN_DIR CXX_FLAGS HIDDEN_DIR...
set -euo pipefail
mode=$1 prefix=$2 run=$3 flags=$4
shift 4
. "$run/common.sh"

if [ "$mode" = hide ]; then
  for dir in "$@"; do
    # The checkout may hold the others; each is hidden once.
    [ -d "$dir" ] && mount -t tmpfs -o size=1m,mode=0755 ovparquet-hidden "$dir"
  done
  for dir in "$@"; do
    [ -z "$(ls -A "$dir" 2>/dev/null)" ] || fail "$dir is still visible"
  done
fi
for dir in "$@"; do
  if [ "$mode" = hide ] && [ -e "$dir/lib/libarrow.so.1500" ]; then fail "$dir still holds Arrow"; fi
done

# The program.
version=$("$prefix/bin/ovparquet" --version)
echo "moved program: $version"
[[ "$version" == "ovparquet "*" (Apache Arrow 15.0.1)" ]] || fail "unexpected version text: $version"
check_resolves_inside "$prefix/bin/ovparquet" "$prefix/lib"
check_roundtrip "$prefix/bin/ovparquet" "$run"

expected="Grüße 5 List<Int32> double"
not_hidden() {  # ARGS... name none of the hidden directories
  local dir
  for dir in "${hidden[@]}"; do
    ! grep -qF -- "$dir" <<<"$*" || fail "$dir shows up in: $*"
  done
}
hidden=("$@")

# An outside project with CMake.
cmake -S "$run/consumer" -B "$run/cmake-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF \
  "-DCMAKE_CXX_FLAGS=$flags" "-DCMAKE_EXE_LINKER_FLAGS=$flags" >"$run/cmake.log" 2>&1 \
  || { cat "$run/cmake.log"; fail "configuring the CMake consumer"; }
cmake --build "$run/cmake-build" -v >"$run/build.log" 2>&1 || { tail -30 "$run/build.log"; fail "building the CMake consumer"; }
found=$(sed -n 's/^ovparquet_DIR:PATH=//p' "$run/cmake-build/CMakeCache.txt")
[ "$(readlink -f "$found")" = "$(readlink -f "$prefix/lib/cmake/ovparquet")" ] || fail "CMake found the package in $found"
# Compiled against the moved prefix's headers, ours and Arrow's.
deps=$(cd "$run/cmake-build" && ninja -t deps)
grep -q "$prefix/include/ovparquet/core.hpp" <<<"$deps" || fail "the CMake consumer did not use the prefix's headers"
grep -q "$prefix/include/arrow/type.h" <<<"$deps" || fail "the CMake consumer did not use the prefix's Arrow headers"
not_hidden "$deps" "$(cat "$run/build.log")"
check_resolves_inside "$run/cmake-build/consumer" "$prefix/lib"
out=$("$run/cmake-build/consumer")
echo "CMake consumer printed: $out"
[ "$out" = "$expected" ] || fail "the CMake consumer printed '$out'"

# The same project with pkg-config.
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
cflags=$(pkg-config --cflags ovparquet)
libs=$(pkg-config --libs ovparquet)
libdir=$(pkg-config --variable=libdir ovparquet)
[ "$(readlink -f "$libdir")" = "$(readlink -f "$prefix/lib")" ] || fail "pkg-config gives libdir $libdir"
[[ "$version" == "ovparquet $(pkg-config --modversion ovparquet) "* ]] || fail "pkg-config's version differs from the program's"
not_hidden "$cflags" "$libs"
# shellcheck disable=SC2086  # word splitting of the flags is intended
g++ -std=c++20 $flags -o "$run/pc-consumer" "$run/consumer/main.cpp" $cflags $libs -Wl,-rpath,"$libdir" -H \
  2>"$run/pc-headers.log" || { tail -30 "$run/pc-headers.log"; fail "building the pkg-config consumer"; }
grep -q "$prefix/lib/pkgconfig/../../include/ovparquet/core.hpp\|$prefix/include/ovparquet/core.hpp" "$run/pc-headers.log" \
  || fail "the pkg-config consumer did not use the prefix's headers"
not_hidden "$(cat "$run/pc-headers.log")"
check_resolves_inside "$run/pc-consumer" "$prefix/lib"
out=$("$run/pc-consumer")
echo "pkg-config consumer printed: $out"
[ "$out" = "$expected" ] || fail "the pkg-config consumer printed '$out'"
