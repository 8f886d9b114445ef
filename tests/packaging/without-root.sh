#!/usr/bin/env bash
# Where all is installed that ./dev needs, it asks nobody for root; where something is missing and one is not root, it
# tells the one line to run, and does nothing else.
#
#     without-root.sh ROOT
set -euo pipefail
cd "$1"

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
fail() { echo "failed: $*" >&2 && exit 1; }

# A user whom the machine does not know has no rights, and still reads what its starter may.
as_user=()
[ "$(id -u)" != 0 ] || as_user=(unshare --user)
[ "$("${as_user[@]}" id -u)" != 0 ] || { echo "skipped: nobody but root can be here" && exit 77; }

# Whatever would install something or make somebody root.
for name in apt-get sudo su pkexec doas; do
    printf '#!/bin/sh\necho "$0 $*" >>%s/asked\nexit 1\n' "$folder" >"$folder/$name"
done
# In Debian's place: every package is there but those that are to be missing.
cat >"$folder/dpkg-query" <<'TEXT'
#!/bin/sh
for word; do package=$word; done
case " $MISSING " in *" $package "*) ;; *) printf 'ii ' ;; esac
TEXT
chmod +x "$folder"/*
dev() { MISSING=$missing PATH=$folder:$PATH "${as_user[@]}" ./dev "$@" >"$folder/out" 2>"$folder/errors"; }

missing=
dev lint walls || fail "something is asked for: $(cat "$folder/errors")"
[ ! -s "$folder/errors" ] || fail "something is told: $(cat "$folder/errors")"

missing='ninja-build libboost1.81-dev'
! dev run || fail "it goes on without them"
diff - "$folder/errors" <<<'missing; as root: apt-get install ninja-build libboost1.81-dev'
[ ! -s "$folder/out" ] || fail "it begins: $(cat "$folder/out")"
! dev test || fail "it goes on without them"
[ "$(wc -l <"$folder/errors")" = 1 ] || fail "that is not one line: $(cat "$folder/errors")"

[ ! -e "$folder/asked" ] || fail "it has tried $(cat "$folder/asked")"
