#!/usr/bin/env python3
"""Checks that each known limit names the tests that pin it: check_limits.py [PROJECT]

A row's last column holds nothing but tests in backticks, `Suite.test`; of a parameterised one
`Instantiation/Suite.test`, for one of its parameters with `/name` after it. Each must be a test in a file
below Tests/. Each limit that the safety runs excuse must be in a row. What is not so is printed, and ends
the check with status 1.
"""
import pathlib
import re
import sys

PAGE = "Docs/KnownLimits.md"
EXCUSES = "Tests/Safety/KnownLies.cpp"
TEST = re.compile(r"\bTEST(_F|_P)?\(\s*(\w+),\s*(\w+)\s*\)")
INSTANTIATION = re.compile(r"\bINSTANTIATE_TEST_SUITE_P\(\s*(\w+),\s*(\w+)\s*,")
PINNED = re.compile(r"`[^`]+`(, `[^`]+`)*")


def instantiations_of(suite, text):
    return [name for name, of in INSTANTIATION.findall(text) if of == suite]


def tests_in(text):
    """The tests of a file as GoogleTest names them, without their parameters."""
    for kind, suite, test in TEST.findall(text):
        if kind == "_P":
            yield from (f"{name}/{suite}.{test}" for name in instantiations_of(suite, text))
        else:
            yield f"{suite}.{test}"


def is_test(name, texts):
    suite, _, rest = name.partition(".")
    test, slash, parameter = rest.partition("/")
    return any(f"{suite}.{test}" in tests and (not slash or f'"{parameter}"' in text)
               for tests, text in texts)


def problems(project):
    files = [file for file in sorted((project / "Tests").rglob("*")) if file.suffix in (".cpp", ".mm")]
    texts = [(set(tests_in(text)), text) for text in
             (file.read_text(encoding="utf-8") for file in files)]
    lines = (project / PAGE).read_text(encoding="utf-8").splitlines()
    for number, line in enumerate(lines, start=1):
        if not line.startswith("|") or line.endswith("| Pinned by |") or not line.strip("|-"):
            continue
        pinned = line.rstrip("| ").rpartition("| ")[2]
        if not PINNED.fullmatch(pinned):
            yield f"{PAGE}:{number}: names no test in its last column"
            continue
        for name in re.findall(r"`([^`]+)`", pinned):
            if not is_test(name, texts):
                yield f"{PAGE}:{number}: '{name}' is no test"


def missing_rows(project):
    page = (project / PAGE).read_text(encoding="utf-8")
    excuses = project / EXCUSES
    text = excuses.read_text(encoding="utf-8") if excuses.is_file() else ""
    for name in re.findall(r'"([\w/]+\.[a-z]+_\w+)"', text):
        if f"`{name}`" not in page:
            yield f"{EXCUSES}: '{name}' is in no row of {PAGE}"


def main(arguments):
    if "--help" in arguments:
        print("usage: check_limits.py [PROJECT]\n\n" + __doc__, end="")
        return 0
    if len(arguments) > 1:
        sys.exit("check_limits.py: there is one argument at most; see --help")
    project = pathlib.Path(arguments[0] if arguments else ".")
    if not (project / PAGE).is_file():
        sys.exit(f"check_limits.py: {project / PAGE}: no such file")
    found = list(problems(project)) + list(missing_rows(project))
    for problem in found:
        print(problem, file=sys.stderr)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
