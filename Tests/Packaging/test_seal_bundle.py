#!/usr/bin/env python3
"""Sealing a bundle, with programs that are as a test needs them."""

import contextlib
import io
import os
import pathlib
import plistlib
import random
import shutil
import struct
import sys
import unittest
from unittest import mock

from bundle_files import snapshot
from temporary_home import PACKAGING, InATemporaryHome
from tiny_program import (ARM64, LINKER_SIGNATURE, TEXT_SIZE, X86_64, tiny_program, tiny_slice,
                          universal)
from verify_bundle import complaints

sys.path.insert(0, str(PACKAGING))

import make_bundle  # noqa: E402
import program_signature  # noqa: E402
import seal_bundle  # noqa: E402
from seal_error import SealError  # noqa: E402

OLD_SIGNATURE = tiny_slice(ARM64, signature=LINKER_SIGNATURE)

PROGRAMS = {
    "universal": (tiny_program(), ["arm64", "x86_64"]),
    "universal, the other way round": (universal(OLD_SIGNATURE, tiny_slice()), ["arm64", "x86_64"]),
    "not signed": (tiny_slice(), ["x86_64"]),
    "signed by its linker": (OLD_SIGNATURE, ["arm64"]),
    "just enough room": (tiny_slice(room=16), ["x86_64"]),
}


class WithABundle(InATemporaryHome):
    def make(self, program=tiny_program(), folder="built"):
        (self.home / "program").write_bytes(program)
        return make_bundle.make_bundle(self.home / "program", "1.2.3", "13.0", self.home / folder)

    def seal(self, *arguments):
        """The exit status and what the command prints."""
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed), contextlib.redirect_stderr(printed):
            status = seal_bundle.main([str(argument) for argument in arguments])
        return status, printed.getvalue()

    def sealed(self, program=tiny_program(), folder="built"):
        bundle = self.make(program, folder)
        self.assertEqual(self.seal(bundle), (0, ""))
        return bundle


class Seal(WithABundle):
    def test_a_sealed_bundle_is_sound(self):
        for name, (program, architectures) in PROGRAMS.items():
            with self.subTest(name):
                self.assertEqual(list(complaints(self.sealed(program), architectures)), [])

    def test_sealing_twice_changes_nothing(self):
        for name, (program, _) in PROGRAMS.items():
            with self.subTest(name):
                bundle = self.sealed(program)
                before = snapshot(bundle)
                times = {path: path.stat().st_mtime_ns for path in bundle.rglob("*")}
                self.assertEqual(self.seal(bundle), (0, ""))
                self.assertEqual(snapshot(bundle), before)
                self.assertEqual({path: path.stat().st_mtime_ns for path in bundle.rglob("*")}, times)

    def test_the_same_files_give_the_same_seal(self):
        self.assertEqual(snapshot(self.sealed(folder="one")), snapshot(self.sealed(folder="two")))

    def test_a_changed_bundle_gets_a_seal_of_what_it_is_now(self):
        bundle = self.sealed()
        (bundle / "Contents/Resources/LICENSE").write_text("another one\n", encoding="utf-8")
        self.assertNotEqual(list(complaints(bundle)), [])
        self.assertEqual(self.seal(bundle), (0, ""))
        self.assertEqual(list(complaints(bundle)), [])

    def test_a_signature_leaves_code_and_data_alone(self):
        for program in (tiny_slice(mark=b"code"), OLD_SIGNATURE):
            signed = (self.sealed(program) / "Contents/MacOS/Veilpane").read_bytes()
            code = 32 + struct.unpack_from("<I", signed, 20)[0]
            self.assertEqual(signed[code:TEXT_SIZE + 56], program[code:TEXT_SIZE + 56])
            self.assertEqual(signed[:16], program[:16])
            self.assertNotIn(LINKER_SIGNATURE, signed)

    def test_modes_are_kept(self):
        bundle = self.make()
        modes = {path: path.stat().st_mode for path in bundle.rglob("*") if path.is_file()}
        self.assertEqual(self.seal(bundle), (0, ""))
        self.assertEqual({path: path.stat().st_mode for path in modes}, modes)

    def test_without_one_bundle_it_tells_its_usage(self):
        for arguments in ([], ["one", "two"]):
            self.assertEqual(self.seal(*arguments), (2, "usage: seal_bundle.py BUNDLE\n"))

    def test_the_command_seals(self):
        bundle = self.make()
        run = self.run_command(PACKAGING / "seal_bundle.py", bundle)
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))
        self.assertEqual(list(complaints(bundle)), [])
        shutil.rmtree(bundle)
        run = self.run_command(PACKAGING / "seal_bundle.py", bundle)
        self.assertEqual((run.returncode, run.stdout, run.stderr.count("\n")), (1, "", 1))


