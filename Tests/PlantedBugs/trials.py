"""The tests that could notice a wrong program, in the order in which they are likely to."""
import collections
import dataclasses
import fcntl
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import threading

from builds import FOLDER, PROJECT, Failure, run, share_out

SECONDS_OF_WAITING = 20
SECONDS_OF_COMPUTING = 60  # the longest test takes some ten
NOTICED_BY = FOLDER / "noticed-by.json"

# Which tests could notice a change in a room: rooms of Tests/Unit, or files of tests.
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
TEST = re.compile(r"^TEST(?:_F|_P)?\((\w+), *(\w+)\)|^INSTANTIATE_TEST_SUITE_P\(\w+, *(\w+)", re.MULTILINE)
ANNOUNCEMENT = re.compile(r"\d+ fault runs to choose from")
SUMMARY = re.compile(r"\d+ fault runs, ")


@dataclasses.dataclass(frozen=True)
class Trial:
    """A test to run: a program, its options, and where the test is written."""
    program: str
    options: tuple
    room: str
    file: str

    @property
    def name(self):
        return " ".join((self.program,) + self.options).replace("--gtest_filter=", "")

    @property
    def is_safety(self):
        return self.program == "Soak"


SAFETY = [Trial("Soak", ("--faults", str(faults), "--steps", "0", "--jobs", "1"), "Safety", "Soak")
          for faults in (300, 3000)]


def room_of(file):
    return pathlib.PurePosixPath(file).parent.name or "Veilpane"


def all_trials():
    """Every test of the test programs, each to be run in a process of its own."""
    trials = []
    for program, folder in (("UnitTests", "Unit"), ("MenuBarTests", "Unit"), ("EndToEndTests", "EndToEnd")):
        homes = _homes(PROJECT / "Tests" / folder)
        for test in _listed(FOLDER / "Tests" / program):
            suite = test.split(".")[0].split("/")[-1]
            home = homes.get((suite, test.split(".")[1].split("/")[0])) or homes[suite, None]
            room = home.parent.name if folder == "Unit" else home.stem
            trials.append(Trial(program, (f"--gtest_filter={test}",), room, home.stem))
    return trials


def _homes(folder):
    homes = {}
    for file in folder.rglob("*Test.*"):
        for suite, test, instantiated in TEST.findall(file.read_text(encoding="utf-8")):
            homes[suite or instantiated, test or None] = file
            homes.setdefault((suite or instantiated, None), file)
    return homes


def _listed(program):
    suite = ""
    for line in run([str(program), "--gtest_list_tests"]).stdout.splitlines():
        name = line.split("#")[0].rstrip()
        if name.startswith("  "):
            yield suite + name.strip()
        elif name.endswith("."):
            suite = name


class Trials:
    """Chooses and runs trials; knows which has noticed most so far."""

    def __init__(self, trials):
        self.trials = trials + SAFETY
        self.lock = threading.Lock()
        self.noticed = collections.defaultdict(collections.Counter)
        if NOTICED_BY.exists():
            for file, counts in json.loads(NOTICED_BY.read_text(encoding="utf-8")).items():
                self.noticed[file].update(counts)

    def require_all_pass(self, benches):
        """Runs every trial against the right program: a test that fails anyway notices nothing. Throws
        Failure for one that does."""
        failed = []

        def try_one(trial, bench):
            if self.fails(trial, bench) and self._fails_again(trial, bench):
                failed.append(trial.name)

        share_out(self.trials, benches, try_one)
        if failed:
            raise Failure("these tests fail with no bug planted: " + ", ".join(sorted(failed)))

    def ordered(self, file):
        """The trials that could notice a change of this file, likely ones first."""
        room = room_of(file)
        stem = pathlib.PurePosixPath(file).stem
        rooms = LOOKED_AT_BY[room]

        def place(trial):
            return next((i for i, one in enumerate(rooms) if one in (trial.room, trial.file)), None)

        def rank(trial):
            if trial.name in self.noticed[file]:
                return -1, -self.noticed[file][trial.name]
            if trial.is_safety:
                return (1.5 if trial == SAFETY[0] else 2.5), 0
            return 1 if trial.file.startswith(stem) else 2 + place(trial), 0

        with self.lock:
            chosen = [trial for trial in self.trials
                      if place(trial) is not None or trial.is_safety and room in SAFETY_LOOKS_AT]
            return sorted(chosen, key=rank)

    def noticing(self, file, bench):
        """The name of the first trial that fails on the bench; None when all pass."""
        for trial in self.ordered(file):
            if self.fails(trial, bench) and self._fails_again(trial, bench):
                with self.lock:
                    self.noticed[file][trial.name] += 1
                return trial.name
        return None

    def remember(self):
        with self.lock:
            NOTICED_BY.write_text(json.dumps(self.noticed, indent=1, sort_keys=True), encoding="utf-8")

    # What waits for another process may fail for want of time.
    def _fails_again(self, trial, bench):
        return trial.program != "EndToEndTests" or self.fails(trial, bench)

    def fails(self, trial, bench):
        if trial.program != "EndToEndTests":
            return _ends_badly([bench.program(trial.program), *trial.options], bench)
        # These tests know the program by its path.
        with open(FOLDER / "desktop", "w", encoding="utf-8") as desktop:
            fcntl.flock(desktop, fcntl.LOCK_EX)
            shutil.copy2(bench.program("Veilpane"), FOLDER / "Veilpane.planted")
            os.replace(FOLDER / "Veilpane.planted", FOLDER / "Veilpane")
            return _ends_badly([bench.program("EndToEndTests"), *trial.options], bench)


def _ends_badly(command, bench):
    environment = dict(os.environ, TMPDIR=str(bench.folder / "tmp"))
    with subprocess.Popen([str(word) for word in command], env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, errors="replace",
                          start_new_session=True) as process:
        ended = threading.Event()
        watch = threading.Thread(target=_watch, args=(process, ended))
        watch.start()
        is_broken = _says_so(process)
        ended.set()
        watch.join()
        _end(process)
    return is_broken or process.returncode != 0


# Waiting for a processor counts for nothing, so that a busy machine makes no bug noticed.
def _watch(process, ended):
    """Ends the process and all of its group when they compute or wait for too long."""
    waited = 0
    while not ended.wait(1):
        states, seconds = _group(process.pid)
        waited = 0 if "R" in states or "D" in states else waited + 1
        if waited > SECONDS_OF_WAITING or seconds > SECONDS_OF_COMPUTING:
            _end(process)
            return


def _group(leader):
    """The states of a group's processes, and the processor time that they have taken."""
    states, ticks = set(), 0
    for folder in pathlib.Path("/proc").iterdir():
        if folder.name.isdigit():
            try:
                text = (folder / "stat").read_text(encoding="utf-8", errors="replace")
            except OSError:
                continue
            fields = text.rpartition(")")[2].split()
            if int(fields[2]) == leader:
                states.add(fields[0])
                ticks += sum(int(field) for field in fields[11:15])
    return states, ticks / os.sysconf("SC_CLK_TCK")


def _says_so(process):
    """Whether the safety runs tell of a violation, which need not be waited for to the end. Reads all
    that a process writes."""
    announced = False
    for line in process.stdout:
        if announced and not SUMMARY.match(line):
            return True
        announced = announced or ANNOUNCEMENT.match(line) is not None
    process.wait()
    return False


def _end(process):
    """Ends the process, should it still run, and all that it has started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
