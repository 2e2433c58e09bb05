#!/usr/bin/env bash
# Builds the n4file tool (Release) and takes it on a short tour in a new
# directory: sample pictures, a sequence for a small colour sign and one for a
# mono sign, saved compressed, described with `info`, recompressed, and drawn
# on a contact sheet. The directory is kept and named at the end.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build/release -DCMAKE_BUILD_TYPE=Release -DN4FILE_BUILD_TESTS=OFF -DN4FILE_BUILD_BENCH=OFF >/dev/null
cmake --build build/release -j "$jobs" --target n4file_tool n4file_tour_pictures
bin="$(pwd)/build/release/tools/n4file"
tour=$(mktemp -d "${TMPDIR:-/tmp}/n4file-tour.XXXXXX")
cd "$tour"

# Shows each command as a user would type it, then runs it.
step() { printf '\n$ n4file %s\n' "$*"; "$bin/n4file" "$@"; }

"$bin/n4file_tour_pictures" .
echo "Sample pictures: $(ls *.png | tr '\n' ' ')"

# A 24 x 64 colour sign with LED pixels; the poster is larger and is fitted.
step create -o colour.SQ4 --size 24x64 --color RGB4K --pixel L \
  --entry "wand left" --hold 3 --exit dissolve --fit welcome.png sunset.png poster.png
# A 16 x 64 mono sign with 16 intensity levels.
step create -o mono.SQ4 --size 16x64 --color mono16 --entry coalesce --hold 2 open.png clock.png
step info colour.SQ4 mono.SQ4
step compress mono.SQ4 --level 1 -o mono-rle.SQ4
step render colour.SQ4 --sheet -o colour-sheet.png
step render mono.SQ4 --sheet -o mono-sheet.png

printf '\nThe tour is in %s\n' "$tour"
printf 'Open the contact sheet: %s/colour-sheet.png\n' "$tour"
