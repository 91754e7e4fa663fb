#!/usr/bin/env bash
# The ways from nothing to a relay that a phone can use, as docs/relay.md has them, word by word: for a bare Debian 12, as
# root, at the top of the project. It changes the system; it is meant for a machine that is thrown away.
#
#   tests/relay-ways/from-nothing.sh [WAY...]     all of them: package caddy certificate tunnel restore
#   tests/relay-ways/from-nothing.sh --check      only whether the documentation has the commands; anywhere, as anyone
#
# What stands in for the outside world: relay.example is this machine, and certificates are of authorities made here.
# Where systemd does not run, the unit's own lines are carried out without it, by start_service; then what systemd itself
# would do (the sandbox, the user, credentials) is not tried, and the script says so.
set -euo pipefail
cd "$(dirname "$0")/../.."
export DEBIAN_FRONTEND=noninteractive
docs=docs/relay.md
work=$(mktemp -d)
relay_process=

say() { printf '\n== %s\n' "$*"; }
fail() { printf 'FAILED: %s\n' "$*" >&2; exit 1; }

# Fails unless the documentation has this command in these very words.
expect_documented() {
  sed -e ':again' -e '/\\$/{N; s/ *\\\n */ /; b again' -e '}' "$docs" | grep -F -- "$1" >/dev/null || fail "$docs does not say: $1"
}

documented() {
  expect_documented "$1"
  say "$1"
  eval "${1//sudo /}"
}

if [ "${1:-}" = --check ]; then
  checked=0
  while IFS= read -r command; do
    expect_documented "$command"
    checked=$((checked + 1))
  done < <(sed -n "s/^.*\(documented\|set_up\) '\(.*\)'.*$/\2/p" "$0" | sed "s/'; else .*//")
  [ "$checked" -ge 9 ] || fail "Only $checked commands were found here."
  say "All $checked commands stand in $docs."
  exit
fi

# ---- The service, with or without systemd

has_systemd() { [ -d /run/systemd/system ]; }
unit=/usr/lib/systemd/system/quillard-relay.service
drop_in=/etc/systemd/system/quillard-relay.service.d/setup.conf

# The values of a directive in the unit and what setup added, as systemd reads them: an empty one forgets those before.
directive() {
  { cat "$unit" "$drop_in" 2>/dev/null || true; } | sed -n "s/^$1=//p" | awk '$0 == "" { n = 0; next } { v[n++] = $0 } END { for (i = 0; i < n; ++i) print v[i] }'
}

