#!/bin/sh
# Sets up, builds and runs the tests.
set -eu

usage="usage: test.sh [--all | NAME]

Without arguments: sets up, builds, and runs every test once, about five minutes on two processors.
  --all   also checks the form of the sources, runs the tests under the sanitizers, feeds the fuzzers
          and builds the program for a Mac, looks at it and runs it here, about half an hour
  NAME    runs the tests in whose names this occurs, and nothing else"
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"

cd "$(dirname "$0")/.."
# shellcheck source=Scripts/steps.sh
. Scripts/steps.sh

build_preset() { # PRESET WHAT [CMAKE-OPTION…]
    preset=$1
    what=$2
    shift 2
    step "build/$preset-configure.log" "Configuring $what" cmake --preset "$preset" "$@"
    step "build/$preset-build.log" "Building $what" cmake --build --preset "$preset"
}

test_preset() { # PRESET WHAT [CMAKE-OPTION…]
    build_preset "$@"
    step "build/$1-tests.log" "Testing $2" ctest --preset "$1"
    tail -n 25 "build/$1-tests.log"
}

set_up() { # [for all]
    echo "Setting up"
    sh Scripts/bootstrap.sh --tests
    [ $# -eq 0 ] || sh Scripts/fetch-tools.sh
}

# What the program for arm64 needs comes from the system's package sources, which may have none of it.
build_for_arm64() {
    shipped_arm64=OFF
    if ! sh Scripts/bootstrap.sh --arm64; then
        echo "Not run here: the program for a Mac with arm64, as what it needs is not to be had"
        return
    fi
    build_preset linux-arm64 "what runs the program for a Mac with arm64"
    shipped_arm64=ON
}

# The tree as it is committed; nothing where there are changes, or no git.
clean_tree() {
    [ -n "$(git status --porcelain 2>&1)" ] || git rev-parse 'HEAD^{tree}'
}

# Notes which tree has passed, for Scripts/release.sh; one that was changed meanwhile has not.
test_all() {
    rm -f build/tested
    tested=$(clean_tree)
    run_all
    mkdir -p build
    [ -z "$tested" ] || [ "$(clean_tree)" != "$tested" ] || echo "$tested" >build/tested
}

run_all() {
    set_up all
    step build/lint.log "Checking form" sh Scripts/lint.sh
    test_preset macos-cross "the program for a Mac"
    build_for_arm64
    test_preset linux "what Linux runs, and the program for a Mac on Linux" \
        "-DVEILPANE_SHIPPED_ARM64=$shipped_arm64" \
        "-DVEILPANE_SHIPPED_PROGRAM=$PWD/build/macos-cross/Veilpane.app/Contents/MacOS/Veilpane"
    test_preset linux-asan "what Linux runs, under the sanitizers"
    step build/fuzz.log "Feeding the fuzzers" sh Scripts/fuzz.sh 20
    cat build/fuzz.log
}

test_some() { # NAME
    set_up
    step build/linux-configure.log "Configuring" cmake --preset linux
    step build/linux-build.log "Building" cmake --build --preset linux
    found=no
    for tests in UnitTests SimulatedMacTests MenuBarTests GNUstepTests EndToEndTests MacProgramTests; do
        program=build/linux/Tests/$tests
        if "$program" --gtest_list_tests --gtest_filter="*$1*" | grep -q '^  '; then
            found=yes
            "$program" --screens --gtest_filter="*$1*"
        fi
    done
    if ctest --preset linux -N -R "$1" -L 'scripts|safety' | grep -q ' Test '; then
        found=yes
        ctest --preset linux -R "$1" -L 'scripts|safety'
    fi
    [ $found = yes ] || fail 1 "no test has '$1' in its name"
}

[ $# -le 1 ] || refuse "$2"
case "${1-}" in
--all) ;;
-*) refuse "$1" ;;
esac
if [ "$(uname)" = Darwin ]; then
    # The tests have the simulated Mac in them: no real display is touched.
    set_up
    test_preset macos-tests "what a Mac runs, on the simulated Mac"
    exit
fi
case "${1-}" in
--all) test_all ;;
'')
    set_up
    test_preset linux "what Linux runs" -DVEILPANE_SHIPPED_PROGRAM=
    ;;
*) test_some "$1" ;;
esac
