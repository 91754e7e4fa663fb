#!/usr/bin/env bash
# Makes the relay's package for computers with another processor, with Debian's cross compiler:
#
#   scripts/cross-package.sh ARCHITECTURE [FOLDER]     arm64, as a Raspberry Pi has it; into build/packages without a FOLDER
#
# On Debian and Ubuntu, which it tells to have packages of that architecture as well. The agent needs a desktop's
# libraries, and is built where it is to run.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/setup.sh
[ $# -ge 1 ] || { awk 'NR > 1 { if (!sub(/^# ?/, "")) exit; print }' "$0" >&2; exit 2; }
architecture=$1
folder=$(realpath -m "${2:-build/packages}")
debian_packages=(dpkg-dev file cmake ninja-build pkg-config nodejs git)
command -v npm >/dev/null || debian_packages+=(npm)
install_missing
machine=$(dpkg-architecture -a "$architecture" -qDEB_HOST_GNU_TYPE 2>/dev/null)
if ! dpkg --print-foreign-architectures | grep -qx "$architecture"; then as_root dpkg --add-architecture "$architecture"; fi
debian_packages=("g++-${machine//_/-}" nlohmann-json3-dev libcli11-dev libboost1.81-dev)
for library in libssl-dev libutf8proc-dev libsqlite3-dev; do debian_packages+=("$library:$architecture"); done
install_missing

build=build/relay-$architecture
# The paths of that machine's libraries alone: one of this machine's would be found first.
export PKG_CONFIG_LIBDIR=/usr/lib/$machine/pkgconfig:/usr/share/pkgconfig
[ -f "$build/build.ninja" ] || cmake --preset relay -B "$build" -DCMAKE_SYSTEM_NAME=Linux \
  -DCMAKE_SYSTEM_PROCESSOR="$(dpkg-architecture -a "$architecture" -qDEB_HOST_GNU_CPU 2>/dev/null)" \
  -DCMAKE_C_COMPILER="$machine-gcc" -DCMAKE_CXX_COMPILER="$machine-g++" -DCMAKE_LIBRARY_ARCHITECTURE="$machine" \
  -DCMAKE_STRIP="/usr/bin/$machine-strip" -DOPENSSL_ROOT_DIR=/usr \
  -DOPENSSL_CRYPTO_LIBRARY="/usr/lib/$machine/libcrypto.so" -DOPENSSL_SSL_LIBRARY="/usr/lib/$machine/libssl.so" >&2
cmake --build "$build" -j "$(jobs_here)" >&2
mkdir -p "$folder"
rm -f "$folder"/quillard-relay_*_"$architecture".deb
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct 2>/dev/null || date +%s)}
export SOURCE_DATE_EPOCH DEB_HOST_ARCH=$architecture
cpack --config "$build/CPackConfig.cmake" -B "$folder" -D CPACK_DEBIAN_PACKAGE_ARCHITECTURE="$architecture" >&2
rm -rf "$folder/_CPack_Packages"
ls "$folder"/quillard-relay_*_"$architecture".deb
