# Checks shared by the package tests: sourced, not run.

fail() { echo "FAIL: $*" >&2; exit 1; }

# check_self_contained ROOT PATH...
# No file under ROOT (text or binary) names any of PATH (the checkout, the
# build directory, the build's Arrow prefix, each also with symbolic links
# resolved), and every RUNPATH of every ELF file is relative to $ORIGIN.
check_self_contained() {
  local root=$1; shift
  local p real hits
  for p in "$@"; do
    for real in "$p" "$(readlink -f "$p")"; do
      [ -n "$real" ] || continue
      hits=$(grep -rlaF -- "$real" "$root" || true)
      [ -z "$hits" ] || fail "files under $root name $real:"$'\n'"$hits"
    done
  done
  local elf=0 f runpath entry
  while IFS= read -r -d '' f; do
    [ "$(head -c 4 "$f" | od -An -c | tr -d ' ')" = '177ELF' ] || continue
    elf=$((elf + 1))
    readelf -d "$f" | grep -q '(RPATH)' && fail "$f has an RPATH (DT_RPATH) rather than a RUNPATH"
    runpath=$(readelf -d "$f" | sed -n 's/.*(RUNPATH).*\[\(.*\)\]/\1/p')
    case "$f" in
      */bin/*|*/lib/lib*.so*) [ -n "$runpath" ] || fail "$f has no RUNPATH" ;;
    esac
    IFS=: read -r -a entries <<<"$runpath"
    for entry in "${entries[@]}"; do
      case "$entry" in '$ORIGIN'|'$ORIGIN/'*) ;; *) fail "$f: RUNPATH entry '$entry' is not relative to \$ORIGIN" ;; esac
    done
  done < <(find "$root" -type f -print0)
  [ "$elf" -ge 5 ] || fail "only $elf ELF files under $root"
  echo "self-contained: $elf ELF files, every RUNPATH relative to \$ORIGIN, no build path named"
}

# check_resolves_inside BINARY LIBDIR
# ldd resolves our libraries and Arrow's into LIBDIR and nothing is missing.
check_resolves_inside() {
  local binary=$1 libdir out lib path
  libdir=$(readlink -f "$2")
  out=$(ldd "$binary")
  ! grep -q 'not found' <<<"$out" || fail "ldd $binary:"$'\n'"$out"
  for lib in libovparquet_core libovparquet_convert libovparquet_host libparquet libarrow; do
    path=$(awk -v lib="$lib" 'index($1, lib ".so") == 1 { print $3 }' <<<"$out")
    [ -n "$path" ] || fail "$binary does not load $lib:"$'\n'"$out"
    [ "$(dirname "$(readlink -f "$path")")" = "$libdir" ] || fail "$lib resolves to $path, outside $libdir"
  done
}

# check_roundtrip PROGRAM WORKDIR
# The program writes a small Parquet file from CSV and reads it back.
check_roundtrip() {
  local program=$1 dir=$2
  printf 'id,name,value\n1,alpha,1.5\n2,beta,\n3,Grüße,-2.25\n' >"$dir/in.csv"
  "$program" write "$dir/out.parquet" --from "$dir/in.csv" --compression zstd >/dev/null
  "$program" read "$dir/out.parquet" --format csv >"$dir/back.csv"
  grep -q 'Grüße' "$dir/back.csv" || fail "the round trip lost a row:"$'\n'"$(cat "$dir/back.csv")"
  [ "$(wc -l <"$dir/back.csv")" -eq 4 ] || fail "the round trip did not give 3 rows:"$'\n'"$(cat "$dir/back.csv")"
}
