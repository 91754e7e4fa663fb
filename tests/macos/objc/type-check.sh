#!/usr/bin/env bash
# Checks sources for macOS with Clang, on a system that has none of Apple's headers: against the declarations of our own
# beside this folder, and this system's C and C++ libraries. Says nothing when all is well.
#
# Usage: type-check.sh ARCHITECTURE MODE SOURCE... [-- EXTRA FLAG...]      (arm64 or x86_64; check or analyse)
set -euo pipefail

tests=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
sources=$(cd "$tests/../../src" && pwd)
architecture=${1:?"an architecture is needed"}
mode=${2:?"a mode is needed"}
shift 2

files=()
while [ $# -gt 0 ] && [ "$1" != "--" ]; do files+=("$1"); shift; done
if [ $# -gt 0 ]; then shift; fi

compiler=""
for candidate in clang++-14 clang++; do
  if command -v "$candidate" >/dev/null; then compiler=$candidate; break; fi
done
if [ -z "$compiler" ] || ! command -v g++ >/dev/null; then
  echo "Clang, and the C++ library of GCC, are needed to check sources for macOS." >&2
  exit 1
fi
version=$(g++ -dumpversion)
multiarch=$(g++ -print-multiarch)

flags=(
  -target "$architecture-apple-macos13.0" -std=c++20 -nostdinc++ -nostdlibinc
  -isystem "/usr/include/c++/$version" -isystem "/usr/include/$multiarch/c++/$version"
  -isystem "/usr/include/$multiarch" -isystem /usr/include
  -isystem "$tests/declarations" -I "$sources"
  -U__nonnull -D_GNU_SOURCE=1  # Clang's idea of a Mac has a word that this system's headers use for something else.
  # As the program itself is built.
  -Wall -Wextra -Wno-missing-field-initializers -Wpedantic -Wconversion -Wnon-virtual-dtor -Wold-style-cast
  -Woverloaded-virtual -Wundef -Werror -Wshadow -Wthread-safety
  -Wunguarded-availability -Wnullable-to-nonnull-conversion -Wdeprecated-declarations
  -Warc-retain-cycles -Warc-unsafe-retained-assign -Wundeclared-selector -Wselector -Wstrict-selector-match
)
# This system's headers know only of its own processors.
if [ "$architecture" = arm64 ]; then flags+=(-D__x86_64__=1 "-D__builtin_ia32_pause()="); fi

for file in "${files[@]}"; do
  language=()
  case "$file" in *.mm) language=(-fobjc-arc -fblocks) ;; esac
  case "$mode" in
    check) "$compiler" "${flags[@]}" "${language[@]}" "$@" -fsyntax-only "$file" ;;
    analyse)
      "$compiler" "${flags[@]}" "${language[@]}" "$@" --analyze --analyzer-output text \
        -Xclang -analyzer-checker=osx -Xclang -analyzer-checker=core -Xclang -analyzer-checker=cplusplus \
        -Xclang -analyzer-werror "$file" -o /dev/null ;;
    *) echo "No such mode: $mode" >&2; exit 2 ;;
  esac
done
