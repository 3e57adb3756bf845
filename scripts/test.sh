#!/usr/bin/env bash
# Builds ZUN and runs every test: the normal build, then the same tests under
# AddressSanitizer + UndefinedBehaviorSanitizer (less the full-ring downloads, which only cost
# time there: the same code paths run in the shorter tests), then a short run of each fuzz
# target (scripts/fuzz.sh).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh

jobs=$(nproc)
export QT_QPA_PLATFORM=offscreen
# Let a fresh clone reuse the compiler cache of an earlier one.
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=true

echo "== build and test"
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build build -j"$jobs"
# The tests mostly wait on paced lines, not on the processor: four at a time.
ctest --test-dir build --output-on-failure --timeout 600 -j4

echo "== Debian package (built from build/, linted, listed, run from its contents)"
scripts/build-deb.sh build

echo "== sanitizers (ASan + UBSan)"
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=Debug -DZUN_SANITIZE=ON -DZUN_BUILD_BENCH=OFF
cmake --build build-asan -j"$jobs"
ASAN_OPTIONS=detect_leaks=0:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
    ctest --test-dir build-asan --output-on-failure --timeout 900 --label-exclude slow -j2

if command -v clang++ >/dev/null; then
    echo "== fuzz targets (short runs from their starting inputs)"
    scripts/fuzz.sh 10
fi
echo "all tests passed"
