# shellcheck shell=sh
# For other scripts: long steps that say how far they are and keep what they print for a failure.
# To be read by a shell, not run.

seconds_between_reports=20

# The last "[12/67]" or "3/9" that a build, CTest or a step within this one has printed.
progress_of() { # LOG
    tail -c 20000 "$1" | tr '\r' '\n' | grep -oE '^ *(\[[0-9]+/[0-9]+\]|[0-9]+/[0-9]+( Test|,))' | tail -n 1 |
        tr -d '[], A-Za-z'
}

# A build's own processes go on when only the one that began them ends, and those of a background command
# hear of no Control-C.
stop_with_children() { # PROCESS
    for child in $(ps -A -o pid= -o ppid= 2>/dev/null | awk -v parent="$1" '$2 == parent { print $1 }'); do
        stop_with_children "$child"
    done
    kill "$1" 2>/dev/null || true
}

# step LOG TEXT COMMAND...: runs the command, and ends the script with all that it printed if it fails. From
# then on a signal ends the script by its EXIT trap.
step() {
    step_log=$1
    step_text=$2
    shift 2
    mkdir -p "$(dirname "$step_log")"
    step_process=
    trap '[ -z "$step_process" ] || stop_with_children "$step_process"; exit 130' INT TERM HUP
    echo "$step_text"
    step_begin=$(date +%s)
    "$@" >"$step_log" 2>&1 &
    step_process=$!
    step_reported=$step_begin
    step_pause=0.02
    while kill -0 "$step_process" 2>/dev/null; do
        sleep $step_pause
        step_now=$(date +%s)
        # What lasts longer than a moment need not be noticed at once when it ends.
        [ $((step_now - step_begin)) -lt 2 ] || step_pause=0.2
        if [ $((step_now - step_reported)) -ge "$seconds_between_reports" ]; then
            step_reported=$step_now
            step_progress=$(progress_of "$step_log")
            echo "  ${step_progress:+$step_progress, }$((step_now - step_begin)) s"
        fi
    done
    wait "$step_process" || {
        cat "$step_log" >&2
        echo "failed: $step_text" >&2
        exit 1
    }
    trap 'exit 130' INT TERM HUP
    echo "  done after $(($(date +%s) - step_begin)) s"
}
