#!/usr/bin/env python3
"""Checks that no object of the program is destroyed while the process exits:
check_destructors.py NM FILE...

AppKit may call the delegate until the very end, and with it whatever the delegate asks for. A compiler
registers the destructor of a static object by a call of `__cxa_atexit`; so no FILE, a library or an object
file, may import it."""

import subprocess
import sys

REGISTRATION = "__cxa_atexit"


def registrations(nm, file):
    """The lines of nm that import the registration; `file: U symbol`."""
    outcome = subprocess.run([nm, "-A", "-u", file], capture_output=True, text=True, check=True)
    if "U " not in outcome.stdout:
        sys.exit(f"check_destructors.py: {file}: imports nothing, so it is not the program")
    return [line for line in outcome.stdout.splitlines() if line.split()[-1] == REGISTRATION]


def main(arguments):
    if len(arguments) < 2:
        sys.exit("usage: check_destructors.py NM FILE...")
    nm, *files = arguments
    found = [line for file in files for line in registrations(nm, file)]
    for line in found:
        print(f"{line.split()[0]} a static object is destroyed at exit", file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
