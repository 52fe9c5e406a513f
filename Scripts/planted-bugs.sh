#!/bin/sh
# Plants bugs in the program and tells which no test notices: planted-bugs.sh [OPTION…] (--help)
set -eu

cd "$(dirname "$0")/.."
case " $* " in
*" --help "* | *" -h "* | *" --list "*) ;;
*) sh Scripts/bootstrap.sh --tests ;;
esac
exec python3 Tests/PlantedBugs/plant.py "$@"