start_service() {
  if has_systemd; then
    systemctl daemon-reload
    systemctl restart quillard-relay
    return
  fi
  say "No systemd runs here: the unit's lines are carried out without it."
  stop_service
  local user=64081 directory
  install -d -o $user -g $user -m 0700 /var/lib/quillard-relay
  for directory in $(directive RuntimeDirectory); do install -d -o $user -g $user -m 0700 "/run/$directory"; done
  local credential
  for credential in $(directive LoadCredential); do
    install -d -o $user -m 0700 /run/credentials/quillard-relay.service
    install -o $user -m 0400 "${credential#*:}" "/run/credentials/quillard-relay.service/${credential%%:*}"
  done
  local before
  directive ExecStartPre | while read -r before; do ${before#+}; done
  local capabilities=()
  for capability in $(directive AmbientCapabilities); do
    capability=$(tr '[:upper:]' '[:lower:]' <<<"${capability#CAP_}")
    capabilities+=(--inh-caps "+$capability" --ambient-caps "+$capability" --bounding-set "-all,+$capability")
  done
  setpriv --reuid $user --regid $user --clear-groups --no-new-privs "${capabilities[@]}" \
    $(directive ExecStart) >"$work/relay.log" 2>&1 &
  relay_process=$!
}

stop_service() {
  if has_systemd; then
    systemctl stop quillard-relay
  elif [ -n "$relay_process" ]; then
    kill "$relay_process" && wait "$relay_process" || true
    relay_process=
  fi
}

reload_service() {
  if has_systemd; then
    systemctl reload quillard-relay
    return
  fi
  directive ExecReload | while read -r line; do
    line=${line#+}
    ${line//\$MAINPID/$relay_process}
  done
}

# ---- What the outside world has

on_exit() {
  stop_service || true
  [ -n "${other_processes:-}" ] && kill $other_processes 2>/dev/null || true
  rm -rf "$work"
}
trap on_exit EXIT
other_processes=

eventually() {
  local tries=0
  until "$@" >"$work/last" 2>&1; do
    if [ $((++tries)) -ge 120 ]; then
      tail -n 5 "$work/last" "$work"/*.log || true
      if has_systemd; then systemctl status --no-pager quillard-relay || true; fi
      fail "$*"
    fi
    sleep 0.5
  done
  cat "$work/last"
}

# authority FILE: an authority of our own; issue NAME SERIAL: a certificate of it.
authority() {
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 30 -subj "/CN=Authority of a test" \
    -keyout "$work/authority.key" -out "$work/authority.crt" 2>/dev/null
}
issue() {
  openssl req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj "/CN=$1" -keyout "$work/$1.key" \
    -out "$work/$1.csr" 2>/dev/null
  openssl x509 -req -in "$work/$1.csr" -CA "$work/authority.crt" -CAkey "$work/authority.key" -set_serial "$2" -days 30 \
    -extfile <(printf 'subjectAltName=DNS:%s' "$1") -out "$work/$1.crt" 2>/dev/null
  cat "$work/$1.crt" "$work/authority.crt" >"$work/$1.pem"
}
served_serial() {
  openssl s_client -connect relay.example:443 -servername relay.example </dev/null 2>/dev/null | openssl x509 -noout -serial
}

# A bare system that was unpacked into a folder of root's alone: the service has a user of its own.
chmod a+rx /
grep -q 'relay\.example' /etc/hosts || echo '127.0.0.1 relay.example desk.home.example' >>/etc/hosts

# Packages start their services; here each way starts what it needs.
free_port() { if has_systemd; then systemctl disable --now caddy >/dev/null 2>&1 || true; fi; }

# ---- The ways

package() {
  apt-get update -qq
  documented 'sudo apt install g++ cmake ninja-build pkg-config nlohmann-json3-dev libssl-dev libutf8proc-dev libcli11-dev libboost1.81-dev libsqlite3-dev nodejs npm file dpkg-dev' <<<y
  documented 'cmake --preset relay && cmake --build build/relay'
  documented 'cpack --config build/relay/CPackConfig.cmake -B build/relay'
  apt-get install -y ./build/relay/quillard-relay_*.deb
  quillard-relay --version
  # Nothing of the agent's was needed.
  ! dpkg --list | grep -E '^ii +(qt6-base-dev|libxcb1-dev|libgtest-dev)' || fail "The relay needs what is the agent's."
}

set_up() { rm -rf /etc/quillard-relay.conf /etc/quillard-relay "$drop_in"; documented "$@"; }

caddy() {
  apt-get install -y --no-install-recommends caddy openssl
  free_port
  set_up 'sudo quillard-relay setup --domain relay.example'
  # What setup says to do, and, since no authority knows this machine, certificates of Caddy's own.
  { printf '{\n  local_certs\n  skip_install_trust\n}\n'; cat /etc/quillard-relay/Caddyfile; } >/etc/caddy/Caddyfile
  start_service
  HOME=$work command caddy run --config /etc/caddy/Caddyfile >"$work/caddy.log" 2>&1 &
  other_processes="$other_processes $!"
  local root="$work/.local/share/caddy/pki/authorities/local/root.crt"
  eventually test -s "$root"
  SSL_CERT_FILE=$root eventually quillard-relay check https://relay.example
  kill $other_processes
  wait $other_processes || true
  other_processes=
  stop_service
}

certificate() {
  authority
  issue relay.example 1001
  mkdir -p /etc/letsencrypt/live/relay.example
  renew() {
    cp "$work/relay.example.pem" /etc/letsencrypt/live/relay.example/fullchain.pem
    install -m 0600 "$work/relay.example.key" /etc/letsencrypt/live/relay.example/privkey.pem
  }
  renew
  set_up 'sudo quillard-relay setup --domain relay.example --tls-certificate /etc/letsencrypt/live/relay.example/fullchain.pem --tls-key /etc/letsencrypt/live/relay.example/privkey.pem'
  start_service
  SSL_CERT_FILE=$work/authority.crt eventually quillard-relay check https://relay.example
  [ "$(served_serial)" = serial=03E9 ] || fail "It serves another certificate."
  say "The certificate is renewed."
  issue relay.example 1002
  renew
  reload_service
  renewed() { [ "$(served_serial)" = serial=03EA ]; }
  eventually renewed
  # A private authority, as phones and computers are told of it.
  ! quillard-relay check https://relay.example || fail "An unknown authority is trusted."
  cp "$work/authority.crt" authority.crt
  documented 'sudo cp authority.crt /usr/local/share/ca-certificates/ && sudo update-ca-certificates'
  quillard-relay check https://relay.example
  rm -f authority.crt /usr/local/share/ca-certificates/authority.crt
  update-ca-certificates --fresh >/dev/null
  stop_service
}

# Whatever offers https under a name and passes bytes on, without a word about the client.
tunnel() {
  apt-get install -y --no-install-recommends stunnel4
  authority
  issue desk.home.example 2001
  set_up 'sudo quillard-relay setup --domain desk.home.example --tunnel'
  start_service
  printf 'foreground = yes\n[relay]\naccept = 443\nconnect = 127.0.0.1:8080\ncert = %s\nkey = %s\n' \
    "$work/desk.home.example.pem" "$work/desk.home.example.key" >"$work/stunnel.conf"
  stunnel4 "$work/stunnel.conf" >"$work/stunnel.log" 2>&1 &
  other_processes=$!
  SSL_CERT_FILE=$work/authority.crt eventually quillard-relay check https://desk.home.example
  kill $other_processes
  wait $other_processes || true
  other_processes=
  stop_service
}

# A registration, a backup, another one, and back again.
restore() {
  rm -f /var/lib/quillard-relay/relay.db*
  set_up 'sudo quillard-relay setup --domain desk.home.example --tunnel'
  apt-get install -y --no-install-recommends curl
  register() {
    curl --silent --output /dev/null --write-out '%{http_code}' --request PUT --header "Authorization: Bearer $2" \
      --data '{"client":"mac","version":1}' "http://127.0.0.1:8080/api/pairings/$1/relay-token"
  }
  local one other
  one=$(printf 'a%.0s' {1..64})
  other=$(printf 'b%.0s' {1..64})
  start_service
  eventually curl --silent --fail http://127.0.0.1:8080/readyz
  [ "$(register first "$one")" = 204 ] || fail "A registration"
  rm -f /var/backups/quillard-relay.db
  documented 'sudo quillard-relay backup /var/lib/quillard-relay/relay.db /var/backups/quillard-relay.db'
  [ "$(register second "$one")" = 204 ] || fail "A registration"
  if has_systemd; then documented 'sudo systemctl stop quillard-relay'; else stop_service; fi
  documented 'sudo rm -f /var/lib/quillard-relay/relay.db-wal /var/lib/quillard-relay/relay.db-shm'
  documented 'sudo install -m 0600 -o "$(sudo stat -Lc %u /var/lib/quillard-relay)" /var/backups/quillard-relay.db /var/lib/quillard-relay/relay.db'
  start_service
  eventually curl --silent --fail http://127.0.0.1:8080/readyz
  [ "$(register first "$other")" = 401 ] || fail "The first pairing did not come back."
  [ "$(register second "$other")" = 204 ] || fail "The second pairing came back."
  stop_service
}

[ "$(id -u)" = 0 ] || fail "It has to be root's machine."
free_port
[ $# -gt 0 ] || set -- package caddy certificate tunnel restore
for way in "$@"; do "$way"; done
say "All of it works: $*"
