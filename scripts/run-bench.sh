#!/usr/bin/env bash
# Builds (Release) and runs the benchmark programs; each prints its ratios.
# Pass benchmark names (riff, bulb, sequence, settings, group) to run only those.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build/bench -DCMAKE_BUILD_TYPE=Release -DN4FILE_BUILD_TESTS=OFF >/dev/null
cmake --build build/bench -j "$jobs"
names=("$@")
if [ ${#names[@]} -eq 0 ]; then
  for d in bench/*/; do names+=("$(basename "$d")"); done
fi
for n in "${names[@]}"; do
  exe=build/bench/bench/n4file_${n}_bench
  [ -x "$exe" ] || continue
  echo "== $n"
  "$exe"
done
