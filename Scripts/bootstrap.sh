#!/bin/sh
# Installs what the build and the tests need; does nothing when all of it is there.
set -eu

debian_packages="ca-certificates clang-19 cmake fonts-noto-cjk git gnustep-back0.29-cairo gobjc
libblocksruntime-dev libclang-rt-19-dev libglpk-dev libgnustep-base-dev libgnustep-gui-dev libgtest-dev
libpango1.0-dev libx11-dev libxtst-dev ninja-build nlohmann-json3-dev pkg-config xauth xvfb"

# Beside them, what only the measurements or the checks of style need.
case "${1:-}" in
--bench) debian_packages="$debian_packages time valgrind" ;;
--pictures) debian_packages="$debian_packages imagemagick xdotool" ;;
--tests)
    debian_packages="$debian_packages clang-format-19 clang-tidy-19 fish llvm-19 mandoc python3 ruby
shellcheck zsh"
    # The cross compiler comes through npm; another npm than Debian's will do.
    command -v npm >/dev/null 2>&1 || debian_packages="$debian_packages npm"
    ;;
'') ;;
*)
    echo "usage: bootstrap.sh [--bench|--pictures|--tests]" >&2
    exit 2
    ;;
esac

missing_debian_packages() {
    for package in $debian_packages; do
        dpkg-query -W -f='${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed' ||
            echo "$package"
    done
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null 2>&1; then
        sudo "$@"
    else
        echo "bootstrap.sh: need root, or sudo, to install: $missing" >&2
        exit 1
    fi
}

bootstrap_debian() {
    missing=$(missing_debian_packages | tr '\n' ' ')
    [ -n "$missing" ] || return 0
    echo "Installing: $missing"
    as_root apt-get update -qq
    # shellcheck disable=SC2086 # a list of names
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing
}

# A Mac needs Xcode's command-line tools and CMake; nothing is installed there unasked.
check_mac() {
    xcode-select -p >/dev/null 2>&1 || {
        echo "bootstrap.sh: the command-line tools are missing; get them with: xcode-select --install" >&2
        exit 1
    }
    command -v cmake >/dev/null 2>&1 || {
        echo "bootstrap.sh: CMake 3.25 or later is missing; get it from cmake.org or with: brew install cmake" >&2
        exit 1
    }
}

if [ "$(uname)" = Darwin ]; then
    check_mac
elif command -v apt-get >/dev/null 2>&1; then
    bootstrap_debian
else
    echo "bootstrap.sh: this is no Debian; install the counterparts of: $debian_packages" >&2
    exit 1
fi
