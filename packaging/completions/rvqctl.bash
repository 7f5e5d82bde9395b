# Completion of rvqctl for bash. Commands, options, ports and names of parameters come from rvqctl itself.

# What can be said after the words so far, one in a line: commands, or the options of $1.
_rvqctl_commands() {
    "$1" --help 2>/dev/null | sed -n '/^Commands:/,/^$/s/^  \([a-z][a-z-]*\) .*/\1/p'
}

_rvqctl_options() {
    "$@" --help 2>/dev/null | sed -nE 's/^  (-.,|   ) (--[a-z-]+).*/\2/p'
}

# The choices of an option such as "--format text|csv|json"; nothing when it takes anything else or no value.
_rvqctl_choices() {
    local option=$1
    shift
    "$@" --help 2>/dev/null | sed -nE "s/^  (-.,|   ) $option ([a-z0-9|]+\|[a-z0-9|]+)( .*|$)/\2/p" | tr '|' '\n'
}

# Whether an option takes a value: it stands behind the option in capitals, or as choices.
_rvqctl_takes_value() {
    local option=$1
    shift
    "$@" --help 2>/dev/null | grep -Eq -- "^  (-.,|   ) $option ([A-Z]|[a-z0-9]+\|)"
}

# Stable names and addresses where rvqctl lists the ports, else what usual devices there are.
_rvqctl_ports() {
    local names device
    names=$("$1" ports --json 2>/dev/null | sed -nE 's/^ *"(stableName|url)": "(.+)",?$/\2/p')
    for device in /dev/serial/by-id/* /dev/ttyUSB* /dev/ttyACM* /dev/ttyS[0-3]; do
        [ -n "$names" ] || [ ! -e "$device" ] || echo "$device"
    done
    printf '%s\n' $names tcp:// rfc2217://
}

_rvqctl_names() {
    "$1" get --list --format csv 2>/dev/null | sed -n '2,$s/^[^,]*,\([^,]*\),.*/\1/p'
}

_rvqctl() {
    local program=${COMP_WORDS[0]} cur prev words cword command= i
    # The colons of addresses are no ends of words here, nor is "=".
    if declare -F _get_comp_words_by_ref >/dev/null; then
        _get_comp_words_by_ref -n := cur prev words cword
    else
        cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]} words=("${COMP_WORDS[@]}") cword=$COMP_CWORD
    fi
    for ((i = 1; i < cword; i++)); do
        case ${words[i]} in
            -p | -b) ((i++)) ;;
            --*=*) ;;
            --*) ! _rvqctl_takes_value "${words[i]}" "$program" || ((i++)) ;;
            -*) ;;
            *) command=${words[i]} && break ;;
        esac
    done
    local -a line=("$program")
    [ -z "$command" ] || line+=("$command")
    COMPREPLY=()
    case $prev in
        -p) prev=--port ;;
        -b) prev=--baud ;;
        -f) prev=--format ;;
        -u) prev=--unit ;;
    esac
    case $prev in
        --port)
            mapfile -t COMPREPLY < <(compgen -W "$(_rvqctl_ports "$program")" -- "$cur")
            [[ ${COMPREPLY[*]} != *:// ]] || compopt -o nospace 2>/dev/null
            ;;
        --folder) compopt -o dirnames 2>/dev/null ;;
        --baud) mapfile -t COMPREPLY < <(compgen -W "1200 2400 4800 9600 19200 38400 57600 115200" -- "$cur") ;;
        --unit) mapfile -t COMPREPLY < <(compgen -W "mm m in ft yd mi nm" -- "$cur") ;;
        --*)
            local choices
            choices=$(_rvqctl_choices "$prev" "${line[@]}")
            if [ -n "$choices" ]; then
                mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$cur")
            elif ! _rvqctl_takes_value "$prev" "${line[@]}"; then
                _rvqctl_words
            fi
            ;;
        *) _rvqctl_words ;;
    esac
    if declare -F __ltrim_colon_completions >/dev/null; then
        __ltrim_colon_completions "$cur"
    fi
}

# A command, an option, or what the command works with. The variables are those of _rvqctl.
_rvqctl_words() {
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_rvqctl_options "${line[@]}")" -- "$cur")
        return
    fi
    case $command in
        "") mapfile -t COMPREPLY < <(compgen -W "$(_rvqctl_commands "$program")" -- "$cur") ;;
        get) mapfile -t COMPREPLY < <(compgen -W "$(_rvqctl_names "$program")" -- "$cur") ;;
        set)
            mapfile -t COMPREPLY < <(compgen -S = -W "$(_rvqctl_names "$program")" -- "$cur")
            compopt -o nospace 2>/dev/null
            ;;
        laser) mapfile -t COMPREPLY < <(compgen -W "on off" -- "$cur") ;;
        *) compopt -o default 2>/dev/null ;;
    esac
}

complete -F _rvqctl rvqctl
