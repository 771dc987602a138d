#!/usr/bin/env bash
# Installs everything the project needs to build, test and benchmark, on a
# Debian 12 machine as root. Idempotent: every step checks before it works, so
# a second run on a set-up machine takes a second or two.
#
#   scripts/setup.sh            system packages, Arrow prefix, Python peers
#   scripts/setup.sh --no-peers skip the Python virtual environment
#   scripts/setup.sh --fuzz     also clang and its libFuzzer runtime (make fuzz)
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
arrow_version=15.0.1
deps="$root/.deps"
prefix="$deps/arrow-$arrow_version"
venv="$root/.venv"
want_peers=1
want_fuzz=0
[ "${1:-}" = "--no-peers" ] && want_peers=0
[ "${1:-}" = "--fuzz" ] && want_fuzz=1

say() { printf '[setup] %s\n' "$*" >&2; }

# --- Debian packages ---------------------------------------------------------
apt_packages=(
  build-essential cmake ninja-build pkg-config unzip ca-certificates
  libboost-log-dev libboost-thread-dev libtbb-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  libcli11-dev libfmt-dev nlohmann-json3-dev libutfcpp-dev
  python3 python3-venv python3-pip
  octave liboctave-dev
  openjdk-17-jre-headless
)
[ $want_fuzz -eq 1 ] && apt_packages+=(clang libclang-rt-14-dev)
missing=()
for p in "${apt_packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  if [ "$(id -u)" -ne 0 ]; then
    say "missing Debian packages: ${missing[*]} (run as root to install them)"
    exit 1
  fi
  say "installing Debian packages: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# --- Apache Arrow C++ from the official pyarrow wheel ------------------------
# Debian ships no Arrow, so the C++ headers and shared libraries come out of
# the pyarrow wheel (manylinux_2_28, new C++ ABI). The wheel is only unpacked,
# never installed, and no Python is needed to use the result.
if [ ! -f "$prefix/.complete" ]; then
  say "unpacking Arrow C++ $arrow_version into $prefix"
  wheels="$deps/wheels"
  mkdir -p "$wheels"
  wheel=$(ls "$wheels"/pyarrow-"$arrow_version"-cp311-cp311-manylinux_2_28_x86_64.whl 2>/dev/null || true)
  if [ -z "$wheel" ]; then
    python3 -m pip download --quiet --no-deps --only-binary=:all: \
      --platform manylinux_2_28_x86_64 --python-version 3.11 \
      --implementation cp --abi cp311 -d "$wheels" "pyarrow==$arrow_version"
    wheel=$(ls "$wheels"/pyarrow-"$arrow_version"-*.whl)
  fi
  tmp=$(mktemp -d "$deps/unpack.XXXXXX")
  trap 'rm -rf "$tmp"' EXIT
  # libarrow and libparquet carry their own dependencies statically.
  unzip -q "$wheel" 'pyarrow/include/*' 'pyarrow/libarrow.so.*' \
    'pyarrow/libparquet.so.*' -d "$tmp"
  rm -rf "$prefix"
  mkdir -p "$prefix/lib"
  mv "$tmp/pyarrow/include" "$prefix/include"
  for lib in "$tmp"/pyarrow/lib*.so.*; do
    name=$(basename "$lib")
    mv "$lib" "$prefix/lib/$name"
    ln -sf "$name" "$prefix/lib/${name%%.so.*}.so"
  done
  echo "$arrow_version" > "$prefix/.complete"
  rm -rf "$tmp"
  trap - EXIT
fi

# --- Python peers for tests and benchmarks -----------------------------------
if [ "$want_peers" = 1 ] && [ ! -f "$venv/.complete" ]; then
  say "creating the peer environment in $venv"
  rm -rf "$venv"
  /usr/bin/python3 -m venv "$venv"
  "$venv/bin/python" -m pip install --quiet --upgrade pip
  "$venv/bin/python" -m pip install --quiet -r "$root/scripts/peers.txt"
  cp "$root/scripts/peers.txt" "$venv/.complete"
elif [ "$want_peers" = 1 ] && ! cmp -s "$root/scripts/peers.txt" "$venv/.complete"; then
  say "updating the peer environment"
  "$venv/bin/python" -m pip install --quiet -r "$root/scripts/peers.txt"
  cp "$root/scripts/peers.txt" "$venv/.complete"
fi
say "ready"
