#!/usr/bin/env python3
"""Scripts/package.sh with stand-ins for the build, and the workflow's look at what it has packed."""

import hashlib
import json
import pathlib
import re
import shutil
import sys
import unittest
import zipfile

from temporary_home import PACKAGING, InATemporaryHome, write_script
from tiny_program import tiny_program
from verify_bundle import complaints

sys.path.insert(0, str(PACKAGING))

import make_bundle  # noqa: E402
import seal_bundle  # noqa: E402

PROJECT = PACKAGING.parent
TESTS = pathlib.Path(__file__).resolve().parent
VERSION = re.search(r"^project\(Veilpane VERSION ([0-9.]+)",
                    (PROJECT / "CMakeLists.txt").read_text(encoding="utf-8"), re.MULTILINE)[1]

# Takes a bundle whose program only says for which build it stands.
FAKE_BUILD = """#!/bin/sh
set -e
rm -rf "build/$1"
mkdir -p build
cp -R "$HOME/built/$1" "build/$1"
"""

# Like macOS's: ditto -x -k ARCHIVE FOLDER.
FAKE_DITTO = """#!/bin/sh
[ "$1 $2" = "-x -k" ] && [ -f "$3" ] && exec python3 -m zipfile -e "$3" "$4"
"""

# Like macOS's, it needs a bundle that is there; the last argument names it.
FAKE_CODESIGN = """#!/bin/sh
echo "$@" >>"$HOME/codesign.log"
for last; do :; done
[ -f "$last/Contents/MacOS/Veilpane" ] || [ -f "$last" ]
"""

# Apple's service says in its answer, not in its status, whether it has notarised; ANSWER is its word.
FAKE_XCRUN = """#!/bin/sh
echo "$@" >>"$HOME/xcrun.log"
for last; do :; done
case "$1 $2" in
"notarytool submit")
    [ -f "$3" ] || exit 1
    echo '{"id":"1-2-3","status":"ANSWER","message":"Processing complete"}'
    ;;
"stapler staple") echo ticket >"$last/Contents/CodeResources" ;;
"stapler validate") [ -f "$last/Contents/CodeResources" ] ;;
esac
"""

REFUSING_CODESIGN = """#!/bin/sh
echo "code object is not signed at all" >&2
exit 1
"""


class ProjectToPackage(InATemporaryHome):
    """A project of which only the packaging is real."""

    def setUp(self):
        super().setUp()
        self.project = self.home / "project"
        for folder in ("Packaging", "Tests/Packaging"):
            shutil.copytree(PROJECT / folder, self.project / folder,
                            ignore=shutil.ignore_patterns("__pycache__"))
        for file in ("CMakeLists.txt", "LICENSE"):
            shutil.copy(PROJECT / file, self.project)
        (self.project / "Scripts").mkdir()
        for script in ("package.sh", "arguments.sh", "steps.sh"):
            shutil.copy(PROJECT / "Scripts" / script, self.project / "Scripts")
        for preset in ("macos", "macos-cross"):
            self.make_sealed_bundle(self.home / "built" / preset, f"made by {preset}")
        for script in ("bootstrap.sh", "fetch-tools.sh"):
            write_script(self.project / "Scripts" / script, "#!/bin/sh\n")
        write_script(self.project / "Scripts" / "build.sh", FAKE_BUILD)
        self.environment["SOURCE_DATE_EPOCH"] = "1700000000"
        for name in ("SIGNING_IDENTITY", "NOTARY_PROFILE", "KEYCHAIN"):
            self.environment.pop(f"VEILPANE_{name}", None)
        self.packages = self.project / "build" / "package"
        self.archive = self.packages / f"Veilpane-{VERSION}.zip"

    @staticmethod
    def make_sealed_bundle(folder, mark):
        folder.mkdir(parents=True)
        (folder / "Veilpane").write_bytes(tiny_program(mark.encode()))
        seal_bundle.seal(make_bundle.make_bundle(folder / "Veilpane", VERSION, "13.0", folder))
        (folder / "macprobe").write_bytes(tiny_program(f"probe of {mark}".encode()))
        (folder / "macprobe").chmod(0o755)

    def run_script(self, system):
        write_script(self.home / "bin" / "uname", f"#!/bin/sh\necho {system}\n")
        return self.run_command("sh", self.project / "Scripts" / "package.sh")

    def package(self, system):
        run = self.run_script(system)
        self.assertEqual((run.returncode, run.stderr), (0, ""))


