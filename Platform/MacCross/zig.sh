#!/bin/sh
# The cross compiler, with its caches beside it: zig.sh cc|c++ ARGUMENT…
# Links are LLVM's linker's, see link.sh.
set -eu

folder=$(cd "$(dirname "$0")" && pwd)
tools=$(cd "$folder/../../.tools" && pwd)
export ZIG_GLOBAL_CACHE_DIR="$tools/zig-cache" ZIG_LOCAL_CACHE_DIR="$tools/zig-cache"

has_input=false
stops_early=false
for argument in "$@"; do
    case $argument in
    -c | -E | -S) stops_early=true ;;
    -*) ;;
    *.*) has_input=true ;;
    esac
done
# Also for CMake's first question, which compiler this is. It names no target, and zig would make the C++ library
# for this machine in a minute; refused, CMake asks with -c.
if $has_input && ! $stops_early; then
    exec sh "$folder/link.sh" "$tools" "$@"
fi
exec "$tools/npm/zig" "$@"
