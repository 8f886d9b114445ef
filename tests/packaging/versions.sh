#!/usr/bin/env bash
# The version is the same wherever it stands.
#
#     versions.sh ROOT
set -euo pipefail
cd "$1"

version=$(sed -n 's/^project(Ostrel VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
minor=${version%.*}
next=${minor%.*}.$((${minor#*.} + 1))
status=0
has() { # FILE TEXT
    grep -qF -- "$2" "$1" || { echo "$1 has no $2" && status=1; }
}
for file in clients/typescript/package.json clients/conform/package.json TV/interfaces/openrpc.json simulator/openrpc.json; do
    has $file "\"version\": \"$version\""
done
has packaging/kubernetes.yaml "image: ostrel-tvd:$version"
has docs/changelog.md "## $version"
# Who is linked to this one may be broken by the next.
has packaging/debian/rules "libostrel0 (<< $next~)"
has packaging/debian/rules "libostreltv0 (<< $next~)"
has tests/packages/consumer/CMakeLists.txt "find_package(Ostrel $minor REQUIRED)"
echo "$version"
exit $status
