#compdef rvqctl
# Completion of rvqctl for zsh. Commands, options and names of parameters come from rvqctl itself.

_rvqctl() {
    local program=$words[1] command i option
    local -a line found
    for ((i = 2; i < CURRENT; i++)); do
        case $words[i] in
            -p|-b) ((i++)) ;;
            --*=*) ;;
            --*) $program --help 2>/dev/null | grep -Eq -- "^  (-.,|   ) $words[i] ([A-Z]|[a-z0-9]+\|)" && ((i++)) ;;
            -*) ;;
            *) command=$words[i]; break ;;
        esac
    done
    line=($program $command)
    option=$words[CURRENT-1]
    case $option in
        -p) option=--port ;;
        -b) option=--baud ;;
        -f) option=--format ;;
        -u) option=--unit ;;
    esac
    case $option in
        --port)
            found=(/dev/serial/by-id/*(N) /dev/ttyUSB*(N) /dev/ttyACM*(N) /dev/ttyS[0-3](N) tcp:// rfc2217://)
            compadd -a found
            return ;;
        --folder) _files -/; return ;;
        --baud) compadd 1200 2400 4800 9600 19200 38400 57600 115200; return ;;
        --unit) compadd mm m in ft yd mi nm; return ;;
        --*)
            found=(${(s:|:)$($line --help 2>/dev/null |
                sed -nE "s/^  (-.,|   ) $option ([a-z0-9|]+\|[a-z0-9|]+)( .*|$)/\2/p")})
            if (( $#found )); then
                compadd -a found
                return
            fi ;;
    esac
    if [[ $PREFIX == -* ]]; then
        found=(${(f)"$($line --help 2>/dev/null | sed -nE 's/^  (-.,|   ) (--[a-z-]+).*/\2/p')"})
        compadd -a found
        return
    fi
    case $command in
        "")
            found=(${(f)"$($program --help 2>/dev/null |
                sed -nE '/^Commands:/,/^$/s/^  ([a-z][a-z-]*) +(.*)/\1:\2/p')"})
            _describe command found ;;
        get|set)
            found=(${(f)"$($program get --list --format csv 2>/dev/null | sed -n '2,$s/^[^,]*,\([^,]*\),.*/\1/p')"})
            [[ $command == get ]] && compadd -a found || compadd -S = -a found ;;
        laser) compadd on off ;;
        *) _files ;;
    esac
}

_rvqctl "$@"
