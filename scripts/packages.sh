#!/usr/bin/env bash
# Makes the packages for Debian and Ubuntu: scripts/packages.sh [FOLDER] (build/packages, when none is named).
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
folder=$(realpath -m "${1:-build/packages}")
only_to_run=yes  # Without tests.
debian_packages+=(dpkg-dev file)
install_missing
configure_and_build release quillard quillard_relay_program phone_page
mkdir -p "$folder"
rm -f "$folder"/quillard*.deb
# The same sources make the same packages.
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || date +%s)}
export SOURCE_DATE_EPOCH
cpack --config "$(folder_of release)/CPackConfig.cmake" -B "$folder" ${PACKAGE_VERSION:+-D CPACK_PACKAGE_VERSION=$PACKAGE_VERSION} >&2
rm -rf "$folder/_CPack_Packages"
ls "$folder"/*.deb
