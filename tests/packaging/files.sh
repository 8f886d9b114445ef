#!/usr/bin/env bash
# The same files are installed below every prefix, and each of them is in one of Debian's packages.
#
#     files.sh BUILD
set -euo pipefail

packaging=$(realpath "$(dirname "$0")/../../packaging")
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
fail() { echo "failed: $*" >&2 && exit 1; }

cmake --install "$1" --prefix "$folder/usr" >/dev/null
DESTDIR=$folder/another cmake --install "$1" --prefix /opt/ostrel >/dev/null
unit=lib/systemd/system/ostrel-tvd.service # names the program by its whole path
sed -i "s,$folder/usr/,/opt/ostrel/," "$folder/usr/$unit"
diff -r "$folder/usr" "$folder/another/opt/ostrel" || fail "another prefix, other files"

cd "$folder"
libraries=$(find usr -name libostrel.so -printf %h)
packed=()
for list in "$packaging"/debian/*.install; do
    while read -r pattern _; do
        pattern=${pattern/'usr/lib/*/'/"$libraries/"}
        mapfile -t files < <(compgen -G "$pattern")
        [ ${#files[@]} -gt 0 ] || fail "$(basename "$list"): there is no $pattern"
        packed+=("${files[@]}")
    done <"$list"
done
find "${packed[@]}" ! -type d | sort >packed
[ -z "$(uniq -d packed)" ] || fail "in two packages: $(uniq -d packed)"
find usr ! -type d | sort | diff packed - || fail "in no package"
echo "$(wc -l <packed) files"
