"""The program and its tests, built once; then, for each wrong program, only what it changes."""
import collections
import concurrent.futures
import json
import pathlib
import shlex
import shutil
import subprocess
import threading

from runs import STOPPED

PROJECT = pathlib.Path(__file__).resolve().parents[2]
SOURCES = PROJECT / "Sources"
FOLDER = PROJECT / "build" / "planted"
PROGRAMS = {"UnitTests": "Tests/UnitTests", "MenuBarTests": "Tests/MenuBarTests",
            "EndToEndTests": "Tests/EndToEndTests", "Soak": "Tests/Soak", "Veilpane": "Veilpane"}
# Not optimised, and without the warnings that a wrong program brings.
DROPPED_FLAGS = ("-O", "-g", "-W", "-M")


class Failure(Exception):
    """Something that keeps the whole run from making sense, in a line for the user."""


def run(command, folder=PROJECT, environment=None):
    """What ran, with its output. Throws Failure for what a signal has ended."""
    done = subprocess.run(command, cwd=folder, env=environment, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, errors="replace", check=False)
    if done.returncode < 0:
        raise Failure(f"{command[0]} was ended by signal {-done.returncode}")
    return done


def build_all():
    """Everything as it is, in a folder of its own. Without the debug information links are quick, and each
    file has an object of its own."""
    linker = "-Wl,--strip-debug" + (" -fuse-ld=lld" if shutil.which("ld.lld") else "")
    for command in (["cmake", "--preset", "linux", "-B", str(FOLDER), "-DCMAKE_UNITY_BUILD=OFF",
                     f"-DCMAKE_EXE_LINKER_FLAGS={linker}", f"-DCMAKE_SHARED_LINKER_FLAGS={linker}"],
                    ["cmake", "--build", str(FOLDER), "--target", *PROGRAMS, "macsim"]):
        done = run(command)
        if done.returncode != 0:
            raise Failure(f"the program itself does not build:\n{done.stdout}")


def share_out(tasks, benches, carry_out):
    """Calls `carry_out` with each task and a bench that is free. What it throws ends all work."""
    waiting = collections.deque(tasks)
    lock = threading.Lock()

    def work(bench):
        while True:
            with lock:
                if not waiting:
                    return
                task = waiting.popleft()
            try:
                carry_out(task, bench)
            except BaseException:
                waiting.clear()
                raise

    with concurrent.futures.ThreadPoolExecutor(len(benches)) as pool:
        try:
            list(pool.map(work, benches))
        except BaseException:  # of the user, too
            waiting.clear()
            STOPPED.set()
            raise


