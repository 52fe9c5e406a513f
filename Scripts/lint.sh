#!/bin/sh
# Checks form: clang-format everywhere, clang-tidy on the program, shellcheck on the scripts, actionlint
# on the workflows, that no source file is left out of the build, that the program's rooms include each
# other in one direction only, and that the documents name tests that exist.
set -eu

usage="usage: lint.sh

Checks form: clang-format everywhere, clang-tidy on the program, shellcheck on the scripts, actionlint on
the workflows, that every source file is built, which rooms include which, and the documents' references.
It changes nothing."
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
take_no_arguments "$@"

cd "$(dirname "$0")/.."
# shellcheck source=Scripts/steps.sh
. Scripts/steps.sh
sh Scripts/bootstrap.sh --tests
sh Scripts/fetch-tools.sh

echo "Checking the format"
git ls-files '*.h' '*.cpp' '*.mm' | xargs clang-format-19 --dry-run --Werror

echo "Checking the scripts and workflows"
git ls-files '*.sh' .ci/run Packaging/veilpane Packaging/veilpane-login \
    Packaging/veilpane-uninstall | xargs shellcheck
shellcheck -s bash Packaging/completions/veilpane.bash

git ls-files '.github/workflows/*' | xargs node Scripts/npm/lint-workflows.mjs

echo "Checking builds, includes and references"
git ls-files 'Sources/*.cpp' 'Sources/*.mm' 'Tests/*.cpp' 'Tests/*.mm' 'Platform/*.cpp' \
    'Platform/*.mm' | while read -r file; do
    git grep -q "$(basename "$file")" -- '*CMakeLists.txt' '*.cmake' ||
        fail 1 "$file is in no build"
done

python3 Scripts/check_layers.py

# Platform/README.md and Platform/SimulatedMac/README.md tell who may include whom.
forbid() { # PATTERN FOLDER...
    pattern=$1
    shift
    ! git grep -nE "#(include|import) \"($pattern)" -- "$@" ':!*/Tests/*' ||
        fail 1 "these includes go against the arrows of Platform/README.md"
}
simulated=Platform/SimulatedMac
forbid 'SimulatedMac/|ObjectiveC/|Layout/|Runtime/|AppKit/|Foundation/' Sources Platform/Headers Platform/MacCross
forbid 'SimulatedMac/' Platform/GNUstep Platform/ObjectiveC
forbid 'Layout/|Runtime/|AppKit/|Foundation/' Platform/ObjectiveC "$simulated"
forbid 'SimulatedMac/|ObjectiveC/|Layout/|Runtime/|AppKit/|Foundation/' Platform/MacProgram
forbid 'SimulatedMac/|ObjectiveC/|Layout/|Runtime/|AppKit/|Foundation/|MacProgram/' Platform/MacProbe
forbid 'MacProbe/' Sources Platform/GNUstep Platform/ObjectiveC Platform/SimulatedMac Platform/MacProgram
forbid 'MacProgram/' Sources Platform/GNUstep Platform/ObjectiveC Platform/SimulatedMac
forbid 'SimulatedMac/(Calls|Tools)/|ObjectiveC/' "$simulated/World"
forbid 'SimulatedMac/(Tools/|World/(Attended)?Mac\.h)' "$simulated/Calls"
forbid 'SimulatedMac/(Calls/|World/Mac\.h)' "$simulated/Tools"

python3 Scripts/check_limits.py

# Two files at once, each with its number among them all.
tidy() {
    git ls-files 'Sources/*.cpp' 'Sources/*.mm' >build/lint-files.txt
    count=$(wc -l <build/lint-files.txt)
    : >build/lint-errors.log
    # shellcheck disable=SC2016 # the inner shell's own arguments
    awk -v count="$count" '{ print "[" NR "/" count "]", $0 }' build/lint-files.txt |
        xargs -P 2 -n 2 sh -c 'echo "$0 $1"; exec clang-tidy-19 -p build/linux --quiet "$1" 2>>build/lint-errors.log'
}
cmake --preset linux >/dev/null
step build/lint-tidy.log "Checking the program with clang-tidy, some minutes" tidy
