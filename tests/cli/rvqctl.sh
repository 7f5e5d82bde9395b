#!/usr/bin/env bash
# Runs the commands of rvqctl against the simulated sensor, over a terminal, a raw line and RFC 2217 at the same time,
# and against sensors with faults; checks what they print and the code they end with. $1 is rvqctl, $2 rvqsim, $3
# ser2net; without the last one the lines over the network are left out, and if nothing else fails the code is 77.
set -euo pipefail

rvqctl=$(realpath "$1")
rvqsim=$(realpath "$2")
ser2net=${3:-}
export LC_ALL=C.UTF-8
unset NO_COLOR LC_MESSAGES LANG
esc=$'\033'
folder=$(mktemp -d)

# --- what the parts below share; each part is a process of its own with a folder of its own -------------------------

processes=()
end_processes() {
    for process in "${processes[@]}"; do
        kill "$process" 2>/dev/null || true
        wait "$process" 2>/dev/null || true
    done
    processes=()
}

fail() {
    echo "FAILED: $*"
    for file in out err; do
        [ ! -s "$work/$file" ] || sed "s/^/  $file: /" "$work/$file" | head -20
    done
    exit 1
}

# Waits for a condition, 20 s at most.
await() {
    local try
    for try in $(seq 200); do
        ! "$@" || return 0
        sleep 0.1
    done
    fail "waited for: $*"
}

# $1 is its link, the rest are options. Its process is $sensor.
start_sensor() {
    local link=$1
    shift
    "$rvqsim" --link "$link" "$@" >/dev/null &
    sensor=$!
    processes+=("$sensor")
    await test -e "$link"
}

# A port on which the process listens; nothing while it does not.
listens() {
    local inode
    inode=$(awk -v port=":$(printf %04X "$2")" '$2 ~ port"$" && $4 == "0A" { print $10 }' /proc/net/tcp)
    [ -n "$inode" ] && find "/proc/$1/fd" -lname "socket:\[$inode\]" 2>/dev/null | grep -q .
}

# $1 is the accepter of ser2net, $2 the device behind it. The port is $tcp; one that is taken is left to its owner.
serve() {
    local try server wait
    for try in $(seq 20); do
        tcp=$((20000 + RANDOM % 30000))
        cat >"$work/ser2net.yaml" <<END
%YAML 1.1
---
connection: &line
  accepter: $1tcp,127.0.0.1,$tcp
  connector: serialdev,$2,9600n81,local
END
        "$ser2net" -n -d -c "$work/ser2net.yaml" >>"$work/server" 2>&1 &
        server=$!
        for wait in $(seq 50); do
            if listens "$server" "$tcp"; then
                processes+=("$server")
                return
            fi
            kill -0 "$server" 2>/dev/null || break
            sleep 0.1
        done
        kill "$server" 2>/dev/null || true
        wait "$server" 2>/dev/null || true
    done
    fail "ser2net does not listen"
}

# Runs rvqctl with the port of the part and expects this code.
run() {
    local expected=$1 code=0
    shift
    timeout -k 5 60 "$rvqctl" --folder "$work/folder" --port "$port" "$@" >"$work/out" 2>"$work/err" </dev/null ||
        code=$?
    [ "$code" -eq "$expected" ] || fail "rvqctl $*: ended with $code, not $expected"
    last="rvqctl $*"
}
prints() { grep -Eq -- "$1" "$work/out" || fail "$last: does not print \"$1\""; }
says() { grep -Eq -- "$1" "$work/err" || fail "$last: does not say \"$1\""; }
is_silent() { [ ! -s "$work/err" ] || fail "$last: says something"; }
prints_lines() { [ "$(wc -l <"$work/out")" -eq "$1" ] || fail "$last: not $1 lines"; }
# What the sensor has, by rvqctl.
has() {
    run 0 get --bare "$1"
    [ "$(cat "$work/out")" = "$2" ] || fail "$1 is not $2 in the sensor"
}

