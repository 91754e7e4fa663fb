#!/usr/bin/env bash
# Prints which contract suites run against which bindings, from the programs' own lists, and fails when a suite that runs
# against one binding of its kind is left out of another.
#
#   print-contracts.sh NAME PROGRAM...    for one kind of contract
set -euo pipefail

name=$1
shift
for program in "$@"; do
  "$program" --gtest_list_tests
done | awk -v name="$name" '
  /^[^ ].*\/.*Contract\.$/ { split($1, part, "/"); binding = part[1]; suite = part[2]; sub(/\.$/, "", suite)
                             bindings[binding] = 1; suites[suite] = 1; next }
  /^[^ ]/ { suite = "" }
  /^  / { if (suite != "") count[suite, binding]++ }
  END {
    for (suite in suites) {
      line = sprintf("%-10s %-26s", name, suite)
      for (binding in bindings) {
        line = line sprintf("  %s: %d", binding, count[suite, binding])
        if (count[suite, binding] == 0) missing = missing " " suite "/" binding
      }
      print line
      known = 1
    }
    if (!known) { print "No contract suite was listed."; exit 1 }
    if (missing != "") { print "Left out:" missing; exit 1 }
  }' | sort
