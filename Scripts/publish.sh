#!/bin/sh
# Publishes the release that is checked out; the workflow runs it on a Mac when a tag is pushed.
set -eu

usage="usage: publish.sh

Packs the release that is checked out (Scripts/package.sh) and publishes it at GitHub with its cask and the
checksums of both. It refuses a commit without its version's tag, and a release that is there already: a
published file is never replaced by another one.

With these, all of them or none, it is signed with a Developer ID, notarised and stapled; with none it is
signed ad hoc, and the release's text says so:
  VEILPANE_CERTIFICATE           the certificate with its key, a .p12 file in base64
  VEILPANE_CERTIFICATE_PASSWORD  that file's password
  VEILPANE_SIGNING_IDENTITY      the certificate's name, 'Developer ID Application: …'
  VEILPANE_NOTARY_APPLE_ID       whose account notarises
  VEILPANE_NOTARY_PASSWORD       an app-specific password of that account
  VEILPANE_NOTARY_TEAM           the team's ten characters
GH_TOKEN is what gh publishes with."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
take_no_arguments "$@"

cd "$(dirname "$0")/.."
version=$(sed -n 's/^project(Veilpane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
tag=v$version
packages=build/package

check_release() {
    [ "$(git rev-parse -q --verify "refs/tags/$tag^{commit}")" = "$(git rev-parse HEAD)" ] ||
        fail 1 "what is checked out is not tagged $tag"
    ! gh release view "$tag" >/dev/null 2>&1 ||
        fail 1 "$tag is published; make a new version instead: Scripts/release.sh"
}

# Half of them would sign without notarising, and nobody would notice.
check_secrets() {
    given=0 missing=
    for name in VEILPANE_CERTIFICATE VEILPANE_CERTIFICATE_PASSWORD VEILPANE_SIGNING_IDENTITY \
        VEILPANE_NOTARY_APPLE_ID VEILPANE_NOTARY_PASSWORD VEILPANE_NOTARY_TEAM; do
        [ -n "$(printenv "$name")" ] && given=$((given + 1)) || missing="$missing $name"
    done
    [ "$given" -eq 0 ] || [ -z "$missing" ] || fail 1 "these are missing for a certified release:$missing"
}

# Certificate and credentials lie in a keychain that goes with this script.
certify() {
    VEILPANE_KEYCHAIN=$work/release.keychain-db
    VEILPANE_NOTARY_PROFILE=veilpane
    export VEILPANE_KEYCHAIN VEILPANE_NOTARY_PROFILE
    password=$(od -An -N16 -tx1 /dev/urandom | tr -d ' \n')
    printenv VEILPANE_CERTIFICATE | base64 --decode >"$work/certificate.p12"
    security create-keychain -p "$password" "$VEILPANE_KEYCHAIN"
    security set-keychain-settings "$VEILPANE_KEYCHAIN"
    security unlock-keychain -p "$password" "$VEILPANE_KEYCHAIN"
    security import "$work/certificate.p12" -k "$VEILPANE_KEYCHAIN" -P "$VEILPANE_CERTIFICATE_PASSWORD" \
        -T /usr/bin/codesign
    # Without it codesign asks, in a window, whether it may use the key.
    security set-key-partition-list -S apple-tool:,apple: -s -k "$password" "$VEILPANE_KEYCHAIN" >/dev/null
    # codesign looks for a certificate in the keychains of this list.
    security list-keychains -d user -s "$VEILPANE_KEYCHAIN" login.keychain
    xcrun notarytool store-credentials "$VEILPANE_NOTARY_PROFILE" --keychain "$VEILPANE_KEYCHAIN" \
        --apple-id "$VEILPANE_NOTARY_APPLE_ID" --team-id "$VEILPANE_NOTARY_TEAM" \
        --password "$VEILPANE_NOTARY_PASSWORD"
}

clean_up() {
    status=$?
    [ ! -e "$work/release.keychain-db" ] || security delete-keychain "$work/release.keychain-db" || true
    rm -rf "$work"
    exit "$status"
}

tell_signature() {
    if [ "$given" -gt 0 ]; then
        echo "Signed with a Developer ID and notarised by Apple: macOS starts it after asking once."
    else
        echo "Signed ad hoc and **not notarised**: macOS refuses its first start until you allow it, see"
        echo "\"First start\" in the README."
    fi
}

write_notes() {
    awk -v heading="## $version" '/^## / { inside = $0 == heading || index($0, heading ",") == 1; next }
        inside' CHANGELOG.md
    tell_signature
    printf '\nSHA-256:\n\n'
    sed 's/^/    /' "$packages/SHA256SUMS"
}

work=$(mktemp -d)
trap clean_up EXIT
trap 'exit 130' INT TERM HUP
check_release
check_secrets
[ "$given" -eq 0 ] || certify
rm -rf "$packages"
sh Scripts/package.sh
(cd "$packages" && shasum -a 256 "Veilpane-$version.zip" veilpane.rb) >"$packages/SHA256SUMS"
write_notes >"$work/notes.md"
gh release create "$tag" --verify-tag --title "Veilpane $version" --notes-file "$work/notes.md" \
    "$packages/Veilpane-$version.zip" "$packages/veilpane.rb" "$packages/SHA256SUMS"
