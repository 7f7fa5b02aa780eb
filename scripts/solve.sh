#!/bin/sh
# Builds the library and the example and solves a problem file: scripts/solve.sh [FILE [NAME=VALUE ...] [-o SOLUTION]]
# Default file: examples/data/blend.mps.
set -e
top=$(cd "$(dirname "$0")/.." && pwd)
sh "$top/scripts/setup.sh" g++ cmake ninja-build zlib1g-dev
build=$top/build/solve
log=$build/build.log
mkdir -p "$build"
if ! { cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release && cmake --build "$build"; } >"$log" 2>&1; then
  tail -n 40 "$log" >&2
  exit 2
fi
[ $# -gt 0 ] || set -- "$top/examples/data/blend.mps"
exec "$build/examples/solve" "$@"
