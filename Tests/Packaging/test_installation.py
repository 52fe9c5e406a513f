#!/usr/bin/env python3
"""What is installed where: test_installation.py BUILD_FOLDER GENERATOR VERSION OLDEST_SYSTEM

GENERATOR is CMake's, as a machine need not have the build program of its default one."""

import hashlib
import json
import os
import pathlib
import shutil
import subprocess
import sys
import unittest

from temporary_home import PACKAGING, InATemporaryHome

sys.path.insert(0, str(PACKAGING))

import make_cask  # noqa: E402
import make_zip  # noqa: E402

SYSTEM_NAMES = {"13.0": "ventura", "14.0": "sonoma", "15.0": "sequoia"}

LINKS = {"bin/veilpane": "bin/veilpane",
         "bin/veilpane-login": "bin/veilpane-login",
         "bin/veilpane-uninstall": "bin/veilpane-uninstall",
         "share/man/man1/veilpane.1": "man/man1/veilpane.1",
         "share/zsh/site-functions/_veilpane": "completions/_veilpane",
         "share/bash-completion/completions/veilpane": "completions/veilpane.bash",
         "share/fish/vendor_completions.d/veilpane.fish": "completions/veilpane.fish"}


def files_below(folder):
    return {str(path.relative_to(folder)): (path.read_bytes(), path.stat().st_mode)
            for path in folder.rglob("*") if path.is_file()}


class Installation(InATemporaryHome):
    build = generator = version = oldest_system = None

    def setUp(self):
        super().setUp()
        self.built = pathlib.Path(self.build) / "Veilpane.app"

    def install(self, stage, prefix, build=None):
        self.environment["DESTDIR"] = str(stage)
        run = self.run_command("cmake", "--install", build or self.build, "--prefix", prefix)
        self.assertEqual(run.returncode, 0, run.stderr)

    def test_the_bundle_goes_to_the_applications_and_links_to_it_below_the_prefix(self):
        stage = self.home / "stage"
        self.install(stage, "/usr/local")
        self.assertEqual(files_below(stage / "Applications" / "Veilpane.app"),
                         files_below(self.built))
        prefix = stage / "usr" / "local"
        found = {str(path.relative_to(prefix)): os.readlink(path)
                 for path in prefix.rglob("*") if path.is_symlink()}
        resources = "/Applications/Veilpane.app/Contents/Resources/"
        self.assertEqual(found, {link: resources + name for link, name in LINKS.items()})
        for name in LINKS.values():
            self.assertTrue((stage / (resources[1:] + name)).is_file(), name)

    def test_a_second_installation_leaves_nothing_of_the_first_in_the_bundle(self):
        stage = self.home / "stage"
        old = stage / "Applications/Veilpane.app/Contents/Resources/of-an-older-release"
        old.parent.mkdir(parents=True)
        old.touch()
        self.install(stage, "/usr/local")
        self.assertFalse(old.exists())

    def test_with_applications_below_the_prefix_the_links_are_relative(self):
        build = self.home / "build"
        build.mkdir()
        # A project of its own, as the build folder's settings are not the test's to change.
        (build / "CMakeLists.txt").write_text(f"""cmake_minimum_required(VERSION 3.25)
project(Veilpane VERSION {self.version} LANGUAGES NONE)
add_custom_target(Program)
set(VEILPANE_PROGRAM {self.built}/Contents/MacOS/Veilpane)
set(VEILPANE_PROGRAM_TARGET Program)
set(VEILPANE_APPLICATIONS_DIR Applications)
set(CMAKE_OSX_DEPLOYMENT_TARGET {self.oldest_system})
file(CREATE_LINK {PACKAGING.parent}/LICENSE ${{CMAKE_SOURCE_DIR}}/LICENSE SYMBOLIC)
add_subdirectory({PACKAGING} Packaging)
""", encoding="utf-8")
        for command in (["-G", self.generator, "-S", build, "-B", build / "out"],
                        ["--build", build / "out"]):
            run = self.run_command("cmake", *command)
            self.assertEqual(run.returncode, 0, run.stderr)
        prefix = self.home / "prefix"
        self.install("", prefix, build / "out")
        for link, name in LINKS.items():
            self.assertEqual((prefix / link).resolve(),
                             prefix / "Applications/Veilpane.app/Contents/Resources" / name)

    @unittest.skipUnless(shutil.which("ruby"), "ruby is not installed")
    def test_the_cask_names_what_is_in_the_zip_and_nothing_else(self):
        archive = self.home / f"Veilpane-{self.version}.zip"
        make_zip.make_zip(self.built, archive, 1700000000)
        make_cask.make_cask(archive, self.version, self.home / "veilpane.rb")
        run = self.run_command("ruby", pathlib.Path(__file__).parent / "record_cask.rb",
                               self.home / "veilpane.rb")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        stanzas = [json.loads(line) for line in run.stdout.splitlines()]
        single = {name: values for name, *values in stanzas}
        self.assertEqual(single["cask"], ["veilpane"])
        self.assertEqual(single["version"], [self.version])
        self.assertEqual(single["sha256"], [hashlib.sha256(archive.read_bytes()).hexdigest()])
        self.assertTrue(single["url"][0].endswith(f"/v{self.version}/Veilpane-{self.version}.zip"))
        self.assertEqual(single["depends_on"],
                         [{"macos": f">= :{SYSTEM_NAMES[self.oldest_system]}"}])
        self.assertEqual(single["app"], [self.built.name])
        self.assertEqual(single["uninstall"], [{"launchctl": "io.github.veilpane.Veilpane",
                                                "quit": "io.github.veilpane.Veilpane"}])
        linked = [values[0] for name, *values in stanzas
                  if name in ("binary", "manpage") or name.endswith("_completion")]
        self.assertEqual(len(linked), 6)
        for path in linked:
            self.assertTrue((self.built.parent / path.removeprefix("/Applications/")).is_file(),
                            path)


if __name__ == "__main__":
    (Installation.build, Installation.generator, Installation.version,
     Installation.oldest_system) = sys.argv[1:5]
    del sys.argv[1:]
    unittest.main()
