#!/bin/sh
# Sets up, builds and runs every test: plain, under the sanitizers, and of the program for a Mac.
set -eu

cd "$(dirname "$0")/.."
sh Scripts/bootstrap.sh --tests
if [ "$(uname)" = Darwin ]; then
    # The tests have the simulated Mac in them: no real display is touched.
    sh Scripts/build.sh macos-tests
    exec ctest --preset macos-tests
fi
sh Scripts/fetch-tools.sh
echo "Checking form"
sh Scripts/lint.sh
for preset in linux linux-asan macos-cross; do
    echo "Building the preset $preset"
    sh Scripts/build.sh "$preset"
    ctest --preset "$preset" --quiet --output-log "build/$preset-tests.log" >/dev/null && status=0 || status=$?
    tail -n 40 "build/$preset-tests.log"
    [ "$status" -eq 0 ] || exit "$status"
done
