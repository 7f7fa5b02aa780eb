#!/bin/sh
# Builds and runs the tests: the whole suite in release, then the quick part under AddressSanitizer and UBSan.
# TOVAN_DATA names the folder of the public test problems; tests that need them skip with a line when it is not set.
set -e
top=$(cd "$(dirname "$0")/.." && pwd)
sh "$top/scripts/setup.sh" g++ cmake ninja-build zlib1g-dev libgtest-dev libbenchmark-dev binutils
cd "$top"
jobs=$(nproc)
for preset in release asan; do
  echo "== $preset"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
done
echo "== tests under the sanitizers (quick)"
ctest --preset asan -j "$jobs" -LE 'long|data' --timeout 600 --output-on-failure >build/asan.log 2>&1 || { tail -n 60 build/asan.log; exit 1; }
tail -n 5 build/asan.log
echo "== tests"
ctest --preset release -j "$jobs" --timeout 900
