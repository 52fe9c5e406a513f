#!/usr/bin/env python3
"""Scripts/test.sh with stand-ins for the builds, for CTest and for the programs of tests."""

import pathlib
import shutil
import sys
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "Tests" / "Packaging"))

from temporary_home import InATemporaryHome, write_script  # noqa: E402

# Ends as the file of its name says, if there is one.
LOGGED = """#!/bin/sh
name=$(basename "$0")
echo "$name $*" | sed 's/ $//' >>"$HOME/log"
for word in "" "$@"; do
    ! [ -e "$HOME/status-of-$name$word" ] || exit "$(cat "$HOME/status-of-$name$word")"
done
"""

# Knows the tests that the home folder lists. As CTest does, it writes down what a test prints that passes,
# and ends with an error where no test is asked for.
FAKE_CTEST = """#!/bin/sh
echo "ctest $*" >>"$HOME/log"
preset= listed=no pattern=. without='^$'
while [ $# -gt 0 ]; do
    case "$1" in
    --preset) preset=$2; shift ;;
    -R) pattern=$2; shift ;;
    -E) without=$2; shift ;;
    -N) listed=yes ;;
    esac
    shift
done
tests=$(grep -E "$pattern" "$HOME/tests-of-$preset" | grep -vE "$without")
[ $listed = no ] || {
    for test in $tests; do echo "  Test #1: $test"; done
    echo "Total Tests: 1"
    exit
}
mkdir -p "build/$preset/Testing/Temporary"
for test in $tests; do
    echo "$test" >>"$HOME/ran"
    printf '1/9 Testing: %s\\n1/9 Test: %s\\nOutput:\\n----\\nnot called: _one: why\\n96 of 113 imported functions are called\\n' \\
        "$test" "$test"
done >"build/$preset/Testing/Temporary/LastTest.log"
[ ! -e "$HOME/status-of-ctest" ] || exit "$(cat "$HOME/status-of-ctest")"
[ -n "$tests" ]
"""

# One with googletest, whose tests are those of the file of its name.
FAKE_PROGRAM = """#!/bin/sh
for argument; do
    case "$argument" in
    --gtest_filter=*) filter=${argument#*=} ;;
    --gtest_list_tests) listed=yes ;;
    esac
done
found=no
while read -r test; do
    case "$test" in
    $filter)
        found=yes
        [ -z "${listed-}" ] || echo "  ${test#*.}"
        [ -n "${listed-}" ] || echo "$test" >>"$HOME/ran"
        ;;
    esac
done <"$0.tests"
[ ! -e "$HOME/status-of-program" ] || [ -n "${listed-}" ] || exit 1
"""

PROGRAMS = {"UnitTests": ["Owned.is_released", "Power.is_refused"],
            "MacProbeTests": ["MacProbeCommand.tells", "Answers.are_counted"]}
OTHERS = ["Scripts.check_called_imports", "Safety.faults_and_histories", "Program.destroys_nothing_at_its_end"]


class TestScript(InATemporaryHome):
    def setUp(self):
        super().setUp()
        self.project = self.home / "project"
        (self.project / "Scripts").mkdir(parents=True)
        for script in ("test.sh", "arguments.sh", "steps.sh"):
            shutil.copy(PROJECT / "Scripts" / script, self.project / "Scripts")
        for script in ("bootstrap.sh", "fetch-tools.sh", "lint.sh", "analyze.sh", "fuzz.sh"):
            write_script(self.project / "Scripts" / script, LOGGED)
        write_script(self.home / "bin" / "cmake", LOGGED)
        write_script(self.home / "bin" / "ctest", FAKE_CTEST)
        for program, tests in PROGRAMS.items():
            path = self.project / "build" / "linux" / "Tests" / program
            write_script(path, FAKE_PROGRAM)
            self.write(f"{path}.tests", tests)
        self.write(self.home / "tests-of-linux", [*PROGRAMS, *OTHERS])
        for preset in ("macos-cross", "linux-asan"):
            self.write(self.home / f"tests-of-{preset}", ["One.test"])
        self.write(self.home / "tests-of-macos-tests",
                   [test for tests in PROGRAMS.values() for test in tests])
        self.write(self.project / ".gitignore", ["/build/"])
        self.on("Linux")
        for name in ("AUTHOR", "COMMITTER"):
            self.environment |= {f"GIT_{name}_NAME": "Ann", f"GIT_{name}_EMAIL": "ann@example.org"}
        for arguments in (["init", "-q"], ["add", "-A"], ["commit", "-q", "-m", "Begin"]):
            self.git(*arguments)

    def write(self, path, lines):
        pathlib.Path(path).write_text("".join(f"{line}\n" for line in lines), encoding="utf-8")

    def git(self, *arguments):
        run = self.run_command("git", "-C", self.project, *arguments)
        self.assertEqual(run.returncode, 0, run.stderr)
        return run.stdout

    def on(self, system):
        write_script(self.home / "bin" / "uname", f"#!/bin/sh\necho {system}\n")

    def fails(self, command, status):
        self.write(self.home / f"status-of-{command}", [status])

    def run_tests(self, *arguments):
        return self.run_command("sh", self.project / "Scripts" / "test.sh", *arguments)

    def ran(self, *arguments):
        """The tests that ran; nothing else has gone wrong."""
        (self.home / "ran").unlink(missing_ok=True)
        run = self.run_tests(*arguments)
        self.assertEqual((run.returncode, run.stderr), (0, ""), run.stdout)
        return self.text("ran").split()

    def noted(self):
        path = self.project / "build" / "tested"
        return path.read_text(encoding="utf-8") if path.exists() else ""


