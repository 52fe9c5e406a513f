#!/bin/sh
# The cross compiler, with its caches beside it: zig.sh cc|c++ ARGUMENT…
# Links are LLVM's linker's, see link.sh.
set -eu

folder=$(cd "$(dirname "$0")" && pwd)
tools=$(cd "$folder/../../.tools" && pwd)
export ZIG_GLOBAL_CACHE_DIR="$tools/zig-cache" ZIG_LOCAL_CACHE_DIR="$tools/zig-cache"

has_output=false
stops_early=false
for argument in "$@"; do
    case $argument in
    -o) has_output=true ;;
    -c | -E | -S) stops_early=true ;;
    esac
done
if $has_output && ! $stops_early; then
    exec sh "$folder/link.sh" "$tools" "$@"
fi
exec "$tools/npm/zig" "$@"