# --- the parts -----------------------------------------------------------------------------------------------------

check_reading() {
    run 0 info --json
    prints '"serial":"004711".*"baud":9600.*"measuring":false'
    is_silent
    run 0 get
    prints_lines 28
    prints '^701  Offset +0 mm$'
    run 0 get 701 "air temperature" --format csv
    [ "$(cat "$work/out")" = "code,key,name,value,unit
701,Offset,Offset,0,mm
801,Temperature,Air Temperature,20.0,°C" ] || fail "$last"
    run 0 get --json 306 111
    prints '"key":"BoundChecking".*"value":true.*"value":"Meter"'
    run 1 get 610
    says 'Profibus Address \(610\): this sensor does not have'
}

check_writing() {
    run 1 restore
    says 'no backup of SN 004711'
    run 0 set Offset=12 "Lufttemperatur=21,5 °C"
    says '^2 values sent and verified'
    run 0 get --bare 701 801
    [ "$(cat "$work/out")" = $'12\n21.5' ] || fail "$last"
    run 0 backup "$work/one.rvq"
    run 1 backup "$work/one.rvq"
    says 'exists already'
    run 4 diff --backup
    prints '^Offset +701 +mm +12 +0 +0$'
    says '^2 of 28 differ'
    run 4 diff --factory --format csv
    prints '^701,Offset,Offset,mm,12,0,0'
    run 0 restore --dry-run
    prints '^Offset \(701\): 12 → 0 mm$'
    prints_lines 2
    run 0 restore --store
    says 'Storing acknowledged'
    ! grep -q 'Not stored' "$work/err" || fail "$last: says what is no more so"
    has Offset 0
    run 4 diff "$work/one.rvq" --json
    prints '"code":"701".*"sensor":0,"other":12'
    run 0 apply "$work/one.rvq"
    run 0 diff "$work/one.rvq"
    prints_lines 0
    run 0 apply "$work/one.rvq"
    says 'has these values already'
    run 0 passport -n 1 --json
    prints '"event":"send".*"port":".*"code":"701","old":"0","new":"12","readBack":"12"'
    run 0 passport --serial 004711
    prints 'Stored in the sensor, verified'
}

check_refusals() {
    run 4 set 701=99999 801=21.55 111=furlong
    says 'possible: -32768 to 32767 mm'
    says 'Air Temperature \(801\): 21.55 does not fit; the step is 0.1 °C'
    says 'possible: Millimeter, Meter'
    run 4 set 701=1 501=9905
    says 'would be less than 10 mm apart'
    says 'Nothing sent'
    has 701 12
    run 1 apply "$rvqctl"
    says 'is no configuration'
}

check_measuring() {
    run 0 measure -n 5 --format csv
    prints_lines 6
    run 0 single
    prints '^ *[0-9.]+ m$'
    run 0 temperature
    prints '[0-9]'
    run 0 laser on
    run 0 info
    prints 'Laser Marker +On'
    run 0 laser off
    run 0 record --for 1s "$work/record.rec"
    run 1 record --for 1s "$work/missing/record"
    [ ! -e "$work/missing" ] || fail "$last: makes a folder"
    run 0 play "$work/record.rec" --format json
    prints '^\{'
    # Nobody reads on: the program ends by itself and well.
    (timeout -k 5 60 "$rvqctl" --folder "$work/folder" --port "$port" measure; echo $? >"$work/code") |
        head -n 2 >"$work/out"
    last="measure | head" && prints_lines 2
    [ "$(cat "$work/code")" -eq 0 ] || fail "measure | head: ended with $(cat "$work/code")"
    # A command that acts does so for nobody, too, and its failure stays one.
    without_reader 0 set Offset=7
    has 701 7
    without_reader 0 backup "$work/unread.rvq"
    [ -s "$work/unread.rvq" ] || fail "$last: no file"
    without_reader 1 backup /nowhere/unread.rvq
    without_reader 0 info
    run 0 watch --for 2s
    prints '[0-9] m'
    ! grep -q $'\033' "$work/out" || fail "$last: moves the cursor without a terminal"
}

# Expects this code of rvqctl when the reader of its output has gone before it begins.
without_reader() {
    local expected=$1 code
    shift
    (
        sleep 0.3
        code=0
        timeout -k 5 60 "$rvqctl" --folder "$work/folder" --port "$port" "$@" 2>"$work/err" || code=$?
        echo "$code" >"$work/code"
    ) | true
    code=$(cat "$work/code")
    last="rvqctl $* | true"
    [ "$code" -eq "$expected" ] || fail "$last: ended with $code, not $expected"
}

check_finding() {
    run 0 ports --json
    prints '^\['
    run 0 --language de ports
    ! grep -q '^PORT ' "$work/out" || fail "$last: is not German"
    run 0 find --json
    prints "\"port\":\"$port\".*\"baud\":$rate,\"serial\":\"004711\""
    run 0 traffic --for 4s --format json
    prints '"direction":">","hex":"43".*'
    prints '"text":"Serial-No: '
    ! grep -v '^{.*}$' "$work/out" || fail "$last: a line is no object"
}

# A device without a number beside the number that such a device gets when it is alone.
check_several_ports() {
    start_sensor "$work/second"
    mkdir -p "$work/folder"
    printf '[PORTS]\nCOM255=%s\n' "$work/second" >"$work/folder/RVQ.ini"
    run 0 find --port 0255 --port "$(readlink -f "$work/second")" --json
    prints "\"port\":\"$port\",\"name\":\"$port\""
    prints "\"port\":\"$work/second\",\"name\":\"COM 255 "
}

# Another program has the line of the server: each command says so, once.
check_second_program() {
    "$rvqctl" --folder "$work/folder" --port "$port" traffic --listen >/dev/null 2>&1 &
    processes+=("$!")
    sleep 2
    run 3 find
    says 'closed the connection at once and says: '
    says 'no port could be opened'
    run 3 traffic --for 5s
    [ "$(wc -l <"$work/err")" -eq 2 ] || fail "$last: goes on about it"
}

# What comes from the terminal of the sensor within a second: nothing unless it measures.
heard() { timeout 1 cat "$work/sensor" || true; }
measures() { [ -n "$(heard)" ]; }

# The first one ends while the sensor still answers it; the rest is no measurement of which the second one hears.
check_rest_of_answer() {
    timeout --preserve-status -s INT -k 20 1.1 env --default-signal=INT \
        "$rvqctl" --folder "$work/folder" --port "$port" get >"$work/out" 2>"$work/err" || true
    last="get, interrupted"
    says 'ancelled'
    run 0 info --json
    prints '"measuring":false'
    ! measures || fail "$last: sets an idle sensor measuring"
}

check_left_as_found() {
    ! measures || fail "the sensor measures, which it did not before"
    printf M >"$work/sensor"
    await measures
    run 0 info --json
    prints '"measuring":true'
    measures || fail "the sensor was measuring and does no more"
    interrupt_measuring
    measures || fail "SIGINT: the sensor was measuring and does no more"
    printf S >"$work/sensor"
    heard >/dev/null # what was sent before
    interrupt_measuring
    ! measures || fail "SIGINT: the sensor goes on measuring"
}

# Ctrl+C before the first byte: it says so.
check_early_end() {
    local code=0
    timeout --preserve-status -s INT -k 20 0.5 env --default-signal=INT \
        "$rvqctl" --folder "$work/folder" --port "$port" set 701=3 >"$work/out" 2>"$work/err" || code=$?
    last="set, interrupted at once"
    [ "$code" -eq 1 ] || fail "$last: ended with $code"
    says 'nothing was sent'
    has 701 0
}

# $1 is a setting for the environment. What a terminal gets goes to "out".
watch_on_terminal() {
    env "$1" TERM=xterm script -qec "'$rvqctl' --folder '$work/folder' --port '$port' watch --for 2s" /dev/null \
        </dev/null >"$work/out" 2>&1 || fail "watch on a terminal"
    last="watch on a terminal, $1"
    prints $'\033'
}

check_colours() {
    local colour=$'\033\\[[0-9;]*[1-9][0-9;]*m'
    watch_on_terminal NO_COLOR=
    prints "$colour"
    watch_on_terminal NO_COLOR=1
    ! grep -Eq "$colour" "$work/out" || fail "$last: colours"
}

# Ctrl+\ ends it at once, but gives the terminal back.
check_sudden_end() {
    (ulimit -c 0 && TERM=xterm script -qec "timeout --foreground -s QUIT 4 env --default-signal=QUIT '$rvqctl' \
        --folder '$work/folder' --port '$port' watch" /dev/null </dev/null >"$work/out" 2>&1) || true
    last="watch, SIGQUIT"
    prints $'\033\\[\\?1049h'
    prints $'\033\\[\\?1049l'
}

interrupt_measuring() {
    local code=0
    timeout --preserve-status -s INT -k 20 4 env --default-signal=INT \
        "$rvqctl" --folder "$work/folder" --port "$port" measure >"$work/out" 2>"$work/err" || code=$?
    last="measure, interrupted"
    [ "$code" -eq 0 ] || fail "$last: ended with $code"
    prints '[0-9] m$'
}

# $1 is the line, the rest are the checks, over a line and a sensor of their own.
on_line() {
    local line=$1 check rate=9600
    shift
    start_sensor "$work/sensor"
    case $line in
        terminal) port=$work/sensor ;;
        raw) serve "" "$work/sensor" && port=tcp://127.0.0.1:$tcp rate=null ;; # the server has the rate
        rfc2217) serve "telnet(rfc2217)," "$work/sensor" && port=rfc2217://127.0.0.1:$tcp ;;
    esac
    for check in "$@"; do
        "$check"
    done
}

