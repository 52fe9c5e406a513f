#!/usr/bin/env python3
"""Scripts/publish.sh with stand-ins for packing, GitHub's command and a Mac's keychain."""

import base64
import hashlib
import pathlib
import shutil
import sys
import unittest

PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "Tests" / "Packaging"))

from temporary_home import InATemporaryHome, write_script  # noqa: E402

SECRETS = {"VEILPANE_CERTIFICATE": base64.b64encode(b"a certificate").decode(),
           "VEILPANE_CERTIFICATE_PASSWORD": "a password",
           "VEILPANE_SIGNING_IDENTITY": "Developer ID Application: A B (C)",
           "VEILPANE_NOTARY_APPLE_ID": "ann@example.org", "VEILPANE_NOTARY_PASSWORD": "another",
           "VEILPANE_NOTARY_TEAM": "0123456789"}

# Says what it was told to sign and notarise with, and packs something.
FAKE_PACKAGE = """#!/bin/sh
echo "${VEILPANE_SIGNING_IDENTITY:-ad hoc}|${VEILPANE_NOTARY_PROFILE:-}|${VEILPANE_KEYCHAIN:-}" >"$HOME/packed"
mkdir -p build/package
echo zip >build/package/Veilpane-1.1.0.zip
echo cask >build/package/veilpane.rb
"""

# Has no release as long as PUBLISHED is empty; keeps the text of the one that it makes.
FAKE_GH = """#!/bin/sh
echo "$@" >>"$HOME/gh.log"
case "$2" in
view) [ -e "$HOME/published" ] ;;
create)
    while [ "$1" != --notes-file ]; do shift; done
    cp "$2" "$HOME/notes"
    shift 2
    for file; do cat "$file" >/dev/null || exit 1; done
    ;;
esac
"""

# Like macOS's: the certificate that it imports must be there.
FAKE_SECURITY = """#!/bin/sh
echo "$@" >>"$HOME/security.log"
for last; do :; done
case "$1" in
create-keychain) touch "$last" ;;
import) cat "$2" >"$HOME/imported" ;;
delete-keychain) rm "$2" ;;
esac
"""

LOGGED = """#!/bin/sh
echo "$@" >>"$HOME/xcrun.log"
"""


