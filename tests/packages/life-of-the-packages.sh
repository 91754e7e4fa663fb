#!/usr/bin/env bash
# Run by in-bare-debian.sh, inside the bare system.
set -euo pipefail
say() { printf '\n== %s\n' "$*"; }
fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }
expect_version() {
  [ "$(dpkg-query -W -f='${Version}' "$1")" = "$(dpkg-deb -f "$2" Version)" ] || fail "$1 is not of $2."
}

apt-get update -qq
# What a desktop has already, as far as the agent needs it here.
apt-get install -y -qq --no-install-recommends xvfb dbus dbus-x11 xauth procps >/dev/null
useradd --create-home ann
as_ann() { setpriv --reuid ann --regid ann --init-groups env -i HOME=/home/ann LANG=C.UTF-8 XDG_RUNTIME_DIR=/tmp/ann \
  PATH=/usr/bin:/bin "$@"; }
install -d -m 700 -o ann -g ann /tmp/ann

say "Installing"
apt-get install -y -qq --no-install-recommends /packages/old/*.deb >/dev/null
expect_version quillard /packages/old/quillard_*.deb
expect_version quillard-relay /packages/old/quillard-relay_*.deb
as_ann quillard --version
quillard-relay --version
for icon in 48x48 256x256; do [ -s "/usr/share/icons/hicolor/$icon/apps/com.quillard.agent.png" ] || fail "no icon of $icon"; done
grep -q '^Icon=com.quillard.agent$' /usr/share/applications/com.quillard.agent.desktop || fail "The entry has no icon."
grep -q '^Exec="/usr/lib/Quillard.app/quillard"$' /usr/share/applications/com.quillard.agent.desktop || fail "The entry starts something else."
grep -q '^ExecStart="/usr/lib/Quillard.app/quillard"$' /usr/lib/systemd/user/quillard.service || fail "The user's unit starts something else."
grep -q '^ExecStart=/usr/bin/quillard-relay ' /usr/lib/systemd/system/quillard-relay.service || fail "The unit starts something else."

relay_process=
start_relay() {
  as_ann quillard-relay --listen 127.0.0.1:8765 --database /home/ann/relay.db --page /usr/share/quillard-relay/page \
    >/tmp/relay.log 2>&1 &
  relay_process=$!
  local tries=0
  until quillard-relay check http://127.0.0.1:8765 >/tmp/check.log 2>&1; do
    [ $((++tries)) -lt 60 ] || { cat /tmp/check.log /tmp/relay.log; fail "The relay does not answer."; }
    sleep 0.5
  done
}
stop_relay() { kill "$relay_process" 2>/dev/null || true; wait "$relay_process" 2>/dev/null || true; }

# Starts the agent on a desktop of its own and prints how it stands once it has reached the relay.
agent_reaches_relay() {
  as_ann xvfb-run -a dbus-run-session -- bash -c '
    quillard >/tmp/ann/agent.log 2>&1 &
    agent=$!
    for ((i = 0; i < 120; ++i)); do
      quillard status --json >/tmp/ann/status.json 2>/dev/null && grep -q "\"connected\": *true" /tmp/ann/status.json && break
      sleep 0.5
    done
    cat /tmp/ann/status.json
    quillard pair --text --force >/tmp/ann/pairing.txt
    quillard quit
    wait $agent || true'
  grep -q '"connected": *true' /tmp/ann/status.json || { cat /tmp/ann/agent.log; fail "The agent does not reach the relay."; }
}

say "Using"
start_relay
as_ann quillard relay set http://127.0.0.1:8765
agent_reaches_relay
cp /tmp/ann/pairing.txt /tmp/pairing-before.txt
[ -s /tmp/pairing-before.txt ] || fail "There is no pairing code."
[ -f /home/ann/.config/autostart/com.quillard.agent.desktop ] || fail "It does not start at login."
stop_relay

say "Upgrading"
apt-get install -y -qq --no-install-recommends /packages/new/*.deb >/dev/null
expect_version quillard /packages/new/quillard_*.deb
expect_version quillard-relay /packages/new/quillard-relay_*.deb
start_relay
agent_reaches_relay
cmp /tmp/pairing-before.txt /tmp/ann/pairing.txt || fail "Upgrading changed the pairing."
stop_relay

say "Removing"
dpkg -L quillard quillard-relay | sort -u >/tmp/files
apt-get remove -y -qq quillard quillard-relay >/dev/null
while IFS= read -r file; do
  case $file in
    /. | '') ;;
    *) if [ -e "$file" ] && [ ! -d "$file" ]; then fail "$file was left."; fi ;;
  esac
done </tmp/files
[ ! -e /usr/lib/Quillard.app ] || fail "/usr/lib/Quillard.app was left."
tried=$(sed -n 's/^TryExec=//p' /home/ann/.config/autostart/com.quillard.agent.desktop)
if [ -z "$tried" ] || [ -e "$tried" ]; then fail "The user's entry would start what has gone."; fi

say "Purging"
mkdir -p /etc/quillard-relay /etc/systemd/system/quillard-relay.service.d /var/lib/quillard-relay
touch /etc/quillard-relay.conf
dpkg --purge quillard-relay
for left in /etc/quillard-relay /etc/quillard-relay.conf /etc/systemd/system/quillard-relay.service.d /var/lib/quillard-relay; do
  [ ! -e "$left" ] || fail "$left was left."
done
[ -z "$(dpkg-query -W -f='${Package}\n' 'quillard*' 2>/dev/null)" ] || fail "dpkg still knows a package."

say "lintian"
apt-get install -y -qq --no-install-recommends lintian >/dev/null
# `tag: why` a line; what is not explained there stops this.
explained=$(sed '/^#/d; s/:.*//' /packages/lintian-explained.txt | paste -sd,)
lintian --fail-on error,warning ${explained:+--suppress-tags "$explained"} /packages/new/*.deb
say "All of it held."
