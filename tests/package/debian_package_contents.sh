#!/usr/bin/env bash
# What the Debian package holds and declares, read with dpkg-deb: its
# fields, its files, that they name no build path and run where they are
# unpacked, and that every shared library they load from outside the package
# is covered by a declared dependency on the Debian package that ships it.
#   debian_package_contents.sh OUT_DIR VERSION BUILD_DIR SOURCE_DIR ARROW_PREFIX
set -euo pipefail
out=$1 version=$2
build=$(readlink -f "$3")
source=$(readlink -f "$4")
arrow=$5
here=$(cd "$(dirname "$0")" && pwd)
. "$here/common.sh"

arch=$(dpkg --print-architecture)
deb="$out/ovparquet_${version}_${arch}.deb"
[ -f "$deb" ] || fail "no $deb (found: $(ls "$out"))"
field() { dpkg-deb -f "$deb" "$1"; }
[ "$(field Package)" = ovparquet ] || fail "Package: $(field Package)"
[ "$(field Version)" = "$version" ] || fail "Version: $(field Version)"
[ "$(field Architecture)" = "$arch" ] || fail "Architecture: $(field Architecture)"
[ -n "$(field Maintainer)" ] || fail "no Maintainer"
depends=$(field Depends)
echo "Depends: $depends"
echo "Recommends: $(field Recommends)"
echo "Conflicts: $(field Conflicts)"
! grep -qiE 'arrow|parquet' <<<"$depends" || fail "Arrow is shipped inside, yet a dependency: $depends"
grep -q 'libboost-log-dev' <<<"$(field Recommends)" || fail "the headers' Boost.Log is not recommended"
# The maintainer scripts do nothing but refresh the loader cache, so that
# installing or removing cannot stop half-way.
control=$(mktemp -d)
dpkg-deb -e "$deb" "$control"
for script in preinst postinst prerm postrm; do
  [ -f "$control/$script" ] || continue
  other=$(grep -vE '^(#!/bin/sh|set -e|if \[ "\$1" = "(configure|remove)" \]; then|[[:space:]]*ldconfig|fi|)$' "$control/$script" || true)
  [ -z "$other" ] || fail "$script does more than run ldconfig: $other"
done
rm -rf "$control"

listing=$(dpkg-deb -c "$deb" | awk '{ print $6 }')
for f in ./usr/bin/ovparquet ./usr/lib/libovparquet_host.so ./usr/lib/libovparquet_convert.so \
         ./usr/lib/libovparquet_core.so ./usr/lib/libarrow.so.1500 ./usr/lib/libparquet.so.1500 \
         ./usr/include/ovparquet/core.hpp ./usr/include/ovparquet/host.hpp ./usr/include/ovparquet/convert.hpp \
         ./usr/include/arrow/type_fwd.h ./usr/include/parquet/arrow/reader.h \
         ./usr/lib/cmake/ovparquet/ovparquetConfig.cmake ./usr/lib/cmake/ovparquet/ovparquetTargets.cmake \
         ./usr/lib/pkgconfig/ovparquet.pc; do
  grep -qxF "$f" <<<"$listing" || fail "the package has no $f"
done
outside=$(grep -vE '^\./(usr(/.*)?)?$' <<<"$listing" || true)
[ -z "$outside" ] || fail "files outside /usr: $outside"
! grep -q '^\./usr/include/arrow/python/' <<<"$listing" || fail "pyarrow's own headers are packaged"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dpkg-deb -x "$deb" "$work/root"
check_self_contained "$work/root/usr" "$source" "$build" "$arrow"
# Unpacked anywhere, the program runs on the package's own libraries.
"$work/root/usr/bin/ovparquet" --version
check_resolves_inside "$work/root/usr/bin/ovparquet" "$work/root/usr/lib"

# Every library loaded from outside the package belongs to a Debian package
# named in Depends.
owner() {  # the Debian package that ships PATH (merged /usr or not)
  local p
  for p in "$1" "$(readlink -f "$1")" "${1#/usr}" "/usr$1"; do
    dpkg -S "$p" 2>/dev/null | head -1 | cut -d: -f1 && return 0
  done
  return 1
}
# Package names alone: versions and alternatives dropped.
depend_names=$(sed 's/([^)]*)//g; s/|/,/g' <<<"$depends" | tr ',' '\n' | awk 'NF { print $1 }')
checked=0
declare -A owners
while IFS= read -r -d '' f; do
  [ "$(head -c 4 "$f" | od -An -c | tr -d ' ')" = '177ELF' ] || continue
  needed=$(readelf -d "$f" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
  resolved=$(ldd "$f")
  for soname in $needed; do
    [ -e "$work/root/usr/lib/$soname" ] && continue
    path=$(awk -v so="$soname" '$1 == so && $2 == "=>" { print $3 }' <<<"$resolved")
    [ -n "$path" ] || { [[ "$soname" == ld-linux* ]] && continue; fail "$f: $soname does not resolve"; }
    if [ -z "${owners[$path]:-}" ]; then
      owners[$path]=$(owner "$path") || fail "no Debian package ships $path"
    fi
    pkg=${owners[$path]}
    grep -qxF "$pkg" <<<"$depend_names" || fail "$f needs $soname from $pkg, which Depends does not name"
    checked=$((checked + 1))
  done
done < <(find "$work/root" -type f -print0)
[ "$checked" -ge 5 ] || fail "only $checked outside libraries checked"
echo "Depends covers all $checked outside libraries the package's binaries load"
