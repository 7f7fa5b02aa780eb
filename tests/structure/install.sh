#!/bin/sh
# Installs the built library into a folder of its own and lets two callers find it there, one by the CMake package and
# one by pkg-config: install.sh BUILD CONSUMER CMAKE COMPILER
set -e
build=$1 consumer=$2 cmake=$3 compiler=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$cmake" --install "$build" --prefix "$work/prefix" >"$work/log" || { cat "$work/log"; exit 1; }

"$cmake" -S "$consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_C_COMPILER="$compiler" >"$work/log" &&
  "$cmake" --build "$work/cmake" >"$work/log" || { cat "$work/log"; exit 1; }
"$work/cmake/consumer"

command -v pkg-config >/dev/null || { echo "no pkg-config: only the CMake package was tried"; exit 77; }
pc=$(find "$work/prefix" -name tovan.pc)
# The file names the prefix of the configuration; a package manager sets another when it relocates.
flags=$(pkg-config --define-variable=prefix="$work/prefix" --cflags --libs "$pc")
"$compiler" -std=c99 "$consumer/../caller.c" $flags -o "$work/plain"
lib=$(find "$work/prefix" -name libtovannoomp64.so.6.0)
LD_LIBRARY_PATH=$(dirname "$lib") "$work/plain"
