#!/usr/bin/env python3
"""Scripts/bootstrap.sh on machines that its stand-ins for apt, dpkg and CMake make up."""

import pathlib
import shutil
import sys
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "Tests" / "Packaging"))

from temporary_home import InATemporaryHome, write_script  # noqa: E402

RELEASES = {"Debian GNU/Linux 12 (bookworm)": "gnustep-back0.29-cairo",
            "Ubuntu 24.04.1 LTS": "gnustep-back0.30-cairo"}

# Says for each package whether the file has its name, in dpkg-query's words.
FAKE_DPKG_QUERY = """#!/bin/sh
for last; do :; done
grep -qx "$last" "$HOME/installed" || exit 1
echo "install ok installed"
"""

# Knows packages only from the lists that an update has fetched.
FAKE_APT_CACHE = """#!/bin/sh
for last; do :; done
[ -e "$HOME/updated" ] && ! grep -qx "$last" "$HOME/unknown"
"""

FAKE_APT_GET = """#!/bin/sh
echo "$@" >>"$HOME/apt-get.log"
case "$1" in
update) touch "$HOME/updated" ;;
esac
"""


class Machine(InATemporaryHome):
    def stand_in(self, name, text):
        write_script(self.home / "bin" / name, text)

    def bootstrap(self, *arguments):
        return self.run_command("sh", PROJECT / "Scripts" / "bootstrap.sh", *arguments)

    def assert_refused(self, run, *words):
        self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1), run.stderr)
        for word in words:
            self.assertIn(word, run.stderr)


class OnDebian(Machine):
    def setUp(self):
        super().setUp()
        self.stand_in("uname", "#!/bin/sh\necho Linux\n")
        self.stand_in("id", "#!/bin/sh\necho 0\n")
        self.stand_in("dpkg-query", FAKE_DPKG_QUERY)
        self.stand_in("apt-cache", FAKE_APT_CACHE)
        self.stand_in("apt-get", FAKE_APT_GET)
        self.environment["BOOTSTRAP_OS_RELEASE"] = str(self.home / "os-release")

    def become(self, release, unknown=(), installed=()):
        for name, lines in (("os-release", [f'PRETTY_NAME="{release}"', "ID=any"]),
                            ("unknown", unknown), ("installed", installed)):
            (self.home / name).write_text("".join(f"{line}\n" for line in lines),
                                          encoding="utf-8")
        for name in ("updated", "apt-get.log"):
            (self.home / name).unlink(missing_ok=True)

    def installed_packages(self):
        lines = [line.split() for line in self.text("apt-get.log").splitlines()]
        return {word for line in lines if line[0] == "install"
                for word in line[1:] if not word.startswith("-")}

    def test_each_release_gets_its_own_gnustep_backend(self):
        for release, backend in RELEASES.items():
            others = set(RELEASES.values()) - {backend}
            self.become(release, unknown=others)
            run = self.bootstrap()
            self.assertEqual((run.returncode, run.stderr), (0, ""))
            self.assertIn(backend, self.installed_packages())
            self.assertFalse(others & self.installed_packages())
            self.assertIn("cmake", self.installed_packages())

    def test_what_is_installed_is_left_alone_and_apt_is_not_asked(self):
        for backend in RELEASES.values():
            self.become("any", unknown=RELEASES.values())
            self.bootstrap()
            self.become("any")
            self.bootstrap()
            everything = self.installed_packages() - set(RELEASES.values()) | {backend}
            self.become("any", installed=everything)
            self.assertEqual(self.bootstrap().returncode, 0)
            self.assertEqual(self.text("apt-get.log"), "")
            self.become("any", installed=everything - {"cmake"})
            self.assertEqual(self.bootstrap().returncode, 0)
            self.assertEqual(self.installed_packages(), {"cmake"})

    def test_a_release_without_the_packages_is_named_and_nothing_is_installed(self):
        self.become("Ubuntu 22.04.5 LTS", unknown=["clang-19", *RELEASES.values()])
        run = self.bootstrap()
        self.assert_refused(run, "Ubuntu 22.04.5 LTS", "clang-19", "gnustep-back0.30-cairo",
                            "Debian 12")
        self.assertNotIn(" cmake", run.stderr)
        self.assertEqual(self.installed_packages(), set())

    def test_a_machine_that_does_not_tell_its_release_is_refused_as_well(self):
        self.become("any", unknown=["clang-19"])
        (self.home / "os-release").unlink()
        self.assert_refused(self.bootstrap(), "clang-19")
        self.assertEqual(self.installed_packages(), set())

    def test_without_a_network_it_says_so_and_can_be_run_again(self):
        for failing in ("update", "install"):
            with self.subTest(failing):
                self.become("any", unknown=["gnustep-back0.30-cairo"])
                self.stand_in("apt-get", FAKE_APT_GET + f'[ "$1" != {failing} ] || exit 100\n'.replace(
                    '"$1"', '"${1}"'))
                self.assert_refused(self.bootstrap(), "network", "run this again")
                self.stand_in("apt-get", FAKE_APT_GET)
                self.assertEqual(self.bootstrap().returncode, 0)

    def test_without_root_or_sudo_it_says_what_root_types(self):
        self.become("any")
        self.stand_in("id", "#!/bin/sh\necho 1000\n")
        # A PATH without any sudo.
        for tool in ("sh", "dirname", "basename", "tr", "sed", "grep", "uname"):
            path = self.home / "bin" / tool
            if not path.exists():
                path.symlink_to(shutil.which(tool))
        self.environment["PATH"] = str(self.home / "bin")
        run = self.bootstrap()
        self.assert_refused(run, "let root type: apt-get update && apt-get install ", " cmake")
        self.assertNotIn("|", run.stderr)

    def test_how_fetching_for_arm64_ends_is_how_it_ends(self):
        self.become("any")
        for script in ("bootstrap.sh", "arguments.sh"):
            shutil.copy(PROJECT / "Scripts" / script, self.home)
        for status in (0, 1, 3):
            write_script(self.home / "fetch-arm64-root.sh", f"#!/bin/sh\nexit {status}\n")
            self.assertEqual(self.run_command("sh", self.home / "bootstrap.sh", "--arm64").returncode,
                             status)

    def test_an_unknown_option_is_a_usage_error(self):
        self.become("any")
        self.assertEqual(self.bootstrap("--all").returncode, 2)


