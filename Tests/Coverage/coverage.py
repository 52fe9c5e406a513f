#!/usr/bin/env python3
"""Tells which lines, functions and branches the tests reach: coverage.py LINES.lcov COVERAGE.json UNREACHED

Prints the figures of each file and every line and branch that is not reached. Ends with status 1 unless
those that are not reached are exactly those that the file UNREACHED explains, a line for each:

    FILE | line, true or false | CODE | REASON

CODE is the line without the spaces around it, or the condition that is never true or never false. It
stands for one place in the file; "line ×2" and the like for so many.
"""
import collections
import json
import pathlib
import re
import sys

# A count that is the difference of two others is negative where a process ended in between.
NEGATIVE = 1 << 62

Place = collections.namedtuple("Place", "file line kind code")


def count(number):
    return 0 if number >= NEGATIVE else number


def name_of(file):
    path = pathlib.Path(file)
    return path.relative_to(pathlib.Path.cwd()).as_posix() if path.is_absolute() else path.as_posix()


class Sources:
    """The texts of the source files."""

    def __init__(self):
        self.lines = {}

    def line(self, file, number):
        if file not in self.lines:
            self.lines[file] = pathlib.Path(file).read_text(encoding="utf-8").splitlines()
        return self.lines[file][number - 1]

    def code(self, file, begin, end):
        """From a (line, column) to another; columns are of bytes, from 1."""
        (first, left), (last, right) = begin, end
        lines = [self.line(file, number).encode() for number in range(first, last + 1)]
        lines[-1] = lines[-1][:right - 1]
        lines[0] = lines[0][left - 1:]
        return " ".join(line.decode().strip() for line in lines)


def line_counts(lcov):
    """How often each line ran: {(file, line): count}."""
    counts = {}
    file = None
    for entry in lcov.splitlines():
        kind, _, value = entry.partition(":")
        if kind == "SF":
            file = name_of(value)
        elif kind == "DA":
            number, times = value.split(",")[:2]
            counts[file, int(number)] = count(int(times))
    return counts


def function_counts(data):
    """How often each function ran, however many types it was made for: {(file, line, column): count}."""
    counts = collections.Counter()
    for function in data["functions"]:
        line, column = function["regions"][0][:2]
        counts[name_of(function["filenames"][0]), line, column] += count(function["count"])
    return counts


def branch_counts(data):
    """How often each condition was true and false: {(file, begin, end): [true, false]}."""
    counts = collections.defaultdict(lambda: [0, 0])
    for file in data["files"]:
        for branch in file["branches"]:
            both = counts[name_of(file["filename"]), tuple(branch[0:2]), tuple(branch[2:4])]
            both[0] += count(branch[4])
            both[1] += count(branch[5])
    return counts


def unreached_places(lines, branches, sources):
    for (file, number), times in sorted(lines.items()):
        if times == 0:
            yield Place(file, number, "line", sources.line(file, number).strip())
    for (file, begin, end), both in sorted(branches.items()):
        for kind, times in zip(("true", "false"), both):
            if times == 0 and lines.get((file, begin[0]), 1) != 0:
                yield Place(file, begin[0], kind, sources.code(file, begin, end))


def explanations(path):
    """What is explained: {(file, kind, code): (line in the file of explanations, how often)}."""
    explained = {}
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), start=1):
        if not line or line.startswith("#"):
            continue
        # The code may hold a bar of its own.
        file, _, rest = line.partition(" | ")
        kind, _, rest = rest.partition(" | ")
        code, _, reason = rest.rpartition(" | ")
        form = re.fullmatch(r"(line|true|false)(?: ×(\d+))?", kind)
        if not form or not code or not reason.strip():
            raise ValueError(f"{path}:{number}: not FILE | line, true or false | CODE | REASON")
        explained[file, form[1], code] = number, int(form[2] or 1)
    return explained


def reached_of(counts, file):
    """How many of a file's there are, and how many of them ran."""
    of_file = [times for key, times in counts.items() if file in (None, key[0])]
    return len(of_file), sum(times > 0 for times in of_file)


def print_figures(kinds):
    files = sorted({key[0] for counts in kinds for key in counts})
    print(f"{'':58} {'lines':>11} {'functions':>11} {'branches':>11}")
    for file in files + [None]:
        figures = (f"{reached}/{there_are}" for there_are, reached in
                   (reached_of(counts, file) for counts in kinds))
        print(f"{file or 'all':58} " + " ".join(f"{figure:>11}" for figure in figures))


def describe(place):
    what = "is not reached" if place.kind == "line" else f"is never {place.kind}"
    return f"{place.file}:{place.line}: {what}: {place.code}"


def report(lcov, data, unreached):
    lines = line_counts(pathlib.Path(lcov).read_text(encoding="utf-8"))
    branches = branch_counts(data)
    ways = {key + (kind,): times for key, both in branches.items() for kind, times in enumerate(both)}
    if not lines or not ways:
        sys.exit("coverage.py: nothing was counted")
    print_figures((lines, function_counts(data), ways))

    path = pathlib.Path(unreached)
    explained = explanations(path)
    places = list(unreached_places(lines, branches, Sources()))
    keys = collections.Counter((place.file, place.kind, place.code) for place in places)
    unexplained = [place for place in places if (place.file, place.kind, place.code) not in explained]
    stale = [key for key, (_, times) in explained.items() if keys[key] != times]

    print(f"\n{len(places)} lines and branches are not reached, {len(unexplained)} of them unexplained")
    for place in places:
        print(("? " if place in unexplained else "  ") + describe(place))
    for key in stale:
        number, times = explained[key]
        print(f"{path}:{number}: explains {times}, and {keys[key]} are not reached: {' | '.join(key)}")
    return 1 if unexplained or stale else 0


def main(arguments):
    if len(arguments) != 3:
        sys.exit("usage: coverage.py LINES.lcov COVERAGE.json UNREACHED")
    data = json.loads(pathlib.Path(arguments[1]).read_text(encoding="utf-8"))["data"][0]
    try:
        return report(arguments[0], data, arguments[2])
    except ValueError as error:
        sys.exit(f"coverage.py: {error}")


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
