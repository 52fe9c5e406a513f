#!/bin/sh
# Makes Veilpane.app and a zip of it in build/package: package.sh
#
# On a Mac from the native build, and sealed; elsewhere from the cross-compiled program, which is
# signed ad hoc by its linker, while the bundle around it is not sealed.
set -eu

cd "$(dirname "$0")/.."
case "$(uname)" in
Darwin) preset=macos ;;
*)
    sh Scripts/bootstrap.sh --tests
    sh Scripts/fetch-zig.sh
    preset=macos-cross
    ;;
esac
sh Scripts/build.sh "$preset"

setting() { # PATTERN: of CMakeLists.txt, with one group
    sed -n "s/^$1.*/\\1/p" CMakeLists.txt
}
version=$(setting 'project(Veilpane VERSION \([0-9.]*\)')
oldest_system=$(setting 'set(CMAKE_OSX_DEPLOYMENT_TARGET \([0-9.]*\)')
seconds=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}

mkdir -p build/package
python3 Packaging/make_bundle.py "build/$preset/Veilpane" "$version" "$oldest_system" build/package
if [ "$preset" = macos ]; then
    codesign --force --sign - build/package/Veilpane.app
else
    echo "The bundle is not sealed: that needs codesign on a Mac. Its program is signed ad hoc."
fi
python3 Packaging/make_zip.py build/package/Veilpane.app "build/package/Veilpane-$version.zip" "$seconds"
echo "build/package/Veilpane-$version.zip"
