#!/usr/bin/env bash
# Counts the lines of code for macOS that no test runs, and compares their number with the one that docs/macos.md says.
#
#   count-lines.sh PROJECT
#
# These are the Objective-C++, which only a Mac can run, and the program's entry point there. Blank lines and comments do
# not count, nor do the binding's C++ sources: tests run them over fakes.
set -euo pipefail
cd "$1"

counted=$(find src -name '*.mm' -o -path 'src/app/macos/*.cpp' | xargs cat |
  sed -e 's,^[[:space:]]*//.*,,' -e '/^[[:space:]]*$/d' | wc -l)
said=$(sed -n 's/.*No test runs \([0-9]*\) lines.*/\1/p' docs/macos.md)
echo "No test runs $counted lines of code for macOS; docs/macos.md says ${said:-nothing}."
[ "$counted" = "$said" ]
