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
    OSTREL_TV_URL=$address "${@/ADDRESS/$address}" | tee "$folder/answer"
    stop_server
}

run_programs() { # PREFIX
    talk "$1/bin/ostrel-tvd" --listen 127.0.0.1:0 --fake-time -- "$1/bin/ostrel-tv" time
    grep -q 2011-10-16 "$folder/answer" || fail "the day is not 2011-10-16"
    grep -q '^OSTREL_PAGE:BOOL=ON$' "$build/CMakeCache.txt" || return 0
    talk "$1/bin/ostrel-tvd" --listen 127.0.0.1:0 -- curl -fsS http://ADDRESS/
    grep -q '<script type="module"' "$folder/answer" || fail "the page is not there"
}

echo "== Installed"
cmake --install "$build" --prefix "$folder/first" >/dev/null
for program in ostrel-tv ostrel-tvd ostrel-world; do
    [ -s "$folder/first/share/man/man1/$program.1" ] || fail "no manual page of $program"
    [ -s "$folder/first/share/bash-completion/completions/$program" ] || fail "no completion of $program"
done
[ ! -e "$build/packaging/ostrel.cdx.json" ] || [ -s "$folder/first/share/doc/ostrel/ostrel.cdx.json" ] ||
    fail "no list of parts"
jq -e .panels "$folder/first/share/doc/ostrel/ostrel-tvd-dashboard.json" >/dev/null || fail "no dashboard"
unmarked=$(find "$folder/first/include" -name '*.h' -exec grep -L '^// SPDX-License-Identifier: Apache-2.0$' {} +)
[ -z "$unmarked" ] || fail "no licence in $unmarked"
run_programs "$folder/first"

echo "== Moved"
mv "$folder/first" "$folder/second"
run_programs "$folder/second"

echo "== Built upon"
cmake -S "$consumer" -B "$folder/consumer" -G "$generator" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$folder/second" >/dev/null
cmake --build "$folder/consumer"
DUMMYFAKETIME='' talk "$folder/consumer/serve" -- "$folder/consumer/ask" ADDRESS
grep -qE '^13187[0-9]{5}$' "$folder/answer" || fail "the time is not one of 2011-10-16"

echo "== As docs/cpp.md says"
docs=$(dirname "$consumer")/../../docs/cpp.md
block() { awk -v kind="$1" -v n="$2" '/^```/ { inside = $0 == "```" kind && ++count == n; next } inside' "$docs"; }
# Enter is pressed at once.
typed() { talk "$folder/second/bin/ostrel-tvd" --listen 127.0.0.1:0 --fake-time -- "$@" </dev/null; }

mkdir "$folder/typed"
block cmake 1 >"$folder/typed/CMakeLists.txt"
# Their address is the page's; here the system chooses the port.
address='std::getenv("OSTREL_TV_URL")'
block cpp 1 | sed "s/\"127.0.0.1:8480\"/$address/" >"$folder/typed/channels.cpp"
block cpp 2 | sed "s/\"127.0.0.1:8480\"/$address/" >"$folder/typed/scan.cpp"
block cpp 3 | sed "s/\"127.0.0.1:8480\"/$address/" >"$folder/typed/junction.cpp"
cmake -S "$folder/typed" -B "$folder/typed/build" -G "$generator" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$folder/second" >/dev/null
cmake --build "$folder/typed/build"
export TZ=Europe/London
typed "$folder/typed/build/channels"
block text 1 | diff -u - "$folder/answer" || fail "the page shows something else"
typed "$folder/typed/build/scan"
grep -q '^ITVConfig::onScanStart {"sourceId":0}$' "$folder/answer" || fail "no start of a scan came"
grep -q '^ITVConfig::onScanComplete {"sourceId":0}$' "$folder/answer" || fail "no end of a scan came"

echo "== With pkg-config"
PKG_CONFIG_PATH=$(dirname "$(find "$folder/second" -name ostrel-client.pc)")
export PKG_CONFIG_PATH
compile() { # PACKAGE SOURCE OPTION ...
    local package=$1 source=$2
    shift 2
    # shellcheck disable=SC2046 # each word is an argument
    "$compiler" -std=c++20 "$@" "$source" $(pkg-config --cflags --libs "$package") \
        "-Wl,-rpath,$(pkg-config --variable=libdir "$package")"
}
compile ostrel-client "$folder/typed/channels.cpp" -o "$folder/channels"
typed "$folder/channels"
compile ostrel-client "$folder/typed/junction.cpp" -o "$folder/junction"
compile ostreltv "$consumer/serve.cpp" -o "$folder/serve"
DUMMYFAKETIME='' talk "$folder/serve" -- "$folder/consumer/ask" ADDRESS

echo "== Headers"
compile ostrel-client "$folder/typed/channels.cpp" -M -MF "$folder/included"
! grep -i boost "$folder/included" || fail "the client's headers include Boost"