class OnAMac(Machine):
    def setUp(self):
        super().setUp()
        self.stand_in("uname", "#!/bin/sh\necho Darwin\n")
        self.stand_in("xcode-select", "#!/bin/sh\n")

    def has_cmake(self, version):
        self.stand_in("cmake", f"#!/bin/sh\necho 'cmake version {version}'\necho\necho More\n")

    def test_a_cmake_that_knows_the_language_will_do(self):
        for version in ("3.26.0", "3.30.2-rc1", "4.0.3"):
            self.has_cmake(version)
            run = self.bootstrap()
            self.assertEqual((run.returncode, run.stderr), (0, ""), version)

    def test_an_older_cmake_is_named(self):
        for version in ("3.25.1", "3.9.6", "2.8.12"):
            self.has_cmake(version)
            self.assert_refused(self.bootstrap(), "CMake 3.26")

    def test_without_the_command_line_tools_there_is_one_line(self):
        self.stand_in("xcode-select", "#!/bin/sh\nexit 2\n")
        self.assert_refused(self.bootstrap(), "xcode-select --install")


class AppleTools(InATemporaryHome):
    """What CMake itself says on a Mac whose tools are too old."""

    def configure(self, **variables):
        lines = [f"set({name} {value})" for name, value in variables.items()]
        script = self.home / "script.cmake"
        script.write_text("\n".join([*lines, f"include({PROJECT}/CMake/AppleTools.cmake)", ""]),
                          encoding="utf-8")
        return self.run_command("cmake", "-P", script)

    def test_old_tools_are_refused_where_apples_compiler_is_used(self):
        for compiler, version, cmake, missing in (
                ("AppleClang", "15.0", "3.26.0", ""), ("AppleClang", "17.0", "4.0.0", ""),
                ("AppleClang", "15.0", "3.25.9", "CMake 3.26"),
                ("AppleClang", "14.0.3", "3.26.0", "Xcode 15"), ("Clang", "14.0", "3.25.1", "")):
            with self.subTest(compiler=compiler, version=version, cmake=cmake):
                run = self.configure(CMAKE_CXX_COMPILER_ID=compiler,
                                     CMAKE_CXX_COMPILER_VERSION=version, CMAKE_VERSION=cmake)
                self.assertEqual(run.returncode != 0, missing != "", run.stderr)
                self.assertIn(missing, run.stderr)


if __name__ == "__main__":
    sys.exit(unittest.main())
