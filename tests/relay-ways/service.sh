#!/usr/bin/env bash
# The service as systemd itself runs it: its user, its sandbox, the credential with the registration key, and port 443 with a
# certificate that is renewed. For a Debian 12 with systemd, curl, openssl and an installed relay that is thrown away; as
# root, for instance in a folder:
#
#   cp tests/relay-ways/service.sh FOLDER/ && tests/relay-ways/boot.sh FOLDER 'bash /service.sh'
set -euo pipefail
unit=quillard-relay.service
drop_in=/etc/systemd/system/$unit.d/setup.conf
token=$(printf 'a%.0s' {1..64})

say() { printf '\n== %s\n' "$*"; }
fail() {
  printf 'FAILED: %s\n' "$*" >&2
  systemctl status --no-pager --full $unit || true
  journalctl --no-pager -n 30 -u $unit || true
  exit 1
}

start_anew() {
  systemctl daemon-reload
  systemctl restart $unit || fail "It does not start."
  curl -sfk --retry 60 --retry-delay 1 --retry-connrefused --retry-all-errors "$1/healthz" >/dev/null || fail "It does not serve $1."
}

forget_setup() { rm -rf /etc/quillard-relay.conf /etc/quillard-relay "$drop_in"; }

# expect_registration STATUS NAME [KEY]
expect_registration() {
  local status
  status=$(curl -s -o /dev/null -w '%{http_code}' -X PUT -H "Authorization: Bearer $token" ${3:+-H "quillard-registration-key: $3"} \
    -d '{"client":"mac","version":1}' "http://127.0.0.1:8080/api/pairings/$2/relay-token")
  [ "$status" = "$1" ] || fail "Registering $2 gave $status instead of $1."
}

key_of_credential() {
  say "The registration key is a credential"
  forget_setup
  quillard-relay setup --domain relay.example --registration-key >/dev/null
  grep -q '^LoadCredential=registration-key:' "$drop_in" || fail "setup wrote no LoadCredential=."
  start_anew http://127.0.0.1:8080
  local pid file
  pid=$(systemctl show -P MainPID $unit)
  [ "$(stat -c %u "/proc/$pid")" != 0 ] || fail "It runs as root."
  file=/run/credentials/$unit/registration-key
  [ -s "$file" ] || fail "There is no credential."
  [ "$(stat -c %a "$(dirname "$file")")" = 500 ] || fail "Others can look for the credential: $(stat -c %a "$(dirname "$file")")"
  [ "$(stat -c '%a %u' /etc/quillard-relay/registration-key)" = '600 0' ] || fail "The key's own file is not root's alone."
  expect_registration 403 without
  expect_registration 403 wrong wrongwrongwrongwrong
  expect_registration 204 right "$(cat /etc/quillard-relay/registration-key)"

  say "A new key counts after a restart"
  local old
  old=$(cat /etc/quillard-relay/registration-key)
  echo another-key-of-the-operator >/etc/quillard-relay/registration-key
  start_anew http://127.0.0.1:8080
  expect_registration 403 old "$old"
  expect_registration 204 new another-key-of-the-operator
  systemctl stop $unit
}

renew() {
  openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 30 -subj /CN=relay.example \
    -set_serial "$1" -keyout /root/key.pem -out /root/certificate.pem 2>/dev/null
  chmod 0600 /root/key.pem
}
served_serial() { openssl s_client -connect 127.0.0.1:443 </dev/null 2>/dev/null | openssl x509 -noout -serial; }

certificate_of_root() {
  say "It listens at port 443 itself, with a key that root alone can read"
  forget_setup
  renew 1001
  quillard-relay setup --domain relay.example --tls-certificate /root/certificate.pem --tls-key /root/key.pem >/dev/null
  start_anew https://127.0.0.1
  [ "$(served_serial)" = serial=03E9 ] || fail "It serves another certificate."
  say "A reload reads the new certificate"
  renew 1002
  systemctl reload $unit || fail "It does not reload."
  for _ in {1..60}; do
    [ "$(served_serial)" = serial=03EA ] && break
    sleep 0.5
  done
  [ "$(served_serial)" = serial=03EA ] || fail "It serves the old certificate after a reload."
  systemctl stop $unit
}

[ -d /run/systemd/system ] || { echo "systemd does not run here: nothing was tried."; exit 77; }
key_of_credential
certificate_of_root
say "All is well."
