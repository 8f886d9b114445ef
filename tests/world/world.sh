#!/usr/bin/env bash
# A listing is imported, served, shown, exported and imported again.
#
#     world.sh OSTREL-WORLD OSTREL-TVD OSTREL-TV
set -euo pipefail

world=$1 server=$2 client=$3
listing=$(dirname "$(realpath "$0")")/three-channels.xml
folder=$(mktemp -d)
trap '[ -z "${SERVER_PID:-}" ] || kill "$SERVER_PID"; rm -rf "$folder"' EXIT
cd "$folder"

stop_server() {
    local server=$SERVER_PID # bash forgets the variable as soon as the server has ended
    kill "$server"
    wait "$server" || true
    unset SERVER_PID
}

fail() {
    echo "failed: $*" >&2
    exit 1
}

expect() { # FILE TEXT
    grep -qF -- "$2" "$1" || { cat "$1" >&2 && fail "$1 lacks: $2"; }
}

# XMLTV's own check has its description along, and looks at more than that.
dtd=/usr/share/xmltv/xmltv.dtd
validate() { # FILE
    if [ ! -f $dtd ]; then
        echo "$1 is not validated: there is no tv_validate_file (package xmltv-util)"
        return
    fi
    tv_validate_file --dtd-file $dtd "$1" >validated || { cat validated >&2 && fail "$1 is not valid"; }
}

echo "== The listing has everything that XMLTV has"
validate "$listing"
if [ -f $dtd ]; then
    grep -o '<!ELEMENT [a-z-]*' $dtd | while read -r _ element; do
        grep -q "<$element[ />]" "$listing" || fail "the listing lacks $element"
    done
fi

echo "== Imported"
"$world" import "$listing" -o coast --zone Europe/Berlin --language en 2>counted
cat counted
expect counted "3 services, 3 guides: 8 events of 8 programmes"
expect counted "1  stops missing of the last programme"
expect counted "--categories: Seafaring 1"
expect coast/world.txt "zone Europe/Berlin"
expect coast/lineup.txt "|    7 | tv    | Coast One"
expect coast/lineup.txt "|  701 | radio | Radio Kelp"
[ "$(cat coast/guide/*.txt | grep -c '^crids 1:/xrya28zotn 2:/i2ffh8f9dh$')" = 2 ] || fail "the episode has two identifiers"
gzip -c "$listing" | "$world" import - -o coast.world --zone Europe/Berlin --language en --json >counted.json
jq -e '.events == 8 and .findings.categoryUnknown == 1 and .unknownCategories.Seafaring == 1' counted.json >/dev/null ||
    fail "the numbers for scripts are wrong"

echo "== Served"
for made in coast coast.world; do
    coproc SERVER { exec "$server" --listen 127.0.0.1:0 --world "$made" --now 2026-10-24T18:05:00Z --hold; }
    read -r line <&"${SERVER[0]}" || fail "ostrel-tvd does not start"
    OSTREL_TV_URL=${line##*http://} TZ=Europe/Berlin "$client" guide --from 2026-10-24T20:00 >guide
    stop_server
    cat guide
    expect guide "The Eight O'Clock News"
    expect guide "Coast Film HD"
    expect guide "Shipping Talk"
done

echo "== Exported"
"$world" export coast -o coast.xml
"$world" export coast.world >compiled.xml
validate coast.xml
diff <(sed 1,3d coast.xml) <(sed 1,3d compiled.xml) || fail "folder and file differ"
"$world" import coast.xml -o again
diff -r coast again || fail "an import of the export is not the same"

echo "== The built-in world"
"$world" export >built-in.xml
[ ! -f $dtd ] || {
    # The line-up has services without a guide: the description allows that, the check warns of it.
    tv_validate_file --dtd-file $dtd built-in.xml | grep -vE "^No programme entries found for|errors? found" &&
        fail "the export of the built-in world is not valid"
    true
}
"$world" import built-in.xml -o built-in 2>counted
expect counted "96 services, 81 guides: 11658 events of 11658 programmes"

echo "== What goes wrong leaves nothing behind"
mkdir quiet
mistake() { # MESSAGE ARGUMENT ...
    local message=$1 status=0
    shift
    "$world" "$@" 2>mistake || status=$?
    [ $status = 1 ] || fail "$* ends with $status"
    expect mistake "$message"
    [ -z "$(ls quiet)" ] || fail "$* leaves $(ls quiet)"
}
head -c 3000 "$listing" >cut.xml
head -c 1000 <(gzip -c "$listing") >cut.xml.gz
printf '\xFD7zXZ\0' >listing.xml.xz
mistake "cut.xml:63: " import cut.xml -o quiet/world
mistake "cut.xml.gz: is cut off" import cut.xml.gz -o quiet/a.world
mistake "listing.xml.xz: is compressed by xz: xz -dc FILE | ostrel-world import -" import listing.xml.xz -o quiet/a.world
mistake "cannot read nowhere.xml: No such file or directory" import nowhere.xml -o quiet/a.world
mistake "cannot write nowhere/a.world: No such file or directory" import "$listing" -o nowhere/a.world
mistake "coast is there already; choose another place, or delete it first" import "$listing" -o coast
mistake "the time zone \"Europe/Nowhere\" is not known here" import "$listing" -o quiet/a.world --zone Europe/Nowhere
mistake "nowhere.txt" import "$listing" -o quiet/a.world --lineup nowhere.txt

mkfifo slow
"$world" import slow -o quiet/a.world &
importer=$!
exec 3>slow
head -n 20 "$listing" >&3
until [ -n "$(ls quiet)" ]; do :; done
kill -TERM $importer
status=0
wait $importer || status=$?
exec 3>&-
[ $status = 143 ] || fail "interrupted, it ends with $status"
[ -z "$(ls quiet)" ] || fail "interrupted, it leaves $(ls quiet)"