class SomeTests(TestScript):
    def test_a_name_is_looked_for_in_every_program_and_in_what_else_ctest_knows(self):
        for name, tests in (("Power.is_refused", ["Power.is_refused"]),
                            ("Answers", ["Answers.are_counted"]),
                            ("check_called_imports", ["Scripts.check_called_imports"]),
                            ("destroys", ["Program.destroys_nothing_at_its_end"]),
                            ("is_re", ["Owned.is_released", "Power.is_refused"]),
                            ("are_c", ["Answers.are_counted"])):
            with self.subTest(name):
                self.assertEqual(self.ran(name), tests)

    def test_the_name_of_a_program_stands_for_all_of_its_tests(self):
        self.assertEqual(self.ran("UnitTests"), PROGRAMS["UnitTests"])
        self.assertEqual(self.ran("MacProbe"), PROGRAMS["MacProbeTests"])

    def test_a_name_that_none_has_is_one_line(self):
        for system in ("Linux", "Darwin"):
            self.on(system)
            run = self.run_tests("absent")
            self.assertEqual((run.returncode, run.stderr), (1, "test.sh: no test has 'absent' in its name\n"))
            self.assertEqual(self.text("ran"), "")

    def test_a_failure_of_one_is_the_scripts(self):
        self.fails("program", 1)
        self.assertNotEqual(self.run_tests("Owned").returncode, 0)
        self.assertEqual(self.run_tests("check_called").returncode, 0)
        self.fails("ctest", 8)
        self.assertNotEqual(self.run_tests("check_called").returncode, 0)

    def test_on_a_mac_a_name_is_looked_for_in_all_tests(self):
        self.on("Darwin")
        self.assertEqual(self.ran("Owned"), ["Owned.is_released"])
        self.assertEqual(len(self.ran()), 4)
        self.assertEqual(len(self.ran("--all")), 4)
        self.assertEqual(self.noted(), "")


class AllTests(TestScript):
    def test_a_tree_that_passes_is_noted(self):
        self.assertEqual(len(self.ran("--all")), 7)
        self.assertEqual(self.noted(), self.git("rev-parse", "HEAD^{tree}"))
        self.assertIn("-DVEILPANE_SHIPPED_ARM64=ON", self.text("log"))

    def test_one_with_changes_or_a_failure_is_not(self):
        self.write(self.project / "new", [])
        self.ran("--all")
        self.assertEqual(self.noted(), "")
        (self.project / "new").unlink()
        self.ran("--all")
        self.assertNotEqual(self.noted(), "")
        self.fails("lint.sh", 1)
        self.assertEqual(self.run_tests("--all").returncode, 1)
        self.assertEqual(self.noted(), "")

    def test_without_packages_for_arm64_it_goes_on_says_so_and_notes_nothing(self):
        self.fails("bootstrap.sh--arm64", 3)
        run = self.run_tests("--all")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(run.stdout.count("Not run here: the program for a Mac with arm64\n"), 1)
        self.assertEqual(run.stdout.count("\nNot noted as tested"), 1)
        self.assertIn("-DVEILPANE_SHIPPED_ARM64=OFF", self.text("log"))
        self.assertEqual(self.noted(), "")

    def test_any_other_failure_to_get_them_ends_it(self):
        for status in (1, 2, 100):
            self.fails("bootstrap.sh--arm64", status)
            run = self.run_tests("--all")
            self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1), run.stderr)
            self.assertIn("arm64", run.stderr)
            self.assertEqual(self.noted(), "")

    def test_how_many_imports_are_called_is_told(self):
        for arguments in ([], ["--all"]):
            run = self.run_tests(*arguments)
            self.assertIn("\nScripts.check_called_imports: 96 of 113 imported functions are called\n",
                          run.stdout)


if __name__ == "__main__":
    sys.exit(unittest.main())
