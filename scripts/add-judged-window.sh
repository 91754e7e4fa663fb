#!/usr/bin/env bash
# Adds a window that was misjudged on a real desktop to those by which every change of a rule is judged, and prints what
# the detector makes of it and of them all:
#
#   quillard record --program PROGRAM FILE                   there
#   scripts/add-judged-window.sh FILE NAME KIND HAZARDS      here
#
# KIND: what the window is for a person: prompt, secret, information, form or main. HAZARDS: its buttons that destroy
# something, end what may hold work, grant for ever, or trust an unknown party, as they are labelled, with "|" between
# them; "" where there is none. Whatever goes wrong, nothing is added. QUILLARD_BUILD_FOLDER=build/dev takes what is built
# there already.
set -euo pipefail
cd "$(dirname "$0")/.."
fail() {
  echo "$1" >&2
  exit 2
}
if [ $# -ne 4 ]; then
  sed -n '2,11s/^# \{0,1\}//p' "$0" >&2
  exit 2
fi
file=$1 name=$2 kind=$3 hazards=$4
golden=${QUILLARD_GOLDEN_FOLDER:-tests/golden}
trees=$golden/trees verdicts=$golden/trees/verdicts.txt
build=${QUILLARD_BUILD_FOLDER:-build/dev}
case $kind in prompt | secret | information | form | main) ;; *) fail "No such kind: $kind" ;; esac
[[ $name =~ ^[a-z0-9]+(-[a-z0-9]+)*$ ]] || fail "A name is of small letters, digits and hyphens: $name"
[[ $hazards != *[]$'\n']* ]] || fail "A label with a bracket or a line break cannot be written down: $hazards"
[ -f "$file" ] || fail "There is no such recording: $file"
[ ! -e "$trees/$name.json" ] || fail "There is a window of that name: $trees/$name.json"
if [ -z "${QUILLARD_BUILD_FOLDER:-}" ]; then
  cmake --build "$build" --target recorded_trees_test prompt_table
fi

before=$(mktemp)
cp "$verdicts" "$before"
undo() {
  if [ -e "$before" ]; then
    cp "$before" "$verdicts"
    rm -f "$before" "$trees/$name.json" "$trees/$name.txt" "$trees/$name.linux.txt"
    echo "Nothing was added." >&2
  fi
}
trap undo EXIT
cp "$file" "$trees/$name.json"
chmod 644 "$trees/$name.json"
echo "$name $kind [$hazards]" >> "$verdicts"
judge() { "$build/tests/golden/recorded_trees_test" --gtest_brief=1 --gtest_filter="*/${name//-/_}"; }
QUILLARD_UPDATE_GOLDEN=1 judge || fail "This is no recording that can be read: $file"
[ -e "$trees/$name.linux.txt" ] || fail "The recording was not judged: is $build up to date?"
IFS='|' read -ra labels <<< "$hazards"
for label in ${labels[@]+"${labels[@]}"}; do
  grep -qxF -- "  $label" "$trees/$name.linux.txt" || fail "The window has no button \"$label\"."
done
sed -n '3,/^Record:/p' "$trees/$name.linux.txt"
"$build/tests/golden/prompt_table"
rm "$before"
echo "A person's verdict: $kind. When a rule is to stay as it is, add the reason behind it in $verdicts."