class PackageScript(ProjectToPackage):
    def packed(self):
        return {path.name for path in self.packages.iterdir()} if self.packages.exists() else set()

    def cask(self):
        run = self.run_command("ruby", TESTS / "record_cask.rb", self.packages / "veilpane.rb")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return {name: values for name, *values in map(json.loads, run.stdout.splitlines())}

    def test_the_name_of_the_zip_says_the_version_and_nothing_else(self):
        for system in ("Linux", "Darwin"):
            self.package(system)
            self.assertEqual(self.packed(), {f"Veilpane-{VERSION}.zip", "veilpane.rb"})
            shutil.rmtree(self.packages)

    def test_it_has_the_program_of_the_build_for_users_and_is_sealed(self):
        for system, preset in (("Linux", "macos-cross"), ("Darwin", "macos")):
            self.package(system)
            with zipfile.ZipFile(self.archive) as archive:
                program = archive.read("Veilpane.app/Contents/MacOS/Veilpane")
                probe = archive.read("macprobe")
            self.assertEqual(program.count(f"made by {preset}\xc3".encode("latin-1")), 2)
            self.assertEqual(probe.count(f"probe of made by {preset}\xc3".encode("latin-1")), 2)
            self.assertEqual(list(complaints(self.archive)), [])

    def assert_not_packed(self, run, words):
        self.assertEqual(run.returncode, 1)
        self.assertIn(words, run.stderr.splitlines()[-1])
        self.assertEqual(self.packed(), set())
        self.assertFalse((self.project / "build" / "package.new").exists())

    def test_a_bundle_that_was_changed_after_sealing_is_not_packed(self):
        changes = ('echo >>"build/$1/Veilpane.app/Contents/Info.plist"',
                   'chmod a-x "build/$1/Veilpane.app/Contents/MacOS/Veilpane"',
                   'cp "build/$1/Veilpane" "build/$1/Veilpane.app/Contents/MacOS/"',
                   'touch "build/$1/Veilpane.app/notes"')
        for change in changes:
            with self.subTest(change):
                write_script(self.project / "Scripts" / "build.sh", FAKE_BUILD + change + "\n")
                self.assert_not_packed(self.run_script("Linux"), "Veilpane.app is broken")

    def test_a_probe_that_cannot_be_signed_is_not_packed(self):
        changes = (('echo "#!/bin/sh" >"build/$1/macprobe"', "the program is"),
                   ('rm "build/$1/macprobe"', "macprobe"),
                   ('chmod a-x "build/$1/macprobe"', f"{VERSION}.zip is broken"))
        for change, words in changes:
            with self.subTest(change):
                write_script(self.project / "Scripts" / "build.sh", FAKE_BUILD + change + "\n")
                self.assert_not_packed(self.run_script("Linux"), words)

    def test_a_probe_that_is_not_signed_afterwards_is_not_packed(self):
        signer = self.project / "Packaging" / "sign_program.py"
        signer.write_text("", encoding="utf-8")
        self.assert_not_packed(self.run_script("Linux"), f"{VERSION}.zip is broken")

    def test_a_zip_that_does_not_keep_the_bundle_is_not_packed(self):
        packer = self.project / "Packaging" / "make_zip.py"
        text = packer.read_text(encoding="utf-8")
        for old, new in (("0o755 if", "0o644 if"), ("path.read_bytes()", 'path.read_bytes() + b"x"'),
                         ("folder.rglob", "(folder / 'Contents').glob")):
            with self.subTest(new):
                self.assertIn(old, text)
                packer.write_text(text.replace(old, new), encoding="utf-8")
                self.assert_not_packed(self.run_script("Linux"), f"{VERSION}.zip is broken")

    def test_what_was_packed_before_stays_when_nothing_is_packed(self):
        self.package("Linux")
        before = self.archive.read_bytes()
        write_script(self.project / "Scripts" / "build.sh",
                     FAKE_BUILD + 'touch "build/$1/Veilpane.app/notes"\n')
        self.assertEqual(self.run_script("Linux").returncode, 1)
        self.assertEqual(self.archive.read_bytes(), before)

    def test_a_certificate_is_refused_where_there_is_no_codesign(self):
        self.environment["VEILPANE_SIGNING_IDENTITY"] = "Developer ID"
        self.assert_not_packed(self.run_script("Linux"), "only a Mac has")

    def test_a_seal_by_a_certificate_is_judged_by_codesign_before_and_after_packing(self):
        self.environment["VEILPANE_SIGNING_IDENTITY"] = "Developer ID"
        write_script(self.home / "bin" / "ditto", FAKE_DITTO)
        write_script(self.home / "bin" / "codesign", FAKE_CODESIGN)
        self.package("Darwin")
        unpacked = "build/package.new/unpacked"
        self.assertEqual(self.text("codesign.log").splitlines(), [
            "--verify --strict build/macos/Veilpane.app",
            "--force --options runtime --timestamp --sign Developer ID build/package.new/macprobe",
            f"--verify --strict {unpacked}/Veilpane.app", f"--verify --strict {unpacked}/macprobe"])
        shutil.rmtree(self.packages)
        write_script(self.home / "bin" / "codesign", REFUSING_CODESIGN)
        self.assert_not_packed(self.run_script("Darwin"), "codesign refuses build/macos/Veilpane.app")

    def notarize(self, answer="Accepted"):
        self.environment |= {"VEILPANE_SIGNING_IDENTITY": "Developer ID",
                             "VEILPANE_NOTARY_PROFILE": "a profile"}
        for name, text in (("ditto", FAKE_DITTO), ("codesign", FAKE_CODESIGN),
                           ("xcrun", FAKE_XCRUN.replace("ANSWER", answer))):
            write_script(self.home / "bin" / name, text)
        return self.run_script("Darwin")

    def test_a_notarised_bundle_has_its_ticket_in_the_zip_and_the_cask_asks_for_nothing(self):
        run = self.notarize()
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assertRegex(run.stdout, r"Waiting for Apple to notarise it, .*\n  done after \d+ s\n")
        work = "build/package.new"
        self.assertEqual(self.text("xcrun.log").splitlines(), [
            f"notarytool submit {work}/submitted.zip --keychain-profile a profile --wait "
            "--output-format json", f"stapler staple {work}/Veilpane.app",
            f"stapler validate {work}/unpacked/Veilpane.app"])
        with zipfile.ZipFile(self.archive) as archive:
            self.assertEqual(archive.read("Veilpane.app/Contents/CodeResources"), b"ticket\n")
        self.assertFalse((self.project / "build/macos/Veilpane.app/Contents/CodeResources").exists())
        self.assertNotIn("quarantine", (self.packages / "veilpane.rb").read_text(encoding="utf-8"))
        self.assertEqual(self.packed(), {self.archive.name, "veilpane.rb"})

    def test_the_keychain_of_the_credentials_can_be_another_one(self):
        self.environment["VEILPANE_KEYCHAIN"] = "/a key/chain"
        self.assertEqual(self.notarize().returncode, 0)
        self.assertIn("--keychain /a key/chain --wait", self.text("xcrun.log"))

    def test_what_apple_does_not_notarise_is_not_packed(self):
        self.assert_not_packed(self.notarize("Invalid"), "has not notarised it")
        self.assertNotIn("stapler", self.text("xcrun.log"))

    def test_a_service_that_cannot_be_asked_or_gives_no_ticket_ends_it(self):
        for command, words in (("notarytool submit", "could not be asked"),
                               ("stapler staple", "could not be stapled"),
                               ("stapler validate", "has no ticket")):
            with self.subTest(command):
                self.notarize()
                shutil.rmtree(self.packages, ignore_errors=True)
                write_script(self.home / "bin" / "xcrun", FAKE_XCRUN.replace("ANSWER", "Accepted").replace(
                    'case "$1 $2" in', f'case "$1 $2" in\n"{command}") exit 1 ;;'))
                self.assert_not_packed(self.run_script("Darwin"), words)

    def test_an_ad_hoc_bundle_is_not_sent_to_apple(self):
        self.environment["VEILPANE_NOTARY_PROFILE"] = "a profile"
        for system in ("Linux", "Darwin"):
            self.assert_not_packed(self.run_script(system), "VEILPANE_SIGNING_IDENTITY")

    def test_the_cask_of_an_ad_hoc_bundle_tells_how_to_start_it(self):
        self.package("Linux")
        text = (self.packages / "veilpane.rb").read_text(encoding="utf-8")
        self.assertIn("xattr -dr com.apple.quarantine #{appdir}/Veilpane.app", text)
        self.assertNotIn("@", text)

    @unittest.skipUnless(shutil.which("ruby"), "ruby is not installed")
    def test_the_cask_names_the_zip_that_it_has_the_hash_of(self):
        for system in ("Linux", "Darwin"):
            self.package(system)
            cask = self.cask()
            self.assertEqual(cask["version"], [VERSION])
            self.assertEqual(cask["url"][0].split("/")[-1], self.archive.name)
            self.assertEqual(cask["sha256"], [hashlib.sha256(self.archive.read_bytes()).hexdigest()])
            shutil.rmtree(self.packages)

    def test_no_cask_is_made_of_a_file_of_another_release(self):
        for name in ("Veilpane-9.9.9.zip", f"Veilpane-{VERSION}-cross.zip"):
            archive = self.home / name
            archive.touch()
            run = self.run_command("python3", PACKAGING / "make_cask.py", archive, VERSION,
                                   self.home / "veilpane.rb")
            self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1))
            self.assertIn(name, run.stderr)
            self.assertFalse((self.home / "veilpane.rb").exists())


