#!/usr/bin/env bash
# Puts the packages to the test in a clean root of Debian, as in-root.sh says, and what a container has, as container.sh
# says. It takes root, and a mirror of Debian.
#
#     packages.sh FOLDER
#
# FOLDER is what packaging/package has made.
set -euo pipefail

packages=$(realpath "$1")
here=$(dirname "$(realpath "$0")")
if [ "${2:-}" != apart ]; then
    [ "$(id -u)" = 0 ] || { echo "this takes root: what apt does in the clean root is root's to do" >&2 && exit 1; }
    folder=$(mktemp -d)
    trap 'rm -rf --one-file-system "$folder"' EXIT
    chmod 711 "$folder" # somebody without rights runs the container
    unshare --mount --pid --fork --mount-proc --propagation private "$0" "$packages" apart "$folder"
    exit
fi
folder=$3 root=$3/root
export LC_ALL=C DEBIAN_FRONTEND=noninteractive

echo "== Checksums"
(cd "$packages" && sha256sum --check --quiet SHA256SUMS)

echo "== npm's package"
tar -tzf "$packages"/ostrel-tv-*.tgz >"$folder/npm"
grep -qx package/LICENSE "$folder/npm" || { echo "it has no licence" && exit 1; }
mkdir "$folder/project"
(
    cd "$folder/project"
    npm install --silent --no-save --offline "$packages"/ostrel-tv-*.tgz 2>&1
    node --input-type=module -e "const { connect } = await import('@ostrel/tv'); if (typeof connect !== 'function') process.exit(1)"
)

echo "== A clean root"
mirror=$(apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Codename: bookworm' 'Component: main' | head -1)
mmdebstrap --quiet --variant=apt --include=g++,cmake,make,pkgconf,man-db bookworm "$root" "$mirror"
mount -t proc proc "$root/proc"
mount --rbind /dev "$root/dev"
mkdir "$root/packages" "$root/test"
cp "$packages"/*.deb "$packages/container-root" "$root/packages"
cp -r "$here"/in-root.sh "$here/consumer" "$root/test"
in_root() { chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C DEBIAN_FRONTEND=noninteractive "$@"; }
# In a network of its own the usual port is free. Five minutes are many.
alone() { timeout --kill-after=10 300 unshare --net bash -c 'ip link set lo up && exec "$@"' alone "$@"; }
export -f in_root
export root

echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/quick" # what is lost with the machine is made again
in_root apt-get update -qq
in_root /test/in-root.sh install
echo "== No path of this machine"
in_root /test/in-root.sh files >"$folder/files"
! (cd "$root" && xargs -d '\n' -a "$folder/files" grep -laF "$(realpath "$here/../..")") || exit 1
alone bash -c 'in_root /test/in-root.sh use'
in_root /packages/container-root /container
alone "$here/container.sh" "$root/container" "$here/../../packaging/kubernetes.yaml"
in_root /test/in-root.sh purge
