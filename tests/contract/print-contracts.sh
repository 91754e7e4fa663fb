#!/usr/bin/env bash
# Prints which contract suites run against which bindings, from the programs' own lists, and fails when a suite that runs
# against one binding of its kind is left out of another.
#
#   print-contracts.sh NAME [--suites "SUITE..."] [--over-fakes BINDING] [--faked BINDING/SUITE]...
#                      [--same-as-elsewhere BINDING/SUITE]... PROGRAM...
#
# --suites: the suites of this kind, where the programs hold those of other kinds, too.
# --over-fakes: the binding's own code, but over functions of ours in place of its system's.
# --same-as-elsewhere: what the suite is about does not differ there from another binding, against which it runs.
# --faked: what the suite is about is not the binding's own code there, but something that stands in for it.
set -euo pipefail

name=$1
shift
suites=""
if [ "${1:-}" = --suites ]; then
  suites=" $2 "
  shift 2
fi
over=""
if [ "${1:-}" = --over-fakes ]; then
  over=$2
  shift 2
fi
faked=""
while [ "${1:-}" = --faked ]; do
  faked+=" $2"
  shift 2
done
same=""
while [ "${1:-}" = --same-as-elsewhere ]; do
  same+=" $2"
  shift 2
done
for program in "$@"; do
  "$program" --gtest_list_tests
done | awk -v name="$name" -v only="$suites" -v over="$over" -v faked="$faked " -v same="$same " '
  /^[^ ].*\/.*Contract\.$/ { split($1, part, "/"); binding = part[1]; suite = part[2]; sub(/\.$/, "", suite)
                             if (only != "" && !index(only, " " suite " ")) { suite = ""; next }
                             bindings[binding] = 1; suites[suite] = 1; next }
  /^[^ ]/ { suite = "" }
  /^  / { if (suite != "") count[suite, binding]++ }
  END {
    for (suite in suites) {
      line = sprintf("%-10s %-26s", name, suite)
      for (binding in bindings) {
        note = index(faked, " " binding "/" suite " ") ? " (faked)" : binding == over ? " (over fakes)" : ""
        line = line sprintf("  %s: %d%s", binding, count[suite, binding], note)
        if (count[suite, binding] == 0 && !index(same, " " binding "/" suite " ")) missing = missing " " suite "/" binding
      }
      print line
      known = 1
    }
    if (!known) { print "No contract suite was listed."; exit 1 }
    if (missing != "") { print "Left out:" missing; exit 1 }
  }' | sort
