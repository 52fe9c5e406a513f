#!/bin/sh
# Runs the program in Veilpane.app, as it ships for a Mac, on the simulated Mac.
set -eu

usage="usage: run-shipped.sh [--arch x86_64|arm64] [--app | OPTION OF VEILPANE...]

Runs the program in Veilpane.app, as it ships for a Mac, on the simulated Mac.
  --arch     which part: x86_64 if none is named; arm64 runs on an emulated processor
  --app      the menu-bar application, on this X display or on a screen that nobody sees
  OPTION...  the command line, such as --power off 2; nothing is --list"
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"

architecture=x86_64
if [ "${1:-}" = --arch ]; then
    [ $# -ge 2 ] || fail 2 "--arch takes x86_64 or arm64"
    architecture=$2
    shift 2
fi
case "$architecture" in
x86_64) launcher=macrun ;;
arm64) launcher=macrun-arm64 ;;
*) fail 2 "--arch takes x86_64 or arm64, not '$architecture'" ;;
esac
case "${1-}" in
'' | --app | --list | --power | --selftest) ;;
*) refuse "$1" ;;
esac
[ "${1-}" != --app ] || [ $# -eq 1 ] || refuse "$2"
[ "$(uname)" != Darwin ] || fail 1 "on a Mac it runs by itself: Scripts/run.sh"

cd "$(dirname "$0")/.."
# What the program prints is all of the output.
{
    sh Scripts/bootstrap.sh --tests
    sh Scripts/fetch-tools.sh
    sh Scripts/build.sh macos-cross Bundle
    sh Scripts/build.sh linux $launcher macsim
    if [ "$architecture" = arm64 ]; then
        sh Scripts/bootstrap.sh --arm64
        sh Scripts/build.sh linux-arm64
    fi
} >&2

[ $# -gt 0 ] || set -- --list
program=build/macos-cross/Veilpane.app/Contents/MacOS/Veilpane
[ "$1" = --app ] || exec build/linux/$launcher "$program" "$@"
[ -z "${DISPLAY:-}" ] || exec build/linux/$launcher "$program"
echo "There is no X display, so nobody will see the application; Control-C ends it."
exec xvfb-run -a -s '-screen 0 1280x800x24' build/linux/$launcher "$program"