class Workflow(ProjectToPackage):
    """The workflow's steps on a Mac, run as they stand there: one for each of the two zips."""

    def steps(self, name):
        text = (PROJECT / ".github" / "workflows" / "ci.yml").read_text(encoding="utf-8")
        found = re.findall(rf"^      - name: {name}\n        run: \|\n((?:          .*\n)+)", text,
                           re.MULTILINE)
        self.assertEqual(len(found), 2, name)
        return [re.sub("^ {10}", "", step, flags=re.MULTILINE) for step in found]

    def setUp(self):
        super().setUp()
        write_script(self.home / "bin" / "ditto", FAKE_DITTO)
        write_script(self.home / "bin" / "codesign", FAKE_CODESIGN)

    def verify(self):
        return [self.run_command("sh", "-e", "-c", f"cd '{self.project}'\n{step}")
                for step in self.steps("Verify the seal")]

    def test_the_seal_is_verified_of_the_bundle_in_the_zip(self):
        for system, build in (("Darwin", "macos"), ("Linux", "macos-cross")):
            self.package(system)
            shutil.rmtree(self.project / "build" / build)
            for run in self.verify():
                self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(self.text("codesign.log").count("--verify --strict"), 8)

    def test_without_a_zip_the_steps_fail(self):
        for run in self.verify():
            self.assertNotEqual(run.returncode, 0)

    def test_a_broken_seal_fails_the_steps(self):
        self.package("Linux")
        write_script(self.home / "bin" / "codesign", REFUSING_CODESIGN)
        for run in self.verify():
            self.assertNotEqual(run.returncode, 0)


