#!/usr/bin/env bash
# Runs the program of a container's root as a cluster would: with the arguments, the user, the mount and the probe of the
# manifest, and a root that nothing can be written to.
#
#     container.sh ROOT MANIFEST
set -euo pipefail

root=$1 here=$(dirname "$(realpath "$0")")
folder=$(mktemp -d)
trap '[ -z "${SERVER_PID:-}" ] || kill "$SERVER_PID"; rm -rf "$folder"' EXIT
fail() { echo "failed: $*" >&2 && exit 1; }

echo "== What a container has"
du -sh --apparent-size "$root" | cut -f1
for file in bin/sh usr/bin/sh usr/bin/bash usr/bin/dpkg usr/bin/perl; do [ ! -e "$root/$file" ] || fail "there is $file"; done
[ "$(ls "$root/usr/bin")" = ostrel-tvd ] || fail "there are other programs"

echo "== As the manifest says"
chmod 711 "$folder"
mkdir -m 755 "$folder/credentials"
token=$(head -c 33 /dev/urandom | basenc --base64url -w 0)
printf %s "$token" >"$folder/credentials/token"
chown 0:65534 "$folder/credentials/token"
chmod 440 "$folder/credentials/token"
eval "$(node "$here/manifest.js" "$2")" # environment, arguments, mount, probe, port
coproc SERVER {
    exec setpriv --reuid=65534 --regid=65534 --groups=65534 bwrap --ro-bind "$root" / --dev /dev \
        --tmpfs /run --ro-bind "$folder/credentials" "$mount" --remount-ro /run \
        --unshare-user --unshare-ipc --unshare-pid --unshare-uts --cap-drop ALL --as-pid-1 \
        --clearenv "${environment[@]}" /usr/bin/ostrel-tvd "${arguments[@]}"
}
server=$SERVER_PID
read -r line <&"${SERVER[0]}" || fail "it does not start"
echo "$line"
status() { curl -s -o /dev/null -w '%{http_code}' "$@"; }
# As the kubelet asks, by the address of the pod.
[ "$(status -H 'Host: 10.0.0.7:8480' "http://127.0.0.1:$port$probe")" = 200 ] || fail "the probe fails"
[ "$(status "http://127.0.0.1:$port/openrpc.json")" = 401 ] || fail "it takes no token"
[ "$(status -H "Authorization: Bearer $token" -H "Host: box-0.box:$port" "http://127.0.0.1:$port/openrpc.json")" = 200 ] ||
    fail "its name in the cluster is refused"

echo "== Told to stop, as the first of its processes"
kill -TERM "$(pgrep --parent "$server")"
wait "$server" || fail "it does not end well"
unset SERVER_PID
