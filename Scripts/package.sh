#!/bin/sh
# Makes a zip of Veilpane.app and, beside it, of macprobe, and the zip's Homebrew cask in build/package:
# package.sh
#
# On a Mac from the native build, elsewhere from the cross-compiled program; both are universal, and
# sealed alike. On a Mac VEILPANE_SIGNING_IDENTITY names a certificate to sign with instead of ad hoc.
set -eu

cd "$(dirname "$0")/.."
case "$(uname)" in
Darwin)
    sh Scripts/bootstrap.sh
    preset=macos
    ;;
*)
    [ -z "${VEILPANE_SIGNING_IDENTITY:-}" ] || {
        echo "package.sh: VEILPANE_SIGNING_IDENTITY needs codesign, which only a Mac has" >&2
        exit 1
    }
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
    python3 Tests/Packaging/verify_bundle.py "$1" >&2 || {
        echo "package.sh: the seal of $1 is broken; nothing is packed" >&2
        exit 1
    }
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
        codesign --verify --strict "$code" || {
            echo "package.sh: codesign refuses $1; nothing is packed" >&2
            exit 1
        }
    done
}

[ -z "${VEILPANE_SIGNING_IDENTITY:-}" ] && check=verify || check=verify_certified

# The probe lies in no bundle whose seal could vouch for it.
sign() { # PROGRAM
    if [ -z "${VEILPANE_SIGNING_IDENTITY:-}" ]; then
        python3 Packaging/sign_program.py "$1" io.github.veilpane.macprobe
    else
        codesign --force --options runtime --timestamp --sign "$VEILPANE_SIGNING_IDENTITY" "$1"
    fi
}

# A zip and its cask take the place of older ones only when what a Mac will unpack is sealed.
rm -rf "$work"
trap 'rm -rf "$work"' EXIT
mkdir -p "$work" build/package
new=$work/$(basename "$archive")
"$check" "$bundle"
cp "build/$preset/macprobe" "$work/macprobe"
sign "$work/macprobe"
python3 Packaging/make_zip.py "$bundle" "$new" "$seconds" "$work/macprobe"
"$check" "$new"
python3 Packaging/make_cask.py "$new" "$version" "$work/veilpane.rb"
mv "$new" "$archive"
mv "$work/veilpane.rb" "$cask"
echo "$archive"
echo "$cask"
