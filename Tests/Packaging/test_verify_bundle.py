#!/usr/bin/env python3
"""The built bundle is sealed, and whatever is wrong with a seal is found:
test_verify_bundle.py BUNDLE ARCHITECTURE…"""

import os
import pathlib
import plistlib
import random
import shutil
import stat
import struct
import subprocess
import sys
import unittest
import warnings
import zipfile
from unittest import mock

import verify_bundle
from temporary_home import PACKAGING, InATemporaryHome
from tiny_program import tiny_program, tiny_slice, universal

sys.path.insert(0, str(PACKAGING))

import make_zip  # noqa: E402
import program_signature  # noqa: E402
import resource_seal  # noqa: E402
import seal_bundle  # noqa: E402
import sign_program  # noqa: E402

PROGRAM, INFO = "Contents/MacOS/Veilpane", "Contents/Info.plist"
LIST, RESOURCES = "Contents/_CodeSignature/CodeResources", "Contents/Resources/"

# A byte of each part of a signature, from its start: of the blob around all parts, and of the code
# directory, the first part. With each, what the complaint is about.
IN_SIGNATURE = {
    "magic": (0, "no signature where"), "length": (7, "signature of"), "count": (11, "signature of 2"),
    "first slot": (15, "part 0x0"), "second slot": (23, "part 0x2"), "third slot": (31, "part 0x10000"),
    "first place": (19, "part 0x0"), "second place": (27, "part 0x2"),
    "third place": (35, "part 0x10000"),
}
IN_CODE_DIRECTORY = {
    "magic": (3, "part 0x0"), "length": (7, "part 0x2"), "version": (10, "version"),
    "flags": (15, "flags"), "another flag": (13, "flags"), "place of hashes": (19, "place of hashes"),
    "place of the identifier": (23, "place of the identifier"), "special slots": (27, "special slots"),
    "code slots": (31, "code slots"), "code limit": (35, "code limit"), "hash size": (36, "hash size"),
    "hash type": (37, "hash type"), "platform": (38, "platform"), "page size": (39, "page size"),
    "first spare": (43, "first spare"), "scatter": (47, "scatter"), "team": (51, "team"),
    "second spare": (55, "second spare"), "wide code limit": (63, "wide code limit"),
    "place of __TEXT": (71, "place of __TEXT"), "size of __TEXT": (79, "size of __TEXT"),
    "kind of program": (87, "kind of program"), "identifier": (88, "another name"),
    "identifier's end": (88 + 27, "another name"), "CodeResources": (88 + 28, "CodeResources was"),
    "requirements": (88 + 28 + 32, "the requirements was"),
    "Info.plist": (88 + 28 + 64, "Info.plist was"),
    "first page": (88 + 28 + 96, "page 0 was"),
}


def flip(path, place, bits=1):
    data = bytearray(path.read_bytes())
    data[place] ^= bits
    path.write_bytes(data)


def parts(program):
    """Start and size of each architecture's part."""
    if program[:4] != b"\xca\xfe\xba\xbe":
        return [(0, len(program))]
    count, = struct.unpack_from(">I", program, 4)
    return [struct.unpack_from(">8xII", program, 8 + 20 * index) for index in range(count)]


def signature_start(program, start, size):
    found = program.rindex(bytes.fromhex("fade0cc0"), start, start + size)
    assert program[found + 36:found + 40] == bytes.fromhex("fade0c02")
    return found


def flips_in_signature(program, start, size):
    """Place and expected words, by name."""
    signature = signature_start(program, start, size)
    length, = struct.unpack_from(">I", program, signature + 4)
    found = {f"signature, {name}": (signature + at, words)
             for name, (at, words) in IN_SIGNATURE.items()}
    for name, (at, words) in IN_CODE_DIRECTORY.items():
        found[f"code directory, {name}"] = (signature + 36 + at, words)
    found["last page's hash"] = (signature + length - 21, "was changed after signing")
    found["requirements"] = (signature + length - 9, "requirements are not empty")
    found["certificate's size"] = (signature + length - 1, "of another length than its parts")
    found["first byte behind the signature"] = (signature + length, "lies behind the signature")
    found["last byte"] = (start + size - 1, "lies behind the signature")
    return found


