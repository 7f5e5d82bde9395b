#!/bin/bash
# The service itself, as it is deployed: rvqd with two simulated sensors, Mosquitto with TLS, users and rights as
# docs/fleet has them, and clients that do not know us: service.sh BIN FOLDER. First JSON, with a loss of the broker;
# then, by a reload, Sparkplug. Skipped, with the reason, where a program is missing.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
bin=$1
export PATH=$PATH:/usr/sbin
folder=$2
. "$here/sparkplug-package" "$folder"
for program in mosquitto mosquitto_sub mosquitto_pub openssl; do
    command -v $program >/dev/null || skip "$program is missing"
done
site=$(mktemp -d)
pids=()
finish() {
    for pid in "${pids[@]}"; do kill "$pid" 2>/dev/null && wait "$pid" || true; done
    rm -rf "$site"
}
trap finish EXIT
fail() {
    echo "$1" >&2
    tail -n 15 "$site"/*.log >&2
    exit 1
}
port=$(node -e 'const s = require("net").createServer().listen(0, "127.0.0.1", () => { console.log(s.address().port); s.close(); })')
await() { # a condition, twenty seconds at most
    for _ in $(seq 200); do
        ! eval "$1" 2>/dev/null || return 0
        sleep 0.1
    done
    fail "in vain: $1"
}
start_broker() {
    "$here/start-broker" mosquitto "$site" "$port" >>"$site/broker.log" 2>&1 &
    pids+=($!)
    broker=$!
    await "(: </dev/tcp/127.0.0.1/$port)"
}
configure() { # $1: the format
    cat >"$site/gateway.ini" <<END
[GATEWAY]
Name=hall-1
Folder=$site/gateway
[BROKER]
Host=localhost
Port=$port
TLS=yes
CA=$site/certs/ca.crt
User=hall-1
PasswordFile=$site/hall-1.password
Format=$1
[SENSOR silo-1]
Port=$site/line/s001
[SENSOR crane]
Port=$site/line/s002
END
}
client() { # $1: pub or sub, $2: the user
    local program=mosquitto_$1 user=$2
    shift 2
    "$program" -h localhost -p "$port" --cafile "$site/certs/ca.crt" -u "$user" -P "secret of $user" -q 1 "$@"
}

start_broker
"$bin/rvqsim" --many 2 --link "$site/line" --values 20 --count >"$site/sensors.log" 2>&1 &
pids+=($!)
await "[ -e $site/line/s002 ]"
mkdir "$site/gateway"
configure json
"$bin/rvqd" --check --config "$site/gateway.ini" || fail "the configuration has problems"
client sub viewer -c -i viewer -t 'orvex/#' -t 'spBv1.0/#' -F '%t %x' >"$site/received" 2>"$site/viewer.log" &
pids+=($!)
"$bin/rvqd" --config "$site/gateway.ini" 2>"$site/gateway.log" &
pids+=($!)
gateway=$!
await "[ \$(grep -c '^orvex/hall-1/crane/value' $site/received) -gt 40 ]"
kill "$broker"
wait "$broker" || true
sleep 2
start_broker
await "grep -q $(printf '"historical":true' | od -An -tx1 | tr -d ' \n') $site/received"
await "[ \$(tail -n 40 $site/received | grep -c ' 7b.*$(printf '"historical"' | od -An -tx1 | tr -d ' \n')') = 0 ]"
! client pub hall-2 -t orvex/hall-1/crane/value -m x 2>/dev/null || fail "a stranger was let in"
configure sparkplug
kill -HUP $gateway
await "[ \$(grep -c 'DDATA/hall-1/crane' $site/received) -gt 20 ]"
node "$here/service.mjs" rebirth >"$site/rebirth"
client pub commander -t spBv1.0/orvex/NCMD/hall-1 -f "$site/rebirth"
await "[ \$(grep -c 'NBIRTH/hall-1' $site/received) = 2 ]"
await "[ \$(tail -n 5 $site/received | grep -c 'DDATA/hall-1/crane') -gt 1 ]"
kill $gateway
wait $gateway || fail "the gateway has failed"
await "grep -q 'NDEATH/hall-1' $site/received"
node "$here/service.mjs" <"$site/received" || fail "what came is not right"
