#!/usr/bin/env bash
# Puts the libraries that the application needs into it, so that it runs where nothing else is installed.
#
#   bundle-frameworks.sh Quillard.app [Sparkle.framework]
#
# Needs Qt's macdeployqt, and macOS. Without the update framework the application has no updates. At its end it looks
# whether all is inside (check-bundle.sh), since macdeployqt also ends well where it could not do its work.
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

contents=${application%/}/Contents
program=$contents/MacOS/Quillard
need_tool otool "it comes with Xcode's command-line tools, on macOS"
need_tool install_name_tool "it comes with Xcode's command-line tools, on macOS"

# QtWidgets' own, and all that the program is linked with, Qt or not.
output=$(macdeployqt "$application" -verbose=1 2>&1) || fail "macdeployqt failed: $output"
printf '%s\n' "$output"
if grep -q '^ERROR' <<<"$output"; then fail "macdeployqt failed, see above"; fi

# One way to speak TLS, the one that is tested everywhere else: Qt would choose between them by what it finds.
find "$contents/PlugIns/tls" -type f ! -name libqopensslbackend.dylib -delete 2>/dev/null || true

# Where the program found its libraries while it was built.
otool -l "$program" | sed -n -e '/cmd LC_RPATH$/,/path /s/^[[:space:]]*path \(\/.*\) (offset [0-9]*)$/\1/p' |
  while IFS= read -r folder; do install_name_tool -delete_rpath "$folder" "$program"; done

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

"$(dirname "$0")/check-bundle.sh" "$application"