def flips_in_code(program, start, size):
    linkedit = program.index(b"__LINKEDIT\0", start) - 8
    signature = program.index(struct.pack("<II", 0x1D, 16), start)
    symbols = program.index(struct.pack("<II", 0x02, 24), start)
    end = signature_start(program, start, size)
    return {"magic of the program": (start, "no 64-bit program"),
            "processor of the program": (start + 4, "processor"),
            "kind of the program": (start + 12, "no 64-bit program"),
            "number of load commands": (start + 16, "load commands"),
            "size of load commands": (start + 20, "load commands"),
            "size of a load command": (start + 36, "broken load commands"),
            "size of the symbols' names": (symbols + 23, "data of the linker lies outside"),
            "flags": (start + 24, "page 0 was"),
            "name of __LINKEDIT": (linkedit + 8, "no __TEXT or no __LINKEDIT"),
            "address of __LINKEDIT": (linkedit + 28, "not the last segment"),
            "place of __LINKEDIT": (linkedit + 40, "__LINKEDIT does not end"),
            "size of __LINKEDIT": (linkedit + 48, "__LINKEDIT does not end"),
            "memory of __LINKEDIT": (linkedit + 33, "bytes of memory"),
            "place of the signature": (signature + 8, "no signature where"),
            "room for the signature": (signature + 12, "not at the end"),
            "load command of the signature": (signature, "has 0 signatures"),
            "code": (start + 0x4321, "page 4 was"),
            "last byte of the code": (end - 1, "was changed after signing")}


def flips(program):
    found = {}
    for index, (start, size) in enumerate(parts(program)):
        places = {**flips_in_signature(program, start, size), **flips_in_code(program, start, size)}
        found.update({f"part {index}: {name}": place for name, place in places.items()})
    return found


def flips_in_universal_header(program):
    if program[:4] != b"\xca\xfe\xba\xbe":
        return {}
    return {"magic": (3, "processor"), "number of parts": (7, "where it has to begin"),
            "processor": (8 + 3, "processor"), "kind of processor": (8 + 7, "for another processor"),
            "place": (8 + 10, "where it has to begin"), "size": (8 + 15, "__LINKEDIT does not end"),
            "alignment": (8 + 19, "where it has to begin"), "gap": (0x3FFF, "where it has to begin"),
            "last size": (28 + 15, "does not end with the file")}


def replace_by_copy(path):
    """By a link to the same content, at a place that the link may lead to."""
    copy = path.with_name("copy")
    path.rename(copy)
    path.symlink_to(copy.name)


def change_properties(bundle, name, change):
    properties = plistlib.loads((bundle / name).read_bytes())
    change(properties)
    (bundle / name).write_bytes(plistlib.dumps(properties))


# What a change is called: the change of a bundle, and words of the complaint.
IN_BUNDLE = {
    "a file beside Contents": (lambda b: (b / "notes").touch(), "notes lies beside Contents"),
    "a file in Contents": (lambda b: (b / "Contents/notes").touch(), "nothing but signed code"),
    "a file beside the program": (lambda b: (b / "Contents/MacOS/notes").touch(),
                                  "nothing but signed code"),
    "a file beside the list": (lambda b: (b / LIST).with_name("CodeDirectory").touch(),
                               "nothing but signed code"),
    "a ticket": (lambda b: (b / "Contents/CodeResources").touch(), "nothing but signed code"),
    "a file among the resources": (lambda b: (b / RESOURCES / "notes").touch(),
                                   "notes is not in files2"),
    "a file among the localisations": (lambda b: (b / RESOURCES / "zh-Hans.lproj/more").touch(),
                                       "more is not in files2"),
    "a localisation": (lambda b: shutil.copytree(b / RESOURCES / "zh-Hans.lproj",
                                                 b / RESOURCES / "de.lproj"), "is not in files2"),
    "a leftover of Finder": (lambda b: (b / RESOURCES / "._LICENSE").touch(), "leftover of Finder"),
    "a link more": (lambda b: (b / RESOURCES / "more").symlink_to("LICENSE"), "more is not in files2"),
    "a link out": (lambda b: (b / RESOURCES / "out").symlink_to("/etc"), "a link to nothing among"),
    "a pipe": (lambda b: os.mkfifo(b / RESOURCES / "pipe"), "neither a file nor a link"),
    "no list": (lambda b: (b / LIST).unlink(), "No such file"),
    "no seal": (lambda b: shutil.rmtree((b / LIST).parent), "_CodeSignature is no folder"),
    "no Info.plist": (lambda b: (b / INFO).unlink(), "No such file"),
    "no program": (lambda b: (b / PROGRAM).unlink(), "No such file"),
    "no PkgInfo": (lambda b: (b / "Contents/PkgInfo").unlink(), "No such file"),
    "another PkgInfo": (lambda b: flip(b / "Contents/PkgInfo", 0), "PkgInfo is not"),
    "a program of another name": (lambda b: (b / PROGRAM).rename((b / PROGRAM).with_name("veil")),
                                  "No such file"),
    "a link as the program": (lambda b: replace_by_copy(b / PROGRAM), "Veilpane may not be a link"),
    "a link as Info.plist": (lambda b: replace_by_copy(b / INFO), "Info.plist may not be a link"),
    "a link as the list": (lambda b: replace_by_copy(b / LIST), "CodeResources may not be a link"),
    "a link as the resources": (lambda b: replace_by_copy(b / "Contents/Resources"),
                                "Resources is no folder"),
    "a program that may not be executed": (lambda b: (b / PROGRAM).chmod(0o644), "executed"),
    "a program only for its owner": (lambda b: (b / PROGRAM).chmod(0o700), "executed"),
    "a script that may not be executed": (lambda b: (b / RESOURCES / "bin/veilpane-login").chmod(0o644),
                                          "executed"),
    "a file that may not be read": (lambda b: (b / RESOURCES / "LICENSE").chmod(0o600), "read"),
    "an entry less": (lambda b: change_properties(
        b, LIST, lambda seal: seal["files2"].pop("Resources/bin/veilpane")),
        "bin/veilpane is not in files2"),
    "a part of the list more": (lambda b: change_properties(
        b, LIST, lambda seal: seal.update(files3={})), "CodeResources holds"),
    "another kind of bundle": (lambda b: change_properties(
        b, INFO, lambda info: info.update(CFBundlePackageType="FMWK")), "Info.plist is not that of"),
    "a list in another form": (lambda b: (b / LIST).write_bytes(plistlib.dumps(
        plistlib.loads((b / LIST).read_bytes()), fmt=plistlib.FMT_BINARY)), "cannot be read on"),
    "a longer program": (lambda b: (b / PROGRAM).write_bytes((b / PROGRAM).read_bytes() + b"\0"),
                         "does not end with"),
    "a shorter program": (lambda b: os.truncate(b / PROGRAM, (b / PROGRAM).stat().st_size - 1),
                          "does not end with"),
    "a program that was never signed": (lambda b: (b / PROGRAM).write_bytes(tiny_program()),
                                        "0 signatures"),
}