class Presets(unittest.TestCase):
    def setUp(self):
        presets = json.loads((PROJECT / "CMakePresets.json").read_text(encoding="utf-8"))
        self.presets = {preset["name"]: preset for preset in presets["configurePresets"]}

    def variables(self, name):
        preset = self.presets[name]
        inherited = self.variables(preset["inherits"]) if "inherits" in preset else {}
        return inherited | preset.get("cacheVariables", {})

    def test_a_native_build_for_users_is_as_universal_as_the_cross_build(self):
        self.assertEqual(self.variables("macos")["CMAKE_OSX_ARCHITECTURES"], "arm64;x86_64")
        self.assertIn("arm64;x86_64", self.variables("macos-cross").values())

    def test_a_certificate_is_taken_from_the_environment_by_builds_for_users_only(self):
        given = "$env{VEILPANE_SIGNING_IDENTITY}"
        for preset, value in (("macos", given), ("macos-cross", given), ("macos-tests", None)):
            self.assertEqual(self.variables(preset)["VEILPANE_SIGNING_IDENTITY"], value)

    def test_the_tests_are_built_for_the_machine_that_runs_them(self):
        # The libraries that they are made with are for that machine alone.
        self.assertIsNone(self.variables("macos-tests")["CMAKE_OSX_ARCHITECTURES"])


if __name__ == "__main__":
    sys.exit(unittest.main())
