#!/usr/bin/env bash
# Cross-builds the library for Windows with mingw-w64, to prove that the
# Windows platform layer and everything above it still compile. The n4file
# tool is left out: its PNG library has no mingw-w64 package on Debian.
# Nothing is run. Installs the cross compiler when it is missing (needs root
# or sudo then). Not part of the regular test run.
#
#   scripts/check-windows-build.sh [extra cmake configure arguments...]
set -euo pipefail

root="$(cd "$(dirname "$0")/.." && pwd)"
build="$root/build/windows"
compiler=x86_64-w64-mingw32-g++-posix

if ! command -v "$compiler" >/dev/null 2>&1; then
  SUDO=""
  if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
  echo "check-windows-build: installing g++-mingw-w64-x86-64"
  export DEBIAN_FRONTEND=noninteractive
  $SUDO apt-get update -qq
  $SUDO apt-get install -y -qq --no-install-recommends g++-mingw-w64-x86-64
fi

cmake -S "$root" -B "$build" \
  -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mingw-w64.cmake" \
  -DCMAKE_BUILD_TYPE=Release \
  -DN4FILE_WITH_CINEPAK=OFF \
  -DN4FILE_BUILD_TESTS=OFF \
  -DN4FILE_BUILD_BENCH=OFF \
  -DN4FILE_BUILD_TOOLS=OFF \
  -DN4FILE_WERROR=ON \
  "$@"
cmake --build "$build" -j"$(nproc)"
echo "check-windows-build: OK ($build)"
