#!/usr/bin/env bash
# Installs the built library into a scratch prefix and builds a small program
# against it twice: through find_package(n4file) and through pkg-config.
set -euo pipefail
build=$1
root=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
cmake -S "$root/tests/install/consumer" -B "$scratch/consumer" \
  -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
LD_LIBRARY_PATH="$scratch/prefix/lib:$scratch/prefix/lib64:${LD_LIBRARY_PATH:-}" \
  "$scratch/consumer/consumer" "$scratch/a.riff"
libdir=$(ls -d "$scratch"/prefix/lib*/pkgconfig | head -n1)
PKG_CONFIG_PATH="$libdir" c++ -std=c++20 "$root/tests/install/consumer/consumer.cpp" \
  $(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs n4file) -o "$scratch/pc-consumer"
LD_LIBRARY_PATH="$(dirname "$libdir")" "$scratch/pc-consumer" "$scratch/b.riff"
echo "install check: find_package and pkg-config consumers passed"
