#!/usr/bin/env bash
# What SECURITY.md names as trying something is there: files, and commands of ./dev.
#
#     security.sh ROOT
set -euo pipefail
cd "$1"

status=0
names=$(grep -oE '`[^`]+`' SECURITY.md | tr -d '`' | grep -E '^(\./dev |[a-z]+/)' | sort -u)
while read -r name; do
    case $name in
    './dev '*) ./dev help | grep -qE "^  ${name#./dev }( |\$)" || { echo "$name: no such command" && status=1; } ;;
    *) [ -e "$name" ] || { echo "$name: no such file" && status=1; } ;;
    esac
done <<<"$names"
echo "$(wc -l <<<"$names") names"
exit $status
