# Completion of kalloctl for bash: subcommands, options, package names.

_kalloctl_packages() {
    # Global options that were typed before (a host, a port) say whom to ask.
    local words=() i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            -H | --host | -p | --port) words+=("${COMP_WORDS[i]}" "${COMP_WORDS[i + 1]}") ;;
        esac
    done
    local names
    mapfile -t names < <(kalloctl --timeout 1 "${words[@]}" list --names 2>/dev/null)
    local name
    for name in "${names[@]}"; do
        if [[ $name == "$1"* ]]; then
            COMPREPLY+=("$(printf '%q' "$name")")
        fi
    done
}

_kalloctl() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local global='-H --host -p --port --timeout --json --help'
    local subcommands='status watch list icon launch kill-all user settings auto-login login logout
        password raw'
    COMPREPLY=()

    case $previous in
        -H | --host)
            mapfile -t COMPREPLY < <(compgen -A hostname -- "$current")
            return
            ;;
        -p | --port | --timeout | -i | --interval) return ;;
        -o | --output)
            compopt -o filenames
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
    esac

    local subcommand='' operands=0 i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
            -H | --host | -p | --port | --timeout | -i | --interval | -o | --output) ((i++)) ;;
            -*) ;;
            *)
                if [[ -z $subcommand ]]; then
                    subcommand=${COMP_WORDS[i]}
                else
                    ((operands++))
                fi
                ;;
        esac
    done

    local offered=''
    case $subcommand in
        '') offered="$subcommands --version" ;;
        watch) offered='-i --interval' ;;
        list) offered='--names' ;;
        icon) offered='-o --output' ;;
        login) offered='--plain --password-stdin' ;;
        raw) offered='--local' ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$offered $global" -- "$current")
        return
    fi
    case $subcommand:$operands in
        :*) mapfile -t COMPREPLY < <(compgen -W "$subcommands" -- "$current") ;;
        icon:0 | launch:0) _kalloctl_packages "$current" ;;
        icon:1) mapfile -t COMPREPLY < <(compgen -W 'phone pad' -- "$current") ;;
        auto-login:0) mapfile -t COMPREPLY < <(compgen -W 'yes no' -- "$current") ;;
        login:0) mapfile -t COMPREPLY < <(compgen -u -- "$current") ;;
    esac
}

complete -F _kalloctl kalloctl
