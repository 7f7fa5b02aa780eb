#!/bin/sh
# docs/parameters.md is what its script prints, and each parameter that the library reads has its sentence there:
# parameters.sh TOP
cd "$1" || exit 1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sh docs/parameters.sh >"$work/now" || exit 1
diff docs/parameters.md "$work/now" || { echo "run: sh docs/parameters.sh >docs/parameters.md"; exit 1; }
grep -rhoE 'TVN_[IDS]PAR_[A-Z0-9_]+' src --include='*.cpp' | sed 's/^TVN_//' | grep -v '_$' | sort -u >"$work/read"
sed -n 's/^TVN_PARAM_NOTE(\([IDS]PAR\), \([A-Z0-9_]*\),.*/\1_\2/p' src/tovan/def/paramnotes.def | sort -u >"$work/told"
missing=$(comm -23 "$work/read" "$work/told")
[ -z "$missing" ] || { echo "no row in src/tovan/def/paramnotes.def:" $missing; exit 1; }
