#!/bin/sh
# Installs what the build and the tests need; does nothing when all of it is there.
set -eu

usage="usage: bootstrap.sh [--arm64|--bench|--pictures|--tests]

Installs what the build needs, with apt; does nothing when all of it is there. On a Mac it only tells what
is missing.
  --arm64     also what programs for arm64 need, in a folder of the project
  --bench     also what the measurements need
  --pictures  also what the pictures need
  --tests     also what the tests and the checks of form need

With --arm64 it exits with 3 when the system's package sources have none of it for arm64, with 1 after
every other failure."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"

# A|B is the first of the two that apt knows: Debian 12 has GNUstep's 0.29, Ubuntu 24.04 its 0.30.
debian_packages="ca-certificates clang-19 cmake fonts-noto-cjk git
gnustep-back0.29-cairo|gnustep-back0.30-cairo gobjc libblocksruntime-dev libclang-rt-19-dev libglpk-dev libgnustep-base-dev libgnustep-gui-dev libgtest-dev
libpango1.0-dev libx11-dev libxtst-dev ninja-build nlohmann-json3-dev pkg-config xauth xvfb"

# Beside them, what only the measurements, the checks of style or programs for arm64 need.
arm64_packages=
case "${1:-}" in
--arm64)
    debian_packages="$debian_packages lld-19 qemu-user-static"
    arm64_packages="g++ gnustep-back0.29-cairo|gnustep-back0.30-cairo gobjc libblocksruntime-dev libglpk-dev
libgnustep-base-dev libgnustep-gui-dev libx11-dev nlohmann-json3-dev"
    ;;
--bench) debian_packages="$debian_packages time valgrind" ;;
--pictures) debian_packages="$debian_packages imagemagick xdotool" ;;
--tests)
    debian_packages="$debian_packages clang-format-19 clang-tidy-19 fish lld-19 llvm-19 mandoc python3 ruby
shellcheck unzip zsh"
    # The cross compiler comes through npm; another npm than Debian's will do.
    command -v npm >/dev/null 2>&1 || debian_packages="$debian_packages npm"
    ;;
'') ;;
*) refuse "$1" ;;
esac

alternatives() { # A|B
    echo "$1" | tr '|' ' '
}

is_installed() { # A|B
    for package in $(alternatives "$1"); do
        ! dpkg-query -W -f='${Status}\n' "$package" 2>/dev/null | grep -q '^install ok installed' ||
            return 0
    done
    return 1
}

missing_debian_packages() {
    for packages in $debian_packages; do
        is_installed "$packages" || echo "$packages"
    done
}

known_package() { # A|B: prints the first that apt knows
    for package in $(alternatives "$1"); do
        if apt-cache show "$package" >/dev/null 2>&1; then
            echo "$package"
            return 0
        fi
    done
    return 1
}

release_name() {
    name=$(sed -n 's/^PRETTY_NAME="\{0,1\}\([^"]*\)"\{0,1\}$/\1/p' \
        "${BOOTSTRAP_OS_RELEASE:-/etc/os-release}" 2>/dev/null) || true
    echo "${name:-this system}"
}

check_release() { # A|B…: all that is to be installed
    unknown=
    for packages in "$@"; do
        known_package "$packages" >/dev/null || unknown="$unknown $packages"
    done
    [ -z "$unknown" ] ||
        fail 1 "$(release_name) is not known here, and its apt has no$unknown; Debian 12 has all that is needed"
}

as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    elif command -v sudo >/dev/null 2>&1; then
        sudo "$@"
    else
        fail 1 "there is no sudo; let root type: apt-get update && apt-get install $(echo "$missing" | sed 's/|[^ ]*//g; s/ *$//')"
    fi
}

bootstrap_debian() {
    missing=$(missing_debian_packages | tr '\n' ' ')
    [ -n "$missing" ] || return 0
    echo "Installing: $missing"
    as_root apt-get update -qq || fail 1 "apt cannot fetch its lists; connect to a network, then run this again"
    # shellcheck disable=SC2086 # a list of names
    check_release $missing
    names=$(for packages in $missing; do known_package "$packages"; done)
    # shellcheck disable=SC2086 # a list of names
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $names ||
        fail 1 "apt cannot install all of it, see above; with a network and room on the disk run this again"
}

cmake_is_recent() {
    version=$(cmake --version 2>/dev/null | sed -n '1s/^cmake version \([0-9]*\.[0-9]*\).*/\1/p')
    case "$version" in
    '' | [0-2].* | 3.[0-9] | 3.1[0-9] | 3.2[0-5]) return 1 ;;
    esac
}

# A Mac needs Xcode's command-line tools and CMake; nothing is installed there unasked. CMake 3.25, which
# Debian 12 has, does not ask Apple's compiler for C++23 in Objective-C++.
check_mac() {
    xcode-select -p >/dev/null 2>&1 ||
        fail 1 "the command-line tools are missing; get them with: xcode-select --install"
    cmake_is_recent ||
        fail 1 "CMake 3.26 or later is missing; get it from cmake.org or with: brew install cmake"
}

if [ "$(uname)" = Darwin ]; then
    check_mac
elif command -v apt-get >/dev/null 2>&1; then
    bootstrap_debian
    # shellcheck disable=SC2086 # a list of names
    [ -z "$arm64_packages" ] || sh "$(dirname "$0")/fetch-arm64-root.sh" $arm64_packages
else
    fail 1 "this is no Debian; install the counterparts of: $(echo "$debian_packages" | tr '\n' ' ')"
fi
