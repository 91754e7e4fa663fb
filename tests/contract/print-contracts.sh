#!/usr/bin/env bash
# Prints which contract suites run against which bindings, from the programs' own lists, and fails when a suite that runs
# against one binding of its kind is left out of another.
#
#   print-contracts.sh NAME [--stood-in BINDING/SUITE]... PROGRAM...    for one kind of contract
#
# --stood-in: what the suite is about is not the binding's own code there, but something that stands in for it.
set -euo pipefail

name=$1
shift
stood_in=""
while [ "${1:-}" = --stood-in ]; do
  stood_in+=" $2"
  shift 2
done
for program in "$@"; do
  "$program" --gtest_list_tests
done | awk -v name="$name" -v stood_in="$stood_in " '
  /^[^ ].*\/.*Contract\.$/ { split($1, part, "/"); binding = part[1]; suite = part[2]; sub(/\.$/, "", suite)
                             bindings[binding] = 1; suites[suite] = 1; next }
  /^[^ ]/ { suite = "" }
  /^  / { if (suite != "") count[suite, binding]++ }
  END {
    for (suite in suites) {
      line = sprintf("%-10s %-26s", name, suite)
      for (binding in bindings) {
        note = index(stood_in, " " binding "/" suite " ") ? " (stood in for)" : ""
        line = line sprintf("  %s: %d%s", binding, count[suite, binding], note)
        if (count[suite, binding] == 0) missing = missing " " suite "/" binding
      }
      print line
      known = 1
    }
    if (!known) { print "No contract suite was listed."; exit 1 }
    if (missing != "") { print "Left out:" missing; exit 1 }
  }' | sort
