#!/bin/sh
# The names that leave the library are those of the list, all under one version node: exports.sh LIBRARY LIST
set -e
lib=$1 list=$2
want=$(sed -n 's/^TVN_FUNC(\([A-Za-z0-9_]*\),.*/\1@@VERS_6.0/p' "$list" | sort)
have=$(nm -D --defined-only "$lib" | awk '$2 != "A" { print $3 }' | sort)
if [ "$want" != "$have" ]; then
  echo "listed in $list (<) and exported (>) differ:"
  printf '%s\n' "$want" >want.$$ && printf '%s\n' "$have" | diff want.$$ - || true
  rm -f want.$$
  exit 1
fi
echo "$(printf '%s\n' "$want" | wc -l) functions"
readelf -d "$lib" | grep -q 'soname: \[libtovannoomp64\.so\.6\.0\]' || { echo "wrong soname"; exit 1; }
