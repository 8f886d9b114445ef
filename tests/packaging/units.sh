#!/usr/bin/env bash
# The units that are installed are right in systemd's eyes, and give up what they can; and the program starts
# with the first client of a socket that systemd's own tool hands over.
#
#     units.sh BUILD
set -euo pipefail

most=1.0 # exposure, from 0 to 10
folder=$(mktemp -d)
trap '[ -z "${tool:-}" ] || kill "$tool"; rm -rf "$folder"' EXIT
cmake --install "$1" --prefix "$folder" >/dev/null
cd "$folder/lib/systemd/system"

systemd-analyze verify --man=no ./ostrel-tvd.socket ./ostrel-tvd.service 2>&1 | tee "$folder/complaints"
[ ! -s "$folder/complaints" ] || exit 1

# It counts in tenths.
systemd-analyze security --offline=true --no-pager --threshold="$(tr -d . <<<$most)" ./ostrel-tvd.service |
    grep -v '^✓'

systemd-socket-activate --listen "$folder/socket" --fdname web "$folder/bin/ostrel-tvd" &
tool=$!
until [ -S "$folder/socket" ]; do kill -0 $tool && sleep 0.1; done
curl -fsS --unix-socket "$folder/socket" http://localhost/healthz
kill -TERM $tool
wait $tool # it has become the program, which ends whole
tool=
[ -S "$folder/socket" ] || { echo "the program has removed a socket that is not its own" && exit 1; }
