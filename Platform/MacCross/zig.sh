#!/bin/sh
# The cross compiler, with its caches beside it: zig.sh cc|c++ ARGUMENT…
# Links are LLVM's linker's, see link.sh.
set -eu

folder=$(cd "$(dirname "$0")" && pwd)
tools=$(cd "$folder/../../.tools" && pwd)
export ZIG_GLOBAL_CACHE_DIR="$tools/zig-cache" ZIG_LOCAL_CACHE_DIR="$tools/zig-cache"

is_link=false
for argument in "$@"; do
    case $argument in
    -o) is_link=true ;;
    esac
done
for argument in "$@"; do
    case $argument in
    -c | -E | -S) is_link=false ;;
    esac
done
if $is_link; then
    exec sh "$folder/link.sh" "$tools" "$@"
fi
exec "$tools/npm/zig" "$@"
