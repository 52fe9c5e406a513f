#!/bin/sh
# Sets up, builds and runs the tests.
set -eu

usage="usage: test.sh [--all | NAME]

Without arguments: sets up, builds, and runs every test once, about five minutes on two processors.
  --all   also checks the form of the sources, looks through them with a static analyzer, runs the
          tests under the sanitizers, feeds the fuzzers and builds the program for a Mac, looks at it and
          runs it here, about twenty minutes; on a Mac nothing more
  NAME    runs the tests in whose names this occurs, and nothing else; UnitTests and the like are
          the names of all tests in one program

What passes --all is noted for Scripts/release.sh, unless the program for a Mac with arm64 was not run as
the system's package sources have not what it needs."
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
    tell_counts "build/$1/Testing/Temporary/LastTest.log"
}

# CTest keeps to itself what a test prints that passes.
tell_counts() { # LOG
    [ ! -e "$1" ] || awk '/^[0-9]+\/[0-9]+ Test: / { test = $3 }
        / imported functions are called$| fault runs, .* violations$/ { print test ": " $0 }' "$1"
}

set_up() { # [for all]
    echo "Setting up"
    sh Scripts/bootstrap.sh --tests
    [ $# -eq 0 ] || sh Scripts/fetch-tools.sh
}

# What the program for arm64 needs comes from the system's package sources, which may have none of it. It
# is fetched while something else computes.
fetch_for_arm64() {
    mkdir -p build
    sh Scripts/bootstrap.sh --arm64 >build/arm64-root.log 2>&1 &
    arm64_fetch=$!
}

build_for_arm64() {
    shipped_arm64=OFF
    status=0
    wait "$arm64_fetch" || status=$?
    [ $status -eq 0 ] || cat build/arm64-root.log >&2
    case $status in
    0) ;;
    3)
        echo "Not run here: the program for a Mac with arm64"
        return
        ;;
    *) fail 1 "what the program for a Mac with arm64 needs could not be fetched" ;;
    esac
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
    if [ $shipped_arm64 = OFF ]; then
        echo "Not noted as tested, for a release: the program for a Mac with arm64 was not run"
    elif [ -n "$tested" ] && [ "$(clean_tree)" = "$tested" ]; then
        echo "$tested" >build/tested
    fi
}

run_all() {
    set_up all
    fetch_for_arm64
    step build/lint.log "Checking form" sh Scripts/lint.sh
    step build/analysis.log "Looking for leaks and null pointers" sh Scripts/analyze.sh
    test_preset macos-cross "the program for a Mac"
    build_for_arm64
    test_preset linux "what Linux runs, and the program for a Mac on Linux" \
        "-DVEILPANE_SHIPPED_ARM64=$shipped_arm64" \
        "-DVEILPANE_SHIPPED_PROGRAM=$PWD/build/macos-cross/Veilpane.app/Contents/MacOS/Veilpane"
    test_preset linux-asan "what Linux runs, under the sanitizers"
    step build/fuzz.log "Feeding the fuzzers" sh Scripts/fuzz.sh 20
    cat build/fuzz.log
}

fail_without_tests() { # NAME
    fail 1 "no test has '$1' in its name"
}

knows_tests() { # PRESET NAME [CTEST-OPTION…]
    preset=$1
    name=$2
    shift 2
    ctest --preset "$preset" -N -R "$name" "$@" | grep -q ' Test '
}

# Where a program is one test of CTest's.
programs='^[A-Za-z]+Tests$'
test_programs() {
    ctest --preset linux -N -R "$programs" | sed -n 's/^ *Test *#[0-9]*: *//p'
}

test_some() { # NAME
    set_up
    build_preset linux "what Linux runs"
    found=no
    for tests in $(test_programs); do
        case "$tests" in
        *"$1"*) filter='*' ;;
        *) filter="*$1*" ;;
        esac
        program=build/linux/Tests/$tests
        if "$program" --gtest_list_tests --gtest_filter="$filter" | grep -q '^  '; then
            found=yes
            "$program" --screens --gtest_filter="$filter"
        fi
    done
    if knows_tests linux "$1" -E "$programs"; then
        found=yes
        ctest --preset linux -R "$1" -E "$programs"
    fi
    [ $found = yes ] || fail_without_tests "$1"
}

# The tests have the simulated Mac in them: no real display is touched.
test_on_a_mac() { # [NAME]
    set_up
    if [ -z "${1-}" ]; then
        test_preset macos-tests "what a Mac runs, on the simulated Mac"
        return
    fi
    build_preset macos-tests "what a Mac runs"
    knows_tests macos-tests "$1" || fail_without_tests "$1"
    ctest --preset macos-tests -R "$1"
}

[ $# -le 1 ] || refuse "$2"
case "${1-}" in
--all) ;;
-*) refuse "$1" ;;
esac
if [ "$(uname)" = Darwin ]; then
    [ "${1-}" != --all ] || shift
    test_on_a_mac "$@"
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
