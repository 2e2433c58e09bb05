#!/usr/bin/env bash
# Cross-builds the library and every test program for Windows with mingw-w64
# and runs the suite under Wine: every n4file_*_tests.exe once as a whole
# program, then anything else ctest knows. Fails when any program fails. The
# last part of scripts/run-tests.sh.
# Left out for want of mingw-w64 builds of their libraries in Debian: the
# group database (SQLite, SQLiteCpp), the n4file tool (libspng) and Cinepak
# (libavcodec).
#
# GoogleTest for mingw is built once from Debian's source package
# (/usr/src/googletest) with the same toolchain into build/mingw-deps, where
# the header-only JSON library is staged too. Wine runs in its own prefix
# under build/, with one persistent server for the whole run (a cold start
# costs far more than a test program).
#
#   scripts/run-windows-tests.sh [extra cmake configure arguments...]
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
scripts/install-deps

jobs=$(nproc 2>/dev/null || echo 2)
toolchain="$root/cmake/mingw-w64.cmake"
deps="$root/build/mingw-deps"
build="$root/build/windows-test"
compiler=x86_64-w64-mingw32-g++-posix

if [ ! -f "$deps/lib/cmake/GTest/GTestConfig.cmake" ]; then
  echo "== GoogleTest for mingw-w64"
  cmake -S /usr/src/googletest -B "$root/build/gtest-mingw" -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$deps" >/dev/null
  cmake --build "$root/build/gtest-mingw" -j "$jobs" >/dev/null
  cmake --install "$root/build/gtest-mingw" >/dev/null
fi

# Header-only libraries need no cross-build: Debian's headers and CMake
# package files are staged beside GoogleTest, away from /usr/include, whose
# C library headers must not reach the cross compiler.
if [ ! -f "$deps/share/cmake/nlohmann_json/nlohmann_jsonConfig.cmake" ]; then
  mkdir -p "$deps/include" "$deps/share/cmake"
  cp -r /usr/include/nlohmann "$deps/include/"
  cp -r /usr/share/cmake/nlohmann_json "$deps/share/cmake/"
fi

echo "== Windows cross-build (mingw-w64)"
cmake -S . -B "$build" -DCMAKE_TOOLCHAIN_FILE="$toolchain" -DCMAKE_BUILD_TYPE=Release \
  -DGTest_DIR="$deps/lib/cmake/GTest" -Dnlohmann_json_DIR="$deps/share/cmake/nlohmann_json" \
  -DN4FILE_WITH_CINEPAK=OFF -DN4FILE_BUILD_BENCH=OFF \
  -DN4FILE_WITH_GROUP=OFF -DN4FILE_BUILD_TOOLS=OFF \
  -DN4FILE_WERROR=ON -DCMAKE_CROSSCOMPILING_EMULATOR=wine "$@" >/dev/null
cmake --build "$build" -j "$jobs"

# Wine: a private prefix, quiet, the toolchain's runtime DLLs and the
# library's own DLL on the search path (as Windows paths on drive Z:).
export WINEPREFIX="$root/build/wineprefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d"
winpath() { local d; d=$(cd "$1" && pwd); echo "Z:${d//\//\\}"; }
dll_dirs=("$build")
for dll in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
  dll_dirs+=("$(dirname "$("$compiler" -print-file-name="$dll")")")
done
WINEPATH=""
for d in "${dll_dirs[@]}"; do WINEPATH="${WINEPATH:+$WINEPATH;}$(winpath "$d")"; done
export WINEPATH

echo "== Wine ($(wine --version))"
mkdir -p "$WINEPREFIX"
wineserver -p  # persistent until wineserver -k below
trap 'wineserver -k 2>/dev/null || true' EXIT
wineboot -i >/dev/null 2>&1 || true  # creates or updates the prefix; a no-op when current

failed=()
shopt -s nullglob
programs=("$build"/tests/n4file_*_tests.exe)
if [ ${#programs[@]} -eq 0 ]; then
  echo "run-windows-tests: no test programs in $build/tests" >&2
  exit 1
fi
for exe in "${programs[@]}"; do
  name=$(basename "$exe" .exe)
  echo "== $name (wine)"
  # Each program runs from its own scratch directory so that stray files stay in build/.
  # A crash under Wine starts its debugger and may still exit with 0: a
  # program passes only when it exits with 0 and GoogleTest says so.
  log="$build/tests/$name.log"
  if ! (cd "$build/tests" && wine "$exe" --gtest_brief=1) 2>&1 | tee "$log" ||
     ! grep -q '^\[  PASSED  \] [0-9]* test' "$log" || grep -q '^\[  FAILED  \]' "$log"; then
    failed+=("$name")
  fi
done

# Everything else ctest knows (the tool's end-to-end tests, when the tool is
# built); the test programs above already ran.
others=$(cd "$build" && ctest -N -E '^n4file_.*_tests$' | sed -n 's/^Total Tests: //p')
if [ "${others:-0}" -gt 0 ]; then
  echo "== other tests (ctest, wine)"
  if ! (cd "$build" && ctest --output-on-failure -j "$jobs" --timeout 600 -E '^n4file_.*_tests$'); then
    failed+=("ctest")
  fi
fi

passed=$((${#programs[@]} + (others > 0 ? 1 : 0) - ${#failed[@]}))
echo "run-windows-tests: $passed passed, ${#failed[@]} failed"
if [ ${#failed[@]} -ne 0 ]; then
  echo "run-windows-tests: FAILED: ${failed[*]}" >&2
  exit 1
fi
