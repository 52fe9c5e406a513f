#!/usr/bin/env python3
"""Scripts/pictures.sh with stand-ins for the program, the screen and what draws."""

import pathlib
import shutil
import signal
import subprocess
import sys
import time
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "Tests" / "Packaging"))

from temporary_home import InATemporaryHome, write_script  # noqa: E402

# Whatever it draws goes to its last argument. A single pixel has each of the colours in turn that the
# script waits for.
FAKE_DRAWING = """#!/bin/sh
for last; do :; done
case "$last" in
rgb:-)
    turn=$(cat "$HOME/turn" 2>/dev/null || echo 0)
    echo $(((turn + 1) % 6)) >"$HOME/turn"
    set -- '\\356\\356\\356' '\\367\\367\\367' '\\012\\172\\377' '\\377\\377\\377' '\\311\\266\\335' '\\000\\000\\000'
    shift "$turn"
    printf "$1"
    ;;
*) echo new >"$last" ;;
esac
"""

FAKE_SCREEN = """#!/bin/sh
echo 7 >&3
exec 3>&-
exec sleep 60
"""

FAKE_PROGRAM = """#!/bin/sh
[ $# -gt 0 ] || exec sleep 60
"""

# The picture of the desk is one of the last; until there is a file "ready" it is not finished.
SLOW_DESK = """#!/bin/sh
touch "$HOME/at-the-desk"
while [ ! -e "$HOME/ready" ]; do sleep 0.1; done
"""

DRAWN = ["alert.png", "desk-after.png", "desk-before.png", "flip.gif", "flip.png", "menu-display-off.png",
         "menu-long-texts.png", "menu-no-display.png", "menu.png", "status-icon.png"]


class Pictures(InATemporaryHome):
    def setUp(self):
        super().setUp()
        self.project = self.home / "project"
        (self.project / "Scripts").mkdir(parents=True)
        for script in ("pictures.sh", "arguments.sh"):
            shutil.copy(PROJECT / "Scripts" / script, self.project / "Scripts")
        for script in ("bootstrap.sh", "build.sh"):
            write_script(self.project / "Scripts" / script, "#!/bin/sh\n")
        for name, text in (("import", FAKE_DRAWING), ("convert", FAKE_DRAWING), ("Xvfb", FAKE_SCREEN),
                           ("display", "#!/bin/sh\nexit 1\n"), ("xdotool", "#!/bin/sh\n")):
            write_script(self.home / "bin" / name, text)
        for name, text in (("macsim", FAKE_DRAWING), ("StatusIconPicture", FAKE_DRAWING),
                           ("Veilpane", FAKE_PROGRAM)):
            write_script(self.project / "build" / "linux" / name, text)
        self.pictures = self.project / "Docs" / "Pictures"
        self.pictures.mkdir(parents=True)
        for name in ("menu.png", "growth.svg"):
            (self.pictures / name).write_text("old\n", encoding="utf-8")
        self.command = ["sh", self.project / "Scripts" / "pictures.sh"]

    def contents(self):
        return {path.name: path.read_text(encoding="utf-8") for path in self.pictures.iterdir()}

    def assert_nothing_is_left(self):
        self.assertEqual([path.name for path in (self.project / "build").iterdir()], ["linux"])
        self.assertEqual(list((self.home / "tmp").iterdir()), [])

    def test_each_takes_its_place_and_what_is_not_drawn_stays(self):
        run = self.run_command(*self.command)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(self.contents(), dict.fromkeys(DRAWN, "new\n") | {"growth.svg": "old\n"})
        self.assertTrue(run.stdout.startswith("[1/10] menu.png\n[2/10] "), run.stdout)
        self.assertTrue(run.stdout.endswith("\n10 pictures in Docs/Pictures\n"), run.stdout)
        self.assert_nothing_is_left()

    def test_an_interruption_or_a_failure_leaves_the_old_ones(self):
        before = self.contents()
        write_script(self.project / "build" / "linux" / "macsim", SLOW_DESK)
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, None):
            with self.subTest(number):
                (self.home / "at-the-desk").unlink(missing_ok=True)
                process = subprocess.Popen(self.command, env=self.environment, cwd=self.home,
                                           stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
                while not (self.home / "at-the-desk").exists():
                    self.assertIsNone(process.poll())
                    time.sleep(0.1)
                if number:
                    process.send_signal(number)
                else:
                    write_script(self.home / "bin" / "convert", "#!/bin/sh\nexit 1\n")
                (self.home / "ready").touch()
                self.assertNotEqual(process.wait(60), 0)
                (self.home / "ready").unlink()
                self.assertEqual(self.contents(), before)
                self.assert_nothing_is_left()


if __name__ == "__main__":
    sys.exit(unittest.main())
