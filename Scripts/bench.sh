#!/bin/sh
# Prints what Veilpane costs beside a straight-line program that makes the same platform calls.
set -eu

usage="usage: bench.sh

Prints what Veilpane costs beside a straight-line program that makes the same platform calls. Numbers
only: nothing here passes or fails, apart from the two making different calls.

Docs/Performance.md explains the figures; Tests/Bench/growth.py draws them.

  instructions  of the whole process, counted by callgrind
  own           of the program's own objects, without libraries and the simulated Mac
  peak          resident memory at most, in KiB"
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
take_no_arguments "$@"

cd "$(dirname "$0")/.."
sh Scripts/bootstrap.sh --bench
sh Scripts/build.sh linux-bench

build=build/linux-bench
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT TERM HUP

# A Mac with COUNT displays, all with DDC, the first one built in and main. From the tenth on the
# profiler's hexadecimal IDs would name other displays, so the screen list names those.
scene() { # COUNT
    printf '{ "skylight": true, "displays": ['
    i=1
    while [ "$i" -le "$1" ]; do
        [ "$i" -eq 1 ] && first='"builtin": true, "main": true, ' || first=
        [ "$i" -eq "$1" ] && comma= || comma=,
        [ "$i" -lt 10 ] && source=profilerName || source=screenName
        printf '{ "id": %d, %s"%s": "Display %02d", "ddc": {} }%s' \
            "$i" "$first" "$source" "$i" "$comma"
        i=$((i + 1))
    done
    printf '] }\n'
}

fresh_mac() { # COUNT
    rm -rf "$work/state"
    scene "$1" >"$work/scene.json"
    export SIMULATED_MAC_SCENE="$work/scene.json" SIMULATED_MAC_STATE="$work/state"
}

calls_of() { # COUNT PROGRAM OPTION…: the platform calls that it makes, one a line
    fresh_mac "$1"
    shift
    "$@" >/dev/null
    "$build/macsim" calls --json | sed 's/"pid":[0-9]*,//; s/^{"pid": *[0-9]*, */{/'
}

check_same_calls() { # COUNT OPTION…
    count=$1
    shift
    calls_of "$count" "$build/Veilpane" "$@" >"$work/program.calls"
    calls_of "$count" "$build/Reference" "$@" >"$work/reference.calls"
    diff "$work/reference.calls" "$work/program.calls" >&2 ||
        fail 1 "Veilpane and the reference make different calls for '$*'"
}

measure() { # COUNT PROGRAM OPTION…: sets total, own and peak
    fresh_mac "$1"
    shift
    valgrind --tool=callgrind --callgrind-out-file="$work/callgrind.out" "$@" >/dev/null 2>&1
    total=$(awk '/^totals:/ { print $2 }' "$work/callgrind.out")
    own=$(awk -v name="/$(basename "$1")$" -f Tests/Bench/own-instructions.awk "$work/callgrind.out")
    fresh_mac "$count"
    peak=$( { /usr/bin/time -f %M "$@" >/dev/null; } 2>&1)
}

# Each row takes a while, and the rows are all that goes to standard output.
rows=10
row=0
begin_row() { # WHAT
    row=$((row + 1))
    echo "[$row/$rows] $1" >&2
}

report() { # COUNT OPTION…
    count=$1
    shift
    begin_row "$* ($count displays)"
    check_same_calls "$count" "$@"
    measure "$count" "$build/Reference" "$@"
    reference_total=$total reference_own=$own reference_peak=$peak
    measure "$count" "$build/Veilpane" "$@"
    awk -v what="$* ($count displays)" -v calls="$(wc -l <"$work/program.calls")" \
        -v t="$total" -v o="$own" -v p="$peak" \
        -v rt="$reference_total" -v ro="$reference_own" -v rp="$reference_peak" 'BEGIN {
            printf "%-26s %6d  %11d %9d %6.2f%% %7d  %11d %9d %7d  %6.3f %6.2f %6.3f\n",
                what, calls, t, o, 100 * o / t, p, rt, ro, rp, t / rt, o / ro, p / rp }'
}

printf '%-26s %6s  %11s %9s %7s %7s  %11s %9s %7s  %6s %6s %6s\n' '' '' 'Veilpane' '' '' '' \
    'reference' '' '' 'ratio' '' ''
printf '%-26s %6s  %11s %9s %7s %7s  %11s %9s %7s  %6s %6s %6s\n' command calls \
    instructions own share peak instructions own peak whole own peak
for count in 1 2 4 8 16 32; do
    report "$count" --list
done
report 3 --power off 2

# The second opening of the menu; the first one also runs the system profiler. Two openings are
# profiled, of which the first costs the program's objects as much as the second but for the names.
menu() { # COUNT
    begin_row "opening the menu ($1 displays)"
    fresh_mac "$1"
    xvfb-run -a "$build/OpenMenu" >"$work/menu" 2>/dev/null
    read -r calls allocations <"$work/menu"
    fresh_mac "$1"
    xvfb-run -a valgrind --tool=callgrind --callgrind-out-file="$work/callgrind.out" \
        --toggle-collect='_i_AppDelegate__menuNeedsUpdate_' "$build/OpenMenu" >/dev/null 2>&1
    own=$(awk -v name='/OpenMenu$' -f Tests/Bench/own-instructions.awk "$work/callgrind.out")
    awk -v n="$1" -v c="$calls" -v a="$allocations" -v o="$own" 'BEGIN {
        printf "%-26s %6d  %11d %9d  %8.1f %8.1f %8.1f\n", "opening the menu (" n " displays)",
            c, a, o, c / n, a / n, o / n }'
}

printf '\n%-33s %6s  %11s %9s  %8s\n' '' calls allocations own 'of each for a display'
menu 2
menu 8
menu 32
