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

from temporary_home import PACKAGING, InATemporaryHome, write_script

sys.path.insert(0, str(PACKAGING))

import make_cask  # noqa: E402
import make_zip  # noqa: E402

# Writes down how it was started, a line for each argument.
LOGGED = """#!/bin/sh
printf '%s\\n' "$@" >>"$HOME/codesign.log"
"""

SYSTEM_NAMES = {"13.0": "ventura", "14.0": "sonoma", "15.0": "sequoia"}

LINKS = {"bin/veilpane": "bin/veilpane",
         "bin/veilpane-login": "bin/veilpane-login",
         "bin/veilpane-uninstall": "bin/veilpane-uninstall",
         "share/man/man1/veilpane.1": "man/man1/veilpane.1",
         "share/man/zh_CN.UTF-8/man1/veilpane.1": "man/zh_CN.UTF-8/man1/veilpane.1",
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

    def project(self, *settings):
        """A project of its own, as the build folder's settings are not the test's to change."""
        folder, given = self.home / "build", "\n".join(settings)
        folder.mkdir()
        (folder / "CMakeLists.txt").write_text(f"""cmake_minimum_required(VERSION 3.25)
project(Veilpane VERSION {self.version} LANGUAGES NONE)
add_custom_target(Program)
set(VEILPANE_PROGRAM {self.built}/Contents/MacOS/Veilpane)
set(VEILPANE_PROGRAM_TARGET Program)
set(CMAKE_OSX_DEPLOYMENT_TARGET {self.oldest_system})
{given}
file(CREATE_LINK {PACKAGING.parent}/LICENSE ${{CMAKE_SOURCE_DIR}}/LICENSE SYMBOLIC)
add_subdirectory({PACKAGING} Packaging)
""", encoding="utf-8")
        return self.run_command("cmake", "-G", self.generator, "-S", folder, "-B", folder / "out")

    def build_project(self, *settings):
        for run in (self.project(*settings),
                    self.run_command("cmake", "--build", self.home / "build" / "out")):
            self.assertEqual(run.returncode, 0, run.stderr)
        return self.home / "build" / "out"

    def test_with_applications_below_the_prefix_the_links_are_relative(self):
        build = self.build_project("set(VEILPANE_APPLICATIONS_DIR Applications)")
        prefix = self.home / "prefix"
        self.install("", prefix, build)
        for link, name in LINKS.items():
            self.assertEqual((prefix / link).resolve(),
                             prefix / "Applications/Veilpane.app/Contents/Resources" / name)

    def test_a_bundle_is_sealed_alike_on_every_machine(self):
        for is_mac in ("FALSE", "TRUE"):
            build = self.build_project(f"set(CMAKE_HOST_APPLE {is_mac})")
            self.assertEqual(files_below(build / "Veilpane.app"), files_below(self.built))
            shutil.rmtree(build.parent)

    def test_with_a_certificate_codesign_seals_it(self):
        write_script(self.home / "bin" / "codesign", LOGGED)
        # Nothing but the real codesign makes the file that the build waits for.
        build = self.project("set(CMAKE_HOST_APPLE TRUE)",
                             'set(VEILPANE_SIGNING_IDENTITY "Developer ID Application: A B (C)")')
        self.assertEqual(build.returncode, 0, build.stderr)
        self.run_command("cmake", "--build", self.home / "build" / "out")
        bundle = self.home / "build" / "out" / "Veilpane.app"
        self.assertEqual(self.text("codesign.log").splitlines(), [
            "--force", "--options", "runtime", "--timestamp", "--sign",
            "Developer ID Application: A B (C)", str(bundle)])
        self.assertFalse((bundle / "Contents" / "_CodeSignature").exists())

    def test_a_certificate_is_refused_where_there_is_no_codesign(self):
        run = self.project("set(CMAKE_HOST_APPLE FALSE)", "set(VEILPANE_SIGNING_IDENTITY A)")
        self.assertNotEqual(run.returncode, 0)
        self.assertIn("VEILPANE_SIGNING_IDENTITY needs codesign", run.stderr)

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
        self.assertEqual(len(linked), 7)
        elsewhere = {pathlib.Path(path).parent.parent.name: options[0]["target"]
                     for name, path, *options in stanzas if name == "binary" and options}
        self.assertEqual(elsewhere,
                         {"zh_CN.UTF-8": "/opt/homebrew/share/man/zh_CN.UTF-8/man1/veilpane.1"})
        for path in linked:
            self.assertTrue((self.built.parent / path.removeprefix("/Applications/")).is_file(),
                            path)


if __name__ == "__main__":
    (Installation.build, Installation.generator, Installation.version,
     Installation.oldest_system) = sys.argv[1:5]
    del sys.argv[1:]
    unittest.main()