without_sensor() {
    port=$work/nothing
    run 3 info
    says 'nothing'
    run 3 get
    run 3 set 701=1
    run 3 measure -n 1
    port=tcp://127.0.0.1:1
    run 3 diff --factory
    run 2 get --folder
    run 2 nonsense
    run 2 get nonsense
    run 2 set Offset
    run 2 set 701=1 Offset=2
    run 2 diff
    run 2 apply
    run 2 get --format xml
    run 2 --port tcp://nonsense info
    run 2 set 701=1 --on-failure perhaps
    is_said=$(wc -c <"$work/out")
    [ "$is_said" -eq 0 ] || fail "$last: a fault on standard output"
    run 1 passport --serial 4711
    run 0 get --list
    prints '^701 +Offset +Offset +-32768 to 32767 mm$'
    run 0 get --list 111 --language de
    prints '^111 +DistanceUnit +Maßeinheit'
    env LC_ALL=de_DE.UTF-8 "$rvqctl" --folder "$work/folder" set 701=40000 2>"$work/err" || true
    last="set in German"
    says 'nicht zulässig; möglich: -32768 bis 32767 mm'
    # A line that is dead: somebody listens, but no sensor is there.
    start_sensor "$work/dead" --fault silence=1
    port=$work/dead
    run 3 info
    says 'no sensor answers at 9600 bit/s'
    run 3 find --port /dev/null
    says '/dev/null is not a serial port'
    # Settings that name no port: none is opened that nobody has named.
    local settings=$work/folder/RVQ.ini kind code
    mkdir -p "$work/folder"
    printf '[PORTS]\nCOM1=%s\n' "$work/nothing" >"$settings"
    ! "$rvqctl" --folder "$work/folder" info >"$work/out" 2>"$work/err" || fail "info without a device"
    last=info && says 'rvqctl find'
    rm "$settings"
    for kind in folder noise number; do
        case $kind in
            folder) mkdir -p "$settings" ;;
            noise) (printf '[GENERAL]\nComport=1\n' && head -c 10000 /dev/urandom) >"$settings" ;;
            number) printf '[GENERAL]\nComport=99999999999\n' >"$settings" ;;
        esac
        for last in info traffic; do
            code=0
            "$rvqctl" --folder "$work/folder" "$last" >"$work/out" 2>"$work/err" </dev/null || code=$?
            [ "$code" -eq 2 ] || fail "$last with $kind: ended with $code"
            says '--port$'
        done
        run 3 info
        if [ $kind != number ]; then
            port=1
            run 2 info
            says 'name the device itself'
            run 2 find
            port=$work/dead
            run 0 ports
            says 'RVQ.ini cannot be read'
        fi
        rm -r "$settings"
    done
}

