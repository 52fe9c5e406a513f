#!/usr/bin/env python3
"""The application bundle and its zip: test_bundle.py PROGRAM VERSION OLDEST_SYSTEM"""

import os
import pathlib
import plistlib
import re
import struct
import sys
import tempfile
import unittest
import zipfile

PACKAGING = pathlib.Path(__file__).resolve().parents[2] / "Packaging"
sys.path.insert(0, str(PACKAGING))

import make_bundle  # noqa: E402
import make_zip  # noqa: E402

PIXELS = {"icp4": 16, "icp5": 32, "ic11": 32, "ic12": 64, "ic07": 128, "ic13": 256, "ic08": 256,
          "ic14": 512, "ic09": 512, "ic10": 1024}


def icon_entries(data):
    if data[:4] != b"icns" or struct.unpack(">I", data[4:8])[0] != len(data):
        raise ValueError("no icon file")
    place = 8
    while place < len(data):
        kind, length = data[place:place + 4].decode(), struct.unpack_from(">I", data, place + 4)[0]
        yield kind, data[place + 8:place + length]
        place += length


class Bundle(unittest.TestCase):
    program = version = oldest_system = None

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)
        self.bundle = self.make("one")
        self.contents = self.bundle / "Contents"

    def make(self, folder):
        return make_bundle.make_bundle(self.program, self.version, self.oldest_system,
                                       self.directory / folder)

    def test_the_program_is_copied_byte_for_byte_and_can_be_executed(self):
        copy = self.contents / "MacOS" / "Veilpane"
        self.assertEqual(copy.read_bytes(), pathlib.Path(self.program).read_bytes())
        self.assertTrue(os.access(copy, os.X_OK))

    def test_the_property_list_says_what_macos_needs(self):
        plist = plistlib.loads((self.contents / "Info.plist").read_bytes())
        expected = {
            "CFBundleIdentifier": "io.github.veilpane.Veilpane",
            "CFBundleExecutable": "Veilpane",
            # Finder shows a localized name only beside one that is the bundle's file name.
            "CFBundleDisplayName": self.bundle.stem,
            "LSHasLocalizedDisplayName": True,
            "CFBundlePackageType": "APPL",
            "CFBundleInfoDictionaryVersion": "6.0",
            "CFBundleShortVersionString": self.version,
            "CFBundleVersion": self.version,
            "CFBundleDevelopmentRegion": "zh-Hans",
            "CFBundleIconFile": "Veilpane",
            "LSMinimumSystemVersion": self.oldest_system,
            "LSUIElement": True,
            "NSHighResolutionCapable": True,
            "NSPrincipalClass": "NSApplication",
        }
        self.assertEqual({key: plist.get(key) for key in expected}, expected)
        self.assertNotIn("@", (self.contents / "Info.plist").read_text(encoding="utf-8"))

    def test_the_name_is_localized_for_the_development_region(self):
        strings = (self.contents / "Resources/zh-Hans.lproj/InfoPlist.strings").read_text(
            encoding="utf-8")
        names = dict(re.findall(r'^"(\w+)" = "(.+)";$', strings, re.MULTILINE))
        self.assertEqual(names, {"CFBundleDisplayName": "Veilpane 显示器开关",
                                 "CFBundleName": "Veilpane"})
        self.assertEqual(len(strings.splitlines()), len(names), "a line is no entry")

    def test_what_the_property_list_names_is_there(self):
        for name in ("Resources/Veilpane.icns", "Resources/zh-Hans.lproj/InfoPlist.strings",
                     "Resources/man/man1/veilpane.1",
                     "Resources/man/zh_CN.UTF-8/man1/veilpane.1", "Resources/LICENSE"):
            self.assertTrue((self.contents / name).is_file(), name)
        for command in ("veilpane", "veilpane-login", "veilpane-uninstall"):
            self.assertTrue(os.access(self.contents / "Resources/bin" / command, os.X_OK), command)

    def test_the_icon_has_all_sizes(self):
        data = (self.contents / "Resources" / "Veilpane.icns").read_bytes()
        found = {}
        for kind, picture in icon_entries(data):
            self.assertEqual(picture[:8], b"\x89PNG\r\n\x1a\n")
            width, height = struct.unpack(">II", picture[16:24])
            self.assertEqual(width, height)
            found[kind] = width
        self.assertEqual(found, PIXELS)

    def test_the_same_files_give_the_same_zip(self):
        other = self.make("two")
        for path in other.rglob("*"):
            os.utime(path, (0, 0))
        files = [self.directory / "one.zip", self.directory / "two.zip"]
        make_zip.make_zip(self.bundle, files[0], 1700000000)
        make_zip.make_zip(other, files[1], 1700000000)
        self.assertEqual(files[0].read_bytes(), files[1].read_bytes())

    def test_the_zip_keeps_names_contents_and_modes(self):
        file = self.directory / "one.zip"
        make_zip.make_zip(self.bundle, file, 1700000000)
        with zipfile.ZipFile(file) as archive:
            names = set(archive.namelist())
            program = archive.getinfo("Veilpane.app/Contents/MacOS/Veilpane")
            plist = archive.getinfo("Veilpane.app/Contents/Info.plist")
        self.assertEqual(program.external_attr >> 16, 0o100755)
        self.assertEqual(plist.external_attr >> 16, 0o100644)
        self.assertEqual(names, {str(path.relative_to(self.bundle.parent))
                                 for path in self.bundle.rglob("*") if path.is_file()})


if __name__ == "__main__":
    Bundle.program, Bundle.version, Bundle.oldest_system = sys.argv[1:4]
    del sys.argv[1:]
    unittest.main()
