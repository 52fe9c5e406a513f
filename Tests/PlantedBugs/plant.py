#!/usr/bin/env python3
"""Makes wrong programs out of Sources/, one small change each, and tells which no test notices.

A change that does not compile is no wrong program. Each of the others is run against the tests that run
the changed line, and then those that could notice it in another way, until one fails, or waits for 20 s, or
computes for a minute. Every survivor is printed with the line before and after, and the last line gives
the score. What is the same program in other words is listed in equal.txt beside this file, with the reason.

Which tests run which lines is counted before, in some minutes, and known until a source file changes.

Two idle cores judge some fifteen in a minute, but need a minute for one that survives. So only as many are
planted as take an hour, evenly over everything; --all and --only plant whatever there is.

The exit status is 0 when every wrong program was noticed, 1 when one survived, 2 for bad usage or when the
tests fail by themselves.
"""
import argparse
import collections
import hashlib
import os
import pathlib
import signal
import sys
import threading

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import builds  # noqa: E402
import mutations  # noqa: E402
import reach  # noqa: E402
import runs  # noqa: E402
import trials  # noqa: E402

HERE = pathlib.Path(__file__).resolve().parent
ORDER = ["Power", "WindowServer", "CDdc", "Registry", "Inventory", "CommandLine", "Support", "Ownership",
         "Veilpane", "Menu"]
SAMPLE = 900  # as many as take an hour
SOAK = trials.safety(10000, 0, jobs=2)  # as the suite's own sample


def source_files():
    files = [path.relative_to(builds.SOURCES).as_posix() for path in sorted(builds.SOURCES.rglob("*"))
             if path.suffix in (".h", ".cpp", ".mm")]
    return sorted(files, key=lambda file: (ORDER.index(trials.room_of(file)), file))


def text_of(file):
    return (builds.SOURCES / file).read_text(encoding="utf-8")


def all_mutants():
    return [mutant for file in source_files() for mutant in mutations.mutants_of(file, text_of(file))]


def equal_entries(mutants, path=HERE / "equal.txt"):
    """The mutants that are the program itself in other words. Throws Failure for an entry that fits
    none."""
    by_change = collections.defaultdict(set)
    for mutant in mutants:
        by_change[mutant.file, mutant.kind, mutant.changed_lines(text_of(mutant.file))].add(mutant)
    equal = set()
    for file, kind, before, after, reason in read_equal(path):
        fitting = by_change.get((file, kind, (before, after)))
        if not fitting or not reason:
            raise builds.Failure(f"equal.txt: '{file} {kind}: {after}' fits no wrong program any more")
        equal |= fitting
    return equal


def read_equal(path):
    """Entries of four lines and an empty one: file and kind, the line before, after, the reason."""
    lines = [line for line in path.read_text(encoding="utf-8").splitlines() if not line.startswith("#")]
    for entry in "\n".join(lines).strip().split("\n\n"):
        parts = entry.split("\n")
        if entry and (len(parts) != 4 or not parts[1].startswith("- ") or not parts[2].startswith("+ ")):
            raise builds.Failure(f"equal.txt: this is no entry:\n{entry}")
        if entry:
            file, _, kind = parts[0].partition(" ")
            yield file, kind, parts[1][2:], parts[2][2:], parts[3].strip()


def chosen_from(mutants, options):
    if options.only:
        mutants = [mutant for mutant in mutants if any(part in mutant.file for part in options.only)]
        if not mutants:
            raise builds.Failure(f"nothing can be planted in {', '.join(options.only)}")
    scattered = sorted(mutants, key=lambda mutant: hashlib.sha1(mutant.name.encode()).digest())
    rest = scattered[options.skip or 0:]
    kept = set(rest[:options.count])
    if not kept:
        raise builds.Failure(f"there are only {len(mutants)} to choose from")
    return [mutant for mutant in mutants if mutant in kept]


