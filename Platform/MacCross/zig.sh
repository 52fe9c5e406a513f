#!/bin/sh
# The cross compiler, with its caches beside it: zig.sh cc|c++ ARGUMENT…
set -eu

tools=$(cd "$(dirname "$0")/../../.tools" && pwd)
export ZIG_GLOBAL_CACHE_DIR="$tools/zig-cache" ZIG_LOCAL_CACHE_DIR="$tools/zig-cache"
exec "$tools/npm/zig" "$@"
