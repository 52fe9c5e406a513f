#!/bin/sh
# Feeds each fuzzed program with what a fuzzer makes of its corpus.
#
# Nothing is written into the source tree. New inputs that reach more of the code are in
# build/fuzz/NAME/corpus, those that found something in build/fuzz/NAME.
set -eu

usage="usage: fuzz.sh [SECONDS FOR EACH]

Feeds each fuzzed program with what a fuzzer makes of its corpus, for 20 seconds or as many as it is told,
two at once. What found something is in build/fuzz/NAME, with the command that replays it."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"

cd "$(dirname "$0")/.."
# shellcheck source=Scripts/steps.sh
. Scripts/steps.sh
[ $# -le 1 ] || refuse "$2"
seconds=${1:-20}
case "$seconds" in
'' | 0* | *[!0-9]*)
    fail 2 "'$seconds' is no number of seconds above 0; see --help"
    ;;
esac
sh Scripts/bootstrap.sh --tests
sh Scripts/build.sh linux-asan fuzzers

# Stacks of allocations by frame pointers, for speed. They end in GNUstep, so leaks, of which it has its
# own, are left to the tests and to the simulated Mac's ledger.
export ASAN_OPTIONS=fast_unwind_on_malloc=1:detect_leaks=0
work=$PWD/build/fuzz
# The simulated Mac's files: in memory where there is a place for them.
temporary=$(mktemp -d -p /dev/shm 2>/dev/null || mktemp -d)
trap 'rm -rf "$temporary"' EXIT
running=
stop_all() {
    for process in $running; do
        stop_with_children "$process"
    done
    exit 130
}
trap stop_all INT TERM HUP
export TMPDIR="$temporary"

of_log() { # NAME PATTERN
    sed -n "s/$2/\\1/p" "$work/$1/log" | tail -n 1
}

tell() { # NAME RESULT
    printf '%-20s %9s executions %6s a second, corpus %4s: %s\n' "$1" \
        "$(of_log "$1" '^stat::number_of_executed_units: *\(.*\)')" \
        "$(of_log "$1" '^stat::average_exec_per_sec: *\(.*\)')" \
        "$(of_log "$1" '.* corp: \([0-9]*\)\/.*')" "$2"
}

# Naming functions (print_funcs) would launch a symbolizer through the simulated Mac's calls.
fuzz() { # NAME
    find=$work/$1/find
    mkdir -p "$work/$1/corpus"
    rm -f "$find"
    python3 Tests/Fuzz/found_inputs.py unpack "Tests/Fuzz/Found/$1.txt" "$temporary/$1"
    if "build/linux-asan/fuzzers/$1" -max_total_time="$seconds" -max_len=4096 -timeout=10 \
        -rss_limit_mb=4096 -detect_leaks=0 -print_funcs=0 -print_final_stats=1 -exact_artifact_path="$find" \
        "$work/$1/corpus" "Tests/Fuzz/Corpora/$1" "$temporary/$1" >"$work/$1/log" 2>&1 &&
        [ -n "$(of_log "$1" '^\(stat::number_of_executed_units\):')" ]; then
        tell "$1" "nothing found"
        return
    fi
    : >"$temporary/found"
    tell "$1" "FOUND"
    echo "  log:    build/fuzz/$1/log"
    [ ! -e "$find" ] || echo "  replay: build/linux-asan/fuzzers/$1 build/fuzz/$1/find"
}

# A program without a corpus would never be fed, nor one that is not built.
[ "$(ls build/linux-asan/fuzzers)" = "$(ls Tests/Fuzz/Corpora)" ] ||
    fail 1 "Tests/Fuzz/Corpora has not one folder for each program in build/linux-asan/fuzzers"
fed=0
count=$(find Tests/Fuzz/Corpora -mindepth 1 -type d | wc -l)
for corpus in Tests/Fuzz/Corpora/*/; do
    name=$(basename "$corpus")
    fed=$((fed + 1))
    echo "[$fed/$count] Feeding $name for $seconds s"
    fuzz "$name" &
    running="$running $!"
    # Two at once; all take the same time.
    [ $((fed % 2)) -ne 0 ] || wait
done
wait
[ ! -e "$temporary/found" ]
