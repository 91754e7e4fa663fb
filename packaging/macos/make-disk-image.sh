#!/usr/bin/env bash
# Makes a disk image with the application and a link to the Applications folder, to drag one onto the other.
#
#   make-disk-image.sh Quillard.app Quillard.dmg
#
# Needs hdiutil and ditto, parts of macOS. With QUILLARD_SIGNING_IDENTITY the image is signed, too.
set -euo pipefail
source "$(dirname "$0")/common.sh"

application=${1:-}
image=${2:-}
need_application "$application"
case "$image" in
  *.dmg) ;;
  *) fail "say what the image is to be called, for example Quillard.dmg" ;;
esac
need_tool hdiutil "it is a part of macOS, and this has to run there"
need_tool ditto "it is a part of macOS, and this has to run there"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ditto "$application" "$work/Quillard.app"
ln -s /Applications "$work/Applications"
hdiutil create -volname Quillard -srcfolder "$work" -ov -format UDZO "$image"
if [ -n "${QUILLARD_SIGNING_IDENTITY:-}" ]; then
  need_tool codesign "it is a part of macOS, and this has to run there"
  codesign --force --timestamp --sign "$QUILLARD_SIGNING_IDENTITY" "$image"
fi
