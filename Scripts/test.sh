#!/bin/sh
# Sets up, builds and runs every test: of the program for a Mac, which the end-to-end tests then run beside the
# one for Linux, plain, and under the sanitizers.
set -eu

cd "$(dirname "$0")/.."
sh Scripts/bootstrap.sh --tests
if [ "$(uname)" = Darwin ]; then
    # The tests have the simulated Mac in them: no real display is touched.
    presets=macos-tests
else
    sh Scripts/fetch-tools.sh
    echo "Checking form"
    sh Scripts/lint.sh
    cmake --preset linux "-DVEILPANE_SHIPPED_PROGRAM=$PWD/build/macos-cross/Veilpane" >/dev/null
    presets='macos-cross linux linux-asan'
fi
mkdir -p build
for preset in $presets; do
    echo "Building and testing the preset $preset"
    log=build/$preset.log
    cmake --workflow --preset "$preset" >"$log" 2>&1 || {
        cat "$log" >&2
        echo "test.sh: the preset $preset failed" >&2
        exit 1
    }
    tail -n 40 "$log"
done
