# Completion of veilpane for bash.

_veilpane() {
    local word=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    case $COMP_CWORD:${COMP_WORDS[1]-} in
    1:*) mapfile -t COMPREPLY < <(compgen -W '--power --list --selftest' -- "$word") ;;
    2:--power) mapfile -t COMPREPLY < <(compgen -W 'on off' -- "$word") ;;
    3:--power)
        mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" --list 2>/dev/null | cut -f 1)" \
            -- "$word")
        ;;
    esac
}

complete -F _veilpane veilpane
