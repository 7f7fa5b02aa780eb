#!/bin/sh
# A folder sees itself and the folders below it, and no other: layers.sh COMPILER SRC FOLDER PATHS HEADER...
# PATHS are the include directories of FOLDER's target (separated by colons), HEADERs belong to folders above it.
compiler=$1 src=$2 folder=$3 paths=$4
shift 4
flags=-I$(printf '%s' "$paths" | sed 's/:/ -I/g')
sees() { printf '#include "%s"\n' "$1" | $compiler -std=c++20 -fsyntax-only $flags -x c++ - 2>/dev/null; }
own=$(cd "$src" && ls "$folder"/*.h | head -n 1)
sees "$own" || { echo "$folder does not see its own $own"; exit 1; }
for header in "$@"; do
  [ -f "$src/$header" ] || { echo "no such header: $header"; exit 1; }
  if sees "$header"; then
    echo "$folder sees $header, which stands above it"
    exit 1
  fi
done
