#!/usr/bin/env bash
# Boots a Debian in a folder with systemd, in namespaces of its own, runs a command there and powers off: for
# from-nothing.sh, so that units, users and credentials are systemd's own. As root. The network is this machine's.
#
#   tests/relay-ways/boot.sh FOLDER COMMAND     what COMMAND prints comes out here; the exit status is its own
set -euo pipefail
root=$(realpath "$1")
command=$2
unit=$root/etc/systemd/system/booted-command.service
trap 'rm -f "$unit" "$root"/etc/systemd/system/multi-user.target.wants/booted-command.service "$root"/booted-*' EXIT
printf '%s\n' "$command" >"$root/booted-command"
cat >"$unit" <<'UNIT'
[Unit]
After=multi-user.target
[Service]
Type=oneshot
Environment=HOME=/root LANG=C.UTF-8 PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
ExecStart=/bin/bash -c 'bash /booted-command >/booted-output 2>&1; echo $? >/booted-status; systemctl --force poweroff'
UNIT
mkdir -p "$root/etc/systemd/system/multi-user.target.wants" "$root/old"
chmod a+rx "$root"  # Services have users of their own; the bus among them, without which nothing comes up.
ln -sf ../booted-command.service "$root/etc/systemd/system/multi-user.target.wants/"
# A chroot would do but for PrivateUsers=: the kernel makes no user namespace in one.
unshare --mount --pid --fork --kill-child --uts --ipc --cgroup bash -c '
  mount --make-rprivate / && mount --bind "$1" "$1"
  mount -t proc proc "$1/proc"; mount -t sysfs sysfs "$1/sys"; mount -t cgroup2 cgroup2 "$1/sys/fs/cgroup"
  mount -t tmpfs tmpfs "$1/run"; mount --rbind /dev "$1/dev"; mount -t tmpfs tmpfs "$1/dev/shm"; mount -t tmpfs tmpfs "$1/tmp"
  cd "$1" && pivot_root . old && umount -l /old
  # Shared, as on every machine: else the credentials that systemd mounts reach no service.
  mount --make-rshared /
  exec env -i container=booted /lib/systemd/systemd --system --log-target=null' boot "$root" >/dev/null || true
cat "$root/booted-output"
exit "$(cat "$root/booted-status")"
