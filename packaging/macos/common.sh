# shellcheck shell=bash
# Sourced by the scripts beside it.

fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# need_tool NAME WHY
need_tool() {
  command -v "$1" >/dev/null || fail "$1 is missing: $2"
}

# need_application FOLDER: a built Quillard.app.
need_application() {
  [ -n "${1:-}" ] || fail "say which application, for example build/macos/Quillard.app"
  if [ ! -f "$1/Contents/Info.plist" ] || [ ! -f "$1/Contents/MacOS/Quillard" ]; then
    fail "$1 is no built Quillard.app"
  fi
}
