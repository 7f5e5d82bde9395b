#!/bin/sh
# Runs a headless session over a device server, raw and with RFC 2217, that is killed in the middle and comes back: $1 is
# orvex_headless, $2 rvqsim, $3 ser2net.
set -eu
[ -x "$3" ] || exit 77 # the package ser2net is not installed
folder=$(mktemp -d)
"$2" --link "$folder/sensor" --values 60 --count >/dev/null &
sensor=$!
server=
program=
ser2net=$3
trap 'kill $sensor $server $program; rm -r "$folder"' EXIT
while [ ! -e "$folder/sensor" ]; do
    kill -0 $sensor
    sleep 0.1
done

port=$((20000 + $$ % 12000))
serve() {
    cat >"$folder/ser2net.yaml" <<END
%YAML 1.1
---
connection: &line
  accepter: $1tcp,127.0.0.1,$port
  connector: serialdev,$folder/sensor,9600n81,local
END
    "$ser2net" -n -d -c "$folder/ser2net.yaml" >>"$folder/server" 2>&1 &
    server=$!
}

for line in tcp: rfc2217:'telnet(rfc2217),'; do
    scheme=${line%%:*}
    echo "$scheme"
    serve "${line#*:}"
    : >"$folder/said" # it is read before the program has opened it
    "$1" "$scheme://127.0.0.1:$port" "$folder/$scheme" 120 >"$folder/said" &
    program=$!
    # Once values have come, the server goes without a word and stays away for a while.
    for i in $(seq 300); do
        [ "$(grep -cE '^[0-9.]+ m$' "$folder/said")" -lt 30 ] || break
        sleep 0.1
    done
    kill -9 $server
    wait $server || true
    sleep 2
    before=$(grep -cE '^[0-9.]+ m$' "$folder/said")
    [ "$before" -lt 120 ]
    serve "${line#*:}"
    wait $program # ends well only when all values have come
    program=
    cat "$folder/server"
    [ "$(grep -cE '^[0-9]{3} -?[0-9]+$' "$folder/said")" -ge 29 ]
    [ "$(grep -c ' mm; ' "$folder/$scheme/SAVE0001.rec")" -eq "$(tail -1 "$folder/said" | sed 's/.*: //')" ]
    kill $server
    wait $server || true
done
server=
ser2net=$3
