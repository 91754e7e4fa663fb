#!/usr/bin/env bash
# Signs the application from the inside out: what is signed later seals what was signed before.
#
#   QUILLARD_SIGNING_IDENTITY="Developer ID Application: Name (TEAM123456)" sign.sh Quillard.app
#
# Needs codesign, a part of macOS, and the identity in a keychain. Without an identity the signature is made ad hoc: good
# for this Mac alone, and the system asks for the accessibility permission anew after each build.
#
# QUILLARD_PROVISIONING_PROFILE: a profile of that identity's team with keychain sharing. With it, secrets are kept in
# the data-protection keychain; without it, in the file keychain, since the system ends programs that claim a right which
# no profile gives them.
set -euo pipefail
source "$(dirname "$0")/common.sh"

application=${1:-}
identity=${QUILLARD_SIGNING_IDENTITY:--}
profile=${QUILLARD_PROVISIONING_PROFILE:-}
here=$(cd "$(dirname "$0")" && pwd)

need_application "$application"
need_tool codesign "it is a part of macOS, and this has to run there"
application=${application%/}
contents=$application/Contents

common=(--force --sign "$identity")
if [ "$identity" != - ]; then common+=(--options runtime --timestamp); fi

own=()
rm -f "$contents/embedded.provisionprofile"
if [ -n "$profile" ]; then
  [ -f "$profile" ] || fail "there is no provisioning profile $profile"
  [[ "$identity" =~ \(([A-Z0-9]{10})\)$ ]] || fail "a profile needs an identity that ends in its team: $identity"
  team=${BASH_REMATCH[1]}
  entitlements=$(mktemp)
  trap 'rm -f "$entitlements"' EXIT
  sed "s/@TEAM@/$team/g" "$here/Quillard.entitlements.in" >"$entitlements"
  cp "$profile" "$contents/embedded.provisionprofile"
  own=(--entitlements "$entitlements")
else
  echo "Without a provisioning profile: secrets will be kept in the file keychain." >&2
fi

# Everything inside that has a signature of its own. Links are left out: what they point at is signed where it lies.
nested() {
  find "$contents" -type d \( -name '*.framework' -o -name '*.xpc' -o -name '*.app' -o -name '*.bundle' \) -print
  find "$contents" -type f \( -name '*.dylib' -o -name '*.so' -o -name Autoupdate \) -print
}

# The deepest first.
nested | awk '{ print gsub("/", "/"), $0 }' | sort -k1,1nr -k2 | cut -d' ' -f2- | while IFS= read -r code; do
  case "$code" in
    # Services of the update framework come with rights of their own.
    *.xpc) codesign "${common[@]}" --preserve-metadata=entitlements "$code" ;;
    *) codesign "${common[@]}" "$code" ;;
  esac
done
codesign "${common[@]}" ${own[@]+"${own[@]}"} "$application"
codesign --verify --strict --verbose=2 "$application"
