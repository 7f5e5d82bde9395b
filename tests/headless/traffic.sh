#!/usr/bin/env bash
# traffic.sh RVQCTL RVQSIM: what rvqctl prints of the traffic is played by rvqsim and gives the same lines again, and a
# sensor that measures is left measuring.
set -euo pipefail
rvqctl=$1 rvqsim=$2
folder=$(mktemp -d)
simulator=
trap '[ -z "$simulator" ] || kill "$simulator"; rm -r "$folder"' EXIT

start() { # a simulated sensor, with these options
    "$rvqsim" --link "$folder/line" "$@" > /dev/null 2>> "$folder/news" &
    simulator=$!
    for _ in $(seq 100); do [ -e "$folder/line" ] && return; sleep 0.05; done
    exit 1
}
end() { kill "$simulator"; wait "$simulator" || true; simulator=; }
watch() { "$rvqctl" traffic --port "$folder/line" --folder "$folder" --language en "$@"; }
dialogue() { sed -n 's/^[^#][^ ]* \([<>] .*\)/\1/p' "$1" | head -40; } # up to the dump, without times

start
watch --for 5s > "$folder/first"
end
grep -q '# "C" request: configuration$' "$folder/first"
grep -q '# "Serial-No: .*\\r\\n" configuration$' "$folder/first"
start --replay "$folder/first"
watch --for 5s > "$folder/second"
end
diff <(dialogue "$folder/first") <(dialogue "$folder/second")

start --values 20
exec 3<> "$folder/line"
stty -F "$folder/line" raw -echo
printf M >&3
watch --for 4s > "$folder/third" 2> "$folder/said"
grep -q 'nothing is sent' "$folder/said"
if grep -q '^[^#][^ ]* >' "$folder/third"; then exit 1; fi
[ "$(grep -c ' distance [0-9.]* m$' "$folder/third")" -gt 20 ]
timeout 5 head -c 100 <&3 > /dev/null # it still measures
end

echo hello > "$folder/nonsense"
if "$rvqsim" --replay "$folder/nonsense" 2> "$folder/why"; then exit 1; fi
grep -q 'line 1: does not begin with a time' "$folder/why"
