#!/bin/sh
# Makes Veilpane.app, a zip of it and the zip's Homebrew cask in build/package: package.sh
#
# On a Mac from the native build, and sealed; elsewhere from the cross-compiled program, which is
# signed ad hoc by its linker, while the bundle around it is not sealed. The two are different files, so
# the zip of a cross build says in its name that it is one, and its cask names that zip.
set -eu

cd "$(dirname "$0")/.."
case "$(uname)" in
Darwin)
    sh Scripts/bootstrap.sh
    preset=macos
    mark=
    ;;
*)
    sh Scripts/bootstrap.sh --tests
    sh Scripts/fetch-tools.sh
    preset=macos-cross
    mark=-cross
    echo "The bundle is not sealed: that needs codesign on a Mac. Its program is signed ad hoc."
    ;;
esac
sh Scripts/build.sh "$preset"

bundle=build/$preset/Veilpane.app
version=$(sed -n 's/^project(Veilpane VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
seconds=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}

archive=build/package/Veilpane-$version$mark.zip
cask=build/package/veilpane.rb

mkdir -p build/package
python3 Packaging/make_zip.py "$bundle" "$archive" "$seconds"
python3 Packaging/make_cask.py "$archive" "$version" "$cask"
echo "$archive"
echo "$cask"
