#!/usr/bin/env bash
# What an administrator sees of the service, in a box that boot.sh has booted.
set -euo pipefail

# Whatever it says at the end is the reason.
trap 'status=$?; [ $status = 0 ] || { systemctl status --no-pager --lines=20 ostrel-tvd.service ostrel-tvd.socket; }' EXIT
fail() { echo "failed: $*" >&2 && exit 1; }
is() { # WHAT EXPECTED GOT
    [ "$2" = "$3" ] || fail "$1 is $3 and not $2"
    echo "$1: $3"
}
shown() { systemctl show --value -p "$1" "${2:-ostrel-tvd.service}"; }
pid() { shown MainPID; }
status_of() { curl -s -o /dev/null -w '%{http_code}' "$@"; }
own() { sed -n "s/^$1:[[:space:]]*//p" "/proc/$(pid)/status"; }
change() { # a drop-in on standard input
    mkdir -p /run/systemd/system/ostrel-tvd.service.d
    cat >"/run/systemd/system/ostrel-tvd.service.d/$1.conf"
    systemctl daemon-reload
}
export OSTREL_TV_URL=127.0.0.1:8480

echo "== It starts when the first client comes"
systemctl start ostrel-tvd.socket
is "The service before" inactive "$(shown ActiveState)"
is "The first answer" ok "$(curl -sS http://$OSTREL_TV_URL/healthz)"
is "The service then" active "$(shown ActiveState)"
is "What it tells" "Serving on 127.0.0.1:8480" "$(shown StatusText)"

echo "== It works in its box"
ostrel-tv services --limit 1
ostrel-tv now 1
ostrel-tv query 'ServiceId == 1043' | wc -l
ostrel-tv clock speed 60
ostrel-tv transponders clear --yes
ostrel-tv scan blind | grep -o 'Scan complete.*'
ostrel-tv reset

echo "== What it has given up"
user=$(own Uid | cut -f1)
((user >= 61184 && user <= 65519)) || fail "its user is $user, who is not made for it alone"
for set in CapEff CapPrm CapBnd CapInh CapAmb; do is "$set" 0000000000000000 "$(own $set)"; done
is NoNewPrivs 1 "$(own NoNewPrivs)"
is "Seccomp, 2 for filters" 2 "$(own Seccomp)"
for kind in net mnt ipc user uts; do
    [ "$(readlink /proc/self/ns/$kind)" != "$(readlink "/proc/$(pid)/ns/$kind")" ] || fail "it shares $kind"
done
grep -qE '^[0-9 :]+/ / ro,' "/proc/$(pid)/mountinfo" || fail "it can write below /"
inside() { nsenter -t "$(pid)" -m -n -i -- "$@"; }
[ -z "$(inside find /home /root /tmp /var/tmp -mindepth 1 -print -quit 2>/dev/null)" ] || fail "it sees what is others'"
! inside curl -s http://$OSTREL_TV_URL/healthz || fail "it reaches the machine's network"

echo "== Reload"
systemctl reload ostrel-tvd.service
for ((i = 0; i < 600; i++)); do [ "$(shown ActiveState)" != active ] || break; sleep 0.1; done
is "After a reload" active "$(shown ActiveState)"
is "What it tells" "Serving on 127.0.0.1:8480" "$(shown StatusText)"
is "Starts so far" 0 "$(shown NRestarts)"

echo "== A restart refuses nobody"
before=$(pid)
systemctl restart ostrel-tvd.service &
restart=$!
for i in {1..50}; do
    # Whom the host that stops has let in before it has heard a request may have to ask again.
    status_of http://$OSTREL_TV_URL/healthz >/tmp/status || [ $? != 7 ] || fail "client $i is refused"
done
wait $restart
is "The next answer" ok "$(curl -sS http://$OSTREL_TV_URL/healthz)"
[ "$before" != "$(pid)" ] || fail "it was not started again"

echo "== A token that only root can read"
install -d -m 700 /etc/ostrel-tvd
(umask 077 && head -c 33 /dev/urandom | basenc --base64url -w 0 >/etc/ostrel-tvd/token)
change token <<'UNIT'
[Service]
LoadCredential=token:/etc/ostrel-tvd/token
ExecStart=
ExecStart=/usr/local/bin/ostrel-tvd --today --token-file ${CREDENTIALS_DIRECTORY}/token
UNIT
systemctl restart ostrel-tvd.service
is "Without it" 401 "$(status_of http://$OSTREL_TV_URL/openrpc.json)"
is "With it" 200 "$(status_of -H "Authorization: Bearer $(cat /etc/ostrel-tvd/token)" http://$OSTREL_TV_URL/openrpc.json)"
rm /run/systemd/system/ostrel-tvd.service.d/token.conf

echo "== Who hangs is started again"
change watchdog <<'UNIT'
[Service]
WatchdogSec=4
UNIT
systemctl restart ostrel-tvd.service
before=$(pid)
for i in {1..3}; do # it tells that it lives, and is not taken for hung
    told=$(shown WatchdogTimestampMonotonic)
    for ((j = 0; j < 600; j++)); do [ "$told" = "$(shown WatchdogTimestampMonotonic)" ] || break; sleep 0.1; done
    [ "$told" != "$(shown WatchdogTimestampMonotonic)" ] || fail "it does not tell that it lives"
done
is "Its process" "$before" "$(pid)"
kill -STOP "$before"
for ((i = 0; i < 600; i++)); do [ "$(shown NRestarts)" = 0 ] || break; sleep 0.1; done
is "Starts after that" 1 "$(shown NRestarts)"
is "The next answer" ok "$(curl -sS http://$OSTREL_TV_URL/healthz)"

echo "== Stop"
systemctl stop ostrel-tvd.service
is "The result" success "$(shown Result)"
is "The socket" active "$(shown ActiveState ostrel-tvd.socket)"
is "The next answer" ok "$(curl -sS http://$OSTREL_TV_URL/healthz)"
systemctl stop ostrel-tvd.socket ostrel-tvd.service
! curl -s http://$OSTREL_TV_URL/healthz || fail "somebody still answers"
