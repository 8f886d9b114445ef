#!/usr/bin/env bash
# What becomes of the packages in /packages, in a clean root that packages.sh has made:
#
#     in-root.sh install | files | use | purge
set -euo pipefail
ours=(libostrel0 libostreltv0 libostrel-dev ostrel-tvd ostrel-tv ostrel-world)

fail() { echo "failed: $*" >&2 && exit 1; }

# All files but those in which apt, dpkg and others keep what happened.
tell_files() {
    find / -xdev \( -path /packages -o -path /test -o -path /container -o -path /proc -o -path /dev -o -path /tmp -o -path /run \
        -o -path /var/cache -o -path /var/log -o -path '/var/lib/apt/*' -o -path '/var/lib/dpkg/*' \
        -o -path /etc/ld.so.cache \) -prune -o -printf '%p %y %m %U %G %l\n' | sort
}

case $1 in
install)
    echo "== Installed"
    # shellcheck disable=SC2086 # names of files
    files=$(printf '/packages/%s_*.deb ' "${ours[@]}")
    # What they need stays when they go.
    for file in $files; do
        dpkg-deb --show --showformat '${Pre-Depends}, ${Depends}\n' "$file"
    done | tr , '\n' | sed 's/^ *//' | grep -v '^\(libostrel.*\)\?$' | sort -u >/test/needed
    apt-get satisfy -y -qq --no-install-recommends "$(paste -sd , /test/needed)" >/dev/null
    tell_files >/test/before
    apt-get install -y -qq --no-install-recommends $files >/dev/null
    ;;
files) # below /
    dpkg --listfiles "${ours[@]}" | while read -r file; do [ ! -f "$file" ] || echo "${file#/}"; done
    ;;
use)
    echo "== By the unit's command line"
    unit=/lib/systemd/system/ostrel-tvd.service
    [ -s ${unit%.service}.socket ] || fail "no socket"
    read -ra command < <(sed -n 's/^ExecStart=//p' $unit)
    coproc SERVER { exec setpriv --reuid=65534 --regid=65534 --clear-groups --no-new-privs "${command[@]}"; }
    server=$SERVER_PID
    trap 'kill $server' EXIT
    read -r line <&"${SERVER[0]}" || fail "it does not start"
    echo "${command[*]}: $line"

    echo "== What the packages hold"
    ostrel-tv services --limit 5 | tee /test/services
    grep -q 'BBC ONE' /test/services || fail "not the services of the built-in world"
    for program in ostrel-tvd ostrel-tv ostrel-world; do
        [ "$(man --where "$program")" = "/usr/share/man/man1/$program.1.gz" ] || fail "no manual page of $program"
        bash -c "source /usr/share/bash-completion/completions/$program && complete -p $program" || fail "no completion of $program"
        [ -s "/usr/share/doc/$program/copyright" ] || fail "no licence of $program"
    done
    for file in ostrel.cdx.json ostrel-tvd-dashboard.json changelog.gz notices/cli11; do
        [ -e "/usr/share/doc/ostrel-tvd/$file" ] || [ -e "/usr/share/doc/ostrel-tvd/$file.gz" ] || fail "no $file"
    done
    exec 3<>/dev/tcp/127.0.0.1/8480
    printf 'GET / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n' >&3
    grep -q '<script type="module"' <&3 || fail "no page"
    exec 3<&-
    ostrel-world synthetic --services 3 -o /test/three.world
    ostrel-world check /test/three.world
    for file in /usr/bin/ostrel-* /usr/lib/*/libostrel*.so.*; do
        ! readelf -d "$file" | grep -E 'RPATH|RUNPATH' || fail "$file looks for libraries elsewhere"
    done

    echo "== Built upon, with CMake and with pkg-config"
    cmake -S /test/consumer -B /test/built -DCMAKE_BUILD_TYPE=Release >/dev/null
    cmake --build /test/built
    # shellcheck disable=SC2046 # each word is an argument
    g++ -std=c++20 /test/consumer/names.cpp -o /test/names $(pkg-config --cflags --libs ostrel-client)
    for program in /test/built/names /test/names; do
        $program | tee /test/answer
        diff <(awk 'NR > 1 && NR < 5' /test/services | sed -E 's/^ *[0-9]+ +//; s/  .*//') /test/answer
    done
    pkg-config --exists ostrel ostreltv || fail "pkg-config lacks a library"
    ;;
purge)
    echo "== Purged"
    apt-get purge -y -qq "${ours[@]}" >/dev/null
    tell_files | diff /test/before - || fail "something is left behind"
    ! dpkg-query -W "*ostrel*" 2>/dev/null || fail "dpkg remembers them"
    [ -z "$(find / -xdev -path '*ostrel*' ! -path '/packages/*' ! -path '/container/*' ! -path '/test/*' ! -path '/proc/*' \
        ! -path '/var/cache/*' -print)" ] || fail "something with their name is left behind"
    ;;
esac
