#!/usr/bin/env bash
# Boots systemd in a box of its own, with this machine's files below a layer in memory, and runs what is
# installed there as its service: as in-box.sh says.
#
#     boot.sh BUILD
#
# It takes root and the right to mount and to boot a box; without, it ends with 77: skipped.
set -euo pipefail

build=$1
here=$(dirname "$(realpath "$0")")
if [ "${2:-}" != apart ]; then
    skip() { echo "skipped: $*" && exit 77; }
    [ "$(id -u)" = 0 ] || skip "only root can boot a box"
    command -v systemd-nspawn >/dev/null || skip "there is no systemd-nspawn"
    unshare --mount true 2>/dev/null || skip "nothing may be mounted here"
    folder=$(mktemp -d)
    trap 'rm -rf --one-file-system "$folder"' EXIT
    unshare --mount --propagation private "$0" "$build" apart "$folder"
    exit
fi

folder=$3
mount -t tmpfs tmpfs "$folder"
mkdir "$folder"/{upper,work,root}
if ! mount -t overlay overlay -o "lowerdir=/,upperdir=$folder/upper,workdir=$folder/work" "$folder/root"; then
    echo "skipped: no layers on this file system"
    exit 77
fi
root=$folder/root
DESTDIR=$root cmake --install "$build" --prefix /usr/local >/dev/null
cp "$here/in-box.sh" "$root/in-box.sh"
# Nothing of this machine's own starts there.
find "$root/etc/systemd/system" -mindepth 1 -delete
cat >"$root/etc/systemd/system/in-box.service" <<'UNIT'
[Unit]
After=dbus.socket systemd-journald.socket
Wants=dbus.socket
DefaultDependencies=no
[Service]
Type=oneshot
ExecStart=/bin/bash -c 'exec >/told 2>&1; /in-box.sh && echo It holds'
ExecStopPost=/bin/systemctl --force poweroff
UNIT
cat >"$root/etc/systemd/system/in-box.target" <<'UNIT'
[Unit]
Requires=sysinit.target in-box.service
AllowIsolate=yes
UNIT
systemd-nspawn --boot --directory="$root" --private-network --register=no --keep-unit --link-journal=no \
    --machine="ostrel-$$" systemd.unit=in-box.target </dev/null >"$folder/console" 2>&1 || true
if [ ! -e "$root/told" ]; then
    cat "$folder/console"
    echo "skipped: systemd does not come up in a box on this machine"
    exit 77
fi
cat "$root/told"
grep -qx 'It holds' "$root/told"
