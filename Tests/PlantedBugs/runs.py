"""Running a test program until something fails in it, or it takes too long."""
import os
import pathlib
import re
import signal
import subprocess
import threading

SECONDS_OF_WAITING = 20
SECONDS_OF_COMPUTING = 60  # the longest test takes some ten
FAILURE = re.compile(r"\[  FAILED  \] (\S+)")
ANNOUNCEMENT = re.compile(r"\d+ fault runs to choose from")
PROGRESS = re.compile(r"\d+ % done|\d+ fault runs, ")
STOPPED = threading.Event()  # by the user: nothing that is found from then on says anything


def first_failure(command, environment):
    """What fails first, by its name; None when all passes. What comes after it is not run."""
    with subprocess.Popen([str(word) for word in command], env=environment, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, errors="replace",
                          start_new_session=True) as process:
        heard, ended = threading.Event(), threading.Event()
        watch = threading.Thread(target=_watch, args=(process.pid, heard, ended))
        watch.start()
        failure = _told_failure(process, heard)
        ended.set()
        watch.join()
        _end(process.pid)
    return failure or ("no good end" if process.returncode != 0 else None)


def _told_failure(process, heard):
    """What the process says that fails; reads all that it writes up to that. What the safety runs say
    beside how far they are is a violation."""
    announced = False
    for line in process.stdout:
        heard.set()
        if failure := FAILURE.match(line):
            return failure[1]
        if announced and not PROGRESS.match(line):
            return "violation"
        announced = announced or ANNOUNCEMENT.match(line) is not None
    process.wait()
    return None


# Waiting for a processor counts for nothing, so that a busy machine makes no bug noticed. What looks now and then
# whether something has happened is waiting all the same.
def _watch(session, heard, ended):
    """Ends the processes of a session that compute or wait for too long without a word."""
    waited, computed = 0, 0.0
    while not ended.wait(1):
        states, seconds = _state(session)
        if heard.is_set():
            heard.clear()
            waited, computed = 0, seconds
        waited += 0 if "R" in states or "D" in states else 1
        if (waited > SECONDS_OF_WAITING or seconds - computed > SECONDS_OF_COMPUTING
                or STOPPED.is_set()):
            _end(session)
            return


# Each test has a process group of its own, but all are in one session.
def _processes(session):
    """For each process of a session its number, its state and the processor time that it has taken."""
    for folder in pathlib.Path("/proc").iterdir():
        if folder.name.isdigit():
            try:
                text = (folder / "stat").read_text(encoding="utf-8", errors="replace")
            except OSError:
                continue
            fields = text.rpartition(")")[2].split()
            if int(fields[3]) == session:
                ticks = sum(int(field) for field in fields[11:15])
                yield int(folder.name), fields[0], ticks / os.sysconf("SC_CLK_TCK")


def _state(session):
    processes = list(_processes(session))
    return {state for _, state, _ in processes}, sum(seconds for _, _, seconds in processes)


def _end(session):
    """Ends what still runs of a session; once more for what was started meanwhile."""
    while alive := [number for number, state, _ in _processes(session) if state not in "ZX"]:
        for number in alive:
            try:
                os.kill(number, signal.SIGKILL)
            except ProcessLookupError:
                pass
