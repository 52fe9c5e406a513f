#!/bin/sh
# Tells which lines and branches of Sources/ the tests reach.
set -eu

usage="usage: coverage.sh

Runs the tests and tells which lines and branches of Sources/ they reach. What they do not reach must
be explained in Tests/Coverage/unreached.txt, and nothing else may be."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
take_no_arguments "$@"

cd "$(dirname "$0")/.."
# shellcheck source=Scripts/steps.sh
. Scripts/steps.sh
sh Scripts/bootstrap.sh --tests
# GNUstep's tests do not run the program.
sh Scripts/build.sh linux-coverage UnitTests EndToEndTests MenuBarTests SimulatedMacTests

# Continuous (%c): the counts are a mapped file, so a process that forks, or ends by _exit or a signal,
# has written its own. One file for each program (%m).
work=$PWD/build/coverage
rm -rf "$work"
mkdir -p "$work"
export LLVM_PROFILE_FILE="$work/%c%m.profraw"
step "$work/tests.log" "Running the tests" \
    ctest --preset linux-coverage -L 'unit|end-to-end|menu-bar|simulated-mac'
llvm-profdata-19 merge "$work"/*.profraw -o "$work/merged.profdata"

export_as() { # FORMAT
    llvm-cov-19 export -format="$1" -instr-profile="$work/merged.profdata" \
        build/linux-coverage/Veilpane -object build/linux-coverage/Tests/UnitTests \
        -object build/linux-coverage/Tests/MenuBarTests \
        -object build/linux-coverage/Tests/SimulatedMacTests Sources 2>"$work/$1.log" ||
        fail 1 "llvm-cov-19 has failed, as $work/$1.log tells"
}
export_as lcov >"$work/lines.lcov"
export_as text >"$work/coverage.json"
python3 Tests/Coverage/coverage.py "$work/lines.lcov" "$work/coverage.json" Tests/Coverage/unreached.txt
