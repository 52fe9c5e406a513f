#!/usr/bin/env python3
"""The checks of a program find what is wrong with it: test_check_program.py PROGRAM LINKED

LINKED is the program as it was before it was signed for both architectures."""

import struct
import subprocess
import sys
import tempfile
import unittest

import check_program
import expectations
import macho


class CheckOfAWrongProgram(unittest.TestCase):
    program = linked = None

    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)

    def copy_with(self, old, new):
        self.assertEqual(len(old), len(new))
        with open(self.program, "rb") as stream:
            data = stream.read()
        self.assertIn(old, data)
        return self.write(data.replace(old, new))

    def write(self, data):
        name = self.directory.name + "/Veilpane"
        with open(name, "wb") as stream:
            stream.write(data)
        return name

    def assert_complaint(self, program, words):
        found = list(check_program.complaints(program))
        self.assertTrue(any(words in complaint for complaint in found),
                        f"no '{words}' among {found}")

    def part(self):
        """The bytes of one architecture's part, to be damaged."""
        return bytearray(macho.Slice(self.program, "arm64", self.directory.name).bytes)

    def load_command(self, data, command):
        """Where the first load command of the kind lies."""
        count, = struct.unpack_from("<I", data, 16)
        place = 32
        for _ in range(count):
            kind, size = struct.unpack_from("<II", data, place)
            if kind == command:
                return place
            place += size
        return self.fail(f"no load command {command:#x}")

    def test_the_real_program_has_no_fault(self):
        self.assertEqual(list(check_program.complaints(self.program)), [])

    def test_a_missing_architecture_is_found(self):
        for architecture in expectations.ARCHITECTURES:
            thin = f"{self.directory.name}/{architecture}"
            subprocess.run(["llvm-lipo-19", self.program, "-thin", architecture, "-output", thin],
                           check=True)
            self.assert_complaint(thin, f"is for {architecture}")

    def test_a_change_after_signing_is_found(self):
        self.assert_complaint(self.copy_with(b"Veilpane.log", b"Veilpane.lug"),
                              "was changed after it was signed")

    def test_a_part_that_is_not_signed_is_found(self):
        self.assert_complaint(self.linked, "x86_64: no code signature")

    def test_a_page_without_a_hash_is_found(self):
        with open(self.program, "rb") as stream:
            data = bytearray(stream.read())
        directory = data.index(bytes.fromhex("fade0c02"))
        pages, = struct.unpack_from(">I", data, directory + 28)
        struct.pack_into(">I", data, directory + 28, pages - 1)
        self.assert_complaint(self.write(data), "does not reach over all pages")

    def test_another_library_is_found(self):
        program = self.copy_with(b"IOKit.framework/Versions/A/IOKit",
                                 b"IOKit.framework/Versions/B/IOKit")
        self.assert_complaint(program, "loads ")

    def test_a_symbol_of_another_library_is_found(self):
        program = self.copy_with(b"_IOObjectRetain\0", b"_IOObjectRetaim\0")
        self.assert_complaint(program, "IOKit is not known to export _IOObjectRetaim")

    def test_a_symbol_of_any_library_is_found(self):
        with open(self.program, "rb") as stream:
            data = bytearray(stream.read())
        begin = data.index(struct.pack("<I", 0xFEEDFACF))
        command = data.index(struct.pack("<II", 0x80000022, 48))
        ordinary_bindings = slice(command + 16, command + 24)
        weak_bindings = slice(command + 24, command + 32)
        offset, size = struct.unpack("<II", data[ordinary_bindings])
        table = slice(begin + offset, begin + offset + size)
        data[weak_bindings], data[ordinary_bindings] = data[ordinary_bindings], bytes(8)
        # Symbol, type, place in the third segment, bind.
        data[table] = b"\x40_anybodys\0\x51\x72\x00\x90".ljust(size, b"\0")
        self.assert_complaint(self.write(data), "takes _anybodys from whatever library defines it")

    def test_a_library_that_nothing_names_is_found(self):
        data = self.part()
        symbols, count = struct.unpack_from("<II", data, self.load_command(data, 0x2) + 8)
        undefined = next(place for place in range(symbols, symbols + 16 * count, 16)
                         if data[place + 4] & 0x0E == 0)
        data[undefined + 7] = 0xFE  # to be looked up everywhere
        self.assert_complaint(self.write(data), "bound to no library: ")

    def test_the_systems_library_of_cpp_is_found(self):
        name = b"_posix_spawn_file_actions_adddup2\0"
        for forbidden in expectations.FORBIDDEN_OF_SYSTEM:
            symbol = forbidden.encode().ljust(len(name) - 1, b"x")
            self.assert_complaint(self.copy_with(name, symbol + b"\0"),
                                  f"{symbol.decode()} is the system's C++ library")

    def test_an_export_is_found_though_no_table_of_symbols_has_it(self):
        for name in (b"___dso_handle", b"_anybodys"):
            data = self.part()
            command = self.load_command(data, 0x80000022)
            place, size = struct.unpack_from("<II", data, command + 40)
            # A root with one child, which is the symbol: its size, flags and address, no child.
            root = b"\0\1" + name + b"\0"
            trie = root + bytes([len(root) + 1]) + b"\2\0\0\0"
            self.assertLessEqual(len(trie), size)
            data[place:place + size] = trie.ljust(size, b"\0")
            self.assert_complaint(self.write(data), f"exports {name.decode()}")

    def test_flags_of_the_header_are_found(self):
        for flag, words in ((0x8000, "shares weak definitions"), (0x10000, "shares weak definitions"),
                            (0x200000, "has the flags "), (0x80, "has the flags "),
                            (0x4, "has the flags ")):
            data = self.part()
            flags, = struct.unpack_from("<I", data, 24)
            struct.pack_into("<I", data, 24, flags ^ flag)
            self.assert_complaint(self.write(data), words)

    def test_a_run_path_is_found(self):
        data = self.part()
        place = self.load_command(data, 0x1B)
        data[place:place + 24] = struct.pack("<III12s", 0x8000001C, 24, 12, b"/usr/lib")
        self.assert_complaint(self.write(data), "has run paths")

    def test_a_path_of_the_build_machine_is_found(self):
        old = expectations.SKYLIGHT.encode()
        new = b"/home/builder/veilpane/Sources/".ljust(len(old), b"x")
        self.assert_complaint(self.copy_with(old, new), "holds the path /home/builder")

    def test_nothing_but_hashes_is_passed_over_in_a_signature(self):
        with open(self.program, "rb") as stream:
            data = stream.read()
        path = b"\n/home/builder/veilpane/\n"
        hashes = data.index(bytes.fromhex("fade0c02"))
        hashes += struct.unpack_from(">I", data, hashes + 16)[0]
        for place, is_found in ((len(data) - len(path), True), (hashes, False)):
            program = self.write(data[:place] + path + data[place + len(path):])
            found = list(check_program.complaints(program))
            self.assertEqual(any("holds the path /home/builder" in complaint for complaint in found),
                             is_found, found)

    def test_a_missing_class_or_selector_is_found(self):
        for name in ("AppDelegate", "menuNeedsUpdate:"):
            program = self.copy_with(name.encode(), b"x" * len(name))
            self.assert_complaint(program, f"'{name}' is missing")

    def test_a_static_initialiser_is_found(self):
        program = self.copy_with(b"__objc_ivar".ljust(16, b"\0"), b"__mod_init_func".ljust(16, b"\0"))
        self.assert_complaint(program, "runs code before main (__mod_init_func)")

    def test_another_oldest_system_is_found(self):
        build_version = struct.pack("<IIII", 0x32, 32, 1, 13 << 16)
        newer = struct.pack("<IIII", 0x32, 32, 1, 15 << 16)
        self.assert_complaint(self.copy_with(build_version, newer), "starts on macOS 15.0")

    def test_another_sdk_is_found(self):
        build_version = struct.pack("<IIIII", 0x32, 32, 1, 13 << 16, 14 << 16 | 2 << 8)
        newer = struct.pack("<IIIII", 0x32, 32, 1, 13 << 16, 26 << 16)
        self.assert_complaint(self.copy_with(build_version, newer), "is linked against the SDK 26.0")

    def test_a_segment_that_ends_within_a_page_is_found(self):
        part = macho.Slice(self.program, "arm64", self.directory.name)
        memory = {name: size for name, size, _ in part.segments()}["__DATA_CONST"]
        name = b"__DATA_CONST".ljust(16, b"\0")
        place = part.bytes.index(name)
        data = bytearray(part.bytes)
        struct.pack_into("<Q", data, place + 24, memory + 8)
        self.assert_complaint(self.write(data), "the segment __DATA_CONST ends within a page")

    def test_several_entries_of_the_image_are_found(self):
        part = macho.Slice(self.program, "arm64", self.directory.name)
        data = bytearray(part.bytes)
        place = data.index(b"__objc_imageinfo")
        struct.pack_into("<Q", data, place + 40, 128)
        self.assert_complaint(self.write(data), "has not one entry in __objc_imageinfo")

    def test_missing_starts_of_functions_are_found(self):
        part = macho.Slice(self.program, "arm64", self.directory.name)
        data = bytearray(part.bytes)
        place = data.index(struct.pack("<II", 0x26, 16))
        struct.pack_into("<I", data, place + 12, 0)
        self.assert_complaint(self.write(data), "tells no starts of functions")

    def test_a_large_part_is_found(self):
        part = macho.Slice(self.program, "arm64", self.directory.name)
        self.assert_complaint(self.write(part.bytes + bytes(60_000)), " bytes")


if __name__ == "__main__":
    CheckOfAWrongProgram.program, CheckOfAWrongProgram.linked = sys.argv[1:3]
    del sys.argv[1:]
    unittest.main()
