#!/usr/bin/env bash
# Builds the library and the n4file tool (Release) and runs its demonstration:
# a RIFF file created through the library, reopened read-only and listed.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DN4FILE_BUILD_TESTS=OFF -DN4FILE_BUILD_BENCH=OFF >/dev/null
cmake --build build/release -j "$jobs" --target n4file_tool
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
build/release/tools/n4file/n4file demo "$out/demo.riff"
