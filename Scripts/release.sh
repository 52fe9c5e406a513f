#!/bin/sh
# Makes a release of what is committed and tested.
set -eu

usage="usage: release.sh VERSION

Stamps VERSION, three numbers such as 1.2.0, in CMakeLists.txt, moves the changelog's Unreleased section
under it, commits both and tags the commit vVERSION. The first time the READMEs say where the release is
instead of that there is none. Nothing is pushed; the last line says how to.

It refuses a tree with changes, and one that \"sh Scripts/test.sh --all\" has not passed as it is; so
releases are made on Linux, as a Mac runs a part of the tests only."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"
case "${1-}" in
-*) refuse "$1" ;;
esac
[ $# -eq 1 ] || fail 2 "one VERSION is needed; see --help"
version=$1
expr "$version" : '[0-9][0-9]*\.[0-9][0-9]*\.[0-9][0-9]*$' >/dev/null ||
    fail 2 "'$version' is no version: three numbers with points between them, such as 1.2.0"

cd "$(dirname "$0")/.."
tag=v$version
release_page=https://github.com/veilpane/veilpane/releases/latest

check_system() {
    [ "$(uname)" != Darwin ] ||
        fail 1 "releases are made on Linux, where all tests run; see Docs/Releasing.md"
}

check_tree() {
    git symbolic-ref -q HEAD >/dev/null || fail 1 "no branch is checked out"
    [ -z "$(git status --porcelain)" ] || fail 1 "the tree has changes; commit them or put them away"
    [ "$(cat build/tested 2>/dev/null)" = "$(git rev-parse 'HEAD^{tree}')" ] ||
        fail 1 "this tree is not tested; run: sh Scripts/test.sh --all"
    ! git rev-parse -q --verify "refs/tags/$tag" >/dev/null || fail 1 "the tag $tag is there already"
}

# A release that counts backwards would never be offered as an update.
check_order() {
    for old in $(git tag --list 'v*'); do
        newest=$(printf '%s\n' "${old#v}" "$version" | sort -t . -k 1,1n -k 2,2n -k 3,3n | tail -n 1)
        [ "$newest" = "$version" ] || fail 1 "$old is newer than $version"
    done
}

changes_of() { # HEADING: what the changelog says below it
    awk -v heading="## $1" '/^## / { inside = index($0, heading) == 1; next } inside' CHANGELOG.md
}

stamp() {
    sed "s/^\(project(Veilpane VERSION \)[0-9.]*/\1$version/" CMakeLists.txt >"$work/CMakeLists.txt"
    grep -q "^project(Veilpane VERSION $version " "$work/CMakeLists.txt" ||
        fail 1 "CMakeLists.txt has no version to stamp"
    awk -v heading="## $version, $(date +%Y-%m-%d)" '
        { print } $0 == "## Unreleased" { print ""; print heading }' CHANGELOG.md >"$work/CHANGELOG.md"
    sed "s|There is no published release yet, so make it:|Unzip the [newest release]($release_page), or make it:|" \
        README.md >"$work/README.md"
    sed "s|目前还没有发布的版本，请自行制作：|解压[最新的发布版]($release_page)，或自行制作：|" \
        README.zh-CN.md >"$work/README.zh-CN.md"
}

# Until the tag is there, whatever ends this puts everything back. The tree had no changes, so that nothing
# is lost.
undo() {
    status=$?
    if [ -n "$before" ]; then
        git tag -d "$tag" >/dev/null 2>&1 || true
        git reset -q --hard "$before"
    fi
    rm -rf "$work"
    exit "$status"
}

check_system
check_tree
check_order
changes_of Unreleased | grep -q '[^[:space:]]' || fail 1 "CHANGELOG.md says nothing below Unreleased"

before=
work=$(mktemp -d)
trap undo EXIT
trap 'exit 130' INT TERM HUP
stamp
before=$(git rev-parse HEAD)
stamped="CMakeLists.txt CHANGELOG.md README.md README.zh-CN.md"
for file in $stamped; do
    cp "$work/$file" .
done
# shellcheck disable=SC2086 # a list of names
git commit -q -m "Release $version" $stamped
{
    printf 'Veilpane %s\n' "$version"
    changes_of "$version"
} >"$work/message"
git tag -a --cleanup=whitespace -F "$work/message" "$tag"
before=
echo "Release $version is committed and tagged; it is published by: git push origin HEAD $tag"
