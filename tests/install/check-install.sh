#!/usr/bin/env bash
# Installs the built library into a scratch prefix and builds a small program
# against it twice: through find_package(n4file) and through pkg-config. The
# program includes every installed public header, so a header that needs a
# private one, or that does not stand alone, fails here.
set -euo pipefail
build=$1
root=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
headers="$scratch/all-headers.cpp"
for h in "$scratch"/prefix/include/n4file/*.h; do
  echo "#include <n4file/$(basename "$h")>"
done >"$headers"
[ -s "$headers" ] || { echo "install check: no public headers installed" >&2; exit 1; }
cmake -S "$root/tests/install/consumer" -B "$scratch/consumer" \
  -DCMAKE_PREFIX_PATH="$scratch/prefix" -DN4_ALL_HEADERS="$headers" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
LD_LIBRARY_PATH="$scratch/prefix/lib:$scratch/prefix/lib64:${LD_LIBRARY_PATH:-}" \
  "$scratch/consumer/consumer" "$scratch/a.riff"
libdir=$(ls -d "$scratch"/prefix/lib*/pkgconfig | head -n1)
PKG_CONFIG_PATH="$libdir" c++ -std=c++20 "$root/tests/install/consumer/consumer.cpp" "$headers" \
  $(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs n4file) -o "$scratch/pc-consumer"
LD_LIBRARY_PATH="$(dirname "$libdir")" "$scratch/pc-consumer" "$scratch/b.riff"
echo "install check: find_package and pkg-config consumers passed"
