#!/bin/sh
# The cross compiler: zig.sh cc|c++ ARGUMENT…
# Links are LLVM's linker's, see link.sh.
set -eu

folder=$(cd "$(dirname "$0")" && pwd)
tools=$(cd "$folder/../../.tools" && pwd)
# What it makes of this project stays beside it. Its C++ library, which takes two minutes, is where zig
# itself would keep it, so that the next checkout has it already; but not where nobody may write.
export ZIG_LOCAL_CACHE_DIR="$tools/zig-cache"
: "${ZIG_GLOBAL_CACHE_DIR:=${XDG_CACHE_HOME:-${HOME:-$tools}/.cache}/zig}"
mkdir -p "$ZIG_LOCAL_CACHE_DIR"
mkdir -p "$ZIG_GLOBAL_CACHE_DIR" 2>/dev/null && [ -w "$ZIG_GLOBAL_CACHE_DIR" ] ||
    ZIG_GLOBAL_CACHE_DIR=$ZIG_LOCAL_CACHE_DIR
export ZIG_GLOBAL_CACHE_DIR

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
