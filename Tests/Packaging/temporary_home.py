"""A home folder that goes with the test, and commands that run in it. Its path has a space."""

import os
import pathlib
import subprocess
import tempfile
import unittest

PACKAGING = pathlib.Path(__file__).resolve().parents[2] / "Packaging"


def write_script(path, text):
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")
    path.chmod(0o755)


class InATemporaryHome(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory(prefix="a home ")
        self.addCleanup(directory.cleanup)
        self.home = pathlib.Path(os.path.realpath(directory.name))
        self.environment = dict(os.environ, HOME=str(self.home), TMPDIR=str(self.home / "tmp"),
                                PATH=f"{self.home}/bin:{os.environ['PATH']}")
        self.environment.pop("SUDO_USER", None)
        (self.home / "tmp").mkdir()

    def run_command(self, *command, user=None):
        return subprocess.run([str(part) for part in command], capture_output=True, text=True,
                              env=self.environment, cwd=self.home, check=False, user=user)

    def text(self, name):
        path = self.home / name
        return path.read_text(encoding="utf-8") if path.exists() else ""
