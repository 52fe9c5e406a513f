#!/usr/bin/env python3
"""What the check of coverage says of counts that are made up here."""
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[1] / "Coverage" / "coverage.py"
SOURCE = "int sign(int x) {\n    if (x < 0 || x == 0) {\n        return 0;\n    }\n    return 1;\n}\n"
NEVER_LESS = [2, 9, 2, 14, 0, 7, 0, 0, 4]
BOTH = [2, 18, 2, 24, 3, 4, 0, 0, 4]
EXPLAINED = "S/sign.cpp | true | x < 0 | nobody owes\n"


class CoverageTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()
        (self.folder / "S").mkdir()
        (self.folder / "S/sign.cpp").write_text(SOURCE, encoding="utf-8")

    def check(self, unreached, branches=(NEVER_LESS, BOTH), last_line=4):
        file = str(self.folder / "S/sign.cpp")
        data = {"files": [{"filename": file, "branches": branches}],
                "functions": [{"filenames": [file], "regions": [[1, 17]], "count": 7}]}
        (self.folder / "c.json").write_text(json.dumps({"data": [data]}), encoding="utf-8")
        lines = [f"SF:{file}", "DA:1,7", "DA:2,7", "DA:3,3", f"DA:5,{last_line}", "end_of_record"]
        (self.folder / "l.lcov").write_text("\n".join(lines), encoding="utf-8")
        (self.folder / "u.txt").write_text(unreached, encoding="utf-8")
        return subprocess.run([sys.executable, str(SCRIPT), "l.lcov", "c.json", "u.txt"],
                              cwd=self.folder, capture_output=True, text=True, check=False)

    def test_a_branch_that_is_not_reached_needs_an_explanation(self):
        without = self.check("")
        self.assertEqual(without.returncode, 1)
        self.assertIn("? S/sign.cpp:2: is never true: x < 0\n", without.stdout)
        with_it = self.check("# comment\n\n" + EXPLAINED)
        self.assertEqual(with_it.returncode, 0, with_it.stdout)
        self.assertIn("  S/sign.cpp:2: is never true: x < 0\n", with_it.stdout)

    def test_a_line_that_is_not_reached_needs_an_explanation(self):
        for never in (0, (1 << 64) - 1):
            with self.subTest(never=never):
                without = self.check(EXPLAINED, last_line=never)
                self.assertEqual(without.returncode, 1)
                self.assertIn("? S/sign.cpp:5: is not reached: return 1;\n", without.stdout)
                self.assertEqual(self.check(EXPLAINED + "S/sign.cpp | line | return 1; | a | reason\n",
                                            last_line=never).returncode, 1)
                self.assertEqual(self.check(EXPLAINED + "S/sign.cpp | line | return 1; | a reason\n",
                                            last_line=never).returncode, 0)

    def test_an_explanation_of_what_is_reached_is_an_error(self):
        for stale in ("S/sign.cpp | false | x == 0 | no", "S/sign.cpp | line | return 1; | no",
                      "S/other.cpp | true | x < 0 | no"):
            with self.subTest(stale=stale):
                checked = self.check(EXPLAINED + stale + "\n")
                self.assertEqual(checked.returncode, 1)
                self.assertIn("u.txt:2: explains 1, and 0 are not reached: ", checked.stdout)

    def test_an_explanation_stands_for_as_many_places_as_it_says(self):
        for times, status in ((" ×2", 1), ("", 0)):
            with self.subTest(times=times):
                explained = EXPLAINED.replace(" | true | ", f" | true{times} | ")
                self.assertEqual(self.check(explained).returncode, status)

    def test_a_condition_counts_for_all_the_types_that_it_was_compiled_for(self):
        sometimes_less = NEVER_LESS[:4] + [1, 0] + NEVER_LESS[6:]
        self.assertEqual(self.check("", [NEVER_LESS, sometimes_less, BOTH]).returncode, 0)

    def test_the_figures_are_those_of_lines_functions_and_ways(self):
        figures = self.check("").stdout.splitlines()
        self.assertEqual(figures[1].split(), ["S/sign.cpp", "4/4", "1/1", "3/4"])
        self.assertEqual(figures[2].split(), ["all", "4/4", "1/1", "3/4"])

    def test_an_explanation_without_a_reason_is_one_clear_line(self):
        for line in ("S/sign.cpp | true | x < 0", "S/sign.cpp | never | x < 0 | why", "nonsense",
                     "S/sign.cpp | true | x < 0 | "):
            with self.subTest(line=line):
                checked = self.check(line + "\n")
                self.assertEqual(checked.returncode, 1)
                self.assertEqual(checked.stderr.count("\n"), 1, checked.stderr)
                self.assertIn("u.txt:1: not FILE | line, true or false | CODE | REASON", checked.stderr)

    def test_counts_of_nothing_are_an_error(self):
        self.assertEqual(self.check("", branches=()).returncode, 1)


if __name__ == "__main__":
    unittest.main()
