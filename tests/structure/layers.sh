#!/bin/sh
# A folder sees itself and the folders below it, and no other, neither by its includes nor by what its archive leaves
# undefined: layers.sh COMPILER NM PATHS HEADER ARCHIVE [HEADER ARCHIVE]...
# PATHS are the include directories of the folder's target (separated by colons). The first pair is the folder's own, the
# others belong to folders above it.
compiler=$1 nm=$2 paths=$3 own=$4 archive=$5
shift 5
flags=-I$(printf '%s' "$paths" | sed 's/:/ -I/g')
sees() { printf '#include "%s"\n' "$1" | $compiler -std=c++20 -fsyntax-only $flags -x c++ - 2>/dev/null; }
wanted=$(mktemp) given=$(mktemp)
trap 'rm -f "$wanted" "$given"' EXIT
sees "$own" || { echo "its own $own is not seen"; exit 1; }
"$nm" -u "$archive" | awk 'NF == 2 { print $2 }' | sort -u >"$wanted"
while [ $# -gt 0 ]; do
  if sees "$1"; then
    echo "$own: its folder sees $1, which stands above it"
    exit 1
  fi
  "$nm" --defined-only "$2" | awk '$2 ~ /^[TDBR]$/ { print $3 }' | sort -u >"$given"
  upward=$(comm -12 "$wanted" "$given")
  [ -z "$upward" ] || { echo "$own: its folder uses what stands above it, in $2:" $upward; exit 1; }
  shift 2
done
