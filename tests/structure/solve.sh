#!/bin/sh
# The example solves its problem, says so, writes the solution and ends with 0; a missing file ends with 2:
# solve.sh PROGRAM FILE
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
"$1" "$2" -o "$work/solution" >"$work/out" 2>"$work/err"
code=$?
fail() { echo "$1"; cat "$work/out" "$work/err"; exit 1; }
[ $code = 0 ] || fail "exit status $code"
grep -q 'Solution status *: OPTIMAL' "$work/out" || fail "not optimal"
grep -qE 'Primal *- objective: 1\.24[0-9]*e\+04' "$work/out" || fail "another objective"
rows=$(sed -n '/^ROWS/,/^COLUMNS/p' "$2" | grep -cE '^ [LGE] ')
[ "$(grep -c '^con ' "$work/solution")" = "$rows" ] || fail "the solution file has not $rows constraints"
"$1" "$work/none.mps" >"$work/out" 2>"$work/err"
code=$?
[ $code = 2 ] || fail "exit status $code for a missing file"
grep -q TVN_RES_ERR_FILE_OPEN "$work/err" || fail "the missing file is not named as the reason"