def setting(module, name, value):
    return mock.patch.object(module, name, value)


def without(rules, pattern):
    return {key: rule for key, rule in rules.items() if key != pattern}


# A sealer with one thing wrong, and words of the complaint about what it makes.
WRONG_SEALERS = {
    "a linker's flag": (setting(program_signature, "AD_HOC", 0x20002), "flags is 0x20002"),
    "the hardened runtime": (setting(program_signature, "AD_HOC", 0x10002), "flags is 0x10002"),
    "larger pages": (setting(program_signature, "HASHED_PAGE", 14), "page size is 0xe"),
    "another version": (setting(program_signature, "CODE_DIRECTORY_VERSION", 0x20500), "version"),
    "no main program": (setting(program_signature, "MAIN_PROGRAM", 0), "kind of program"),
    "requirements": (setting(program_signature, "NO_REQUIREMENTS",
                             struct.pack(">IIII", 0xFADE0C01, 16, 0, 0)), "requirements are not empty"),
    "a certificate": (setting(program_signature, "NO_CERTIFICATE",
                              struct.pack(">III", 0xFADE0B01, 12, 0)),
                      "certificate's signature is not"),
    "certificate before requirements": (setting(program_signature, "REQUIREMENTS_SLOT", 3), "part 0x2"),
    "smaller pages of memory": (setting(program_signature, "SEGMENT_PAGE", 0x1000), ""),
    "rules that leave files out": (setting(resource_seal, "RULES", {
        **resource_seal.RULES, "^Resources/bin/": {"omit": True, "weight": 3000.0}}), "other rules2"),
    "a rule too few": (setting(resource_seal, "RULES",
                               without(resource_seal.RULES, r"^version\.plist$")), "other rules2"),
    "an old rule too few": (setting(resource_seal, "OLD_RULES",
                                    without(resource_seal.OLD_RULES, "^version.plist$")),
                            "other rules than"),
    "files left out": (setting(resource_seal, "NEVER_LISTED", ("_CodeSignature/", "Resources/bin/")),
                       "bin/veilpane is not in files2"),
    "every file optional": (setting(resource_seal, "governing_rule",
                                    lambda rules, path: {"optional": True}), "changed after sealing"),
    "another identifier": (setting(seal_bundle, "name_in", lambda properties, key: {
        "CFBundleExecutable": "Veilpane"}.get(key, "io.github.veilpane.veilpane")), "another name"),
}


