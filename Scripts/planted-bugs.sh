#!/bin/sh
# Plants bugs in the program and tells which no test notices: planted-bugs.sh [OPTION…] (--help)
set -eu

cd "$(dirname "$0")/.."
# A wrong option is told before anything is installed.
! command -v python3 >/dev/null 2>&1 || PYTHONPATH=Tests/PlantedBugs python3 -B -c '
import sys, plant
plant.options_from(sys.argv[1:])' "$@"
case " $* " in
*" --help "* | *" -h "*) exit ;;
*" --list "*) ;;
*) sh Scripts/bootstrap.sh --tests ;;
esac
exec python3 Tests/PlantedBugs/plant.py "$@"
