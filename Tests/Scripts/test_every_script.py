#!/usr/bin/env python3
"""What each script in Scripts/ answers to a person, and how a long step behaves."""

import pathlib
import shutil
import signal
import subprocess
import sys
import time
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "Tests" / "Packaging"))

from bundle_files import snapshot  # noqa: E402
from temporary_home import InATemporaryHome, write_script  # noqa: E402

# Whatever would install, build, fetch, publish or show something.
WORKERS = ("apt-get", "apt-cache", "dpkg-query", "sudo", "brew", "cmake", "ninja", "ctest", "npm", "node",
           "git", "gh", "clang++-19", "clang-format-19", "valgrind", "Xvfb", "xvfb-run", "security", "xcrun")
LOGGED_FAILURE = '#!/bin/sh\necho "$0 $*" >>"$HOME/workers.log"\nexit 1\n'

LONG_STEP = """. "{scripts}/steps.sh"
seconds_between_reports=1
step "$HOME/log" "Working" {command}
echo after
"""


def scripts():
    found = [path for kind in ("*.sh", "*.py") for path in (PROJECT / "Scripts").glob(kind)
             if "To be read by a shell" not in path.read_text(encoding="utf-8")]
    return sorted(found)


class EveryScript(InATemporaryHome):
    def setUp(self):
        super().setUp()
        self.project = self.home / "project"
        for folder in ("Scripts", "Tests/PlantedBugs"):
            shutil.copytree(PROJECT / folder, self.project / folder,
                            ignore=shutil.ignore_patterns("__pycache__"))
        for worker in WORKERS:
            write_script(self.home / "bin" / worker, LOGGED_FAILURE)
        self.environment |= {"PYTHONDONTWRITEBYTECODE": "1"}
        self.before = snapshot(self.home)

    def run_script(self, script, *arguments):
        shell = ["python3"] if script.suffix == ".py" else ["sh"]
        return self.run_command(*shell, self.project / "Scripts" / script.name, *arguments)

    def assert_nothing_was_done(self):
        self.assertEqual(snapshot(self.home), self.before)

    def test_there_are_scripts_to_try(self):
        self.assertGreater(len(scripts()), 15)

    def test_each_tells_its_usage_and_does_nothing(self):
        for script in scripts():
            with self.subTest(script.name):
                run = self.run_script(script, "--help")
                self.assertEqual((run.returncode, run.stderr), (0, ""))
                self.assertTrue(run.stdout.startswith(f"usage: {script.name}"), run.stdout)
                self.assertGreater(run.stdout.count("\n"), 2)
                self.assert_nothing_was_done()

    def test_an_unknown_option_is_one_line_and_does_nothing(self):
        for script in scripts():
            for arguments in (["--no-such-option"], ["--no-such-option", "more"]):
                with self.subTest(script.name, arguments=arguments):
                    run = self.run_script(script, *arguments)
                    self.assertNotEqual(run.returncode, 0)
                    self.assertEqual((run.stdout, run.stderr.count("\n")), ("", 1), run.stderr)
                    self.assertTrue(run.stderr.startswith(f"{script.name}: "), run.stderr)
                    self.assert_nothing_was_done()

    def test_what_would_be_left_out_beside_the_application_is_refused(self):
        for script in ("run.sh", "run-shipped.sh"):
            run = self.run_script(PROJECT / "Scripts" / script, "--app", "--list")
            self.assertEqual((run.returncode, run.stdout), (2, ""))
            self.assertEqual(run.stderr, f"{script}: there is no argument '--list' here; see --help\n")
            self.assert_nothing_was_done()


class LongStep(InATemporaryHome):
    def script(self, command):
        return ["sh", "-eu", "-c", LONG_STEP.format(scripts=PROJECT / "Scripts", command=command)]

    def test_it_says_what_is_going_on_and_how_far_it_is(self):
        run = self.run_command(*self.script("sh -c 'echo \"[3/7] Building\"; sleep 3'"))
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        lines = run.stdout.splitlines()
        self.assertEqual((lines[0], lines[-1]), ("Working", "after"))
        self.assertRegex("\n".join(lines), r"(?m)^  3/7, \d+ s$")
        self.assertRegex(lines[-2], r"^  done after \d+ s$")

    def test_what_a_step_within_a_step_tells_is_told(self):
        run = self.run_command(*self.script("sh -c 'echo Within; echo \"  5/9, 20 s\"; sleep 3'"))
        self.assertRegex(run.stdout, r"(?m)^  5/9, \d+ s$")

    def test_a_signal_after_it_ends_the_script_in_its_own_way(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            text = LONG_STEP.format(scripts=PROJECT / "Scripts", command="true")
            process = subprocess.Popen(
                ["sh", "-eu", "-c", f"trap 'echo cleaned' EXIT\n{text}kill -{number.value} $$; sleep 5"],
                env=self.environment, stdout=subprocess.PIPE, text=True)
            self.addCleanup(process.stdout.close)
            self.assertEqual(process.wait(20), 130)
            self.assertTrue(process.stdout.read().endswith("after\ncleaned\n"))

    def test_a_failure_shows_what_was_printed_and_ends_the_script(self):
        run = self.run_command(*self.script("sh -c 'echo the reason; exit 3'"))
        self.assertEqual(run.returncode, 1)
        self.assertEqual(run.stderr, "the reason\nfailed: Working\n")
        self.assertNotIn("after", run.stdout.splitlines())

    def test_what_an_interrupted_step_began_is_ended_too(self):
        write_script(self.home / "worker", '#!/bin/sh\n(sleep 3; touch "$HOME/went-on") &\nwait\n')
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            process = subprocess.Popen(self.script(f'"{self.home}/worker"'), env=self.environment,
                                       stdout=subprocess.PIPE)
            self.addCleanup(process.stdout.close)
            self.assertEqual(process.stdout.readline(), b"Working\n")
            time.sleep(0.5)
            process.send_signal(number)
            self.assertEqual(process.wait(20), 130)
        time.sleep(4)
        self.assertFalse((self.home / "went-on").exists())


if __name__ == "__main__":
    sys.exit(unittest.main())
