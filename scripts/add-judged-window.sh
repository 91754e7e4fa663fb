#!/usr/bin/env bash
# Adds a window that was misjudged on a real desktop to those by which every change of a rule is judged, and prints what
# the detector makes of it and of them all:
#
#   quillard record --program PROGRAM FILE           there
#   scripts/add-judged-window.sh FILE NAME KIND      here; KIND: prompt, secret, information, form or main
set -euo pipefail
cd "$(dirname "$0")/.."
[ $# -eq 3 ] || { sed -n '2,7s/^# \{0,1\}//p' "$0" >&2; exit 2; }
file=$1 name=$2 kind=$3 trees=tests/golden/trees
case $kind in prompt|secret|information|form|main) ;; *) echo "No such kind: $kind" >&2; exit 2 ;; esac
[[ $name =~ ^[a-z0-9-]+$ ]] || { echo "A name is of small letters, digits and hyphens: $name" >&2; exit 2; }
[ ! -e "$trees/$name.json" ] || { echo "There is a window of that name: $trees/$name.json" >&2; exit 2; }
cp "$file" "$trees/$name.json"
chmod 644 "$trees/$name.json"
echo "$name $kind" >> "$trees/verdicts.txt"
cmake --build build/dev --target recorded_trees_test prompt_table
QUILLARD_UPDATE_GOLDEN=1 build/dev/tests/golden/recorded_trees_test --gtest_brief=1 --gtest_filter="*/${name//-/_}"
sed -n '3,/^Record:/p' "$trees/$name.linux.txt"
build/dev/tests/golden/prompt_table
echo "A person's verdict: $kind. When a rule is to stay as it is, add the reason behind it in $trees/verdicts.txt."
