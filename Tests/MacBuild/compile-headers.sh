#!/bin/sh
# Compiles each header alone: compile-headers.sh ROOT --c HEADER... --objective-c HEADER...
# The first ones as C and as C++, the second ones as Objective-C and as Objective-C++.
set -eu

root=$1
shift
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

compile() { # LANGUAGE STANDARD HEADER
    printf '#include <%s>\n' "$3" >"$work/header"
    sh "$root/Platform/MacCross/zig.sh" c++ -target aarch64-macos.13.0 -x "$1" -std="$2" -fblocks \
        -Wall -Wextra -Werror -c -o "$work/object" -I"$root/Platform/MacCross/Headers" \
        -I"$root/Platform/Headers/Frameworks" "$work/header" || {
        echo "compile-headers.sh: <$3> does not compile alone as $1" >&2
        exit 1
    }
}

count=0
for argument; do
    case "$argument" in
    --c) languages='c:c17 c++:c++23' ;;
    --objective-c) languages='objective-c:c17 objective-c++:c++23' ;;
    *)
        for language in $languages; do
            compile "${language%%:*}" "${language#*:}" "$argument"
        done
        count=$((count + 1))
        ;;
    esac
done
[ "$count" -gt 20 ] || {
    echo "compile-headers.sh: only $count headers were given" >&2
    exit 1
}
echo "$count headers compile alone"
