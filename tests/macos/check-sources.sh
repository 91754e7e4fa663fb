#!/usr/bin/env bash
# Checks sources for macOS where there is no Mac, by Clang and the declarations of tests/macos/declarations.
#
#   check-sources.sh flags ARCHITECTURE SOURCES DECLARATIONS     prints the flags that sources are compiled with
#   check-sources.sh leaks SOURCES DECLARATIONS FILE             asks the static analyser about a file
#   check-sources.sh mistakes SOURCES DECLARATIONS FILE...       each is rejected, for the reason in its first line
#
# sources/CMakeLists.txt calls the first two. QUILLARD_CHECK_SYSTEM: the oldest macOS that the program is built for; 13.0
# without it. For a newer one, what is deprecated there is an error, as in any build.
set -euo pipefail

# The standard library of this system replaces that of macOS, which may not be passed on: only its declarations are used,
# and they agree in what the sources may use (tests/architecture bans the rest). The types of its integers are made those
# of macOS (declarations/integers).
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
  # The C library here knows of no 64-bit ARM unless it is built for it.
  [ "$1" != arm64 ] || printf '%s\n' -D__x86_64__=1 '-D__builtin_ia32_pause()='
}

objective_flags() {
  case "$1" in
    *.mm) printf '%s\n' -fobjc-arc -fblocks -Wundeclared-selector ;;
  esac
}

# types FILE FLAG...: whether it compiles.
types() {
  local own
  mapfile -t own < <(objective_flags "$1")
  clang++ "${@:2}" "${own[@]}" -fsyntax-only "$1"
}

# leaks_of FILE FLAG...
leaks_of() {
  local own
  mapfile -t own < <(objective_flags "$1")
  clang++ "${@:2}" "${own[@]}" --analyze --analyzer-no-default-checks -Xclang -analyzer-checker=osx \
    -Xclang -analyzer-werror -Xclang -analyzer-config -Xclang max-nodes=20000 -Xclang -analyzer-output=text "$1"
}

leaks() {
  local common
  mapfile -t common < <(flags x86_64 "$1" "$2")
  leaks_of "$3" "${common[@]}"
}

mistakes() {
  local common file expected output failed=0
  mapfile -t common < <(flags x86_64 "$1" "$2")
  shift 2
  for file in "$@"; do
    expected=$(sed -n '1s,^// Rejected: ,,p' "$file")
    output=$({ types "$file" "${common[@]}" && leaks_of "$file" "${common[@]}"; } 2>&1) && {
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

"$@"
