#!/usr/bin/env bash
# Checks that the manual page names every command and option of rvqctl, and that the completion of bash offers them. $1
# is rvqctl, $2 the manual page, $3 the completion.
set -euo pipefail
rvqctl=$(realpath "$1")
page=$(sed 's/\\f.//g; s/\\-/-/g; s/^\.[A-Z]* //; s/"//g' "$2")
failed=0
fault() {
    echo "FAILED: $*"
    failed=1
}

commands=$("$rvqctl" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ "$(wc -w <<<"$commands")" -gt 10 ] || fault "no commands in the help"
for command in "" $commands; do
    # shellcheck disable=SC2086 # no command is no word
    help=$("$rvqctl" $command --help)
    [ -z "$command" ] || grep -Eq "^$command( |\$)" <<<"$page" || fault "the manual page lacks $command"
    for option in $(grep -Eo '^  (-.,|   ) --[a-z-]+' <<<"$help" | grep -Eo -- '--.*'); do
        # With another letter behind it, it is another option.
        grep -Eq -- "$option([^a-z-]|\$)" <<<"$page" || fault "the manual page lacks $option of \"$command\""
    done
    # The longest line that a terminal shows whole.
    ! grep -E '.{121}' <<<"$help" || fault "the help of \"$command\" is too wide"
done

# What the completion offers behind these words, in one line.
completed() {
    bash -c '. "$1"; shift; PATH=$(dirname "$1"):$PATH
        COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); COMPREPLY=(); _rvqctl 2>/dev/null; echo "${COMPREPLY[*]}"' \
        bash "$completion" "$rvqctl" "$@"
}
completion=$(realpath "$3")
expect() {
    local expected=$1 offered
    shift
    offered=$(completed "$@")
    [ "$offered" = "$expected" ] || fault "completion of \"$*\": \"$offered\", not \"$expected\""
}
expect "$(echo $commands)" ""
expect "--format" get --form
expect "text csv json" get --format ""
expect "--store" -p x --language de set --st
expect "de en" --language ""
expect "Offset" get Off
expect "S1OnThreshold= S1OffThreshold=" set S1O
expect "on off" -b 9600 laser ""
expect "9600" --baud 96
# A line over the network that has a number: the settings are beside the program.
folder=$(mktemp -d)
trap 'rm -r "$folder"' EXIT
cp "$rvqctl" "$folder/rvqctl"
rvqctl=$folder/rvqctl
printf '[PORTS]\nCOM2=tcp://crane:4001\n' >"$folder/RVQ.ini"
expect "tcp://crane:4001" -p tcp://cr
exit $failed
