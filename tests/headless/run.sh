#!/bin/sh
# Runs a headless session against the simulated sensor: $1 is orvex_headless, $2 rvqsim.
set -eu
folder=$(mktemp -d)
"$2" --link "$folder/sensor" >/dev/null &
sensor=$!
trap 'kill $sensor; rm -r "$folder"' EXIT
while [ ! -e "$folder/sensor" ]; do
    kill -0 $sensor
    sleep 0.1
done
"$1" "$folder/sensor" "$folder/REC" 20 >"$folder/said"
cat "$folder/said"
# Expects every parameter, twenty distances, and a recording with as many lines as the program reports.
[ "$(grep -cE '^[0-9]{3} -?[0-9]+$' "$folder/said")" -eq 29 ]
[ "$(grep -cE '^[0-9.]+ m$' "$folder/said")" -ge 20 ]
[ "$(grep -c ' mm; ' "$folder/REC/SAVE0001.rec")" -eq "$(tail -1 "$folder/said" | sed 's/.*: //')" ]
