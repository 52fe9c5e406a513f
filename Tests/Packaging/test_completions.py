#!/usr/bin/env python3
"""The completions, as the shells themselves answer."""

import os
import pty
import select
import shutil
import signal
import sys
import time
import unittest

from temporary_home import PACKAGING, InATemporaryHome, write_script

COMPLETIONS = PACKAGING / "completions"

# Lists two displays; tells what else it was started with.
FAKE_VEILPANE = """#!/bin/sh
if [ "$1" = --list ]; then
    printf '1\\tBuilt-in\\tmain,no-ddc\\n12\\tStudio 演播室\\tddc\\n'
else
    printf '%s\\n' "$@" >"$HOME/arguments.new"
    mv "$HOME/arguments.new" "$HOME/arguments"
fi
"""

# The first name has two more lines, the second one a tab.
NAMES_OF_TWO_LINES = """#!/bin/sh
if [ "$1" = --list ]; then
    printf '1\\tLeft\\n\\nright\\tno-ddc\\n12\\tA\\tB\\tddc\\n'
else
    printf '%s\\n' "$@" >"$HOME/arguments.new"
    mv "$HOME/arguments.new" "$HOME/arguments"
fi
"""


class Terminal:
    """A shell at a terminal of its own, killed at the end."""

    def __init__(self, command, environment):
        self.process, self.end = pty.fork()
        if self.process == 0:
            os.execvpe(command[0], command, environment)
        self.shown = ""

    def type(self, keys):
        os.write(self.end, keys.encode())

    def wait_until(self, holds, what, seconds=30):
        deadline = time.monotonic() + seconds
        while not holds():
            if time.monotonic() > deadline:
                raise AssertionError(f"{what} never came; the terminal shows: {self.shown!r}")
            if select.select([self.end], [], [], 0.05)[0]:
                self.shown += os.read(self.end, 4096).decode(errors="replace")

    def wait_for(self, text):
        self.wait_until(lambda: text in self.shown, repr(text))

    def close(self):
        os.kill(self.process, signal.SIGKILL)
        os.waitpid(self.process, 0)
        os.close(self.end)