class Listing(WithABundle):
    """What CodeResources says about the bundle's files."""

    def setUp(self):
        super().setUp()
        self.bundle = self.make()
        self.resources = self.bundle / "Contents" / "Resources"

    def add(self, name, text="text"):
        path = self.resources / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def lists(self):
        self.assertEqual(self.seal(self.bundle), (0, ""))
        self.assertEqual([complaint for complaint in complaints(self.bundle)
                          if ".DS_Store" not in complaint and "locversion" not in complaint], [])
        with open(self.bundle / "Contents/_CodeSignature/CodeResources", "rb") as stream:
            seal = plistlib.load(stream)
        return seal["files"], seal["files2"]

    def test_every_resource_is_in_both_lists_and_nothing_else(self):
        expected = {path.relative_to(self.bundle / "Contents").as_posix()
                    for path in self.resources.rglob("*") if path.is_file()}
        self.assertGreater(len(expected), 8)
        for listed in self.lists():
            self.assertEqual(set(listed), expected)

    def test_only_localisations_may_be_removed(self):
        self.add("Base.lproj/Menu.strings")
        self.add("plain.strings")
        for listed in self.lists():
            optional = [path for path, entry in listed.items()
                        if isinstance(entry, dict) and entry.get("optional")]
            self.assertEqual(optional, ["Resources/zh-Hans.lproj/InfoPlist.strings"])

    def test_what_macos_leaves_out_is_left_out(self):
        for name in (".DS_Store", "bin/.DS_Store", "zh-Hans.lproj/locversion.plist"):
            self.add(name)
        old, new = self.lists()
        self.assertEqual([path for path in new if path.endswith((".DS_Store", ".plist"))], [])
        self.assertEqual([path for path in old if path.endswith(".plist")], [])

    def test_a_link_is_listed_by_its_target(self):
        targets = {"copying": "LICENSE", "bin/manual": "../man/man1/veilpane.1", "all": ".",
                   "programs": "bin", "system": "/System/Library/CoreServices"}
        for name, target in targets.items():
            (self.resources / name).symlink_to(target)
        old, new = self.lists()
        for name, target in targets.items():
            self.assertEqual(new[f"Resources/{name}"], {"symlink": target})
            self.assertNotIn(f"Resources/{name}", old)

    def test_the_list_is_written_as_codesign_writes_it(self):
        self.lists()
        text = (self.bundle / "Contents/_CodeSignature/CodeResources").read_text(encoding="utf-8")
        self.assertTrue(text.startswith('<?xml version="1.0" encoding="UTF-8"?>\n<!DOCTYPE plist'))
        self.assertIn("\t\t<key>^Info\\.plist$</key>\n\t\t<dict>\n"
                      "\t\t\t<key>omit</key>\n\t\t\t<true/>\n"
                      "\t\t\t<key>weight</key>\n\t\t\t<real>20</real>\n\t\t</dict>\n", text)


def change_program(change):
    def apply(bundle):
        program = bundle / "Contents" / "MacOS" / "Veilpane"
        program.write_bytes(change(program.read_bytes()))
    return apply


def put_program(program):
    return change_program(lambda _: program)


def patched(program, place, layout, *values):
    data = bytearray(program)
    struct.pack_into(layout, data, place, *values)
    return bytes(data)


def change_properties(**changes):
    def apply(bundle):
        path = bundle / "Contents" / "Info.plist"
        path.write_bytes(plistlib.dumps({**plistlib.loads(path.read_bytes()), **changes}))
    return apply


def write(name, data=b"text"):
    def apply(bundle):
        (bundle / name).parent.mkdir(parents=True, exist_ok=True)
        (bundle / name).write_bytes(data)
    return apply


def remove(name):
    def apply(bundle):
        path = bundle / name
        shutil.rmtree(path) if path.is_dir() else path.unlink()
    return apply


def link(name, target):
    def apply(bundle):
        (bundle / name).symlink_to(target)
    return apply


def replace_by_link(name):
    def apply(bundle):
        (bundle / name).rename(bundle.parent / "moved")
        (bundle / name).symlink_to(bundle.parent / "moved")
    return apply


UNSIGNED, SIGNED = tiny_slice(), OLD_SIGNATURE
# Where the load commands of a program of one part lie.
TEXT, LINKEDIT = 32, UNSIGNED.index(b"__LINKEDIT") - 8
SYMBOLS = LINKEDIT + 72
SIGNATURE = SYMBOLS + 24
INFO, PROGRAM = "Contents/Info.plist", "Contents/MacOS/Veilpane"

