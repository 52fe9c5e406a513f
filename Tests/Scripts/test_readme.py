#!/usr/bin/env python3
"""Both READMEs: the same commands in both, real output, files that exist: test_readme.py VEILPANE"""

import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
PAGES = ("README.md", "README.zh-CN.md")
sys.path.insert(0, str(PROJECT / "Packaging"))

import make_bundle  # noqa: E402


def text(page):
    return (PROJECT / page).read_text(encoding="utf-8")


def for_users(page):
    """What both pages have: all but the parts for contributors."""
    return re.split(r"^## (?:Test it|参与开发)$", text(page), flags=re.MULTILINE)[0]


def console(page):
    return re.findall(r"^```console\n(.*?)^```$", text(page), re.MULTILINE | re.DOTALL)


class Readmes(unittest.TestCase):
    program = None

    def assert_alike(self, pattern, at_least):
        found = [re.findall(pattern, for_users(page), re.MULTILINE) for page in PAGES]
        self.assertGreaterEqual(len(found[0]), at_least)
        self.assertEqual(found[0], found[1])

    def test_they_show_the_same_commands_and_the_same_output(self):
        self.assert_alike(r"^    \S.*$", 12)
        self.assert_alike(r"^\| (`veilpane[^|`\\]*)", 6)
        self.assertEqual(console(PAGES[0]), console(PAGES[1]))

    def test_they_have_the_same_pictures_and_as_many_sections_and_rows(self):
        self.assert_alike(r'^(?:!\[[^]]*\]\(|<img src=")([^")]*)', 2)
        self.assert_alike(r"^(#+) ", 10)
        self.assert_alike(r"^(\|)", 20)

    def test_every_file_that_they_name_exists(self):
        for page in PAGES:
            links = re.findall(r'(?:\]\(|<img src=")([^)#:"]+)[)"]', text(page))
            self.assertGreater(len(links), 8)
            scripts = re.findall(r"Scripts/[\w-]+\.sh", text(page))
            self.assertEqual([name for name in links + scripts if not (PROJECT / name).exists()], [])

    def test_they_say_that_there_is_no_release_as_long_as_there_is_none(self):
        released = re.search(r"^## \d", text("CHANGELOG.md"), re.MULTILINE) is not None
        for page, words in zip(PAGES, ("There is no published release yet, so make it:",
                                       "目前还没有发布的版本，请自行制作：")):
            self.assertEqual(words in text(page), not released, page)

    def test_both_tell_of_the_probe_in_the_zip(self):
        for page in PAGES:
            self.assertIn("`macprobe`", text(page))

    def test_the_shown_output_is_what_the_program_prints(self):
        self.assertEqual(len(console(PAGES[0])), 1)
        for shown in console(PAGES[0]):
            with tempfile.TemporaryDirectory() as folder:
                environment = {"SIMULATED_MAC_STATE": f"{folder}/state", "SIMULATED_MAC_SCENE": "",
                               "TMPDIR": folder, "HOME": folder, "PATH": "/usr/bin:/bin"}
                printed = ""
                for command in re.findall(r"^\$ veilpane (.*)$", shown, re.MULTILINE):
                    run = subprocess.run([self.program, *command.split()], capture_output=True,
                                         text=True, env=environment, check=False)
                    printed += f"$ veilpane {command}\n{run.stdout}"
            self.assertGreater(shown.count("$ veilpane "), 4)
            self.assertEqual(printed, shown)

    def test_pictures_of_the_screen_have_two_pixels_a_point(self):
        taken = re.findall(r"^take (\S+) (\d+)x(\d+)\+", text("Scripts/pictures.sh"), re.MULTILINE)
        self.assertGreater(len(taken), 4)
        for name, width, height in taken:
            header = (PROJECT / f"Docs/Pictures/{name}.png").read_bytes()[:24]
            self.assertEqual(struct.unpack(">8x4x4sII", header), (b"IHDR", 2 * int(width), 2 * int(height)), name)

    def test_the_moving_picture_is_small_and_moves(self):
        moving = (PROJECT / "Docs/Pictures/flip.gif").read_bytes()
        self.assertTrue(moving.startswith(b"GIF89a"))
        self.assertLess(len(moving), 1_000_000)
        self.assertGreater(moving.count(b"\x21\xf9\x04"), 2, "graphic control extensions, one a frame")

    def test_the_oldest_system_is_the_bundles(self):
        oldest = re.search(r"CMAKE_OSX_DEPLOYMENT_TARGET (\d+)", text("CMakeLists.txt"))[1]
        for page in PAGES:
            self.assertIn(f"macOS {oldest} ", text(page))

    def test_they_name_where_things_are_stored_as_the_bundle_does(self):
        identifier = re.search(r"<key>CFBundleIdentifier</key>\s*<string>(.*?)<",
                               (make_bundle.PACKAGING / "Info.plist.in").read_text(encoding="utf-8"))[1]
        for page in PAGES:
            self.assertIn(f"~/Library/Preferences/{identifier}.plist", text(page))


if __name__ == "__main__":
    Readmes.program = sys.argv.pop(1)
    unittest.main()
