#!/usr/bin/env bash
# Looks whether all that the application loads is inside it or a part of the system, and names what is not: such an
# application starts on the Mac that built it, and nowhere else.
#
#   check-bundle.sh Quillard.app
#
# Needs otool, of Xcode's command-line tools (macOS).
set -euo pipefail
source "$(dirname "$0")/common.sh"

application=${1:-}
need_application "$application"
need_tool otool "it comes with Xcode's command-line tools, on macOS"
contents=${application%/}/Contents
problems=$(mktemp)
trap 'rm -f "$problems"' EXIT

# refuse FILE WHAT
refuse() {
  printf '  %s: %s\n' "${1#"$contents/"}" "$2" >>"$problems"
}

# references FILE: what it is linked with, its own name included.
references() {
  otool -L "$1" | sed -n 's/^[[:space:]]\{1,\}\(.*\) (compatibility version .*/\1/p'
}

# rpaths FILE: where it looks for what is named by @rpath.
rpaths() {
  otool -l "$1" | sed -n -e '/cmd LC_RPATH$/,/path /s/^[[:space:]]*path \(.*\) (offset [0-9]*)$/\1/p'
}

# is_there FILE REFERENCE: in the application, or a part of the system.
is_there() {
  case "$2" in
    /usr/lib/* | /System/Library/*) return 0 ;;
    @executable_path/*) [ -e "$contents/MacOS/${2#@executable_path/}" ] ;;
    @loader_path/*) [ -e "$(dirname "$1")/${2#@loader_path/}" ] ;;
    @rpath/*) [ -e "$contents/Frameworks/${2#@rpath/}" ] ;;
    *) return 1 ;;
  esac
}

check_file() {
  local file=$1 name
  while IFS= read -r name; do
    is_there "$file" "$name" || refuse "$file" "needs $name"
  done < <(references "$file")
  while IFS= read -r name; do
    case "$name" in @* | /usr/lib/swift) ;; *) refuse "$file" "looks for libraries in $name" ;; esac
  done < <(rpaths "$file")
}

# need_inside PATTERN WHAT
need_inside() {
  compgen -G "$contents/$1" >/dev/null || refuse "$contents/$1" "missing: $2"
}

while IFS= read -r -d '' file; do
  check_file "$file"
done < <(find "$contents" -type f ! -name '*.plist' ! -name '*.icns' ! -name '*.qm' -print0)
need_inside 'PlugIns/platforms/libqcocoa.dylib' "Qt's windows"
need_inside 'PlugIns/tls/libqopensslbackend.dylib' "Qt's TLS over OpenSSL"
need_inside 'Frameworks/libssl.*.dylib' "OpenSSL"
need_inside 'Frameworks/libcrypto.*.dylib' "OpenSSL"

[ ! -s "$problems" ] || fail "$application is not whole:"$'\n'"$(cat "$problems")"
