# Completion of veilpane for bash, from the release 3.2 on that macOS has.

# Lists the displays by the command as it was typed, with quotes and a tilde. A word that would start
# another command when it is read again is left alone.
_veilpane_list() { # COMMAND
    local command
    case $1 in
    *['$`()<>;&|'$'\n']*) return ;;
    esac
    eval "command=$1" 2>/dev/null && "$command" --list 2>/dev/null
}

# Beside an ID that is not yet unique its display's name is shown.
_veilpane_displays() { # COMMAND WORD
    local id name
    while IFS=$'\t' read -r id name _; do
        case $id in
        '' | *[!0-9]*) ;; # another line of a name
        "$2"*) COMPREPLY[${#COMPREPLY[@]}]="$id ($name)" ;;
        esac
    done < <(_veilpane_list "$1")
    [ ${#COMPREPLY[@]} -ne 1 ] || COMPREPLY=("${COMPREPLY[0]%% *}")
}

_veilpane_words() { # WORD CHOICE…
    local word=$1 choice
    shift
    for choice; do
        [[ $choice != "$word"* ]] || COMPREPLY[${#COMPREPLY[@]}]=$choice
    done
}

_veilpane() {
    local word=${COMP_WORDS[COMP_CWORD]}
    COMPREPLY=()
    case $COMP_CWORD:${COMP_WORDS[1]-} in
    1:*) _veilpane_words "$word" --power --list --selftest --help --version ;;
    2:--power) _veilpane_words "$word" on off ;;
    3:--power) _veilpane_displays "${COMP_WORDS[0]}" "$word" ;;
    esac
}

complete -F _veilpane veilpane
