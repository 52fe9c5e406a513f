#!/bin/sh
# Unpacks what a program for arm64 needs. Of the system's it only reads where packages come from: apt
# gets a state, a cache and a list of installed packages of its own, an empty one. Nothing is installed:
# no script of a package runs, and no other processor's package gets into the system.
set -eu

usage="usage: fetch-arm64-root.sh PACKAGE[|PACKAGE]...

Unpacks packages for arm64, with all that they need, into .tools/arm64-root, out of the system's own
package sources. A|B is the first of the two that there is. Does nothing when the folder was made of the
same packages.

It exits with 3 when those sources have no such package, with 1 after every other failure."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"

case "${1-}" in
-*) refuse "$1" ;;
esac
[ $# -gt 0 ] || fail 2 "name the packages; see --help"
for tool in apt-get dpkg-deb tar; do
    command -v $tool >/dev/null 2>&1 || fail 1 "need $tool to fetch packages for arm64"
done

cd "$(dirname "$0")/.."
root=.tools/arm64-root
if [ "$(cat "$root/packages" 2>/dev/null)" = "$*" ]; then
    exit 0
fi

# Kept after a failure, so that the next attempt goes on where this one has ended.
work=.tools/arm64-packages
mkdir -p "$work/lists/partial" "$work/archives/partial"
: >"$work/status"

# What the system does after an update or a download is not for these packages.
cat >"$work/apt.conf" <<END
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
#clear DPkg::Post-Invoke;
#clear DPkg::Pre-Install-Pkgs;
#clear APT::Architectures;
APT::Architecture "arm64";
APT::Architectures:: "arm64";
APT::Sandbox::User "$(id -un)";
Acquire::Languages "none";
Acquire::Retries "1";
Acquire::http::Timeout "30";
Acquire::https::Timeout "30";
Dir::State::lists "$PWD/$work/lists";
Dir::State::status "$PWD/$work/status";
Dir::State::extended_states "$PWD/$work/extended_states";
Dir::Cache::archives "$PWD/$work/archives";
Dir::Cache::pkgcache "";
Dir::Cache::srcpkgcache "";
END

get_for_arm64() { # COMMAND…: of apt-get
    LC_ALL=C apt-get -c "$work/apt.conf" -qq "$@" >"$work/log" 2>&1 ||
        fail 1 "apt-get $1 has failed for arm64, as $work/log tells; is there no network?"
}

first_known() { # PACKAGE[|PACKAGE]
    for package in $(echo "$1" | tr '|' ' '); do
        if apt-cache -c "$work/apt.conf" show "$package" >/dev/null 2>&1; then
            echo "$package"
            return 0
        fi
    done
    fail 3 "the system's package sources have no $1 for arm64"
}

# apt only warns of a list that it could not fetch; what is in that one would then seem not to exist.
check_lists() {
    ! grep -qi 'failed to \(fetch\|download\)' "$work/log" ||
        fail 1 "apt-get update has not fetched all lists for arm64, as $work/log tells; is there no network?"
}

# Of what an earlier attempt has left, another version or what another package needed is not unpacked. To a
# folder with nothing in it all archives have still to be fetched, so that apt names them all.
wanted_archives() { # PACKAGE…
    mkdir -p "$work/nothing/partial"
    get_for_arm64 install -y --no-install-recommends --print-uris \
        -o "Dir::Cache::archives=$PWD/$work/nothing" "$@"
    sed -n "s/^'[^']*' \([^ ]*\.deb\) .*/\1/p" "$work/log"
}

echo "Fetching packages for arm64 into $root"
get_for_arm64 update
check_lists
names=
for packages in "$@"; do
    name=$(first_known "$packages")
    names="$names $name"
done
# shellcheck disable=SC2086 # a list of names
get_for_arm64 install -y --no-install-recommends --download-only $names
# shellcheck disable=SC2086 # a list of names
archives=$(wanted_archives $names)
[ -n "$archives" ] || fail 1 "apt-get names no archives for arm64, as $work/log tells"

# A folder that takes the root's place only when all of it is there. Its programs are none that anybody
# starts, so that documents and other languages' texts are left out.
# Fonts are, too, so that the system's own are found, which are the same for every processor.
new=$root.new
rm -rf "$new"
trap 'rm -rf "$new"' EXIT
mkdir -p "$new/usr/bin" "$new/usr/sbin" "$new/usr/lib"
ln -s usr/bin usr/sbin usr/lib "$new"
for archive in $archives; do
    package=$work/archives/$archive
    { dpkg-deb --fsys-tarfile "$package" >"$work/contents.tar" &&
        tar -x -f "$work/contents.tar" -C "$new" --keep-directory-symlink --no-same-owner \
            --exclude=./usr/share/doc --exclude=./usr/share/fonts --exclude=./usr/share/locale \
            --exclude=./usr/share/man; } 2>"$work/log" ||
        fail 1 "$package cannot be unpacked"
done
echo "$*" >"$new/packages"
rm -rf "$root"
mv "$new" "$root"
rm -rf "$work"
