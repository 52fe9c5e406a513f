#!/bin/sh
# Tries the program's promises and safety rules against everything that can go wrong, at length: every
# platform call failing in every way, random histories of users, programs and hardware. About ten minutes
# on two cores; what it is given goes to build/linux/Tests/Soak (--help).
set -eu

usage="usage: soak.sh [OPTION...]
       soak.sh --fuzz [SECONDS]

Without options: 100000 fault runs and 1000000 steps of histories. Its last line says
\"N fault runs, M history steps, V violations\"; it fails when there is a violation.
  --fault-run N      only this one, as a failure prints it
  --replay HISTORY   only this one, as a failure prints it
  --faults N, --steps N, --seed N, --jobs N
                     how much, from which seed, how many at once
  --part N           of one operation in N only; those under the sanitizers are of one in ten
  --fuzz [SECONDS]   the fuzzers instead, each for so long (600)"
# shellcheck source=Scripts/arguments.sh
. "$(dirname "$0")/arguments.sh"
answer_help "$@"
if [ "${1-}" = --fuzz ]; then
    [ $# -le 2 ] || refuse "$3"
    exec sh "$(dirname "$0")/fuzz.sh" "${2:-600}"
fi
# A wrong option is told before anything is installed.
is_option=yes
for word; do
    case "$is_option $word" in
    'yes --fault-run' | 'yes --replay' | 'yes --faults' | 'yes --steps' | 'yes --seed' | 'yes --jobs' | \
        'yes --part')
        is_option=no
        ;;
    yes*) refuse "$word" ;;
    *) is_option=yes ;;
    esac
done
[ $is_option = yes ] || fail 2 "'$word' needs a value; see --help"
cd "$(dirname "$0")/.."
sh Scripts/bootstrap.sh --tests
sh Scripts/build.sh linux Soak
case " $* " in
*" --faults "* | *" --steps "* | *" --fault-run "* | *" --replay "*) ;;
*) set -- --faults 100000 --steps 1000000 "$@" ;;
esac
# The simulated Macs' files: in memory where there is a place for them.
[ ! -w /dev/shm ] || export TMPDIR=/dev/shm
exec build/linux/Tests/Soak "$@"