class Completions(InATemporaryHome):
    def setUp(self):
        super().setUp()
        write_script(self.home / "bin" / "veilpane", FAKE_VEILPANE)
        self.completions = self.home / "my completions"
        shutil.copytree(COMPLETIONS, self.completions)

    def command_elsewhere(self):
        """Another veilpane, not on PATH, as it is typed."""
        path = self.home / "my apps" / "veilpane"
        write_script(path, "#!/bin/sh\nprintf '7\\tElsewhere\\tmain\\n'\n")
        return str(path).replace(" ", "\\ ")

    def bash(self, *words):
        script = ('. "$1"; shift; COMP_WORDS=("$@"); COMP_CWORD=$(($# - 1)); _veilpane; '
                  '[ ${#COMPREPLY[@]} -eq 0 ] || printf "%s\\n" "${COMPREPLY[@]}"')
        run = self.run_command("bash", "-c", script, "bash", self.completions / "veilpane.bash",
                               *words)
        self.assertEqual(run.stderr, "")
        return run.stdout.splitlines()

    def test_bash_completes_options_states_and_displays_with_their_names(self):
        self.assertEqual(self.bash("veilpane", ""), ["--power", "--list", "--selftest", "--help", "--version"])
        self.assertEqual(self.bash("veilpane", "--l"), ["--list"])
        self.assertEqual(self.bash("veilpane", "--power", ""), ["on", "off"])
        self.assertEqual(self.bash("veilpane", "--power", "off", ""),
                         ["1 (Built-in)", "12 (Studio 演播室)"])
        self.assertEqual(self.bash("veilpane", "--power", "off", "12"), ["12"])
        self.assertEqual(self.bash("veilpane", "--power", "off", "3"), [])
        self.assertEqual(self.bash("veilpane", "--list", ""), [])

    def list_names_with_line_feeds_and_tabs(self):
        write_script(self.home / "bin" / "veilpane", NAMES_OF_TWO_LINES)

    def test_bash_takes_no_second_line_of_a_name_for_a_display(self):
        self.list_names_with_line_feeds_and_tabs()
        self.assertEqual(self.bash("veilpane", "--power", "off", ""), ["1 (Left)", "12 (A)"])
        self.assertEqual(self.bash("veilpane", "--power", "off", "r"), [])

    def test_bash_asks_the_command_that_is_typed(self):
        self.assertEqual(self.bash(self.command_elsewhere(), "--power", "off", ""), ["7"])
        (self.home / "apps").symlink_to("my apps")
        self.assertEqual(self.bash("~/apps/veilpane", "--power", "off", ""), ["7"])

    def test_bash_starts_no_other_command_to_find_the_one_that_is_typed(self):
        for word in ("$(touch touched)/veilpane", "`touch touched`/veilpane", "x;touch touched",
                     "<(touch touched)/veilpane", "'$(touch touched)'/veilpane"):
            self.assertEqual(self.bash(word, "--power", "off", ""), [], word)
            self.assertFalse((self.home / "touched").exists(), word)

    def test_bash_needs_nothing_newer_than_what_macos_has(self):
        text = (COMPLETIONS / "veilpane.bash").read_text(encoding="utf-8")
        for newer in ("mapfile", "readarray", "declare -A", "local -n", "compopt", ",,", "^^"):
            self.assertNotIn(newer, text)

    def fish(self, line):
        script = "source $argv[1]; complete -C $argv[2]"
        run = self.run_command("fish", "-c", script, self.completions / "veilpane.fish", line)
        self.assertEqual(run.stderr, "")
        return run.stdout.splitlines()

    @unittest.skipUnless(shutil.which("fish"), "fish is not installed")
    def test_fish_completes_options_states_and_displays_with_their_names(self):
        options = [text.split("\t")[0] for text in self.fish("veilpane --")]
        self.assertEqual(set(options), {"--power", "--list", "--selftest", "--help", "--version"})
        self.assertEqual(set(self.fish("veilpane --power ")), {"on", "off"})
        self.assertEqual(self.fish("veilpane --power off "), ["1\tBuilt-in", "12\tStudio 演播室"])

    @unittest.skipUnless(shutil.which("fish"), "fish is not installed")
    def test_fish_takes_no_second_line_of_a_name_for_a_display(self):
        self.list_names_with_line_feeds_and_tabs()
        self.assertEqual(self.fish("veilpane --power off "), ["1\tLeft", "12\tA"])

    @unittest.skipUnless(shutil.which("fish"), "fish is not installed")
    def test_fish_asks_the_command_that_is_typed(self):
        self.assertEqual(self.fish(f"{self.command_elsewhere()} --power off "), ["7\tElsewhere"])
        (self.home / "apps").symlink_to("my apps")
        self.assertEqual(self.fish("~/apps/veilpane --power off "), ["7\tElsewhere"])

    def zsh(self):
        locale = "en_US.UTF-8" if sys.platform == "darwin" else "C.UTF-8"
        environment = dict(self.environment, TERM="vt100", LC_ALL=locale)
        terminal = Terminal(["zsh", "-f", "-i"], environment)
        self.addCleanup(terminal.close)
        terminal.type(f"fpath=('{self.completions}' $fpath); autoload -Uz compinit; compinit -u -D; "
                      "PROMPT=; echo re''ady\n")
        terminal.wait_for("ready")
        return terminal

    def assert_arguments(self, terminal, expected):
        terminal.wait_until((self.home / "arguments").exists, "the start of veilpane")
        self.assertEqual(self.text("arguments").split(), expected)
        (self.home / "arguments").unlink()

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh_completes_options_states_and_displays_with_their_names(self):
        terminal = self.zsh()
        terminal.type("veilpane --s\t\n")
        self.assert_arguments(terminal, ["--selftest"])
        terminal.type("veilpane --v\t\n")
        self.assert_arguments(terminal, ["--version"])
        terminal.type("veilpane --p\tof\t12\t\n")
        self.assert_arguments(terminal, ["--power", "off", "12"])
        terminal.type("veilpane --power on \t\t")
        terminal.wait_for("Built-in (main,no-ddc)")
        terminal.wait_for("Studio 演播室 (ddc)")

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh_takes_no_second_line_of_a_name_for_a_display(self):
        self.list_names_with_line_feeds_and_tabs()
        terminal = self.zsh()
        terminal.type("veilpane --power off r\t\n")
        self.assert_arguments(terminal, ["--power", "off", "r"])

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_zsh_asks_the_command_that_is_typed(self):
        terminal = self.zsh()
        terminal.type(f"{self.command_elsewhere()} --power off \t\t")
        terminal.wait_for("off 7")


if __name__ == "__main__":
    sys.exit(unittest.main())
