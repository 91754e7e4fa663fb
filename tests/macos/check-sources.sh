#!/usr/bin/env bash
# Checks sources for macOS where there is no Mac, by Clang 19, its C++ library and tests/macos/declarations.
#
#   check-sources.sh flags ARCHITECTURE SOURCES DECLARATIONS     prints the flags that sources are compiled with
#   check-sources.sh leaks SOURCES DECLARATIONS FILE             asks the static analyser about a file
#   check-sources.sh mistakes SOURCES DECLARATIONS FILE...       each is rejected, for the reason in its first line
#
# sources/CMakeLists.txt calls the first two. QUILLARD_CHECK_SYSTEM: the oldest macOS that the program is built for; 13.0
# without it. For a newer one, what is deprecated there is an error, as in any build.
set -euo pipefail

# The one that is nearest to a Mac's among Debian's: stricter than Clang 14, and with notes in its C++ library of which
# macOS has which part of it.
compiler=${QUILLARD_CHECK_COMPILER:-clang++-19}

# The C++ library is LLVM's own, as on macOS, configured as Apple does (declarations/libcxx). The C library of macOS may
# not be passed on: this system's takes its place, of which the sources use what both have (tests/architecture bans the
# rest), with the types of macOS's integers and the functions that its C++ library asks for (declarations/libc).
libraries() {
  printf '%s\n' "-isystem$1/libcxx"
  "$compiler" -stdlib=libc++ -x c++ -E -v /dev/null 2>&1 >/dev/null |
    sed -n '/search starts here:/,/End of search list/s/^ //p' | grep -v '/lib/clang/' |
    while read -r folder; do
      case "$folder" in */c++/v1) printf '%s\n' "-isystem$folder" "-isystem$1/libc" ;; *) echo "-isystem$folder" ;; esac
    done
}

# flags ARCHITECTURE SOURCES DECLARATIONS
flags() {
  printf '%s\n' -target "$1-apple-macos${QUILLARD_CHECK_SYSTEM:-13.0}" -std=c++20 -nostdinc++ -nostdlibinc
  libraries "$3"
  # Clang says __nonnull for macOS, and the C library here then takes it for its own. Its macros for kinds of characters
  # know how its own locales are made.
  printf '%s\n' -U__nonnull -D_GNU_SOURCE=1 -D__NO_CTYPE=1 "-isystem$3" "-I$2" -Wall -Wextra -Wpedantic -Wconversion \
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
  "$compiler" "${@:2}" "${own[@]}" -fsyntax-only "$1"
}

# leaks_of FILE FLAG...
leaks_of() {
  local own
  mapfile -t own < <(objective_flags "$1")
  "$compiler" "${@:2}" "${own[@]}" --analyze --analyzer-no-default-checks -Xclang -analyzer-checker=osx \
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
