# shellcheck shell=sh
# For other scripts: what each of them answers. The script has set `usage` before it reads this.
# To be read by a shell, not run.

fail() { # STATUS TEXT
    echo "$(basename "$0"): $2" >&2
    exit "$1"
}

refuse() { # ARGUMENT
    fail 2 "there is no argument '$1' here; see --help"
}

# Help is what is wanted, whatever else is asked for, and nothing else is done then.
answer_help() { # ARGUMENT…
    for argument; do
        # shellcheck disable=SC2154 # the script's own
        [ "$argument" != --help ] || {
            echo "$usage"
            exit
        }
    done
}

take_no_arguments() { # ARGUMENT…
    answer_help "$@"
    [ $# -eq 0 ] || refuse "$1"
}
