"""The tests that could notice a wrong program, in the order in which they are likely to."""
import dataclasses
import os
import pathlib
import re

from builds import FOLDER, PROJECT, Failure, run, share_out
from runs import first_failure

# Which tests could notice a change in a room where nothing is counted, as of a constant: rooms of
# Tests/Unit, or files of tests.
COMMANDS = ["CommandLineTest", "SelfTestCommandTest"]
APPLICATION = ["MenuBarApplicationTest"]
HOSTILITY = ["FullDeviceTest", "HostileProcessTest"]
LOOKED_AT_BY = {
    "Ownership": ["Ownership", "CDdc", "Inventory", "Power", "Menu"] + COMMANDS,
    "Registry": ["Registry", "CDdc", "Inventory"],
    "CDdc": ["CDdc", "Power"] + COMMANDS,
    "WindowServer": ["WindowServer", "Power", "DisplayStoreTest"] + COMMANDS,
    "Power": ["Power", "DisplayStoreTest", "AppDelegateTest"] + COMMANDS,
    "Inventory": ["Inventory"] + COMMANDS + HOSTILITY,
    "CommandLine": COMMANDS + HOSTILITY,
    "Support": ["Support", "Inventory", "AppDelegateTest"] + COMMANDS + HOSTILITY + APPLICATION,
    "Menu": ["Menu"] + APPLICATION,
    "Veilpane": ["AppDelegateTest"] + COMMANDS + HOSTILITY + APPLICATION,
}
SAFETY_LOOKS_AT = {"Ownership", "Registry", "CDdc", "WindowServer", "Power", "Inventory"}
TEST = re.compile(r"^TEST(?:_F|_P)?\((\w+), *\w+\)|^INSTANTIATE_TEST_SUITE_P\(\w+, *(\w+)", re.MULTILINE)


@dataclasses.dataclass(frozen=True)
class Trial:
    """What is run at once at least: a suite of a test program, or the safety runs to some length."""
    program: str
    options: tuple
    homes: frozenset = frozenset({"Safety"})  # the rooms and files in which its tests are written

    @property
    def name(self):
        return " ".join((self.program,) + self.options).replace("--gtest_filter=", "")

    @property
    def is_safety(self):
        return self.program == "Soak"

    def command(self, program):
        """`program` is where the program lies."""
        return [program, *self.options, *(() if self.is_safety else ("--jobs", "1", "--screens"))]


def safety(faults, steps, jobs=1):
    return Trial("Soak", ("--faults", str(faults), "--steps", str(steps), "--jobs", str(jobs)))


SAFETY = [safety(300, 1000), safety(3000, 8000)]


def room_of(file):
    return pathlib.PurePosixPath(file).parent.name or "Veilpane"


def all_trials():
    """Everything that looks at the program, what answers soonest first."""
    return [*_suites("UnitTests", "Unit"), SAFETY[0], *_suites("MenuBarTests", "Unit"),
            *_suites("EndToEndTests", "EndToEnd"), SAFETY[1]]


def _suites(program, folder):
    homes = _homes(PROJECT / "Tests" / folder)
    for line in run([FOLDER / "Tests" / program, "--gtest_list_tests"]).stdout.splitlines():
        if not line.startswith(" ") and line.split("#")[0].rstrip().endswith("."):
            suite = line.split("#")[0].rstrip()
            yield Trial(program, (f"--gtest_filter={suite}*",), frozenset(homes[suite[:-1].split("/")[-1]]))


def _homes(folder):
    homes = {}
    for file in folder.rglob("*Test.*"):
        for suite, instantiated in TEST.findall(file.read_text(encoding="utf-8")):
            homes.setdefault(suite or instantiated, set()).update((file.parent.name, file.stem))
    return homes


def joined(trials):
    """The same trials, those of one test program after another in one."""
    of_program = {}
    for trial in trials:
        of_program.setdefault(trial.name if trial.is_safety else trial.program, []).append(trial)
    for some in of_program.values():
        filters = ":".join(option.removeprefix("--gtest_filter=") for trial in some for option in trial.options)
        yield some[0] if some[0].is_safety else Trial(some[0].program, (f"--gtest_filter={filters}",))


class Trials:
    """Chooses and runs trials. `reach` tells which of them run a line; without it all count as such."""

    def __init__(self, trials, reach=None):
        self.trials = trials
        self.reach = reach

    def require_all_pass(self, benches):
        """Runs every trial against the right program: a test that fails anyway notices nothing. Throws
        Failure for one that does."""
        failed = []

        def try_one(trial, bench):
            if failure := failure_in(trial, bench):
                failed.append(failure)

        share_out(joined(self.trials), benches, try_one)
        if failed:
            raise Failure("these tests fail with no bug planted: " + ", ".join(sorted(failed)))

    def noticing(self, file, lines, bench):
        """The name of what first fails on the bench, where these lines of the file are changed; None when
        all passes that could notice."""
        reaching = self.reach.names_for(file, lines) if self.reach else {trial.name for trial in self.trials}
        near = [trial for trial in self.trials if trial.name in reaching]
        own = [trial for trial in near if _is_of(trial, file)]
        others = [trial for trial in near if trial not in own]
        far = [trial for trial in self.trials if trial not in near and _may_notice(trial, file)]
        for trial in (*joined(own), *joined(others), *joined(far)):
            if failure := failure_in(trial, bench):
                return failure
        return None


def _is_of(trial, file):
    """Whether the tests are those of the file, by its name."""
    return any(home.startswith(pathlib.PurePosixPath(file).stem) for home in trial.homes)


def _may_notice(trial, file):
    room = room_of(file)
    return (room in SAFETY_LOOKS_AT if trial.is_safety
            else not trial.homes.isdisjoint((room, *LOOKED_AT_BY[room])))


def failure_in(trial, bench):
    """The name of the first test that fails on the bench; None when all pass."""
    command = trial.command(bench.program(trial.program))
    environment = dict(os.environ, TMPDIR=str(bench.folder / "tmp"))
    if trial.program == "EndToEndTests":
        environment["VEILPANE_PROGRAM"] = str(bench.program("Veilpane"))
    failure = first_failure(command, environment)
    # What waits for another process may fail for want of time.
    if failure and trial.program == "EndToEndTests":
        failure = first_failure(command, environment)
    return failure and f"{trial.program} {failure}"
