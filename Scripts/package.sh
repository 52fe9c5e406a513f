#!/bin/sh
# Makes Veilpane.app, a zip of it and of macprobe, and the zip's Homebrew cask in build/package.
set -eu

usage="usage: package.sh

Makes Veilpane.app, a zip of it and of macprobe, and the zip's Homebrew cask in build/package: on a Mac from the native
build, elsewhere from the cross-compiled program; both are universal, and sealed alike.

On a Mac these variables make it one that macOS starts without asking back:
  VEILPANE_SIGNING_IDENTITY  a Developer ID certificate to sign with, instead of ad hoc
  VEILPANE_NOTARY_PROFILE    what 'xcrun notarytool store-credentials' has stored Apple's credentials as:
                             Apple notarises the bundle, and its ticket is stapled to it
  VEILPANE_KEYCHAIN          the keychain with both, unless it is the default one"
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
take_no_arguments "$@"
identity=${VEILPANE_SIGNING_IDENTITY:-}
profile=${VEILPANE_NOTARY_PROFILE:-}
[ -z "$profile" ] || [ -n "$identity" ] ||
    fail 1 "Apple notarises no bundle that is signed ad hoc; set VEILPANE_SIGNING_IDENTITY too"

cd "$(dirname "$0")/.."
# shellcheck source=Scripts/steps.sh
. Scripts/steps.sh
case "$(uname)" in
Darwin)
    sh Scripts/bootstrap.sh
    preset=macos
    ;;
*)
    [ -z "$identity" ] || fail 1 "VEILPANE_SIGNING_IDENTITY needs codesign, which only a Mac has"
    sh Scripts/bootstrap.sh --tests
    sh Scripts/fetch-tools.sh
    preset=macos-cross
    ;;
esac
sh Scripts/build.sh "$preset"

bundle=build/$preset/Veilpane.app
version=$(sed -n 's/^project(Veilpane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
seconds=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}

archive=build/package/Veilpane-$version.zip
cask=build/package/veilpane.rb
work=build/package.new

verify() { # BUNDLE|ZIP
    python3 Tests/Packaging/verify_bundle.py "$1" >&2 ||
        fail 1 "the seal of $1 is broken; nothing is packed"
}

verify_certified() { # BUNDLE|ZIP: a seal by a certificate is what only a Mac can judge
    judged=$1
    case "$1" in
    *.zip)
        ditto -x -k "$1" "$work/unpacked"
        judged="$work/unpacked/Veilpane.app $work/unpacked/macprobe"
        ;;
    esac
    for code in $judged; do
        codesign --verify --strict "$code" || fail 1 "codesign refuses $1; nothing is packed"
    done
    # A ticket cannot be stapled to a program outside of a bundle.
    [ -z "$notarized" ] || xcrun stapler validate "${judged%% *}" >&2 ||
        fail 1 "$1 has no ticket of Apple's; nothing is packed"
}

ask_apple() {
    ! xcrun notarytool submit "$work/submitted.zip" --keychain-profile "$profile" \
        ${VEILPANE_KEYCHAIN:+--keychain "$VEILPANE_KEYCHAIN"} --wait --output-format json >"$work/answer" ||
        touch "$work/answered"
}

# Apple's service takes a zip, and what it has to say is in its answer, not in the status. The ticket lies
# outside of the seal; the build's own bundle stays as it is.
notarize() { # BUNDLE
    python3 Packaging/make_zip.py "$1" "$work/submitted.zip" "$seconds" "$work/macprobe"
    step "$work/notarise.log" "Waiting for Apple to notarise it, some minutes" ask_apple
    [ -e "$work/answered" ] || {
        cat "$work/notarise.log" >&2
        fail 1 "Apple's service could not be asked; nothing is packed"
    }
    grep -q '"status" *: *"Accepted"' "$work/answer" || {
        cat "$work/answer" >&2
        fail 1 "Apple has not notarised it; 'xcrun notarytool log' with that id tells why; nothing is packed"
    }
    xcrun stapler staple "$1" >&2 || fail 1 "the ticket could not be stapled; nothing is packed"
}

[ -z "$identity" ] && check=verify || check=verify_certified
notarized=

# The probe lies in no bundle whose seal could vouch for it.
sign() { # PROGRAM
    if [ -z "$identity" ]; then
        python3 Packaging/sign_program.py "$1" io.github.veilpane.macprobe
    else
        codesign --force --options runtime --timestamp --sign "$identity" "$1"
    fi
}

# A zip and its cask take the place of older ones only when what a Mac will unpack is sealed.
rm -rf "$work"
trap 'rm -rf "$work"' EXIT
trap 'exit 130' INT TERM HUP
mkdir -p "$work" build/package
new=$work/$(basename "$archive")
"$check" "$bundle"
cp "build/$preset/macprobe" "$work/macprobe"
sign "$work/macprobe"
if [ -n "$profile" ]; then
    cp -R "$bundle" "$work/Veilpane.app"
    bundle=$work/Veilpane.app
    notarize "$bundle"
    notarized=--notarized
fi
python3 Packaging/make_zip.py "$bundle" "$new" "$seconds" "$work/macprobe"
"$check" "$new"
python3 Packaging/make_cask.py "$new" "$version" "$work/veilpane.rb" $notarized
mv "$new" "$archive"
mv "$work/veilpane.rb" "$cask"
echo "$archive"
echo "$cask"