with_faults() {
    start_sensor "$work/refusing" --fault refuse=701 --fault ignore=802 --fault round=401
    port=$work/refusing
    run 4 set 701=5 801=25 --store
    says 'Offset \(701\) = 5 mm'
    says 'Nothing stored in the sensor'
    run 4 set 701=5 801=26 --on-failure ignore
    run 0 get --bare 701 801
    [ "$(cat "$work/out")" = $'0\n26.0' ] || fail "$last"
    run 4 set 802=1000
    says 'Air Pressure \(802\)'
    run 4 set 401=1234
    says '1230'
    # Where nothing can be backed up, nothing is written unasked.
    rm -rf "$work/folder/BACKUP"
    touch "$work/folder/BACKUP"
    run 1 set 801=27
    says 'could not be backed up'
    has 801 26.0
    run 0 set 801=27 --without-backup
    has 801 27.0
}

# Its configuration never comes whole; the sensor measures on all the same.
without_dump() {
    start_sensor "$work/sensor" --fault cutdump=1
    port=$work/sensor
    printf M >"$work/sensor"
    await measures
    run 3 info
    says 'the sensor is measuring, but'
    measures || fail "$last: the sensor was measuring and does no more"
}

with_false_dumps() {
    start_sensor "$work/false" --fault falsedump=0.3 --seed 7
    port=$work/false
    local try
    for try in 1 2 3; do
        run 0 backup --force "$work/$try.rvq"
        ! diff "$work/1.rvq" "$work/$try.rvq" | grep '^[<>]' | grep -v Description || fail "a false digit was kept"
    done
    run 0 set 701="$try"
    has 701 "$try"
}