BAD_INPUT = {
    "nothing there": (lambda bundle: shutil.rmtree(bundle), "no bundle"),
    "an empty folder": (remove("Contents"), "no bundle"),
    "a link as Contents": (replace_by_link("Contents"), "no bundle"),
    "no Info.plist": (remove(INFO), "no Contents/Info.plist"),
    "a link as Info.plist": (replace_by_link(INFO), "Info.plist is no regular file"),
    "no property list": (write(INFO), "no property list"),
    "an empty property list": (write(INFO, b""), "no property list"),
    "a list of properties": (write(INFO, plistlib.dumps(["one"])), "no dictionary"),
    "no identifier": (change_properties(CFBundleIdentifier=""), "CFBundleIdentifier"),
    "a number as identifier": (change_properties(CFBundleIdentifier=7), "CFBundleIdentifier"),
    "an identifier beyond ASCII": (change_properties(CFBundleIdentifier="名"), "CFBundleIdentifier"),
    "a program elsewhere": (change_properties(CFBundleExecutable="../Info.plist"),
                            "CFBundleExecutable"),
    "no program": (remove(PROGRAM), "no Contents/MacOS/Veilpane"),
    "no folder of programs": (remove("Contents/MacOS"), "no Contents/MacOS/Veilpane"),
    "a link as program": (replace_by_link(PROGRAM), "Veilpane is no regular file"),
    "a link as folder of programs": (replace_by_link("Contents/MacOS"), "MacOS is a link"),
    "a program without permission": (lambda bundle: (bundle / PROGRAM).chmod(0o644), "executed"),
    "a script as program": (put_program(b"#!/bin/sh\n".ljust(99)), "no 64-bit Mach-O file"),
    "an empty program": (put_program(b""), "cut off"),
    "a program of 32 bits": (put_program(patched(UNSIGNED, 0, "<I", 0xFEEDFACE)), "no 64-bit Mach-O"),
    "a library as program": (put_program(tiny_slice(kind=6)), "cannot be started"),
    "a program that is cut off": (change_program(lambda data: data[:-1]), "cut off"),
    "a part that is cut off": (put_program(UNSIGNED[:-1]), "cut off"),
    "a header that is cut off": (put_program(UNSIGNED[:30]), "cut off"),
    "load commands that are cut off": (put_program(UNSIGNED[:200]), "cut off"),
    "an endless load command": (put_program(patched(UNSIGNED, TEXT + 4, "<I", 0)), "cut off"),
    "more sections than load command": (put_program(patched(UNSIGNED, TEXT + 64, "<I", 3)), "cut off"),
    "load commands of another size": (put_program(patched(UNSIGNED, 20, "<I", SIGNATURE)), "another size"),
    "no __LINKEDIT": (put_program(patched(UNSIGNED, LINKEDIT + 8, "<8s", b"__OTHER_")), "__LINKEDIT"),
    "something behind __LINKEDIT": (put_program(UNSIGNED + b"more"), "end with its __LINKEDIT"),
    "__LINKEDIT below the code": (put_program(patched(UNSIGNED, LINKEDIT + 24, "<Q", 0)),
                                  "behind its __LINKEDIT"),
    "__LINKEDIT over the header": (put_program(patched(UNSIGNED, LINKEDIT + 40, "<QQ", 0,
                                                       len(UNSIGNED))), "end with its __LINKEDIT"),
    "no room for a load command": (put_program(tiny_slice(room=15, mark=bytes(16))), "no room"),
    "something in that room": (put_program(patched(UNSIGNED, SIGNATURE, "<I", 1)), "no room"),
    "a signature amid the program": (put_program(patched(SIGNED, SIGNATURE + 8, "<I", TEXT_SIZE)),
                                     "not at its end"),
    "two signatures": (put_program(patched(SIGNED, SYMBOLS, "<II", 0x1D, 24)), "not as linkers"),
    "an empty universal program": (put_program(universal()), "no processor"),
    "a universal program of thousands": (put_program(b"\xca\xfe\xba\xbe\0\0\xff\xff"), "cut off"),
    "a file beside Contents": (write("notes.txt"), "'notes.txt' may not lie beside Contents"),
    "a link beside Contents": (link("Current", "Contents"), "'Current' may not lie beside Contents"),
    "a file in Contents": (write("Contents/notes.txt"), "only signed code"),
    "another program": (write("Contents/MacOS/helper", UNSIGNED), "only signed code"),
    "a framework": (write("Contents/Frameworks/A.framework/A", UNSIGNED), "only signed code"),
    "a link to the program": (link("Contents/MacOS/alias", "Veilpane"), "only signed code"),
    "a file beside the list": (write("Contents/_CodeSignature/old"), "beside CodeResources"),
    "a file in the list's place": (write("Contents/_CodeSignature"), "_CodeSignature is no folder"),
    "a link as the seal's folder": (link("Contents/_CodeSignature", "Resources"), "may not lie beside"),
    "a folder in the list's place": (write("Contents/_CodeSignature/CodeResources/x"),
                                     "CodeResources is no regular file"),
    "a pipe": (lambda bundle: os.mkfifo(bundle / "Contents/Resources/pipe"), "no regular file"),
    "a link out of the bundle": (link("Contents/Resources/out", "../../../program"), "is a link to"),
    "a link to what is not sealed": (link("Contents/Resources/out", "../PkgInfo"), "is a link to"),
    "a link to nothing": (link("Contents/Resources/none", "nothing"), "is a link to"),
    "a link to itself": (link("Contents/Resources/itself", "itself"), "is a link to"),
    "a link by a path of this machine": (link("Contents/Resources/a", "/etc/passwd"), "is a link to"),
    "a link past the system": (link("Contents/Resources/a", "/System/../etc"), "is a link to"),
    "a leftover of Finder": (write("Contents/Resources/._LICENSE"), "a file's attributes"),
    "a name beyond ASCII": (write("Contents/Resources/é"), "not plain ASCII"),
    "a name of two lines": (write("Contents/Resources/a\nb"), "not plain ASCII"),
}


