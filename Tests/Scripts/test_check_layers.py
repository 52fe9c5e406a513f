#!/usr/bin/env python3
"""The check of the rooms' arrows: test_check_layers.py"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
CHECK = PROJECT / "Scripts" / "check_layers.py"
sys.path.insert(0, str(CHECK.parent))

import check_layers  # noqa: E402

ROOMS = ["Veilpane", "Veilpane/CommandLine", "Veilpane/Menu", "Veilpane/Inventory", "Veilpane/Power",
         "Veilpane/WindowServer", "CDdc", "Registry", "Ownership", "Veilpane/Support"]

# Who may include whom, spelt out here once more on its own.
BELOW = {
    "Veilpane": set(ROOMS),
    "Veilpane/CommandLine": set(ROOMS) - {"Veilpane", "Veilpane/Menu"},
    "Veilpane/Menu": set(ROOMS) - {"Veilpane", "Veilpane/CommandLine"},
    "Veilpane/Inventory": {"Veilpane/Inventory", "Veilpane/Power", "Veilpane/WindowServer", "CDdc",
                           "Registry", "Ownership", "Veilpane/Support"},
    "Veilpane/Power": {"Veilpane/Power", "Veilpane/WindowServer", "CDdc", "Registry", "Ownership",
                       "Veilpane/Support"},
    "Veilpane/WindowServer": {"Veilpane/WindowServer", "Veilpane/Support"},
    "CDdc": {"CDdc", "Registry", "Ownership", "Veilpane/Support"},
    "Registry": {"Registry", "Ownership", "Veilpane/Support"},
    "Ownership": {"Ownership", "Veilpane/Support"},
    "Veilpane/Support": {"Veilpane/Support"},
}


def check(sources):
    return subprocess.run([sys.executable, CHECK, sources], capture_output=True, text=True, check=False)


class Layers(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.sources = pathlib.Path(directory.name) / "Sources"

    def write(self, name, text):
        file = self.sources / name
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")

    def test_the_program_keeps_to_the_arrows(self):
        outcome = check(PROJECT / "Sources")
        self.assertEqual((outcome.returncode, outcome.stderr), (0, ""))

    def test_each_pair_of_rooms_is_allowed_or_named_with_its_rule(self):
        for room in ROOMS:
            for target in ROOMS:
                with self.subTest(room=room, target=target):
                    self.write(f"{room}/File.cpp", f'#include <set>\n#include "{target}/Other.h"\n')
                    found = list(check_layers.problems(self.sources))
                    if target in BELOW[room]:
                        self.assertEqual(found, [])
                    else:
                        self.assertEqual(len(found), 1)
                        self.assertIn(f"{room}/File.cpp:2: includes {target}/Other.h, but {room} may "
                                      "include only ", found[0])
            (self.sources / room / "File.cpp").unlink()

    def test_angle_brackets_and_import_are_no_way_round(self):
        for line in ("#include <Veilpane/Menu/MenuText.h>", '#import "Veilpane/Menu/MenuText.h"',
                     ' # include  "Veilpane/Menu/MenuText.h"'):
            with self.subTest(line=line):
                self.write("Veilpane/Power/File.h", line + "\n")
                self.assertEqual(check(self.sources).returncode, 1)

    def test_a_file_that_lies_in_no_room_is_named(self):
        self.write("Veilpane/Attic/File.h", "")
        outcome = check(self.sources)
        self.assertEqual(outcome.returncode, 1)
        self.assertIn("Veilpane/Attic/File.h: lies in no room", outcome.stderr)

    def test_a_missing_folder_is_one_clear_line(self):
        outcome = check(self.sources)
        self.assertNotEqual(outcome.returncode, 0)
        self.assertEqual(outcome.stderr, f"check_layers.py: {self.sources}: no such folder\n")


if __name__ == "__main__":
    unittest.main()
