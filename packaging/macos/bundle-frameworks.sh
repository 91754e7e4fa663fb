#!/usr/bin/env bash
# Puts the libraries that the application needs into it, so that it runs where nothing else is installed.
#
#   bundle-frameworks.sh Quillard.app [Sparkle.framework]
#
# Needs Qt's macdeployqt, and macOS. Without the update framework the application has no updates.
set -euo pipefail
source "$(dirname "$0")/common.sh"

application=${1:-}
sparkle=${2:-}
need_application "$application"
need_tool macdeployqt "it comes with Qt; put Qt's bin folder into PATH"
if [ -n "$sparkle" ]; then
  need_tool ditto "it is a part of macOS, and this has to run there"
  [ -d "$sparkle/Versions" ] || fail "$sparkle is no framework"
fi

# QtWidgets' own, and all that the program is linked with, Qt or not.
macdeployqt "$application" -verbose=1

if [ -n "$sparkle" ]; then
  mkdir -p "$application/Contents/Frameworks"
  copy="$application/Contents/Frameworks/Sparkle.framework"
  rm -rf "$copy"
  ditto "$sparkle" "$copy"
  # Only for building with it.
  rm -rf "$copy/Headers" "$copy/PrivateHeaders" "$copy/Modules"
  for version in "$copy/Versions"/*; do
    if [ ! -L "$version" ]; then rm -rf "$version/Headers" "$version/PrivateHeaders" "$version/Modules"; fi
  done
fi
