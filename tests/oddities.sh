#!/usr/bin/env bash
# Whether docs/oddities.md and the source agree: each entry is named by a comment and by a test,
# each title that is named is an entry's, and the files and functions that entries name are there.
#
#     oddities.sh SOURCE_DIRECTORY
set -euo pipefail
cd "$1"

page=docs/oddities.md
rooms=(Ostrel TV host clients docs)
failed=0

complain() {
    echo "$page: $*"
    failed=1
}

# A title as test names spell it: lower case, without anything between the words.
plain() {
    tr -cd '[:alnum:]' <<<"${1,,}"
}

titles=$(sed -n 's/^## //p' "$page")
[ -n "$titles" ] || complain "there is no entry"

while read -r title; do
    grep -rqF --exclude=oddities.md "oddities.md, \"$title\"" TV ||
        complain "no comment names \"$title\""
    grep -rqi "$(plain "$title")" tests || grep -rqF "oddities.md, \"$title\"" tests ||
        complain "no test is called after \"$title\""
done <<<"$titles"

while IFS=: read -r file line text; do
    title=$(sed -nE 's/.*oddities\.md, "([^"]+)".*/\1/p' <<<"$text")
    grep -qxF "$title" <<<"$titles" || complain "has no entry \"$title\", which $file:$line names"
done < <(grep -rnE --exclude=oddities.md --exclude-dir=node_modules 'oddities\.md,' "${rooms[@]}")

# Elsewhere in docs a title in brackets is enough: ("Next is now").
while read -r title; do
    grep -qxF "$title" <<<"$titles" || complain "has no entry \"$title\", which docs/wire.md names"
done < <(grep -oE '\("[^"]+"' docs/wire.md | cut -d'"' -f2)

text=$(tr '\n' ' ' <"$page")
while read -r path; do
    [ -e "$path" ] || complain "there is no $path"
done < <(grep -oE '`[A-Za-z]+/[A-Za-z/]+\.[a-z]+`' <<<"$text" | tr -d '`')
while IFS=' ' read -r name _ path; do
    grep -qsw "${name##*:}" "$path" || complain "$path has no $name"
done < <(grep -oE '`[A-Za-z:]+`,? in `[A-Za-z/.]+`' <<<"$text" | tr -d '`')

exit "$failed"
