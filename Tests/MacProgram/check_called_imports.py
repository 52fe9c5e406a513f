#!/usr/bin/env python3
"""Tells which functions that the program imports no test has called: check_called_imports.py CALLED REASONS

CALLED is what macrun writes: a line "bound NAME" for each imported function, "called NAME" for each first
call in a process. A line of REASONS is a name, a colon, and why no test calls it; "#" begins a comment. A
function that is neither called nor explained ends the check with status 1, and so does a reason for one
that is called or not imported.
"""
import pathlib
import sys


def read_calls(file):
    """The functions that were bound, and those of them that were called."""
    found = {"bound": set(), "called": set()}
    for line in pathlib.Path(file).read_text(encoding="utf-8").splitlines():
        what, _, name = line.partition(" ")
        if what not in found or not name:
            sys.exit(f"check_called_imports.py: {file}: '{line}' is no line of macrun's")
        found[what].add(name)
    return found["bound"], found["called"]


def read_reasons(file):
    reasons = {}
    for line in pathlib.Path(file).read_text(encoding="utf-8").splitlines():
        name, _, reason = line.partition(":")
        if line.strip() and not line.startswith("#"):
            if not reason.strip():
                sys.exit(f"check_called_imports.py: {file}: '{line}' gives no reason")
            reasons[name.strip()] = reason.strip()
    return reasons


def complaints(bound, called, reasons):
    if not bound:
        yield "no import is told of: nothing has run"
    for name in sorted(bound - called - reasons.keys()):
        yield f"{name} is neither called nor explained"
    for name in sorted(called & reasons.keys()):
        yield f"{name} is called, in spite of its reason: {reasons[name]}"
    for name in sorted(reasons.keys() - bound):
        yield f"{name} has a reason, but is not imported"


def main(arguments):
    if len(arguments) != 2:
        sys.exit("usage: check_called_imports.py CALLED REASONS")
    try:
        bound, called = read_calls(arguments[0])
        reasons = read_reasons(arguments[1])
    except OSError as error:
        sys.exit(f"check_called_imports.py: {error.filename}: {error.strerror}")
    for name in sorted(bound - called):
        print(f"not called: {name}: {reasons.get(name, '?')}")
    print(f"{len(bound & called)} of {len(bound)} imported functions are called")
    found = list(complaints(bound, called, reasons))
    for complaint in found:
        print(complaint, file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
