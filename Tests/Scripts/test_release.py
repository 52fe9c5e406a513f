#!/usr/bin/env python3
"""Scripts/release.sh in a small project with a git of its own."""

import datetime
import pathlib
import shutil
import sys
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "Tests" / "Packaging"))

from temporary_home import InATemporaryHome, write_script  # noqa: E402

CHANGELOG = """# Changelog

What changed.

## Unreleased

- Something new.

## 1.0.0, 2026-01-02

- The beginning.
"""

NO_RELEASE = {"README.md": "It runs. There is no published release yet, so make it:\n",
              "README.zh-CN.md": "可用。目前还没有发布的版本，请自行制作：\n"}
NEWEST = "(https://github.com/veilpane/veilpane/releases/latest)"

# Fails or interrupts the script that calls it where WORDS are its first arguments.
GIT_THAT_STOPS = """#!/bin/sh
case "$*" in
"{words}"*) {action} ;;
esac
exec {git} "$@"
"""


class Release(InATemporaryHome):
    def setUp(self):
        super().setUp()
        self.project = self.home / "project"
        (self.project / "Scripts").mkdir(parents=True)
        for script in ("release.sh", "arguments.sh"):
            shutil.copy(PROJECT / "Scripts" / script, self.project / "Scripts")
        self.write("CMakeLists.txt", "cmake_minimum_required(VERSION 3.25)\n"
                   "project(Veilpane VERSION 1.0.0 LANGUAGES C CXX OBJCXX)\n")
        self.write("CHANGELOG.md", CHANGELOG)
        for page, says in NO_RELEASE.items():
            self.write(page, says)
        self.on("Linux")
        self.write(".gitignore", "/build/\n")
        for name in ("AUTHOR", "COMMITTER"):
            self.environment |= {f"GIT_{name}_NAME": "Ann", f"GIT_{name}_EMAIL": "ann@example.org"}
        for name in [name for name in self.environment if name.startswith("GIT_DIR")]:
            del self.environment[name]
        self.git("init", "-q", "-b", "main")
        self.commit()
        self.git("tag", "v1.0.0")

    def write(self, name, text):
        (self.project / name).parent.mkdir(exist_ok=True)
        (self.project / name).write_text(text, encoding="utf-8")

    def read(self, name):
        return (self.project / name).read_text(encoding="utf-8")

    def on(self, system):
        write_script(self.home / "bin" / "uname", f"#!/bin/sh\necho {system}\n")

    def git(self, *arguments):
        run = self.run_command("git", "-C", self.project, *arguments)
        self.assertEqual(run.returncode, 0, run.stderr)
        return run.stdout.strip()

    def commit(self):
        """What is there now counts as tested."""
        self.git("add", "-A")
        self.git("commit", "-q", "--allow-empty", "-m", "Change something")
        self.write("build/tested", self.git("rev-parse", "HEAD^{tree}") + "\n")

    def release(self, *arguments):
        return self.run_command("sh", self.project / "Scripts" / "release.sh", *arguments)

    def state(self):
        return (self.git("rev-parse", "HEAD"), self.git("tag", "--list"), self.read("CMakeLists.txt"),
                self.read("CHANGELOG.md"), *map(self.read, NO_RELEASE), self.git("status", "--porcelain"))

    def assert_refused(self, words, *arguments, status=1):
        before = self.state()
        run = self.release(*arguments)
        self.assertEqual((run.returncode, run.stdout, run.stderr.count("\n")), (status, "", 1),
                         run.stderr)
        self.assertIn(words, run.stderr)
        self.assertEqual(self.state(), before)

    def test_the_version_is_stamped_the_section_moved_and_the_commit_tagged(self):
        run = self.release("1.1.0")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertIn("git push origin HEAD v1.1.0", run.stdout)
        self.assertEqual(self.read("CMakeLists.txt").splitlines()[1],
                         "project(Veilpane VERSION 1.1.0 LANGUAGES C CXX OBJCXX)")
        today = datetime.date.today().isoformat()
        self.assertEqual(self.read("CHANGELOG.md"), CHANGELOG.replace(
            "## Unreleased\n", f"## Unreleased\n\n## 1.1.0, {today}\n"))
        self.assertEqual(self.git("log", "-1", "--format=%s"), "Release 1.1.0")
        self.assertEqual(self.git("status", "--porcelain"), "")
        self.assertEqual(self.git("rev-parse", "v1.1.0^{commit}"), self.git("rev-parse", "HEAD"))
        told = self.git("tag", "-l", "--format=%(contents)", "v1.1.0")
        self.assertEqual(told, "Veilpane 1.1.0\n\n- Something new.")

    def test_the_readmes_say_where_the_first_release_is_and_are_left_alone_later(self):
        self.assertEqual(self.release("1.1.0").returncode, 0)
        told = [self.read(page) for page in NO_RELEASE]
        self.assertEqual(told, [f"It runs. Unzip the [newest release]{NEWEST}, or make it:\n",
                                f"可用。解压[最新的发布版]{NEWEST}，或自行制作：\n"])
        self.write("CHANGELOG.md", self.read("CHANGELOG.md").replace("## Unreleased\n",
                                                                     "## Unreleased\n\n- More.\n"))
        self.commit()
        self.assertEqual(self.release("1.2.0").returncode, 0)
        self.assertEqual([self.read(page) for page in NO_RELEASE], told)

    def test_on_a_mac_where_not_all_tests_run_it_is_refused(self):
        self.on("Darwin")
        self.assert_refused("Linux", "1.1.0")

    def test_the_first_release_may_have_the_version_that_is_there(self):
        self.git("tag", "-d", "v1.0.0")
        self.assertEqual(self.release("1.0.0").returncode, 0)
        self.assertEqual(self.git("tag", "--list"), "v1.0.0")

    def test_what_is_no_version_is_refused(self):
        for version in ("1.1", "1.1.0.0", "v1.1.0", "1.1.x", "1.1.0 ", "", "1.1.0\n2.0.0", "../1.1.0"):
            with self.subTest(version):
                before = self.state()
                run = self.release(version)
                self.assertEqual(run.returncode, 2)
                self.assertEqual(self.state(), before)
        self.assert_refused("VERSION", status=2)
        self.assert_refused("VERSION", "1.1.0", "1.2.0", status=2)
        self.assert_refused("--all", "--all", status=2)

    def test_a_tree_with_changes_is_refused(self):
        self.write("CHANGELOG.md", CHANGELOG + "\n")
        self.assert_refused("changes", "1.1.0")
        self.git("checkout", "-q", "CHANGELOG.md")
        self.write("new", "")
        self.assert_refused("changes", "1.1.0")

    def test_a_tree_that_was_not_tested_as_it_is_is_refused(self):
        self.write("new", "")
        self.git("add", "-A")
        self.git("commit", "-q", "-m", "Add a file")
        self.assert_refused("Scripts/test.sh --all", "1.1.0")
        (self.project / "build" / "tested").unlink()
        self.assert_refused("Scripts/test.sh --all", "1.1.0")

    def test_a_version_that_was_released_or_passed_over_is_refused(self):
        self.git("tag", "v1.10.0")
        self.assert_refused("there already", "1.0.0")
        for version in ("0.9.9", "1.9.0", "1.2.99"):
            self.assert_refused(f"is newer than {version}", version)
        self.assertEqual(self.release("1.11.0").returncode, 0)

    def test_a_release_of_no_change_is_refused(self):
        self.write("CHANGELOG.md", CHANGELOG.replace("- Something new.\n\n", ""))
        self.commit()
        self.assert_refused("Unreleased", "1.1.0")

    def test_without_a_branch_it_is_refused(self):
        self.git("checkout", "-q", "--detach")
        self.assert_refused("branch", "1.1.0")

    def test_one_that_is_stopped_leaves_nothing_and_can_be_run_again(self):
        for words in ("commit", "tag -a"):
            for action in ("exit 1", "kill -INT $PPID; sleep 1", "kill -TERM $PPID; sleep 1"):
                with self.subTest(f"{words}: {action}"):
                    before = self.state()
                    write_script(self.home / "bin" / "git", GIT_THAT_STOPS.format(
                        words=words, action=action, git=shutil.which("git")))
                    self.assertNotEqual(self.release("1.1.0").returncode, 0)
                    (self.home / "bin" / "git").unlink()
                    self.assertEqual(self.state(), before)
        self.assertEqual(self.release("1.1.0").returncode, 0)


if __name__ == "__main__":
    sys.exit(unittest.main())
