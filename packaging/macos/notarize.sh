#!/usr/bin/env bash
# Lets Apple look at an application or a disk image, and fastens the answer to it, so that it opens everywhere.
#
#   QUILLARD_NOTARY_PROFILE=name notarize.sh Quillard.app|Quillard.dmg
#
# Needs Xcode's command-line tools (macOS), and credentials that were stored once with
#   xcrun notarytool store-credentials name --apple-id ... --team-id ...
set -euo pipefail
source "$(dirname "$0")/common.sh"

file=${1:-}
[ -n "$file" ] || fail "say what is to be notarised: Quillard.app or Quillard.dmg"
[ -e "$file" ] || fail "there is no $file"
[ -n "${QUILLARD_NOTARY_PROFILE:-}" ] || fail "QUILLARD_NOTARY_PROFILE is not set: see the beginning of this script"
need_tool xcrun "it comes with Xcode's command-line tools, on macOS"
file=${file%/}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
upload=$file
case "$file" in
  *.app)
    need_tool ditto "it is a part of macOS, and this has to run there"
    upload="$work/Quillard.zip"
    ditto -c -k --keepParent "$file" "$upload"
    ;;
  *.dmg) ;;
  *) fail "$file is neither an application nor a disk image" ;;
esac

# It may end well although the answer is no.
xcrun notarytool submit "$upload" --wait --keychain-profile "$QUILLARD_NOTARY_PROFILE" --output-format json \
  | tee "$work/answer.json"
echo
grep -Eq '"status"[[:space:]]*:[[:space:]]*"Accepted"' "$work/answer.json" \
  || fail "it was not accepted; see: xcrun notarytool log ID --keychain-profile $QUILLARD_NOTARY_PROFILE"
xcrun stapler staple "$file"
