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

PROJECT = PACKAGING.parent
VERSION = re.search(r"^project\(Veilpane VERSION ([0-9.]+)",
                    (PROJECT / "CMakeLists.txt").read_text(encoding="utf-8"), re.MULTILINE)[1]

# Builds nothing but a bundle's program.
FAKE_BUILD = """#!/bin/sh
mkdir -p "build/$1/Veilpane.app/Contents/MacOS"
echo "$1" >"build/$1/Veilpane.app/Contents/MacOS/Veilpane"
chmod +x "build/$1/Veilpane.app/Contents/MacOS/Veilpane"
"""

# Like macOS's: ditto -x -k ARCHIVE FOLDER.
FAKE_DITTO = """#!/bin/sh
[ "$1 $2" = "-x -k" ] && [ -f "$3" ] && exec python3 -m zipfile -e "$3" "$4"
"""

# Like macOS's, it needs a bundle that is there; the last argument names it.
FAKE_CODESIGN = """#!/bin/sh
echo "$@" >>"$HOME/codesign.log"
for last; do :; done
[ -f "$last/Contents/MacOS/Veilpane" ]
"""


class ProjectToPackage(InATemporaryHome):
    """A project of which only the packaging is real."""

    def setUp(self):
        super().setUp()
        self.project = self.home / "project"
        shutil.copytree(PACKAGING, self.project / "Packaging",
                        ignore=shutil.ignore_patterns("__pycache__"))
        shutil.copy(PROJECT / "CMakeLists.txt", self.project)
        (self.project / "Scripts").mkdir()
        shutil.copy(PROJECT / "Scripts" / "package.sh", self.project / "Scripts")
        for script in ("bootstrap.sh", "fetch-tools.sh"):
            write_script(self.project / "Scripts" / script, "#!/bin/sh\n")
        write_script(self.project / "Scripts" / "build.sh", FAKE_BUILD)
        self.environment["SOURCE_DATE_EPOCH"] = "1700000000"

    def package(self, system):
        write_script(self.home / "bin" / "uname", f"#!/bin/sh\necho {system}\n")
        run = self.run_command("sh", self.project / "Scripts" / "package.sh")
        self.assertEqual((run.returncode, run.stderr), (0, ""))


class PackageScript(ProjectToPackage):
    def packed(self):
        return {path.name for path in (self.project / "build" / "package").iterdir()}

    def cask(self):
        run = self.run_command("ruby", pathlib.Path(__file__).parent / "record_cask.rb",
                               self.project / "build" / "package" / "veilpane.rb")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        return {name: values for name, *values in map(json.loads, run.stdout.splitlines())}

    def test_a_cross_build_and_a_native_one_have_names_of_their_own(self):
        for system, name in (("Linux", f"Veilpane-{VERSION}-cross.zip"),
                             ("Darwin", f"Veilpane-{VERSION}.zip")):
            self.package(system)
            self.assertEqual(self.packed(), {name, "veilpane.rb"})
            shutil.rmtree(self.project / "build" / "package")

    def test_each_has_the_program_of_its_own_build(self):
        for system, preset, mark in (("Linux", "macos-cross", "-cross"), ("Darwin", "macos", "")):
            self.package(system)
            with zipfile.ZipFile(self.project / "build/package"
                                 / f"Veilpane-{VERSION}{mark}.zip") as archive:
                self.assertEqual(archive.read("Veilpane.app/Contents/MacOS/Veilpane"),
                                 f"{preset}\n".encode())

    @unittest.skipUnless(shutil.which("ruby"), "ruby is not installed")
    def test_the_cask_names_the_zip_that_it_has_the_hash_of(self):
        for system in ("Linux", "Darwin"):
            self.package(system)
            cask = self.cask()
            self.assertEqual(cask["version"], [VERSION])
            file = self.project / "build" / "package" / cask["url"][0].split("/")[-1]
            self.assertEqual(cask["sha256"], [hashlib.sha256(file.read_bytes()).hexdigest()])
            shutil.rmtree(self.project / "build" / "package")

    def test_no_cask_is_made_of_a_file_of_another_release(self):
        archive = self.home / "Veilpane-9.9.9.zip"
        archive.touch()
        run = self.run_command("python3", PACKAGING / "make_cask.py", archive, VERSION,
                               self.home / "veilpane.rb")
        self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1))
        self.assertIn("Veilpane-9.9.9.zip", run.stderr)
        self.assertFalse((self.home / "veilpane.rb").exists())


class Workflow(ProjectToPackage):
    """The workflow's step on a Mac, run as it stands there."""

    def step(self, name):
        text = (PROJECT / ".github" / "workflows" / "ci.yml").read_text(encoding="utf-8")
        found = re.search(rf"^      - name: {name}\n        run: \|\n((?:          .*\n)+)", text,
                          re.MULTILINE)
        self.assertIsNotNone(found, name)
        return re.sub("^ {10}", "", found[1], flags=re.MULTILINE)

    def setUp(self):
        super().setUp()
        write_script(self.home / "bin" / "ditto", FAKE_DITTO)
        write_script(self.home / "bin" / "codesign", FAKE_CODESIGN)

    def verify(self):
        script = f"cd '{self.project}'\n{self.step('Verify the seal')}"
        return self.run_command("sh", "-e", "-c", script)

    def test_the_seal_is_verified_of_the_bundle_in_the_zip(self):
        self.package("Darwin")
        shutil.rmtree(self.project / "build" / "macos")
        run = self.verify()
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertIn("--verify --strict", self.text("codesign.log"))

    def test_without_a_zip_the_step_fails(self):
        self.assertNotEqual(self.verify().returncode, 0)


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

    def test_the_tests_are_built_for_the_machine_that_runs_them(self):
        # The libraries that they are made with are for that machine alone.
        self.assertIsNone(self.variables("macos-tests")["CMAKE_OSX_ARCHITECTURES"])


if __name__ == "__main__":
    sys.exit(unittest.main())