class Verification(InATemporaryHome):
    built, architectures = None, ()

    def setUp(self):
        super().setUp()
        self.bundle = self.home / "Veilpane.app"
        self.program = (self.built / PROGRAM).read_bytes()

    def complaints(self):
        return list(verify_bundle.complaints(self.bundle, self.architectures))

    def renew(self):
        shutil.rmtree(self.bundle, ignore_errors=True)
        shutil.copytree(self.built, self.bundle, symlinks=True)

    def assert_found(self, name, damage, words):
        with self.subTest(name):
            self.renew()
            damage(self.bundle)
            found = self.complaints()
            self.assertTrue(any(words in complaint for complaint in found),
                            f"no '{words}' among {found}")

    def assert_flip_found(self, name, file, place, words):
        self.assert_found(f"{name} of {file}, byte {place}",
                          lambda bundle: flip(bundle / file, place), words)


class Sound(Verification):
    def test_the_built_bundle_has_no_fault(self):
        self.renew()
        self.assertEqual(self.complaints(), [])

    def test_the_command_is_silent_and_succeeds(self):
        run = self.run_command("python3", verify_bundle.__file__, self.built, *self.architectures)
        self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))

    def test_sealing_it_again_changes_nothing(self):
        self.renew()
        seal_bundle.seal(self.bundle)
        self.assertEqual((self.bundle / PROGRAM).read_bytes(), self.program)
        self.assertEqual((self.bundle / LIST).read_bytes(), (self.built / LIST).read_bytes())

    def test_a_link_among_the_resources_has_no_fault(self):
        self.renew()
        (self.bundle / RESOURCES / "COPYING").symlink_to("LICENSE")
        seal_bundle.seal(self.bundle)
        self.assertEqual(self.complaints(), [])


class Damage(Verification):
    def test_a_flipped_bit_in_the_program_is_found_where_it_is(self):
        table = flips(self.program)
        self.assertGreaterEqual(len(table), 50 * len(self.architectures))
        for name, (place, words) in {**table, **flips_in_universal_header(self.program)}.items():
            self.assert_flip_found(name, PROGRAM, place, words)

    def test_a_flipped_bit_anywhere_is_found(self):
        picks = random.Random(20261121)
        for file, count in ((PROGRAM, 40), (INFO, 10), (LIST, 10)):
            size = (self.built / file).stat().st_size
            for place in picks.sample(range(size), count):
                self.assert_flip_found("a byte", file, place, "")

    def test_a_change_of_any_resource_is_found(self):
        resources = [path.relative_to(self.built) for path in (self.built / RESOURCES).rglob("*")
                     if path.is_file()]
        self.assertGreater(len(resources), 8)
        for path in resources:
            name = path.relative_to("Contents").as_posix()
            self.assert_flip_found("a byte", path, -1, f"{name} was changed")
            self.assert_found(f"no {name}", lambda b, path=path: (b / path).unlink(),
                              f"{name} is missing")
            self.assert_found(f"{name} renamed", lambda b, path=path: (b / path).rename(
                (b / path).with_name("renamed")), f"{name} is missing")
            self.assert_found(f"a link as {name}", lambda b, path=path: replace_by_copy(b / path),
                              f"{name} was changed")

    def test_a_change_of_the_bundle_is_found(self):
        for name, (damage, words) in IN_BUNDLE.items():
            self.assert_found(name, damage, words)

    def test_another_set_of_architectures_is_found(self):
        self.renew()
        for wrong in (["arm64", "x86_64", "arm64e"], ["ppc"], list(self.architectures) * 2):
            found = list(verify_bundle.complaints(self.bundle, wrong))
            self.assertTrue(any("not for" in complaint for complaint in found), found)

    def test_what_a_wrong_sealer_makes_is_found(self):
        def seal_with(wrong):
            def apply(bundle):
                with wrong:
                    seal_bundle.seal(bundle)
            return apply
        for name, (wrong, words) in WRONG_SEALERS.items():
            self.assert_found(name, seal_with(wrong), words)

    def test_what_a_wrong_sealer_makes_of_an_unsigned_program_is_found(self):
        def only_pages(size, unit, real=program_signature.rounded_up):
            return size if unit == 16 else real(size, unit)
        wrong_sealers = {
            "no alignment": ("rounded_up", only_pages, "signature is not aligned"),
            "a longer load command": ("COMMAND_SIZE", 24, "odd LC_CODE_SIGNATURE"),
        }
        for name, (attribute, value, words) in wrong_sealers.items():
            def seal(bundle, attribute=attribute, value=value):
                (bundle / PROGRAM).write_bytes(universal(tiny_slice()))
                with setting(program_signature, attribute, value):
                    seal_bundle.seal(bundle)
            self.assert_found(name, seal, words)

    def test_the_command_prints_what_it_finds_and_fails(self):
        self.renew()
        flip(self.bundle / INFO, (self.bundle / INFO).read_bytes().index(b"utilities"))
        run = self.run_command("python3", verify_bundle.__file__, self.bundle, *self.architectures)
        self.assertEqual((run.returncode, run.stderr), (1, ""))
        self.assertIn("Info.plist was changed after signing", run.stdout)


