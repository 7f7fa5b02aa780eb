#!/bin/sh
# docs/parameters.md is what its script prints, and each parameter that the library reads has its sentence there:
# parameters.sh TOP
cd "$1" || exit 1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sh docs/parameters.sh >"$work/now" || exit 1
diff docs/parameters.md "$work/now" || { echo "run: sh docs/parameters.sh >docs/parameters.md"; exit 1; }
grep -rhoE 'TVN_[IDS]PAR_[A-Z0-9_]+' src --include='*.cpp' | sed 's/^TVN_//' | grep -v '_$' | sort -u >"$work/read"
sed -n 's/^\([IDS]PAR_[A-Z0-9_]*\): .*/\1/p' docs/parameters.notes | sort -u >"$work/told"
missing=$(comm -23 "$work/read" "$work/told")
[ -z "$missing" ] || { echo "no sentence in docs/parameters.notes:" $missing; exit 1; }
