#!/usr/bin/env bash
# Builds and runs every test three times: a normal build, then a build with
# AddressSanitizer + UndefinedBehaviorSanitizer (leak checking on), then a
# Windows cross-build (mingw-w64) under Wine (scripts/run-windows-tests.sh).
# Also builds the benchmarks; the normal build's tests include the
# installed-package check (find_package and pkg-config). Fails on any test
# failure or sanitizer report. N4FILE_WINDOWS_TESTS=0 leaves out the Windows
# run (for a quick local round).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps
jobs=$(nproc 2>/dev/null || echo 2)

run_suite() {
  local dir=$1; shift
  cmake -S . -B "$dir" -DN4FILE_WERROR=ON "$@" >/dev/null
  cmake --build "$dir" -j "$jobs"
  (cd "$dir" && ctest --output-on-failure -j "$jobs" --timeout 900)
}

echo "== normal build"
run_suite build/test -DCMAKE_BUILD_TYPE=RelWithDebInfo

echo "== AddressSanitizer + UndefinedBehaviorSanitizer"
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
run_suite build/asan -DCMAKE_BUILD_TYPE=Debug -DN4FILE_SANITIZE=ON -DN4FILE_BUILD_BENCH=OFF

if [ "${N4FILE_WINDOWS_TESTS:-1}" != 0 ]; then
  echo "== Windows (mingw-w64 cross-build, Wine)"
  unset ASAN_OPTIONS UBSAN_OPTIONS
  scripts/run-windows-tests.sh
fi
