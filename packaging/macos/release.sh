#!/usr/bin/env bash
# From a build to what is given to people: libraries in, signed, notarised, in a disk image that is notarised as well.
#
#   release.sh Quillard.app Sparkle.framework Quillard.dmg
#
# Needs macOS, Qt's macdeployqt, Xcode's command-line tools, QUILLARD_SIGNING_IDENTITY and QUILLARD_NOTARY_PROFILE; see
# the scripts beside this one. QUILLARD_PROVISIONING_PROFILE as in sign.sh.
set -euo pipefail
source "$(dirname "$0")/common.sh"

application=${1:-}
sparkle=${2:-}
image=${3:-}
here=$(dirname "$0")
need_application "$application"
[ -n "$sparkle" ] || fail "say where Sparkle.framework lies"
[ -n "$image" ] || fail "say what the image is to be called, for example Quillard.dmg"
[ -n "${QUILLARD_SIGNING_IDENTITY:-}" ] || fail "QUILLARD_SIGNING_IDENTITY is not set: see sign.sh"
[ -n "${QUILLARD_NOTARY_PROFILE:-}" ] || fail "QUILLARD_NOTARY_PROFILE is not set: see notarize.sh"

"$here/bundle-frameworks.sh" "$application" "$sparkle"
"$here/sign.sh" "$application"
"$here/notarize.sh" "$application"
"$here/make-disk-image.sh" "$application" "$image"
"$here/notarize.sh" "$image"
need_tool spctl "it is a part of macOS, and this has to run there"
spctl --assess --type execute --verbose=2 "$application"
echo "Done: $image"
