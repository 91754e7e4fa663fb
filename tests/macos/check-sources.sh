#!/usr/bin/env bash
# Checks sources for macOS where there is no Mac, by Clang and the declarations of tests/macos/declarations.
#
#   check-sources.sh types ARCHITECTURE SOURCES DECLARATIONS FILE...   compiles each, and throws away what came of it
#   check-sources.sh leaks SOURCES DECLARATIONS FILE...                asks the static analyser about each
#   check-sources.sh mistakes SOURCES DECLARATIONS FILE...             each is rejected, for the reason in its first line
#
# QUILLARD_CHECK_FLAGS: more flags for the compiler, separated by blanks. QUILLARD_CHECK_SYSTEM: the oldest macOS that
# the program is built for; 13.0 without it. For a newer one, what is deprecated there is an error, as in any build.
set -euo pipefail

# The standard library of this system stands in for that of macOS, which nobody may hand on: only its declarations are
# used, and they agree in what the sources may use (tests/architecture bans the rest). The types of its integers are
# made those of macOS (declarations/integers).
standard_library() {
  clang++ -x c++ -E -v /dev/null 2>&1 >/dev/null |
    sed -n '/search starts here:/,/End of search list/s/^ //p' | grep -v '/lib/clang/' | sed 's/^/-isystem/'
}

# flags ARCHITECTURE SOURCES DECLARATIONS
flags() {
  printf '%s\n' -target "$1-apple-macos${QUILLARD_CHECK_SYSTEM:-13.0}" -std=c++20 -nostdinc++ -nostdlibinc \
    "-isystem$3/integers"
  standard_library
  # Clang says __nonnull for macOS, and the C library here then takes it for its own.
  printf '%s\n' -U__nonnull -D_GNU_SOURCE=1 "-isystem$3" "-I$2" -Wall -Wextra -Wpedantic -Wconversion \
    -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual -Wundef -Wshadow -Wthread-safety -Werror \
    -Wunguarded-availability -Wnullable-to-nonnull-conversion -Wno-missing-field-initializers
  tr -s ' ' '\n' <<<"${QUILLARD_CHECK_FLAGS:-}" | sed '/^$/d'
  # The C library here knows of no 64-bit ARM unless it is built for it.
  [ "$1" != arm64 ] || printf '%s\n' -D__x86_64__=1 '-D__builtin_ia32_pause()='
}

objective_flags() {
  case "$1" in
    *.mm) printf '%s\n' -fobjc-arc -fblocks -Wundeclared-selector ;;
  esac
}

# To an object, since that is what ccache keeps: what has not changed was looked at already, in this clone or another.
compile() {
  local launcher
  launcher=$(command -v ccache || true)
  CCACHE_NOHASHDIR=1 CCACHE_BASEDIR=$project ${launcher:+"$launcher"} clang++ "$@" -c -O0 -o "$object"
}

types() {
  local common own file failed=0
  mapfile -t common < <(flags "$1" "$2" "$3")
  shift 3
  for file in "$@"; do
    mapfile -t own < <(objective_flags "$file")
    if compile "${common[@]}" "${own[@]}" "$file"; then
      echo "fine: ${file##*/}"
    else
      failed=1
    fi
  done
  return $failed
}

leaks() {
  local common own file failed=0
  mapfile -t common < <(flags x86_64 "$1" "$2")
  shift 2
  for file in "$@"; do
    mapfile -t own < <(objective_flags "$file")
    if clang++ "${common[@]}" "${own[@]}" --analyze --analyzer-no-default-checks -Xclang -analyzer-checker=osx \
      -Xclang -analyzer-werror -Xclang -analyzer-config -Xclang max-nodes=20000 -Xclang -analyzer-output=text \
      "$file"; then
      echo "fine: ${file##*/}"
    else
      failed=1
    fi
  done
  return $failed
}

mistakes() {
  local sources=$1 declarations=$2 file expected output failed=0
  shift 2
  for file in "$@"; do
    expected=$(sed -n '1s,^// Rejected: ,,p' "$file")
    output=$({ types x86_64 "$sources" "$declarations" "$file" && leaks "$sources" "$declarations" "$file"; } 2>&1) && {
      echo "accepted: ${file##*/}"
      failed=1
      continue
    }
    if [ -n "$expected" ] && grep -qF -- "$expected" <<<"$output"; then
      echo "rejected, as it should be: ${file##*/}"
    else
      printf 'rejected for another reason: %s\n%s\n' "${file##*/}" "$output"
      failed=1
    fi
  done
  return $failed
}

project=$(cd "$(dirname "$0")/../.." && pwd)
object=$(mktemp)
trap 'rm -f "$object"' EXIT
"$@"
