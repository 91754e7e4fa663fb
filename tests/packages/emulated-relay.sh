#!/usr/bin/env bash
# Runs the relay of a package for another processor, emulated, and lets it look at itself: registration, WebSockets, the
# page. For a Debian that has packages of that architecture, as scripts/cross-package.sh leaves it, and qemu-user-static.
#
#   tests/packages/emulated-relay.sh PACKAGE
set -euo pipefail
package=$(realpath "$1")
folder=$(mktemp -d)
relay_process=
trap '[ -z "$relay_process" ] || kill "$relay_process" 2>/dev/null || true; rm -rf "$folder"' EXIT
dpkg-deb -x "$package" "$folder/root"
machine=$(dpkg-architecture -a "$(dpkg-deb -f "$package" Architecture)" -qDEB_HOST_GNU_CPU 2>/dev/null)
relay() { "qemu-$machine-static" "$folder/root/usr/bin/quillard-relay" "$@"; }
relay --version
"qemu-$machine-static" "$folder/root/usr/bin/quillard-relay" --listen 127.0.0.1:0 --database "$folder/relay.db" \
  --page "$folder/root/usr/share/quillard-relay/page" >"$folder/log" 2>&1 &
relay_process=$!
for ((i = 0; i < 120; ++i)); do
  address=$(sed -n 's/^Listening on //p' "$folder/log")
  [ -z "$address" ] || break
  sleep 0.5
done
[ -n "$address" ] || { cat "$folder/log"; echo "FAILED: The relay does not start." >&2; exit 1; }
relay check "$address" || { cat "$folder/log"; exit 1; }
kill "$relay_process"
wait "$relay_process"
relay_process=