class Zip(Verification):
    def setUp(self):
        super().setUp()
        self.renew()
        (self.bundle / RESOURCES / "COPYING").symlink_to("LICENSE")
        seal_bundle.seal(self.bundle)
        probe = self.home / "macprobe"
        shutil.copy(self.bundle / PROGRAM, probe)
        sign_program.sign(probe, "io.github.veilpane.macprobe")
        self.archive = self.home / "Veilpane.zip"
        make_zip.make_zip(self.bundle, self.archive, 1700000000, probe)

    def found(self):
        return list(verify_bundle.complaints(self.archive, self.architectures))

    def rewrite(self, change):
        """Packs everything anew; `change` returns an entry's bytes, or None to leave it out."""
        with zipfile.ZipFile(self.archive) as archive:
            entries = [(entry, archive.read(entry)) for entry in archive.infolist()]
        with zipfile.ZipFile(self.archive, "w") as archive:
            for entry, data in entries:
                changed = change(entry, data)
                if changed is not None:
                    archive.writestr(entry, changed)

    def test_a_zip_keeps_what_is_sealed(self):
        self.assertEqual(self.found(), [])

    @unittest.skipUnless(shutil.which("unzip"), "unzip is not installed")
    def test_another_tool_unpacks_it_to_the_same(self):
        folder = self.home / "unpacked"
        subprocess.run(["unzip", "-q", self.archive, "-d", folder], check=True)
        self.bundle = folder / "Veilpane.app"
        self.assertEqual(self.complaints(), [])

    def test_what_is_wrong_with_a_zip_is_found(self):
        def without_modes(entry, data):
            entry.external_attr = 0
            return data

        def of_probe(change):
            return lambda entry, data: change(entry, data) if entry.filename == "macprobe" else data

        def link(entry, data):
            entry.external_attr = (stat.S_IFLNK | 0o755) << 16
            return b"Veilpane.app/" + PROGRAM.encode()
        changes = {
            "no modes": (without_modes, "executed"),
            "a file less": (lambda entry, data: None if entry.filename.endswith("LICENSE") else data,
                            "LICENSE is missing"),
            "another file": (lambda entry, data: data[::-1] if entry.filename.endswith(".1") else data,
                             "was changed after sealing"),
            "no probe": (of_probe(lambda entry, data: None), "the zip holds Veilpane.app"),
            "a link to a program": (of_probe(link), "macprobe is no regular file"),
            "a probe that nobody may execute": (of_probe(without_modes), "macprobe may not be executed"),
            "another probe": (of_probe(lambda entry, data: data.replace(b"Veilpane.log", b"Veilpane.lug")),
                              "macprobe: "),
        }
        whole = self.archive.read_bytes()
        for name, (change, words) in changes.items():
            with self.subTest(name):
                self.archive.write_bytes(whole)
                self.rewrite(change)
                self.assertTrue(any(words in complaint for complaint in self.found()), self.found())

    def test_a_second_entry_and_a_second_bundle_are_found(self):
        whole = self.archive.read_bytes()
        for name, words in (("../out", "leads out"), ("Other.app/x", "the zip holds Other.app"),
                            ("Veilpane.app/Contents/PkgInfo", "is in it twice")):
            self.archive.write_bytes(whole)
            with zipfile.ZipFile(self.archive, "a") as archive, warnings.catch_warnings():
                warnings.simplefilter("ignore")  # it is twice in it on purpose
                archive.writestr(name, b"more")
            self.assertTrue(any(words in complaint for complaint in self.found()), self.found())

    def test_a_zip_that_is_cut_off_is_found(self):
        os.truncate(self.archive, self.archive.stat().st_size // 2)
        self.assertIn("cannot be read on", self.found()[0])


if __name__ == "__main__":
    Verification.built = pathlib.Path(sys.argv[1]).resolve()
    Verification.architectures = sys.argv[2:]
    del sys.argv[1:]
    unittest.main()
