#!/usr/bin/env bash
# Builds the libFuzzer targets with clang and runs each for a while.
# Usage: scripts/run-fuzz.sh [seconds per target, default 60]
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps
command -v clang++ >/dev/null || apt-get install -y -qq clang
seconds=${1:-60}
CXX=clang++ CC=clang cmake -S . -B build/fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DN4FILE_BUILD_FUZZ=ON \
  -DN4FILE_BUILD_TESTS=OFF -DN4FILE_BUILD_BENCH=OFF -DN4FILE_BUILD_TOOLS=OFF -DN4FILE_WITH_CINEPAK=OFF >/dev/null
cmake --build build/fuzz -j "$(nproc)"
for exe in build/fuzz/fuzz/n4file_*_fuzz; do
  name=$(basename "$exe")
  corpus=build/fuzz/corpus/$name
  mkdir -p "$corpus"
  seeds=fuzz/${name#n4file_}; seeds=${seeds%_fuzz}/seeds
  [ -d "$seeds" ] && cp -n "$seeds"/* "$corpus"/ 2>/dev/null || true
  echo "== $name ($seconds s)"
  "$exe" -max_total_time="$seconds" -rss_limit_mb=4096 "$corpus"
done
