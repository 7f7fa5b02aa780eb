#!/bin/sh
# Ctrl-C in the middle of a long solve: exit status 1, soon, with a summary of what stands: interrupt.sh PROGRAM
# The problem is a random covering problem that takes seconds to solve; the signal comes when its log has begun.
work=$(mktemp -d)
trap 'rm -rf "$work"; kill "$pid" 2>/dev/null' EXIT
awk 'BEGIN {
  m = 2000; n = 3000; s = 1
  print "NAME          COVER"; print "ROWS"; print " N  COST"
  for (i = 1; i <= m; i++) printf " G  R%d\n", i
  print "COLUMNS"
  for (j = 1; j <= n; j++) {
    s = (s * 16807) % 2147483647
    printf "    %-8s  %-8s  %12d\n", "X" j, "COST", 50 + s % 50
    for (i = 1; i <= m; i++) {
      s = (s * 16807) % 2147483647
      if (s % 100 < 3) printf "    %-8s  %-8s  %12d\n", "X" j, "R" i, 1 + s % 97
    }
  }
  print "RHS"
  for (i = 1; i <= m; i++) { s = (s * 16807) % 2147483647; printf "    %-8s  %-8s  %12d\n", "RHS", "R" i, 100 + s % 900 }
  print "ENDATA"
}' >"$work/cover.mps"
"$1" "$work/cover.mps" >"$work/out" 2>"$work/err" &
pid=$!
waited=0
until grep -q '^ITE' "$work/out"; do
  sleep 0.1
  waited=$((waited + 1))
  [ $waited -lt 600 ] || { echo "no solve within a minute"; exit 1; }
done
kill -INT $pid || { echo "it had ended before the signal"; tail "$work/out" "$work/err"; exit 1; }
begin=$(date +%s%N)
wait $pid
code=$?
ms=$((($(date +%s%N) - begin) / 1000000))
fail() { echo "$1"; tail -n 20 "$work/out" "$work/err"; exit 1; }
[ $code = 1 ] || fail "exit status $code"
# A tenth of that is usual; the rest is for a busy machine.
[ $ms -lt 2000 ] || fail "$ms ms from the signal to the end"
grep -qE 'Primal *- objective' "$work/out" || fail "no summary of what stands"
grep -q TVN_RES_TRM_USER_CALLBACK "$work/err" || fail "the stop is not named as the reason"