class BadInput(WithABundle):
    def test_it_is_one_line_and_nothing_is_written(self):
        for number, (name, (change, words)) in enumerate(BAD_INPUT.items()):
            with self.subTest(name):
                bundle = self.make(folder=str(number))
                change(bundle)
                before = snapshot(bundle.parent)
                status, printed = self.seal(bundle)
                self.assertEqual((status, printed.count("\n")), (1, 1), printed)
                start, _, complaint = printed.partition(f"{bundle}: ")
                self.assertEqual(start, "seal_bundle.py: ")
                self.assertIn(words, complaint)
                self.assertEqual(snapshot(bundle.parent), before)

    def test_a_program_cut_off_anywhere_is_refused(self):
        for program in (tiny_program(), UNSIGNED, SIGNED):
            for size in [*range(0, 400, 7), *range(400, len(program), 997), len(program) - 1]:
                with self.subTest(size), self.assertRaises(SealError):
                    program_signature.signed_program(program[:size], "name", [bytes(32)] * 3)

    def test_a_spoilt_header_is_refused_or_harmless(self):
        picks = random.Random(20261121)
        for program in (tiny_program(), UNSIGNED, SIGNED):
            for _ in range(300):
                start = picks.choice([0, 0x4000] if program[:1] == b"\xca" else [0])
                place = start + picks.randrange(300)
                data = bytearray(program)
                data[place] ^= picks.randrange(1, 256)
                try:
                    program_signature.signed_program(bytes(data), "name", [bytes(32)] * 3)
                except SealError as error:
                    self.assertNotIn("\n", str(error))


class FailedWrite(WithABundle):
    """Whatever fails, nothing is left but what was there."""

    def assert_unchanged(self, bundle, target, name, failing_call):
        before = snapshot(bundle)
        real, calls = getattr(target, name), []

        def failing(*arguments, **keywords):
            calls.append(arguments)
            if len(calls) == failing_call:
                raise OSError(28, "No space left on device")
            return real(*arguments, **keywords)

        with mock.patch.object(target, name, failing), self.assertRaises(OSError):
            seal_bundle.seal(bundle)
        self.assertEqual(snapshot(bundle), before)

    def test_a_full_disk_leaves_the_bundle_as_it_was(self):
        for call in (1, 2):
            with self.subTest(call):
                self.assert_unchanged(self.make(), pathlib.Path, "write_bytes", call)

    def test_a_folder_that_may_not_be_written_to_does_too(self):
        self.assert_unchanged(self.make(), pathlib.Path, "mkdir", 1)
        self.assert_unchanged(self.make(), os, "replace", 1)

    def test_an_older_seal_stays_whole(self):
        bundle = self.sealed()
        (bundle / "Contents/Resources/LICENSE").write_text("another one\n", encoding="utf-8")
        self.assert_unchanged(bundle, pathlib.Path, "write_bytes", 2)


if __name__ == "__main__":
    sys.exit(unittest.main())
