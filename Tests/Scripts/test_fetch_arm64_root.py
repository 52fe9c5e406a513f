#!/usr/bin/env python3
"""Scripts/fetch-arm64-root.sh with stand-ins for apt and dpkg."""

import io
import pathlib
import shutil
import sys
import tarfile
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "Tests" / "Packaging"))

from temporary_home import InATemporaryHome, write_script  # noqa: E402

# Downloads what the home folder has in "packages" to where the configuration says, or names it. As apt
# does, it tells on several lines what went wrong, and of a list that it could not fetch it only warns.
FAKE_APT_GET = """#!/bin/sh
echo "$*" >>"$HOME/apt-get.log"
[ ! -e "$HOME/no-network" ] || { printf 'E: one\\nE: two\\n' >&2; exit 100; }
archives=$(sed -n 's/^Dir::Cache::archives "\\(.*\\)";$/\\1/p' "$2")
status=$(sed -n 's/^Dir::State::status "\\(.*\\)";$/\\1/p' "$2")
[ -f "$status" ] && [ ! -s "$status" ] || exit 1
grep -qx 'APT::Architecture "arm64";' "$2" || exit 1
case "$*" in
*update*) [ ! -e "$HOME/no-list" ] || echo "W: Failed to fetch http://one/ Connection failed" >&2 ;;
*--print-uris*)
    case "$*" in *"-o Dir::Cache::archives=$(dirname "$archives")/nothing "*) ;; *) exit 1 ;; esac
    for package in "$HOME"/packages/*; do
        echo "'http://one/${package##*/}' ${package##*/} 1 SHA256:0"
    done
    ;;
*install*) cp "$HOME"/packages/* "$archives" ;;
esac
"""

FAKE_APT_CACHE = """#!/bin/sh
for last; do :; done
[ "$last" != unknown ]
"""

# The packages here are nothing but archives.
FAKE_DPKG_DEB = """#!/bin/sh
cat "$2"
[ ! -e "$HOME/refused" ]
"""


def archive(files):
    contents = io.BytesIO()
    with tarfile.open(fileobj=contents, mode="w") as tar:
        for name, text in files.items():
            entry = tarfile.TarInfo(name)
            if text is None:
                entry.type = tarfile.DIRTYPE
                entry.mode = 0o755
            else:
                entry.size = len(text)
            tar.addfile(entry, io.BytesIO((text or "").encode()))
    return contents.getvalue()


class FetchArm64Root(InATemporaryHome):
    def setUp(self):
        super().setUp()
        self.project = self.home / "project"
        self.root = self.project / ".tools" / "arm64-root"
        shutil.copytree(PROJECT / "Scripts", self.project / "Scripts")
        for name, text in (("apt-get", FAKE_APT_GET), ("apt-cache", FAKE_APT_CACHE),
                           ("dpkg-deb", FAKE_DPKG_DEB)):
            write_script(self.home / "bin" / name, text)
        self.packages = self.home / "packages"
        self.packages.mkdir()
        self.package("one", {"./lib": None, "./lib/libone.so": "1", "./usr": None,
                             "./usr/share": None, "./usr/share/doc": None,
                             "./usr/share/doc/one": "read me", "./usr/share/fonts": None,
                             "./usr/share/fonts/one.otf": "1"})
        self.package("two", {"./usr": None, "./usr/lib": None, "./usr/lib/libtwo.so": "2"})

    def package(self, name, files):
        (self.packages / f"{name}.deb").write_bytes(archive(files))

    def fetch(self, *packages):
        return self.run_command("sh", self.project / "Scripts" / "fetch-arm64-root.sh", *packages)

    def assert_refused(self, run, *words, status=1):
        self.assertEqual((run.returncode, run.stderr.count("\n")), (status, 1), run.stderr)
        for word in words:
            self.assertIn(word, run.stderr)

    def test_all_packages_make_one_folder_and_nothing_else_is_left(self):
        run = self.fetch("one", "two")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(sorted(file.name for file in (self.root / "usr" / "lib").iterdir()),
                         ["libone.so", "libtwo.so"])
        self.assertTrue((self.root / "lib" / "libone.so").exists())
        self.assertEqual(list((self.root / "usr" / "share").iterdir()), [])
        self.assertEqual([file.name for file in (self.project / ".tools").iterdir()],
                         ["arm64-root"])

    def test_the_same_packages_are_not_fetched_again_but_others_are(self):
        self.fetch("one", "two")
        log = self.text("apt-get.log")
        self.assertEqual(self.fetch("one", "two").returncode, 0)
        self.assertEqual(self.text("apt-get.log"), log)
        self.assertEqual(self.fetch("one").returncode, 0)
        self.assertNotEqual(self.text("apt-get.log"), log)

    def test_the_first_of_two_names_that_there_is_gets_installed(self):
        self.assertEqual(self.fetch("unknown|two").returncode, 0)
        self.assertTrue(self.text("apt-get.log").endswith(" two\n"), self.text("apt-get.log"))

    def test_what_the_sources_do_not_have_has_a_status_of_its_own(self):
        self.assert_refused(self.fetch("unknown"), "unknown", "arm64", status=3)

    def test_a_list_that_was_not_fetched_is_no_reason_to_say_that_they_do_not_have_it(self):
        (self.home / "no-list").touch()
        self.assert_refused(self.fetch("unknown"), "network")

    def test_without_a_network_one_line_tells_and_an_earlier_folder_stays(self):
        (self.home / "no-network").touch()
        self.assert_refused(self.fetch("one"), "network")
        self.assertFalse(self.root.exists())
        (self.home / "no-network").unlink()
        self.fetch("one")
        (self.home / "no-network").touch()
        self.assert_refused(self.fetch("one", "two"), "network")
        self.assertTrue((self.root / "lib" / "libone.so").exists())

    def test_a_damaged_package_leaves_no_folder(self):
        (self.packages / "two.deb").write_bytes(archive({"./usr/lib/libtwo.so": "2" * 900})[:700])
        self.assert_refused(self.fetch("one", "two"), "two.deb")
        self.assertEqual([file.name for file in (self.project / ".tools").iterdir()],
                         ["arm64-packages"])

    def test_one_that_is_refused_after_its_contents_leaves_no_folder(self):
        (self.home / "refused").touch()
        self.assert_refused(self.fetch("one"), "one.deb")
        self.assertFalse(self.root.exists())

    def test_what_an_earlier_attempt_has_left_is_not_unpacked(self):
        (self.home / "refused").touch()
        self.fetch("one", "two")
        (self.home / "refused").unlink()
        (self.packages / "two.deb").rename(self.packages / "two_2.deb")
        self.package("two_2", {"./usr": None, "./usr/lib": None, "./usr/lib/libtwo.so.2": "2"})
        self.assertEqual(self.fetch("one", "two").returncode, 0)
        self.assertFalse((self.root / "usr" / "lib" / "libtwo.so").exists())
        self.assertTrue((self.root / "usr" / "lib" / "libtwo.so.2").exists())


if __name__ == "__main__":
    sys.exit(unittest.main())
