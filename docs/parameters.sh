#!/bin/sh
# Prints docs/parameters.md from the tables of src/tovan/def:
#   sh docs/parameters.sh >docs/parameters.md
# A parameter without a sentence is known to the library (it is set, read back, written and cloned) and has no effect
# yet.
cd "$(dirname "$0")/.." || exit 1
exec awk '
  function table(title, columns) {
    printf "\n## %s\n\n| %s |\n|", title, columns
    for (k = gsub(/\|/, "|", columns); k >= 0; k--) printf " --- |"
    print ""
  }
  function rule(kind, min, max) {
    if (kind == 0) return ">= " min
    if (kind == 1) return "<= " max
    if (kind == 3) return "any"
    return min " to " max
  }
  function note(name) {
    return name in notes ? notes[name] : "No effect yet."
  }
  /^TVN_PARAM_NOTE\(/ {
    text = $0
    sub(/^[^(]*\(/, "", text)
    sub(/"\)$/, "", text)
    at = index(text, "\"")
    name = substr(text, 1, at - 3)
    sub(/, /, "_", name)
    notes[name] = substr(text, at + 1)
    next
  }
  !/^TVN_[IDS]PARAM\(/ { next }
  {
    kind = substr($0, 5, 1) "PAR_"
    text = $0
    sub(/^[^(]*\(/, "", text)
    sub(/\)$/, "", text)
    n = split(text, f, / *, */)
    if (kind != last) {
      if (kind == "IPAR_") table("Integer parameters `TVN_IPAR_`", "name | default | values | family | what it does")
      if (kind == "DPAR_") table("Double parameters `TVN_DPAR_`", "name | default | values | what it does")
      if (kind == "SPAR_") table("String parameters `TVN_SPAR_`", "name | default | what it does")
      last = kind
    }
    name = kind f[1]
    if (kind == "IPAR_") printf "| %s | %s | %s | %s | %s |\n", f[1], f[2], rule(f[3], f[4], f[5]), f[6] == "none" ? "" : f[6], note(name)
    if (kind == "DPAR_") printf "| %s | %s | %s | %s |\n", f[1], f[2], rule(f[3], f[4], f[5]), note(name)
    if (kind == "SPAR_") printf "| %s | %s | %s |\n", f[1], f[2], note(name)
  }
  BEGIN {
    print "# Parameters"
    print ""
    print "Made by `docs/parameters.sh` from the tables; do not edit. Every parameter can be set by number, by name and from a"
    print "parameter file. The values of a family are the constants of that name in `tovan.h`."
  }' src/tovan/def/paramnotes.def src/tovan/def/iparam.def src/tovan/def/dparam.def src/tovan/def/sparam.def
