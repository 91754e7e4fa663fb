#!/usr/bin/env bash
# Makes what a release consists of, in a new folder:
#
#   scripts/release.sh OUT [BUILD_FOLDER...]
#
#   quillard-VERSION.tar.gz             the sources of the commit that is checked out
#   quillard-VERSION-SYSTEM-CPU.tar.gz  of each BUILD_FOLDER that has built the agent: what `cmake --install` puts where
#   quillard-relay-VERSION-SYSTEM-CPU.tar.gz   the same of the relay with the phones' page
#   RELEASE-NOTES.md                    what CHANGELOG.md says of this version
#   SHA256SUMS                          digests of all of these
#
# The same commit, build folders and gzip give the same bytes, for every user: names are sorted, times are those of the
# commit, owners and modes are fixed. Needs GNU tar, so it is run on Linux.
#
# The version is the one in CMakeLists.txt. Refuses a tree with changes, a version that CHANGELOG.md does not know, and a
# tag of that version at another commit. `--draft` before OUT makes a trial: it allows all three, takes "Unreleased" for
# the notes, and adds "-draft" to the version. Signs and publishes nothing.
set -euo pipefail
umask 022
export LC_ALL=C TZ=UTC

fail() {
  echo "release.sh: $1" >&2
  exit 1
}

draft=""
if [ "${1:-}" = --draft ]; then draft=-draft; shift; fi
[ $# -ge 1 ] || { awk 'NR > 1 { if (!sub(/^# ?/, "")) exit; print }' "$0" >&2; exit 2; }
out=$(realpath -m "$1"); shift
builds=()
for build in "$@"; do
  [ -f "$build/cmake_install.cmake" ] || fail "$build is no build folder"
  builds+=("$(realpath "$build")")
done
cd "$(dirname "$0")/.."
[ ! -e "$out" ] || fail "$out exists already"

number=$(sed -n 's/^project(Quillard VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
[ -n "$number" ] || fail "CMakeLists.txt gives no version"
version=$number$draft
commit=$(git rev-parse HEAD)
time=$(git log -1 --format=%ct HEAD)

# The part of CHANGELOG.md below the heading of a version: "## 1.2.3 (2026-11-22)" or "## Unreleased".
notes_of() {
  awk -v wanted="$1" '/^## / { inside = ($2 == wanted); next } inside' CHANGELOG.md | sed -e '/./,$!d'
}

if [ -n "$draft" ]; then
  notes=$(notes_of Unreleased)
else
  [ -z "$(git status --porcelain)" ] || fail "there are changes that are not committed"
  notes=$(notes_of "$number")
  [ -n "$notes" ] || fail "CHANGELOG.md has no part \"## $number (DATE)\""
  tagged=$(git rev-parse -q --verify "refs/tags/v$number^{commit}" || true)
  [ -z "$tagged" ] || [ "$tagged" = "$commit" ] || fail "the tag v$number is at another commit: $tagged"
fi

# What is not finished is never found under the name that was asked for.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
made=$work/made
mkdir "$made"

# pack FOLDER NAME: the folder NAME below FOLDER as NAME.tar.gz. gzip -n keeps neither name nor time.
pack() {
  tar --create --directory="$1" --sort=name --mtime="@$time" --owner=0 --group=0 --numeric-owner --mode=u+rw,go+r-w,a+X \
    --format=ustar "$2" | gzip -9n >"$made/$2.tar.gz"
}

git archive --format=tar --prefix="quillard-$version/" HEAD | tar --extract --directory="$work"
pack "$work" "quillard-$version"

# install_and_pack BUILD COMPONENT NAME FILE: FILE is what would make the archive useless if it were missing.
install_and_pack() {
  local name
  name=$3-$version-$(uname -s | tr '[:upper:]' '[:lower:]')-$(uname -m)
  [ ! -e "$made/$name.tar.gz" ] || fail "two of the build folders have made $name"
  DESTDIR=$work/$name cmake --install "$1" --component "$2" --prefix /usr/local --strip >/dev/null
  [ -s "$work/$name/usr/local/$4" ] || fail "$1 installs no $4"
  pack "$work" "$name"
}

for build in "${builds[@]}"; do
  of_version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
  [ "$of_version" = "$number" ] || fail "$build was configured for version ${of_version:-?}, and this is $number"
  found=""
  if [ -x "$build/src/app/quillard" ]; then
    install_and_pack "$build" quillard quillard lib/Quillard.app/quillard; found=yes
  fi
  if [ -x "$build/companion/relay/quillard-relay" ]; then
    install_and_pack "$build" relay quillard-relay share/quillard-relay/page/index.html; found=yes
  fi
  [ -n "$found" ] || fail "$build has built neither the agent nor the relay"
done

printf '# Quillard %s\n\n%s\n\nMade from the commit %s.\n' "$version" "$notes" "$commit" >"$made/RELEASE-NOTES.md"
(cd "$made" && sha256sum -- *.tar.gz RELEASE-NOTES.md >"$work/SHA256SUMS" && mv "$work/SHA256SUMS" .)
mkdir -p "$(dirname "$out")"
mv "$made" "$out"
[ -e LICENSE ] || echo "Note: there is no LICENSE. Its owner has to choose one before anybody may use this." >&2
cat "$out/SHA256SUMS"
