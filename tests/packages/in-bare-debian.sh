#!/usr/bin/env bash
# The packages in a bare Debian 12 that is thrown away: installed, used, upgraded, removed, purged, and read by lintian.
# As root; needs debootstrap and the network.
#
#   tests/packages/in-bare-debian.sh NEW [OLD]   folders with the packages; OLD ones are installed before the NEW
#
# BARE_DEBIAN=FILE.tar takes a bare system from there in place of making one.
set -euo pipefail
new=$(realpath "$1")
old=$(realpath "${2:-$1}")
here=$(cd "$(dirname "$0")" && pwd)
root=$(mktemp -d /var/tmp/packages.XXXXXX)
trap 'rm -rf --one-file-system "$root"' EXIT
if [ -n "${BARE_DEBIAN:-}" ]; then
  tar -C "$root" -xf "$BARE_DEBIAN"
else
  mirror=$(awk '/^URIs:/ {print $2; exit} /^deb / {print $2; exit}' /etc/apt/sources.list.d/*.sources \
    /etc/apt/sources.list 2>/dev/null | head -1)
  debootstrap --variant=minbase --include=ca-certificates bookworm "$root" "${mirror:-http://deb.debian.org/debian}" >&2
fi
cp -L /etc/resolv.conf /etc/hosts "$root/etc/"
chmod 755 "$root"  # Not root alone uses it.
install -D -t "$root/packages/new" "$new"/quillard_*.deb "$new"/quillard-relay_*.deb
install -D -t "$root/packages/old" "$old"/quillard_*.deb "$old"/quillard-relay_*.deb
install "$here/life-of-the-packages.sh" "$root/packages/"
install -m 644 "$here/lintian-explained.txt" "$root/packages/"
unshare --mount --pid --fork --kill-child bash -c '
  mount -t proc proc "$1/proc"; mount -t sysfs sysfs "$1/sys"; mount --rbind /dev "$1/dev"
  mount -t tmpfs tmpfs "$1/dev/shm"; mount -t tmpfs tmpfs "$1/run"; mount -t tmpfs tmpfs "$1/tmp"
  exec chroot "$1" env -i HOME=/root LANG=C.UTF-8 TERM=dumb DEBIAN_FRONTEND=noninteractive \
    PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin /packages/life-of-the-packages.sh' bare "$root"