# Whatever a sensor, the settings or an operand says, no control character but the end of a line reaches the terminal.
hostile() {
    start_sensor "$work/sensor"
    port=$work/sensor
    run 0 traffic --for 4s
    cp "$work/out" "$work/traffic"
    kill "$sensor" && wait "$sensor" || true
    rm -f "$work/sensor"
    # ESC ] BEL and, as one byte, CSI, in the serial number and in what the laser is said to be.
    sed -E 's/30 30 34 37 31 31/1B 5D 07 9B 34 31/; s/6F 66 66 0D 0A/6F 1B 5B 33 31 6D 0D 0A/g' \
        "$work/traffic" >"$work/hostile"
    start_sensor "$work/sensor" --replay "$work/hostile"
    mkdir -p "$work/folder"
    printf '[PORTS]\nCOM7=tcp://\033]0;x\007h:1\nCOM8=/dev/\033[31mx\n' >"$work/folder/RVQ.ini"
    local words
    for words in info get "diff --factory" find "laser on" temperature "watch --for 1s" single passport backup \
        "passport --serial 4$esc[31m7" "get 7$esc[31m" "set 701=$esc[31m" ports "nonsense$esc[31m" "play $esc[31m" \
        "--port $esc[31m info" "--port 8 info" "--port 7 find"; do
        # shellcheck disable=SC2086 # several words
        timeout -k 5 60 "$rvqctl" --folder "$work/folder" --port "$port" $words >"$work/out" 2>"$work/err" </dev/null ||
            true
        last="rvqctl $words"
        ! LC_ALL=C grep -aP '[\x00-\x09\x0B-\x1F\x7F]|\xC2[\x80-\x9F]' "$work/out" "$work/err" >/dev/null ||
            fail "$last: prints a control character"
        case $words in
            info | find | ports) grep -q '?' "$work/out" "$work/err" || fail "$last: is not hostile" ;;
        esac
    done
    run 2 --port "$port" info # two of them
    says 'one --port'
}

