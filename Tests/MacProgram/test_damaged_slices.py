#!/usr/bin/env python3
"""Damage to the program that ships is found: test_damaged_slices.py MACRUN TESTS PROGRAM

What macrun takes from the x86_64 slice has to be what its functions do. Copies of it are damaged where no
other test looks. Either macrun refuses them, or an end-to-end test that needs what is damaged fails."""

import os
import pathlib
import resource
import struct
import subprocess
import sys
import tempfile
import unittest

NEEDS_EXCEPTIONS = "Monitors/DisobedientMonitor.is_blacked_out_instead/mute"
INTEL = 0x01000007
SEGMENT = 0x19
ENCODING_KINDS = 0x0FFFFFFF  # without personality and handlers


def slice_of(file):
    """The slice for x86_64; the whole file when it is no universal one."""
    if struct.unpack_from(">I", file)[0] != 0xCAFEBABE:
        return file
    for entry in range(struct.unpack_from(">I", file, 4)[0]):
        processor, _, offset, size, _ = struct.unpack_from(">5I", file, 8 + 20 * entry)
        if processor == INTEL:
            return file[offset:offset + size]
    raise ValueError("there is no slice for x86_64")


class Slice:
    """Bytes to be damaged, and where in them is what."""

    def __init__(self, contents):
        self.bytes = bytearray(contents)
        self.segments = []
        self.sections = {}
        place = 32
        for _ in range(self.number(16)):
            if self.number(place) == SEGMENT:
                self.read_segment(place)
            place += self.number(place + 4)

    def number(self, place):
        return struct.unpack_from("<I", self.bytes, place)[0]

    def pointer(self, place):
        """Where in the file it leads."""
        return self.place_of(struct.unpack_from("<Q", self.bytes, place)[0])

    def put(self, place, number):
        struct.pack_into("<I", self.bytes, place, number)

    def read_segment(self, place):
        self.segments.append(struct.unpack_from("<4Q", self.bytes, place + 24))
        for section in range(self.number(place + 64)):
            name, address, size = struct.unpack_from("<16s16x2Q", self.bytes, place + 72 + 80 * section)
            self.sections[name.rstrip(b"\0").decode()] = (address, size)

    def place_of(self, address):
        for begin, _, offset, size in self.segments:
            if begin <= address < begin + size:
                return offset + address - begin
        raise ValueError(f"{address:#x} is in no segment")

    def section(self, name):
        return self.place_of(self.sections[name][0])

    def unwind_table(self, index):
        """Where the table begins, and how many elements it has: encodings, personalities, pages."""
        begin = self.section("__unwind_info")
        return begin + self.number(begin + 4 + 8 * index), self.number(begin + 8 + 8 * index)

    def encodings(self):
        """Where the encodings of all functions lie."""
        begin = self.section("__unwind_info")
        places = self.words(*self.unwind_table(0))
        pages, count = self.unwind_table(2)
        for page in [begin + self.number(pages + 12 * index + 4) for index in range(count - 1)]:
            entries, entry_count, own, own_count = struct.unpack_from("<4H", self.bytes, page + 4)
            if self.number(page) == 2:
                places += [place + 4 for place in self.words(page + entries, 2 * entry_count)[::2]]
            else:
                places += self.words(page + own, own_count)
        return places

    @staticmethod
    def words(begin, count):
        return [begin + 4 * index for index in range(count)]

    def instance_variable(self):
        """Where the offset of some class's first instance variable lies, and its name."""
        classes, size = self.section("__objc_classlist"), self.sections["__objc_classlist"][1]
        for place in range(classes, classes + size, 8):
            description = self.pointer(self.pointer(place) + 32)
            if struct.unpack_from("<Q", self.bytes, description + 48)[0] != 0:
                variable = self.pointer(description + 48) + 8
                name = self.pointer(variable + 8)
                return self.pointer(variable), self.bytes[name:self.bytes.index(0, name)].decode()
        raise ValueError("there is no instance variable")


def leave_little_stack():
    """Exceptions that find no handler are thrown anew until the stack ends, which takes minutes otherwise."""
    resource.setrlimit(resource.RLIMIT_STACK, (1 << 20, 1 << 20))


class DamagedSlices(unittest.TestCase):
    macrun = tests = program = None

    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.copy = pathlib.Path(directory.name) / "Veilpane"
        self.slice = Slice(slice_of(self.program.read_bytes()))

    def write(self):
        self.copy.write_bytes(self.slice.bytes)

    def run_tests(self):
        self.write()
        environment = os.environ | {"VEILPANE_LAUNCHER": str(self.macrun), "VEILPANE_PROGRAM": str(self.copy)}
        run = subprocess.run([self.tests, f"--gtest_filter={NEEDS_EXCEPTIONS}"], env=environment,
                             preexec_fn=leave_little_stack, capture_output=True, text=True, check=False)
        self.assertRegex(run.stdout, r"\b[1-9]\d* tests?, ")
        return run

    def assert_refused(self, complaint):
        self.write()
        run = subprocess.run([self.macrun, self.copy, "--list"], capture_output=True, text=True, check=False)
        self.assertEqual((run.returncode, run.stdout, run.stderr),
                         (70, "", f"macrun: {self.copy}: {complaint}\n"))

    def change_encodings(self, change):
        places = self.slice.encodings()
        self.assertNotEqual(places, [])
        for place in places:
            self.slice.put(place, change(self.slice.number(place)))

    def test_the_undamaged_slice_passes(self):
        run = self.run_tests()
        self.assertEqual(run.returncode, 0, run.stdout)

    def test_swapped_personalities_fail(self):
        begin, count = self.slice.unwind_table(1)
        self.assertEqual(count, 2)
        first, second = self.slice.number(begin), self.slice.number(begin + 4)
        self.slice.put(begin, second)
        self.slice.put(begin + 4, first)
        run = self.run_tests()
        self.assertNotEqual(run.returncode, 0)
        self.assertIn("[  FAILED  ]", run.stdout)

    def test_a_missing_personality_is_refused(self):
        begin, _ = self.slice.unwind_table(1)
        self.slice.put(begin, self.slice.number(begin) + 16)
        self.assert_refused("a personality of a function is none that is known here")

    def test_cleared_personalities_and_handlers_are_refused(self):
        self.change_encodings(lambda encoding: encoding & ENCODING_KINDS)
        self.assert_refused("__unwind_info has a table of handlers that no function has")

    def test_cleared_handlers_are_refused(self):
        self.change_encodings(lambda encoding: encoding & ~0x40000000)
        self.assert_refused("a function has a personality or handlers, but not both")

    def test_cleared_personalities_are_refused(self):
        self.change_encodings(lambda encoding: encoding & ~0x30000000)
        self.assert_refused("a function has a personality or handlers, but not both")

    def test_cleared_encodings_are_refused(self):
        self.change_encodings(lambda encoding: 0)
        self.assert_refused("unwinding encoding 0x0 is not known here")

    def test_a_shifted_instance_variable_is_refused(self):
        place, name = self.slice.instance_variable()
        self.slice.put(place, self.slice.number(place) + 8)
        self.assert_refused(f"instance variable {name} does not fit")


if __name__ == "__main__":
    DamagedSlices.macrun, DamagedSlices.tests, DamagedSlices.program = map(pathlib.Path, sys.argv[1:4])
    unittest.main(argv=sys.argv[:1])
