#!/usr/bin/env python3
"""Checks that the rooms of Sources/ include each other in one direction only: check_layers.py [FOLDER]

A room may include itself, the rooms that its line below names and those that these may include in
turn; Support is open to all. An include against the direction is printed with the rule that it breaks,
and ends the check with status 1. So does a file that lies in no room.
"""
import pathlib
import re
import sys

ENTRY = "Veilpane"
SUPPORT = "Veilpane/Support"
MAY_INCLUDE = {
    ENTRY: ["Veilpane/CommandLine", "Veilpane/Menu"],
    "Veilpane/CommandLine": ["Veilpane/Inventory"],
    "Veilpane/Menu": ["Veilpane/Inventory"],
    "Veilpane/Inventory": ["Veilpane/Power"],
    "Veilpane/Power": ["Veilpane/WindowServer", "CDdc"],
    "Veilpane/WindowServer": [],
    "CDdc": ["Registry"],
    "Registry": ["Ownership"],
    "Ownership": [],
    SUPPORT: [],
}
INCLUDE = re.compile(r'\s*#\s*(?:include|import)\s*(?:"([^"]+)"|<([^>]+)>)')


def reachable(room):
    """The rooms that a file in this one may include."""
    found = {room, SUPPORT}
    for below in MAY_INCLUDE[room]:
        found |= reachable(below)
    return found


def included_rooms(file):
    """What a file includes of the project: line number, name and room. A header in angle brackets is the
    system's unless it lies in a room."""
    for number, line in enumerate(file.read_text(encoding="utf-8").splitlines(), start=1):
        if match := INCLUDE.match(line):
            name = match[1] or match[2]
            room = pathlib.PurePosixPath(name).parent.as_posix()
            if match[1] or room in MAY_INCLUDE:
                yield number, name, room


def problems(sources):
    for file in sorted(sources.rglob("*")):
        if file.suffix not in (".h", ".cpp", ".mm"):
            continue
        room = file.parent.relative_to(sources).as_posix()
        if room not in MAY_INCLUDE:
            yield f"{file}: lies in no room"
            continue
        allowed = reachable(room)
        for number, name, target in included_rooms(file):
            if target not in allowed:
                yield (f"{file}:{number}: includes {name}, but {room} may include only "
                       f"{', '.join(sorted(allowed))}")


def main(arguments):
    if "--help" in arguments:
        print("usage: check_layers.py [FOLDER]\n\n" + __doc__, end="")
        return 0
    if len(arguments) > 1:
        sys.exit("check_layers.py: there is one argument at most; see --help")
    sources = pathlib.Path(arguments[0] if arguments else "Sources")
    if not sources.is_dir():
        sys.exit(f"check_layers.py: {sources}: no such folder")
    found = list(problems(sources))
    for problem in found:
        print(problem, file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