class Publish(InATemporaryHome):
    def setUp(self):
        super().setUp()
        self.project = self.home / "project"
        (self.project / "Scripts").mkdir(parents=True)
        for script in ("publish.sh", "arguments.sh"):
            shutil.copy(PROJECT / "Scripts" / script, self.project / "Scripts")
        write_script(self.project / "Scripts" / "package.sh", FAKE_PACKAGE)
        for name, text in (("gh", FAKE_GH), ("security", FAKE_SECURITY), ("xcrun", LOGGED)):
            write_script(self.home / "bin" / name, text)
        for name in SECRETS:
            self.environment.pop(name, None)
        for name in ("AUTHOR", "COMMITTER"):
            self.environment |= {f"GIT_{name}_NAME": "Ann", f"GIT_{name}_EMAIL": "ann@example.org"}
        for name, text in (("CMakeLists.txt", "project(Veilpane VERSION 1.1.0 LANGUAGES C)\n"),
                           (".gitignore", "/build/\n"),
                           ("CHANGELOG.md", "# Changelog\n\n## Unreleased\n\n## 1.1.0, 2026-01-02\n\n"
                            "- Something new.\n\n## 1.0.0, 2026-01-01\n\n- The beginning.\n")):
            (self.project / name).write_text(text, encoding="utf-8")
        for arguments in (["init", "-q"], ["add", "-A"], ["commit", "-q", "-m", "Release 1.1.0"],
                          ["tag", "v1.1.0"]):
            self.git(*arguments)

    def git(self, *arguments):
        run = self.run_command("git", "-C", self.project, *arguments)
        self.assertEqual(run.returncode, 0, run.stderr)

    def publish(self, *arguments):
        return self.run_command("sh", self.project / "Scripts" / "publish.sh", *arguments)

    def assert_refused(self, words):
        run = self.publish()
        self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1), run.stderr)
        self.assertIn(words, run.stderr)
        self.assertNotIn("release create", self.text("gh.log"))
        self.assertEqual(list((self.home / "tmp").iterdir()), [])

    def assert_published(self):
        run = self.publish()
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertEqual(list((self.home / "tmp").iterdir()), [])
        created = self.text("gh.log").splitlines()[-1]
        self.assertTrue(created.startswith("release create v1.1.0 --verify-tag "), created)
        for name in ("Veilpane-1.1.0.zip", "veilpane.rb", "SHA256SUMS"):
            self.assertIn(f"build/package/{name}", created)

    def test_without_secrets_it_is_ad_hoc_and_the_text_says_so(self):
        self.assert_published()
        self.assertEqual(self.text("packed"), "ad hoc||\n")
        notes = self.text("notes")
        self.assertIn("- Something new.", notes)
        self.assertNotIn("The beginning", notes)
        self.assertIn("not notarised", notes)
        self.assertEqual(self.text("security.log") + self.text("xcrun.log"), "")

    def test_the_checksums_are_those_of_the_published_files(self):
        self.assert_published()
        folder = self.project / "build" / "package"
        lines = (folder / "SHA256SUMS").read_text(encoding="utf-8").splitlines()
        self.assertEqual([line.split() for line in lines], [
            [hashlib.sha256((folder / name).read_bytes()).hexdigest(), name]
            for name in ("Veilpane-1.1.0.zip", "veilpane.rb")])
        for line in lines:
            self.assertIn(line, self.text("notes"))

    def test_with_all_secrets_it_is_certified_and_the_keychain_goes(self):
        self.environment |= SECRETS
        self.assert_published()
        identity, profile, keychain = self.text("packed").strip().split("|")
        self.assertEqual((identity, profile), (SECRETS["VEILPANE_SIGNING_IDENTITY"], "veilpane"))
        self.assertEqual(self.text("imported"), "a certificate")
        self.assertIn(f"list-keychains -d user -s {keychain}", self.text("security.log"))
        self.assertEqual(self.text("security.log").splitlines()[-1], f"delete-keychain {keychain}")
        self.assertIn("store-credentials veilpane", self.text("xcrun.log"))
        self.assertIn("notarised by Apple", self.text("notes"))
        self.assertNotIn("not notarised", self.text("notes"))

    def test_a_part_of_the_secrets_is_refused(self):
        for name in SECRETS:
            with self.subTest(name):
                self.environment |= SECRETS | {name: ""}
                self.assert_refused(name)
        self.assertEqual(self.text("packed"), "")

    def test_a_release_that_is_there_is_never_replaced(self):
        (self.home / "published").touch()
        self.assert_refused("v1.1.0 is published")

    def test_only_the_tagged_commit_is_published(self):
        self.git("commit", "-q", "--allow-empty", "-m", "Go on")
        self.assert_refused("not tagged v1.1.0")
        self.git("tag", "-d", "v1.1.0")
        self.assert_refused("not tagged v1.1.0")

    def test_what_cannot_be_packed_is_not_published_and_the_keychain_goes(self):
        self.environment |= SECRETS
        write_script(self.project / "Scripts" / "package.sh", "#!/bin/sh\necho refused >&2\nexit 1\n")
        self.assert_refused("refused")
        self.assertIn("delete-keychain", self.text("security.log"))

    def test_files_of_an_earlier_packing_are_not_published(self):
        old = self.project / "build" / "package" / "Veilpane-1.1.0.zip"
        old.parent.mkdir(parents=True)
        old.write_text("old", encoding="utf-8")
        write_script(self.project / "Scripts" / "package.sh", "#!/bin/sh\nmkdir -p build/package\n")
        self.assertNotEqual(self.publish().returncode, 0)
        self.assertNotIn("release create", self.text("gh.log"))


if __name__ == "__main__":
    sys.exit(unittest.main())
