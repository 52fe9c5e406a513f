#!/usr/bin/env python3
"""Checks that no program of a folder calls a display function of the real Mac:
check_simulated.py NM FOLDER REAL_PROGRAM

NM is Apple's or LLVM's nm. REAL_PROGRAM is one that does call them, by which the check is checked."""

import os
import pathlib
import subprocess
import sys

DISPLAY_LIBRARIES = ("CoreGraphics", "IOKit", "SkyLight")
REPLACED_FUNCTIONS = ("_dlopen", "_dlsym", "_dlclose", "_posix_spawn", "_pipe", "_fcntl",
                      "_read", "_waitpid", "_NSBeep")


def real_calls(nm, program):
    lines = subprocess.run([nm, "-m", "-u", str(program)], check=True, capture_output=True,
                           text=True).stdout.splitlines()
    imports = [line.split() for line in lines if "external" in line]
    if not imports:
        raise ValueError(f"{program} imports nothing")
    for words in imports:
        symbol, library = words[words.index("external") + 1], words[-1].rstrip(")")
        if library in DISPLAY_LIBRARIES or symbol in REPLACED_FUNCTIONS:
            yield f"{program.name} calls {symbol} of {library}"


def main(arguments):
    if len(arguments) != 3:
        print("usage: check_simulated.py NM FOLDER REAL_PROGRAM", file=sys.stderr)
        return 2
    nm, folder, real = arguments[0], pathlib.Path(arguments[1]), pathlib.Path(arguments[2])
    programs = [path for path in sorted(folder.iterdir())
                if path.is_file() and os.access(path, os.X_OK)]
    found = [call for program in programs for call in real_calls(nm, program)]
    if len(programs) < 7:
        found.append(f"only {len(programs)} programs are in {folder}")
    if len(list(real_calls(nm, real))) < len(REPLACED_FUNCTIONS):
        found.append(f"the calls of {real} are not seen")
    print("\n".join(found))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
