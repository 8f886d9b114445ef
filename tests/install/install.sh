#!/usr/bin/env bash
# What is installed runs by itself, wherever it is put, and others can build on it.
#
#     install.sh BUILD COMPILER GENERATOR
set -euo pipefail

build=$1 compiler=$2 generator=$3
consumer=$(dirname "$(realpath "$0")")/consumer
folder=$(mktemp -d)
trap '[ -z "${SERVER_PID:-}" ] || kill "$SERVER_PID"; rm -rf "$folder"' EXIT
unset LD_LIBRARY_PATH

fail() {
    echo "failed: $*" >&2
    exit 1
}

# Starts a server, which tells its address in its first line, and asks it for the time:
# talk SERVER OPTION ... -- CLIENT ARGUMENT ...
talk() {
    local server=() line address
    while [ "$1" != -- ]; do server+=("$1") && shift; done
    shift
    coproc SERVER { exec "${server[@]}"; }
    read -r line <&"${SERVER[0]}" || fail "${server[0]} does not start"
    address=${line##* } address=${address#http://}
    echo "${server[0]#"$folder"/} on $address; ${1#"$folder"/}:"
    OSTREL_TV_URL=$address "${@/ADDRESS/$address}" | tee "$folder/time"
    kill "$SERVER_PID"
    wait "$SERVER_PID" || true
    unset SERVER_PID
}

run_programs() { # PREFIX
    talk "$1/bin/ostrel-tvd" --listen 127.0.0.1:0 --fake-time -- "$1/bin/ostrel-tv" time
    grep -q 2011-10-16 "$folder/time" || fail "the day is not 2011-10-16"
}

echo "== Installed"
cmake --install "$build" --prefix "$folder/first" >/dev/null
for program in ostrel-tv ostrel-tvd; do
    [ -s "$folder/first/share/man/man1/$program.1" ] || fail "no manual page of $program"
    [ -s "$folder/first/share/bash-completion/completions/$program" ] || fail "no completion of $program"
done
run_programs "$folder/first"

echo "== Moved"
mv "$folder/first" "$folder/second"
run_programs "$folder/second"

echo "== Built upon"
cmake -S "$consumer" -B "$folder/consumer" -G "$generator" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_PREFIX_PATH="$folder/second" >/dev/null
cmake --build "$folder/consumer"
DUMMYFAKETIME='' talk "$folder/consumer/serve" -- "$folder/consumer/ask" ADDRESS
grep -qE '^13187[0-9]{5}$' "$folder/time" || fail "the time is not one of 2011-10-16"
