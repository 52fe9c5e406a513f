#!/usr/bin/env python3
"""The check of the known limits' tests: test_check_limits.py"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
CHECK = PROJECT / "Scripts" / "check_limits.py"

TESTS = """
TEST(Plain, works) {}
TEST_F(WithFixture,
       has_a_long_name) {}
TEST_P(Each, has_rows) {}
INSTANTIATE_TEST_SUITE_P(
    All, Each, testing::Values(Row{"a_row"}));
TEST_P(Never, is_made) {}
"""


def check(project):
    return subprocess.run([sys.executable, CHECK, project], capture_output=True, text=True, check=False)


class Limits(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.project = pathlib.Path(directory.name)
        self.write("Tests/Unit/AllTest.cpp", TESTS)

    def write(self, name, text):
        file = self.project / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")

    def complaint_about(self, pinned):
        self.write("Docs/KnownLimits.md", "| What | See | Pinned by |\n|---|---|---|\n"
                   f"| It does `a.b`. | Nothing. | {pinned} |\n")
        outcome = check(self.project)
        self.assertEqual(outcome.returncode, 1 if outcome.stderr else 0)
        return outcome.stderr

    def test_the_page_names_tests(self):
        outcome = check(PROJECT)
        self.assertEqual((outcome.returncode, outcome.stderr), (0, ""))

    def test_what_is_a_test_is_accepted(self):
        for pinned in ("`Plain.works`", "`WithFixture.has_a_long_name`", "`All/Each.has_rows`",
                       "`All/Each.has_rows/a_row`", "`Plain.works`, `All/Each.has_rows`"):
            with self.subTest(pinned=pinned):
                self.assertEqual(self.complaint_about(pinned), "")

    def test_what_is_no_test_is_named(self):
        for name in ("Plain.fails", "Other.works", "Each.has_rows", "Other/Each.has_rows",
                     "All/Each.has_rows/another_row", "All/Plain.works", "Never.is_made",
                     "Plain.a_row", "works"):
            with self.subTest(name=name):
                self.assertEqual(self.complaint_about(f"`Plain.works`, `{name}`"),
                                 f"Docs/KnownLimits.md:3: '{name}' is no test\n")

    def test_a_row_without_a_test_is_named(self):
        for pinned in ("", "nobody", "`Plain.works` and more"):
            with self.subTest(pinned=pinned):
                self.assertEqual(self.complaint_about(pinned),
                                 "Docs/KnownLimits.md:3: names no test in its last column\n")

    def test_an_excuse_without_a_row_is_named(self):
        self.write("Tests/Safety/KnownLies.cpp", '"KnownLimits.does_work", "KnownLimits.does_fail"')
        self.write("Tests/Unit/LimitsTest.cpp", "TEST(KnownLimits, does_work) {}")
        self.assertEqual(self.complaint_about("`KnownLimits.does_work`"),
                         "Tests/Safety/KnownLies.cpp: 'KnownLimits.does_fail' is in no row of Docs/KnownLimits.md\n")

    def test_a_missing_page_is_one_clear_line(self):
        outcome = check(self.project)
        self.assertNotEqual(outcome.returncode, 0)
        self.assertEqual(outcome.stderr,
                         f"check_limits.py: {self.project}/Docs/KnownLimits.md: no such file\n")


if __name__ == "__main__":
    unittest.main()
