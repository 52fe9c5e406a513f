#!/bin/sh
# Configures and builds one CMake preset: build.sh PRESET [TARGET…]
set -eu

cd "$(dirname "$0")/.."
preset=${1:?"usage: build.sh PRESET [TARGET...]"}
shift

log=build/$preset.log
mkdir -p build
run_quietly() {
    "$@" >>"$log" 2>&1 || {
        cat "$log" >&2
        echo "build.sh: '$*' failed" >&2
        exit 1
    }
}

: >"$log"
run_quietly cmake --preset "$preset"
run_quietly cmake --build --preset "$preset" ${1:+--target "$@"}
