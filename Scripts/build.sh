#!/bin/sh
# Configures and builds one CMake preset.
set -eu

usage="usage: build.sh PRESET [TARGET...]

Configures and builds a preset of CMakePresets.json, such as linux, or only some of its targets. What was
built is not built again, and what was interrupted goes on. The log is build/PRESET.log."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"
case "${1-}" in
'') fail 2 "a PRESET is needed; see --help" ;;
-*) refuse "$1" ;;
esac

cd "$(dirname "$0")/.."
# shellcheck source=Scripts/steps.sh
. Scripts/steps.sh
preset=$1
shift
step "build/$preset-configure.log" "Configuring $preset" cmake --preset "$preset"
step "build/$preset.log" "Building $preset" cmake --build --preset "$preset" ${1:+--target "$@"}
