"""Which tests run which lines of Sources/, so that a wrong line is shown first to those that run it."""
import hashlib
import json
import os
import shutil
import sys

from builds import FOLDER, PROJECT, SOURCES, Failure, run, share_out

BUILD = PROJECT / "build" / "linux-coverage"
KNOWN = FOLDER / "reach.json"
# A program's own lines, and those that it has another one run.
COUNTED = {"UnitTests": "Tests/UnitTests", "MenuBarTests": "Tests/MenuBarTests", "EndToEndTests": "Veilpane",
           "Soak": "Tests/Soak"}


class Reach:
    """`lines` has for each trial's name the lines that it runs of each file, named from Sources/ on."""

    def __init__(self, lines):
        self.names = {}
        for name, files in lines.items():
            for file, numbers in files.items():
                for number in numbers:
                    self.names.setdefault((file, number), set()).add(name)

    def names_for(self, file, numbers):
        """The names of the trials that run one of the lines."""
        return set().union(*(self.names.get((file, number), ()) for number in numbers))


def reach_of(trials, jobs):
    """Counts what each trial runs, unless that is known from a run on the same files."""
    key = _key(trials)
    if KNOWN.exists():
        known = json.loads(KNOWN.read_text(encoding="utf-8"))
        if known["key"] == key:
            return Reach(known["lines"])
    lines = _counted(trials, jobs)
    KNOWN.write_text(json.dumps({"key": key, "lines": lines}), encoding="utf-8")
    return Reach(lines)


def _key(trials):
    """Changes with every file that may change what a trial runs."""
    digest = hashlib.sha1(" ".join(trial.name for trial in trials).encode())
    for folder in (SOURCES, PROJECT / "Platform", PROJECT / "Tests"):
        for path in sorted(folder.rglob("*")):
            if path.suffix in (".h", ".cpp", ".mm", ".json"):
                digest.update(path.read_bytes())
    return digest.hexdigest()


def _counted(trials, jobs):
    print("counting which lines each suite of tests runs, some minutes", file=sys.stderr, flush=True)
    for command in (["cmake", "--preset", "linux-coverage"],
                    ["cmake", "--build", "--preset", "linux-coverage", "--target", *COUNTED, "macsim"]):
        done = run(command)
        if done.returncode != 0:
            raise Failure(f"the program does not build for counting:\n{done.stdout}")
    lines = {}

    def count(trial, number):
        lines[trial.name] = _lines_of(trial, FOLDER / f"counts{number}")

    share_out(trials, range(jobs), count)
    return lines


def _lines_of(trial, folder):
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "tmp").mkdir(parents=True)
    # Continuous (%c): a process that ends by _exit or a signal has written its counts, too.
    environment = dict(os.environ, TMPDIR=str(folder / "tmp"), LLVM_PROFILE_FILE=f"{folder}/%c%m.profraw")
    run(trial.command(BUILD / "Tests" / trial.program), environment=environment)
    counts = list(folder.glob("*.profraw"))
    if not counts:
        return {}
    merged = folder / "merged"
    run(["llvm-profdata-19", "merge", "-sparse", *counts, "-o", merged])
    done = run(["llvm-cov-19", "export", "-format=lcov", "-skip-functions", f"-instr-profile={merged}",
                BUILD / COUNTED[trial.program], SOURCES])
    if done.returncode != 0:
        raise Failure(f"what {trial.name} runs cannot be counted:\n{done.stdout}")
    return _lines_that_ran(done.stdout)


def _lines_that_ran(lcov):
    lines, file = {}, None
    for entry in lcov.splitlines():
        kind, _, value = entry.partition(":")
        if kind == "SF":
            file = (PROJECT / value).relative_to(SOURCES).as_posix()
        elif kind == "DA":
            number, times = value.split(",")[:2]
            if times != "0":
                lines.setdefault(file, []).append(int(number))
    return lines
