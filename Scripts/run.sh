#!/bin/sh
# Sets up, builds and runs Veilpane on the simulated Mac.
set -eu

usage="usage: run.sh [--app | OPTION OF VEILPANE...]

Sets up, builds and runs Veilpane on the simulated Mac; on a Mac, the real program with real displays.
  --app      the menu-bar application, on this X display or on a screen that nobody sees
  OPTION...  the command line, such as --power off 2
  nothing    the main job: list, switch a display off and on, self-test, and pictures of the desk;
             on a Mac only --list, which changes nothing"
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"
case "${1-}" in
'' | --app | --list | --power | --selftest) ;;
*) refuse "$1" ;;
esac
[ "${1-}" != --app ] || [ $# -eq 1 ] || refuse "$2"

cd "$(dirname "$0")/.."
# What the program prints is all of the output.
sh Scripts/bootstrap.sh >&2

# On a Mac this is the real program with real displays: only what changes nothing runs unasked.
if [ "$(uname)" = Darwin ]; then
    sh Scripts/build.sh macos >&2
    [ $# -gt 0 ] || set -- --list
    [ "$1" != --app ] || shift
    # In its bundle, so that it remembers the same displays as an installed one.
    exec build/macos/Veilpane.app/Contents/MacOS/Veilpane "$@"
fi

sh Scripts/build.sh linux Veilpane macsim >&2
build=build/linux

case "${1:-}" in
--app)
    [ -n "${DISPLAY:-}" ] && exec "$build/Veilpane"
    echo "There is no X display, so nobody will see the application; Control-C ends it."
    exec xvfb-run -a -s '-screen 0 1280x800x24' "$build/Veilpane"
    ;;
?*) exec "$build/Veilpane" "$@" ;;
esac

show() {
    echo
    echo "\$ $*"
    program=$1
    shift
    "$build/$program" "$@"
}

show Veilpane --list
show macsim desk "$build/desk-before.png"
show Veilpane --power off 2
show Veilpane --list
show macsim show
show macsim desk "$build/desk-after.png"
show Veilpane --power on 2
show Veilpane --selftest
echo
echo "The desk before and after display 2 was switched off: $build/desk-before.png, $build/desk-after.png"