class Recipes:
    """How the build makes its objects and programs."""

    def __init__(self):
        entries = json.loads((FOLDER / "compile_commands.json").read_text(encoding="utf-8"))
        self.compilations = {}
        self.lock = threading.Lock()
        self.locks = {}
        self.prepared = set()
        for entry in entries:
            file = pathlib.Path(entry["file"])
            self.compilations.setdefault(file, shlex.split(entry["command"]))
        self.links = {name: self._link(target) for name, target in PROGRAMS.items()}
        self.dependents = self._dependents()

    @staticmethod
    def _link(target):
        lines = run(["ninja", "-t", "commands", target], FOLDER).stdout.splitlines()
        words = shlex.split(lines[-1])
        words = words[words.index("&&") + 1:]
        return words[:words.index("&&")]

    def _dependents(self):
        """For each header of Sources/ the files that include it: those of Sources/ and its own tests."""
        dependents = {}
        target = None
        objects = {self._output(words): file for file, words in self.compilations.items()}
        for line in run(["ninja", "-t", "deps"], FOLDER).stdout.splitlines():
            if not line.startswith(" "):
                target = objects.get(line.split(":")[0])
                continue
            header = (FOLDER / line.strip()).resolve()
            if target and header.suffix == ".h" and header.is_relative_to(SOURCES):
                room = header.parent.relative_to(SOURCES).name
                tests = PROJECT / "Tests" / "Unit" / room
                if target.is_relative_to(SOURCES) or target.is_relative_to(tests):
                    dependents.setdefault(header, []).append(target)
        return dependents

    @staticmethod
    def _output(words):
        return words[words.index("-o") + 1]

    def planting(self, source, planted):
        """The command that compiles another text of a source; its headers are compiled once."""
        words = [str(planted) if word == str(source) else word for word in self._compilation(source)]
        return words[:1] + ["-include-pch", str(self._headers(source))] + words[1:]

    def replanting(self, source, sources):
        """The command that compiles a source with the headers of another copy of Sources/."""
        return [word.replace(str(SOURCES), str(sources)) for word in self._compilation(source)]

    def _compilation(self, source):
        words = [word for word in self.compilations[source] if not word.startswith(DROPPED_FLAGS)]
        place = words.index("-o")
        return words[:place] + words[place + 2:] + ["-O0", "-w"]

    def _headers(self, source):
        with self.lock:
            lock = self.locks.setdefault(source, threading.Lock())
        made = FOLDER / "headers" / (source.name + ".pch")
        with lock:
            if source not in self.prepared:
                self._prepare_headers(source, made)
                self.prepared.add(source)
        return made

    def _prepare_headers(self, source, made):
        made.parent.mkdir(exist_ok=True)
        header = made.with_suffix(".h")
        header.write_text("".join(leading_includes(source.read_text(encoding="utf-8"))), encoding="utf-8")
        language = "objective-c++-header" if source.suffix == ".mm" else "c++-header"
        words = [word for word in self._compilation(source)
                 if word not in ("-c", "-x", "objective-c++", str(source))]
        done = run(words + ["-x", language, str(header), "-o", str(made)], FOLDER)
        if done.returncode != 0:
            raise Failure(f"the headers of {source.name} do not compile:\n{done.stdout}")


def leading_includes(text):
    """The lines that include something before the first other code."""
    for line in text.splitlines(keepends=True):
        if line.startswith("#"):
            yield line
        elif line.strip() and not line.startswith("//"):
            return


class Bench:
    """One place where wrong programs are made: a copy of Sources/, and what is built from it."""

    def __init__(self, recipes, number):
        self.recipes = recipes
        self.folder = FOLDER / f"bench{number}"
        self.sources = self.folder / "Sources"
        self.objects = {}
        self.linked = set()
        shutil.rmtree(self.folder, ignore_errors=True)
        shutil.copytree(SOURCES, self.sources)
        (self.folder / "tmp").mkdir()

    def plant(self, file, text):
        """Puts a text in the place of a file, which is named from Sources/ on. Whether it compiles."""
        (self.sources / file).write_text(text, encoding="utf-8")
        self.linked.clear()
        if SOURCES / file in self.recipes.compilations:
            return self._compile(SOURCES / file, self.recipes.planting(SOURCES / file, self.sources / file))
        return all(self._compile(source, self.recipes.replanting(source, self.sources))
                   for source in self.recipes.dependents.get(SOURCES / file, []))

    def _compile(self, source, command):
        made = self.folder / (source.name + ".o")
        self.objects[source] = made
        return run(command + ["-o", str(made)], FOLDER).returncode == 0

    def restore(self):
        """Back to the right program."""
        shutil.copytree(SOURCES, self.sources, dirs_exist_ok=True)
        self.objects.clear()
        self.linked.clear()
        shutil.rmtree(self.folder / "tmp", ignore_errors=True)
        (self.folder / "tmp").mkdir()

    def program(self, name):
        """The path of a program with the planted bug in it; links it if that has not been done."""
        path = self.folder / name
        if name not in self.linked:
            done = run(self._linking(name, path), FOLDER)
            if done.returncode != 0:
                raise Failure(f"{name} does not link:\n{done.stdout}")
            self.linked.add(name)
        return path

    # An object on the command line comes before the one of the same functions in the library.
    def _linking(self, name, path):
        words = list(self.recipes.links[name])
        words[words.index("-o") + 1] = str(path)
        for source, made in self.objects.items():
            own = self.recipes.compilations[source]
            own = own[own.index("-o") + 1]
            if own in words:
                words[words.index(own)] = str(made)
            elif source.is_relative_to(SOURCES) and source.name != "main.mm":
                words.insert(words.index("-o"), str(made))
        return words
