#!/usr/bin/env bash
# Installs the Debian package for real with apt-get, runs the installed
# program and builds an outside project against it (CMake and pkg-config),
# then removes the package again.
#   debian_package_install.sh OUT_DIR VERSION
# This changes the machine, so it runs only as root on a disposable one: a
# container, or where OVPARQUET_TEST_DEB_INSTALL=1 says so (=0 always skips).
# Skipped runs exit 77. apt-get must not download anything: the dependencies
# are the libraries the build itself used, already installed, which a
# simulated install confirms first.
set -euo pipefail
out=$1 version=$2
here=$(cd "$(dirname "$0")" && pwd)
. "$here/common.sh"
skip() { echo "SKIP: $*"; exit 77; }

[ "${OVPARQUET_TEST_DEB_INSTALL:-}" != 0 ] || skip "OVPARQUET_TEST_DEB_INSTALL=0"
[ "$(id -u)" -eq 0 ] || skip "not root"
if [ "${OVPARQUET_TEST_DEB_INSTALL:-}" != 1 ] && [ ! -e /.dockerenv ] && [ ! -e /run/.containerenv ] \
   && ! systemd-detect-virt --container --quiet 2>/dev/null; then
  skip "not a container; set OVPARQUET_TEST_DEB_INSTALL=1 on a disposable machine"
fi
deb="$out/ovparquet_${version}_$(dpkg --print-architecture).deb"
[ -f "$deb" ] || fail "no $deb"

# A run killed between install and removal leaves this marker, so the next
# run knows the installed package is its own leftover; any other installed
# ovparquet belongs to someone and is left alone.
marker=/var/tmp/ovparquet-deb-test.installed
installed() { dpkg-query -W -f='${Status}' ovparquet 2>/dev/null | grep -q 'install ok installed'; }
apt() { DEBIAN_FRONTEND=noninteractive apt-get -y -q -o DPkg::Lock::Timeout=600 "$@"; }
remove() { apt remove --purge ovparquet >/dev/null 2>&1 || dpkg --purge ovparquet >/dev/null 2>&1 || true; }
if installed || dpkg-query -W ovparquet >/dev/null 2>&1; then
  [ -e "$marker" ] || skip "an ovparquet package is already installed here; not touching it"
  echo "removing the package a previous run left installed"
  remove
fi

work=$(mktemp -d)
cleanup() {
  remove
  if ! dpkg-query -W ovparquet >/dev/null 2>&1; then rm -f "$marker"; fi
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT TERM
touch "$marker"
# Nothing to fetch: apt-get would install this package alone.
planned=$(apt install --simulate "$deb" 2>&1) || { echo "$planned"; fail "apt-get cannot install $deb"; }
[ "$(grep '^Inst ' <<<"$planned" | awk '{ print $2 }')" = ovparquet ] \
  || fail "installing $deb would fetch other packages:"$'\n'"$(grep '^Inst ' <<<"$planned")"
apt install "$deb" >"$work/apt.log" 2>&1 || { cat "$work/apt.log"; fail "apt-get install $deb"; }
installed || fail "dpkg does not list ovparquet as installed"

[ "$(command -v ovparquet)" = /usr/bin/ovparquet ] || fail "ovparquet on PATH is $(command -v ovparquet)"
text=$(ovparquet --version)
echo "installed: $text"
[ "$text" = "ovparquet $version (Apache Arrow 15.0.1)" ] || fail "ovparquet --version printed '$text'"
check_resolves_inside /usr/bin/ovparquet /usr/lib
check_roundtrip ovparquet "$work"

# An outside project finds the installed package on the default paths.
expected="Grüße 5 List<Int32> double"
cp -r "$here/consumer" "$work/consumer"
cmake -S "$work/consumer" -B "$work/cmake-build" -G Ninja -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF >"$work/cmake.log" 2>&1 \
  || { cat "$work/cmake.log"; fail "configuring the CMake consumer"; }
cmake --build "$work/cmake-build" >"$work/build.log" 2>&1 || { tail -30 "$work/build.log"; fail "building the CMake consumer"; }
grep -qx 'ovparquet_DIR:PATH=/usr/lib/cmake/ovparquet' "$work/cmake-build/CMakeCache.txt" \
  || fail "CMake found $(grep ovparquet_DIR "$work/cmake-build/CMakeCache.txt")"
[ "$("$work/cmake-build/consumer")" = "$expected" ] || fail "the CMake consumer printed '$("$work/cmake-build/consumer")'"
# shellcheck disable=SC2046  # word splitting of the flags is intended
g++ -std=c++20 -o "$work/pc-consumer" "$work/consumer/main.cpp" $(pkg-config --cflags --libs ovparquet) \
  || fail "building the pkg-config consumer"
[ "$("$work/pc-consumer")" = "$expected" ] || fail "the pkg-config consumer printed '$("$work/pc-consumer")'"
echo "CMake and pkg-config consumers built and ran against the installed package"

remove
! dpkg-query -W -f='${Status}' ovparquet 2>/dev/null | grep -q installed || fail "ovparquet is still installed"
[ ! -e /usr/bin/ovparquet ] && [ ! -e /usr/lib/libarrow.so.1500 ] || fail "files stayed after removal"
echo "removed again"