class Tally:
    """What has become of the wrong programs so far."""

    def __init__(self, wanted):
        self.wanted = wanted
        self.lock = threading.Lock()
        self.verdicts = collections.defaultdict(collections.Counter)
        self.done = 0

    def add(self, mutant, verdict, test=None):
        with self.lock:
            self.done += 1
            self.verdicts[trials.room_of(mutant.file)][verdict] += 1
            if verdict == "survived":
                before, after = mutant.changed_lines(text_of(mutant.file))
                print(f"survived: {mutant.name}\n    - {before}\n    + {after}", flush=True)
            with open(builds.FOLDER / "verdicts.txt", "a", encoding="utf-8") as file:
                file.write(f"{verdict}\t{mutant.name}\t{test or ''}\n")
            if self.done % 20 == 0:
                print(f"{self.done} of {self.wanted}", file=sys.stderr, flush=True)

    def count(self, verdict):
        return sum(counts[verdict] for counts in self.verdicts.values())

    def print_rooms(self):
        for room in sorted(self.verdicts, key=ORDER.index):
            counts = self.verdicts[room]
            print(f"{room}: {counts['noticed'] + counts['survived']} planted, {counts['survived']} survived, "
                  f"{counts['not compiling']} did not compile")


def judge_all(mutants, benches, knowledge, tally):
    def judge_one(mutant, bench):
        try:
            judge(mutant, bench, knowledge, tally)
        finally:
            bench.restore()

    builds.share_out(mutants, benches, judge_one)


def judge(mutant, bench, knowledge, tally):
    planted = mutant.applied(text_of(mutant.file))
    if not bench.plant(mutant.file, planted):
        tally.add(mutant, "not compiling")
        return
    test = knowledge.noticing(mutant.file, changed_lines(text_of(mutant.file), planted), bench)
    if runs.STOPPED.is_set():
        return
    tally.add(mutant, "noticed" if test else "survived", test)


def changed_lines(before, after):
    """The numbers of the first text's lines from the first to the last that the second has not; where
    lines are only put in, that of the next one."""
    old, new = before.split("\n"), after.split("\n")
    first = len(os.path.commonprefix([old, new]))
    same = len(os.path.commonprefix([old[first:][::-1], new[first:][::-1]]))
    return range(first + 1, max(len(old) - same, first + 1) + 1)


def score(noticed, survived):
    return 100.0 * noticed / max(noticed + survived, 1)


def plant(options):
    mutants = all_mutants()
    equal = equal_entries(mutants)
    chosen = chosen_from(mutants, options)
    if options.list:
        for mutant in chosen:
            print(mutant.name + (" (equal)" if mutant in equal else ""))
        return 0
    to_judge = [mutant for mutant in chosen if mutant not in equal]
    builds.build_all()
    benches = make_benches(options.jobs)
    knowledge = everything(options.jobs)
    if not options.unchecked:
        knowledge.require_all_pass(benches)
    tally = Tally(len(to_judge))
    judge_all(to_judge, benches, knowledge, tally)
    tally.print_rooms()
    noticed, survived = tally.count("noticed"), tally.count("survived")
    print(f"{noticed + survived} planted, {noticed} noticed, {survived} survived, "
          f"{len(chosen) - len(to_judge)} equal to the program: score {score(noticed, survived):.1f} %")
    return 1 if survived else 0


def everything(jobs):
    """All trials, and which lines they run. The long safety runs are not counted: they run the same lines
    as the short ones."""
    known = trials.all_trials()
    return trials.Trials(known, reach.reach_of([trial for trial in known if trial != trials.SAFETY[1]], jobs))


def make_benches(jobs):
    recipes = builds.Recipes()
    return [builds.Bench(recipes, number) for number in range(jobs)]


def read_bugs(path):
    """The bugs of a list: for each its title, the file, and the file's text with the bug in it."""
    text = "\n".join(line for line in path.read_text(encoding="utf-8").split("\n") if line[:1] != "#" or
                     line.startswith("#include"))
    for entry in text.strip().removeprefix("=== ").split("\n\n=== "):
        title, _, rest = entry.partition("\n")
        file, _, changes = rest.partition("\n")
        yield title, file, text_with(changes, text_of(file), title)


