#!/bin/sh
# Installs the built library into a folder of its own and lets two callers find it there, one by the CMake package and
# one by pkg-config: install.sh BUILD CONSUMER CMAKE GENERATOR COMPILER
set -e
build=$1 consumer=$2 cmake=$3 generator=$4 compiler=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$cmake" --install "$build" --prefix "$work/prefix" >"$work/log" || { cat "$work/log"; exit 1; }

"$cmake" -S "$consumer" -B "$work/cmake" -G "$generator" -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_C_COMPILER="$compiler" >"$work/log" &&
  "$cmake" --build "$work/cmake" >"$work/log" || { cat "$work/log"; exit 1; }
"$work/cmake/consumer"

command -v pkg-config >/dev/null || { echo "no pkg-config: only the CMake package was tried"; exit 77; }
lib=$(dirname "$(find "$work/prefix" -name libtovannoomp64.so.6.0)")
flags=$(PKG_CONFIG_PATH="$lib/pkgconfig" pkg-config --cflags --libs tovan)
"$compiler" -std=c99 "$consumer/../caller.c" $flags -o "$work/plain"
LD_LIBRARY_PATH=$lib "$work/plain"
