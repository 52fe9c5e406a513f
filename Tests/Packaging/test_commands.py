#!/usr/bin/env python3
"""The launcher, the login switch, the man page and the completions."""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

PACKAGING = pathlib.Path(__file__).resolve().parents[2] / "Packaging"

# Tells how it was started.
FAKE_PROGRAM = """#!/bin/sh
printf '%s\\n' "$0" "$#" "$@"
exit 7
"""

FAKE_LAUNCHCTL = """#!/bin/sh
echo "$@" >>"$HOME/launchctl.log"
"""


def write_script(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")
    path.chmod(0o755)


class InATemporaryHome(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.home = pathlib.Path(os.path.realpath(directory.name))
        self.environment = dict(os.environ, HOME=str(self.home),
                                PATH=f"{self.home}/bin:{os.environ['PATH']}")

    def run_command(self, *command):
        return subprocess.run([str(part) for part in command], capture_output=True, text=True,
                              env=self.environment, cwd=self.home, check=False)


class Launcher(InATemporaryHome):
    def bundle(self, name="Veilpane.app"):
        contents = self.home / name / "Contents"
        write_script(contents / "MacOS" / "Veilpane", FAKE_PROGRAM)
        command = contents / "Resources" / "bin" / "veilpane"
        command.parent.mkdir(parents=True)
        shutil.copy(PACKAGING / "veilpane", command)
        return contents, command

    def assert_started(self, run, contents, arguments):
        self.assertEqual((run.returncode, run.stderr), (7, ""))
        self.assertEqual(run.stdout, "\n".join(
            [str(contents / "MacOS" / "Veilpane"), str(len(arguments)), *arguments]) + "\n")

    def test_the_program_is_started_by_its_real_path_with_all_arguments(self):
        contents, command = self.bundle()
        arguments = ["--power", "off", "", "two words", "two\nlines", "*", "'\"$HOME"]
        self.assert_started(self.run_command(command, *arguments), contents, arguments)

    def test_links_of_every_kind_lead_to_it(self):
        contents, command = self.bundle("名字 with spaces/Veilpane.app")
        (self.home / "links").mkdir()
        direct = self.home / "links" / "direct"
        direct.symlink_to(command)
        relative = self.home / "links" / "relative"
        relative.symlink_to(os.path.relpath(command, relative.parent))
        chain = self.home / "chain"
        chain.symlink_to("links/relative")
        folder = self.home / "folder"
        folder.symlink_to(command.parent)
        for link in (direct, relative, chain, folder / "veilpane"):
            with self.subTest(link=link):
                self.assert_started(self.run_command(link, "--list"), contents, ["--list"])
        self.assert_started(self.run_command("./chain", "--list"), contents, ["--list"])

    def test_an_installed_one_finds_the_applications_folder(self):
        contents = self.home / "prefix" / "Applications" / "Veilpane.app" / "Contents"
        write_script(contents / "MacOS" / "Veilpane", FAKE_PROGRAM)
        command = self.home / "prefix" / "bin" / "veilpane"
        command.parent.mkdir()
        shutil.copy(PACKAGING / "veilpane", command)
        self.assert_started(self.run_command(command), contents, [])

    def test_without_a_bundle_there_is_one_line_and_status_69(self):
        command = self.home / "veilpane"
        shutil.copy(PACKAGING / "veilpane", command)
        run = self.run_command(command, "--list")
        self.assertEqual((run.returncode, run.stdout), (69, ""))
        self.assertEqual(run.stderr.count("\n"), 1)


class LoginSwitch(InATemporaryHome):
    def setUp(self):
        super().setUp()
        write_script(self.home / "bin" / "launchctl", FAKE_LAUNCHCTL)
        self.agent = (self.home / "Library" / "LaunchAgents"
                      / "io.github.veilpane.Veilpane.plist")

    def login(self, *arguments):
        return self.run_command(PACKAGING / "veilpane-login", *arguments)

    def install(self):
        write_script(self.home / "Applications/Veilpane.app/Contents/MacOS/Veilpane", FAKE_PROGRAM)

    def test_on_writes_the_agent_and_loads_it(self):
        self.install()
        run = self.login("on")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        import plistlib
        agent = plistlib.loads(self.agent.read_bytes())
        self.assertEqual(agent["ProgramArguments"],
                         [f"{self.home}/Applications/Veilpane.app/Contents/MacOS/Veilpane"])
        self.assertTrue(agent["RunAtLoad"])
        log = (self.home / "launchctl.log").read_text(encoding="utf-8")
        self.assertIn(f"bootstrap gui/{os.getuid()} {self.agent}", log)
        self.assertEqual(self.login("status").stdout, "on\n")

    def test_off_unloads_and_leaves_nothing_behind(self):
        self.install()
        self.login("on")
        self.assertEqual(self.login("off").returncode, 0)
        self.assertEqual(list(self.agent.parent.iterdir()), [])
        log = (self.home / "launchctl.log").read_text(encoding="utf-8").splitlines()
        self.assertEqual(log[-1], f"bootout gui/{os.getuid()}/io.github.veilpane.Veilpane")
        self.assertEqual(self.login("status").stdout, "off\n")
        self.assertEqual(self.login("off").returncode, 0)

    def test_without_the_application_nothing_is_written(self):
        run = self.login("on")
        self.assertEqual(run.returncode, 69)
        self.assertFalse(self.agent.exists())

    def test_another_word_is_a_usage_error(self):
        for arguments in ([], ["maybe"]):
            self.assertEqual(self.login(*arguments).returncode, 2)


class ManPage(unittest.TestCase):
    def test_mandoc_has_no_complaint(self):
        run = subprocess.run(["mandoc", "-Tlint", "-Wwarning", str(PACKAGING / "veilpane.1")],
                             capture_output=True, text=True, check=False)
        self.assertEqual((run.returncode, run.stdout), (0, ""))


class Completions(InATemporaryHome):
    LIST = "1\tBuilt-in\tmain,no-ddc\n12\tStudio 演播室\tddc\n"

    def setUp(self):
        super().setUp()
        write_script(self.home / "bin" / "veilpane", f"#!/bin/sh\nprintf '%s' '{self.LIST}'\n")

    def bash(self, *words):
        script = ('. "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _veilpane; '
                  'printf "%s\\n" "${COMPREPLY[@]}"')
        return self.run_command("bash", "-c", script, "bash",
                                PACKAGING / "completions" / "veilpane.bash",
                                *words).stdout.split()

    def test_bash_completes_options_states_and_displays(self):
        self.assertEqual(self.bash("veilpane", ""), ["--power", "--list", "--selftest"])
        self.assertEqual(self.bash("veilpane", "--l"), ["--list"])
        self.assertEqual(self.bash("veilpane", "--power", ""), ["on", "off"])
        self.assertEqual(self.bash("veilpane", "--power", "off", ""), ["1", "12"])
        self.assertEqual(self.bash("veilpane", "--list", ""), [])

    def fish(self, line):
        script = f"source {PACKAGING}/completions/veilpane.fish; complete -C '{line}'"
        return [text.split("\t")[0]
                for text in self.run_command("fish", "-c", script).stdout.splitlines()]

    @unittest.skipUnless(shutil.which("fish"), "fish is not installed")
    def test_fish_completes_options_states_and_displays(self):
        self.assertEqual(set(self.fish("veilpane --")), {"--power", "--list", "--selftest"})
        self.assertEqual(set(self.fish("veilpane --power ")), {"on", "off"})
        self.assertEqual(self.fish("veilpane --power off "), ["1", "12"])

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh_reads_its_completion(self):
        run = self.run_command("zsh", "-n", PACKAGING / "completions" / "_veilpane")
        self.assertEqual((run.returncode, run.stderr), (0, ""))


if __name__ == "__main__":
    sys.exit(unittest.main())