def text_with(changes, text, title):
    """A text after changes, each of them lines, "--- becomes" and other lines."""
    for change in changes.split("\n--- and\n"):
        before, separator, after = change.partition("\n--- becomes")
        if not separator or text.count(before) != 1:
            raise builds.Failure(f"'{title}': what it replaces is not in the file just once")
        text = text.replace(before, after.removeprefix("\n"))
    return text


def plant_list(bugs, knowledge, benches):
    """Plants each and tells by what it is noticed. The number of those that are."""
    noticed = []

    def plant_one(bug, bench):
        title, file, text = bug
        if not bench.plant(file, text):
            raise builds.Failure(f"'{title}' does not compile")
        test = knowledge.noticing(file, changed_lines(text_of(file), text), bench)
        bench.restore()
        if test and not runs.STOPPED.is_set():
            noticed.append(title)
        print(f"noticed: {title} ({test})" if test else f"SURVIVED: {title}", flush=True)

    builds.share_out(bugs, benches, plant_one)
    return len(noticed)


def plant_lists(options):
    """The bugs chosen by hand are for the safety runs alone, which take all processors."""
    path = HERE / ("by-hand.txt" if options.by_hand else "once-unnoticed.txt")
    bugs = list(read_bugs(path))
    builds.build_all()
    benches = make_benches(1 if options.by_hand else options.jobs)
    knowledge = trials.Trials([SOAK]) if options.by_hand else everything(options.jobs)
    if not options.unchecked:
        knowledge.require_all_pass(benches)
    noticed = plant_list(bugs, knowledge, benches)
    print(f"{path.name}: {len(bugs)} planted, {noticed} noticed")
    return 0 if noticed == len(bugs) else 1


def natural(text):
    number = int(text)
    if number < 1:
        raise ValueError
    return number


def options_from(words):
    parser = argparse.ArgumentParser(prog="planted-bugs.sh", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--jobs", type=natural, default=2, metavar="N", help="so many at once (2)")
    parser.add_argument("--only", action="append", metavar="FILE",
                        help="only in files whose path below Sources/ has this in it; may be repeated")
    parser.add_argument("--count", type=natural, metavar="N", help=f"only N, taken evenly ({SAMPLE})")
    parser.add_argument("--skip", type=natural, metavar="N",
                        help="not the first N of them, to go on after another run")
    parser.add_argument("--all", action="store_true", help="all of them, for two to three hours")
    parser.add_argument("--list", action="store_true", help="only print the names")
    parser.add_argument("--unchecked", action="store_true",
                        help="take it that the tests pass with no bug planted")
    lists = parser.add_mutually_exclusive_group()
    lists.add_argument("--by-hand", action="store_true",
                       help="the bugs chosen by hand instead, against the safety runs alone")
    lists.add_argument("--once-unnoticed", action="store_true",
                       help="the bugs instead that all tests once let pass")
    # One line: --help has the rest.
    parser.error = lambda text: parser.exit(2, f"planted-bugs.sh: {text}; see --help\n")
    options = parser.parse_args(words)
    chooses = options.only or options.count or options.skip or options.list or options.all
    if chooses and (options.by_hand or options.once_unnoticed):
        parser.error("of a list all bugs are planted")
    if options.all and (options.count or options.skip):
        parser.error("all of them are more than some")
    if not (options.all or options.only or options.list or options.count):
        options.count = SAMPLE
    return options


def end_at_once(*_):
    runs.STOPPED.set()
    raise KeyboardInterrupt


def main():
    options = options_from(sys.argv[1:])
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, end_at_once)
    try:
        return plant_lists(options) if options.by_hand or options.once_unnoticed else plant(options)
    except KeyboardInterrupt:
        return 130
    except builds.Failure as failure:
        print(f"planted-bugs.sh: {failure}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
