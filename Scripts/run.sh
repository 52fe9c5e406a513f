#!/bin/sh
# Sets up, builds and runs Veilpane on the simulated Mac: run.sh [OPTION OF VEILPANE…]
#
# Without options it shows the main job: list, switch a display off and on, self-test.
set -eu

cd "$(dirname "$0")/.."
sh Scripts/bootstrap.sh
sh Scripts/build.sh linux Veilpane macsim
build=build/linux

if [ $# -gt 0 ]; then
    exec "$build/Veilpane" "$@"
fi

show() {
    echo
    echo "\$ $*"
    program=$1
    shift
    "$build/$program" "$@"
}

show Veilpane --list
show Veilpane --power off 2
show Veilpane --list
show macsim show
show Veilpane --power on 2
show Veilpane --selftest
