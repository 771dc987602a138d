#!/usr/bin/env bash
# The package tarball installs with Octave's pkg install (which compiles it
# with mkoctfile against the installed core), loads with pkg load, and reads
# a pyarrow file.
#   pkg_install.sh OCTAVE_CLI BUILD_DIR DATA_DIR
set -euo pipefail
octave=$1 build=$2 data=$3
cmake --build "$build" --target octave_package >/dev/null
tarball=$(ls "$build"/bindings/octave/ovparquet-*.tar.gz)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/pkg"
"$octave" --no-gui --norc --eval "
  pkg prefix '$work/pkg' '$work/pkg';
  pkg local_list '$work/pkg/list';
  pkg global_list '$work/pkg/global-list';
  pkg install -local '$tarball';
  pkg load ovparquet;
  t = ovparquet_read ('$data/types.parquet', 'Variables', {'i32', 's'});
  assert (t.i32(1:3), int32 ([1; 2; 3]));
  assert (t.s{4}, 'Grüße');
  assert (! isempty (strfind (which ('ovparquet_read'), '$work/pkg')));
  d = pkg ('describe', 'ovparquet');
  printf ('installed %s %s\n', d{1}.name, d{1}.version);
"