# Another device, which sends text or something for once: no byte goes to it.
foreign() {
    local link=$work/line
    printf '%s\n' '# Orvex traffic 1' '2026-11-20T10:00:00.000+00:00 < 68 65 6C 6C 6F 0D 0A' \
        '2026-11-20T10:00:00.500+00:00 < 77 6F 72 6C 64 0D 0A' '2026-11-20T10:00:03.000+00:00 < 21 0D 0A' >"$work/foreign"
    start_sensor "$link" --replay "$work/foreign"
    port=$link
    run 0 traffic --for 4s
    says 'only listens'
    ! grep -q ' > ' "$work/out" || fail "$last: has sent something"
}

has_backup() { find "$work/folder/BACKUP" -name '*.rvq' 2>/dev/null | grep -q .; }

# Ctrl+C in the middle of a write: it ends after the value under way, and the report says what is in the sensor.
interrupted() {
    start_sensor "$work/slow"
    port=$work/slow
    run 0 backup "$work/whole.rvq"
    sed -i 's/^Offset=.*/Offset=3/; s/^Temperature=.*/Temperature=300/; s/^AirPressure=.*/AirPressure=900/
        s/^AnalogMin=.*/AnalogMin=2000/; s/^S1OnThreshold=.*/S1OnThreshold=20000/; s/^TimeOut=.*/TimeOut=2/' \
        "$work/whole.rvq"
    kill "$sensor" && wait "$sensor" || true
    rm -f "$work/slow"
    start_sensor "$work/slow" --fault slow=1
    timeout -k 5 60 env --default-signal=INT "$rvqctl" --folder "$work/folder" --port "$port" \
        apply "$work/whole.rvq" >"$work/out" 2>"$work/err" &
    local program=$! code=0
    await has_backup # the last thing before the first value
    sleep 1
    kill -INT "$program"
    wait "$program" || code=$?
    last="apply, interrupted"
    [ "$code" -eq 1 ] || fail "$last: ended with $code"
    says 'ancelled'
    says 'of 6'
}

# --- all at the same time ------------------------------------------------------------------------------------------

parts=(without_sensor with_faults with_false_dumps interrupted hostile foreign without_dump "on_line terminal check_sudden_end" "on_line terminal check_early_end check_rest_of_answer check_several_ports")
lines=(terminal raw rfc2217)
[ -x "$ser2net" ] || lines=(terminal)
for line in "${lines[@]}"; do
    parts+=("on_line $line check_writing check_refusals" "on_line $line check_reading check_measuring"
        "on_line $line check_colours check_finding check_left_as_found")
done
[ ! -x "$ser2net" ] || parts+=("on_line raw check_second_program")
declare -A running
finish() {
    [ ${#running[@]} -eq 0 ] || kill "${running[@]}" 2>/dev/null || true
    wait || true
    rm -rf "$folder"
}
trap finish EXIT
for part in "${parts[@]}"; do
    mkdir "$folder/$part"
    (
        work=$folder/$part
        trap end_processes EXIT
        trap 'exit 1' TERM
        SECONDS=0
        $part
        echo "$SECONDS s"
    ) >"$folder/$part.said" 2>&1 &
    running[$part]=$!
done
failed=0
for part in "${parts[@]}"; do
    if wait "${running[$part]}"; then
        echo "$part: good, $(cat "$folder/$part.said")"
    else
        echo "$part:"
        cat "$folder/$part.said"
        failed=1
    fi
done
running=()
if [ "$failed" -eq 0 ] && [ ${#lines[@]} -eq 1 ]; then
    echo "ser2net is not installed: no lines over the network"
    exit 77
fi
exit $failed
