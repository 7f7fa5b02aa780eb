#!/bin/sh
# The rules of the house that a script can read: house.sh TOP
# Each prints what breaks it; together they keep a folder readable from its own files.
cd "$1" || exit 1
faults=$(mktemp)
trap 'rm -f "$faults"' EXIT
rule() { # rule NAME, the breaches on standard input; at the end of a pipe no variable outlives it
  found=$(cat)
  [ -z "$found" ] && return
  printf '%s:\n%s\n' "$1" "$found" | tee -a "$faults"
}
own="src tests bench examples include"
grep -rnE '#include *"[^"]*\.\./' $own | rule "includes that climb"
grep -rnE '#include <(vector|string|iostream|fstream|sstream|map|unordered_map|memory|locale)>' src --include='*.cpp' --include='*.h' |
  grep -v '^src/tovan/gen/' | rule "standard containers, streams or locales inside the library"
grep -rnwE '(stod|strtod|atof|setlocale)' src --include='*.cpp' --include='*.h' | rule "conversions that follow the locale"
grep -rnE 'vsnprintf|std::snprintf\(.*%[-+0-9.*]*[aefgAEFG]' src --include='*.cpp' --include='*.h' |
  grep -vE '^src/(cpub/format|tovan/task/cxxruntime)\.cpp' | rule "texts that follow the locale: cpub/format.h has the way"
find src \( -name '*.cpp' -o -name '*.h' \) -exec awk 'END { if (NR > 600) print FILENAME ": " NR " lines" }' {} \; |
  rule "files that hold more than one idea"
find src \( -name '*.cpp' -o -name '*.h' \) -exec awk 'FNR == 1 && !/^\/\// { print FILENAME }' {} \; |
  rule "files without an opening comment"
find src -name '*.h' -exec dirname {} \; | sort -u | while read -r folder; do
  [ -f "$folder/README.md" ] || echo "$folder has none"
  [ ! -f "$folder/README.md" ] || awk 'END { if (NR > 30) print FILENAME ": " NR " lines" }' "$folder/README.md"
done | rule "folder READMEs of at most 30 lines"
[ ! -s "$faults" ]
