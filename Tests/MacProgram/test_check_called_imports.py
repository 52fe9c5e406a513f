#!/usr/bin/env python3
"""The check of called imports finds what is wrong: test_check_called_imports.py"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

CHECK = pathlib.Path(__file__).parent / "check_called_imports.py"
CALLS = "bound _open\nbound _abort\ncalled _open\ncalled _open\n"


class CheckOfCalledImports(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.folder = pathlib.Path(directory.name)

    def check(self, calls, reasons):
        (self.folder / "calls").write_text(calls, encoding="utf-8")
        (self.folder / "reasons").write_text(reasons, encoding="utf-8")
        return self.run_check("calls", "reasons")

    def run_check(self, *names):
        return subprocess.run([sys.executable, CHECK, *(self.folder / name for name in names)],
                              capture_output=True, text=True, check=False)

    def test_a_call_and_a_reason_are_enough(self):
        run = self.check(CALLS, "# why not\n_abort: it would end the process\n")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(run.stdout, "not called: _abort: it would end the process\n"
                                     "1 of 2 imported functions are called\n")

    def test_what_does_not_fit_is_told(self):
        rows = [("", "_abort is neither called nor explained\n"),
                ("_abort: a\n_open: b\n", "_open is called, in spite of its reason: b\n"),
                ("_abort: a\n_close: b\n", "_close has a reason, but is not imported\n")]
        for reasons, complaint in rows:
            with self.subTest(complaint):
                run = self.check(CALLS, reasons)
                self.assertEqual((run.returncode, run.stderr), (1, complaint))

    def test_no_calls_at_all_are_no_success(self):
        run = self.check("", "")
        self.assertEqual((run.returncode, run.stderr), (1, "no import is told of: nothing has run\n"))

    def test_bad_files_are_one_line(self):
        rows = [("called\n", "", "'called' is no line of macrun's"),
                (CALLS, "_abort:\n", "'_abort:' gives no reason")]
        for calls, reasons, complaint in rows:
            with self.subTest(complaint):
                run = self.check(calls, reasons)
                self.assertEqual(run.returncode, 1)
                self.assertTrue(run.stderr.endswith(complaint + "\n"), run.stderr)
                self.assertEqual(run.stderr.count("\n"), 1)

    def test_a_missing_file_is_one_line(self):
        run = self.run_check("missing", "missing")
        self.assertEqual(run.returncode, 1)
        self.assertTrue(run.stderr.endswith("/missing: No such file or directory\n"), run.stderr)


if __name__ == "__main__":
    unittest.main()
