#!/usr/bin/env python3
"""The launcher, the login switch, the removal and the man page."""

import os
import plistlib
import re
import shutil
import subprocess
import sys
import unittest

from temporary_home import PACKAGING, InATemporaryHome, write_script

sys.path.insert(0, str(PACKAGING))

import make_bundle  # noqa: E402


def page(name):
    """A man page's source."""
    return (PACKAGING / name).read_text(encoding="utf-8")


# Tells how it was started.
FAKE_PROGRAM = """#!/bin/sh
printf '%s\\n' "$0" "$#" "$@"
exit 7
"""

# Only writes down how it was started.
LOGGED = """#!/bin/sh
echo "$@" >>"$HOME/{}.log"
"""


class Launcher(InATemporaryHome):
    def bundle(self, name="Veilpane.app"):
        contents = self.home / name / "Contents"
        write_script(contents / "MacOS" / "Veilpane", FAKE_PROGRAM)
        command = contents / "Resources" / "bin" / "veilpane"
        command.parent.mkdir(parents=True)
        shutil.copy(PACKAGING / "veilpane", command)
        return contents, command

    def assert_started(self, run, contents, arguments):
        self.assertEqual((run.returncode, run.stderr), (7, ""))
        self.assertEqual(run.stdout, "\n".join(
            [str(contents / "MacOS" / "Veilpane"), str(len(arguments)), *arguments]) + "\n")

    def test_the_program_is_started_by_its_real_path_with_all_arguments(self):
        contents, command = self.bundle()
        arguments = ["--power", "off", "", "two words", "two\nlines", "*", "'\"$HOME"]
        self.assert_started(self.run_command(command, *arguments), contents, arguments)

    def test_links_of_every_kind_lead_to_it(self):
        contents, command = self.bundle("名字 with spaces/Veilpane.app")
        (self.home / "links").mkdir()
        direct = self.home / "links" / "direct"
        direct.symlink_to(command)
        relative = self.home / "links" / "relative"
        relative.symlink_to(os.path.relpath(command, relative.parent))
        chain = self.home / "chain"
        chain.symlink_to("links/relative")
        folder = self.home / "folder"
        folder.symlink_to(command.parent)
        for link in (direct, relative, chain, folder / "veilpane"):
            with self.subTest(link=link):
                self.assert_started(self.run_command(link, "--list"), contents, ["--list"])
        self.assert_started(self.run_command("./chain", "--list"), contents, ["--list"])

    def test_a_copy_finds_the_applications_folder(self):
        contents = self.home / "Applications" / "Veilpane.app" / "Contents"
        write_script(contents / "MacOS" / "Veilpane", FAKE_PROGRAM)
        command = self.home / "elsewhere" / "veilpane"
        command.parent.mkdir()
        shutil.copy(PACKAGING / "veilpane", command)
        self.assert_started(self.run_command(command), contents, [])

    def alone(self):
        """The command without a bundle."""
        command = self.home / "veilpane"
        shutil.copy(PACKAGING / "veilpane", command)
        return command

    def test_without_a_bundle_one_line_says_what_to_do(self):
        for arguments in ([], ["--list"], ["--version"], ["--power", "off", "2"]):
            run = self.run_command(self.alone(), *arguments)
            self.assertEqual((run.returncode, run.stdout), (69, ""))
            self.assertEqual(run.stderr.count("\n"), 1)
            self.assertIn("move it to /Applications", run.stderr)

    def test_help_is_printed_and_nothing_is_started(self):
        _, inside = self.bundle()
        for command in (inside, self.alone()):
            for arguments in (["--help"], ["--power", "--help"], ["--power", "off", "--help"],
                              ["--list", "--help", "--version"]):
                with self.subTest(arguments):
                    run = self.run_command(command, *arguments)
                    self.assertEqual((run.returncode, run.stderr), (0, ""))
                    self.assertTrue(run.stdout.startswith("usage: veilpane "))

    def test_help_tells_of_every_option_of_the_man_page(self):
        options = set(re.findall(r"^\.It Fl -(\w+)", page("veilpane.1"), re.MULTILINE))
        self.assertGreater(len(options), 4)
        told = set(re.findall(r"^  --(\w+)", self.run_command(self.alone(), "--help").stdout,
                              re.MULTILINE))
        self.assertEqual(told, options)

    def test_the_version_is_the_bundles_and_nothing_is_started(self):
        contents, command = self.bundle()
        make_bundle.write_plist(contents, "12.3.4", "13.0")
        link = self.home / "link"
        link.symlink_to(command)
        for arguments in (["--version"], ["--power", "off", "--version"]):
            run = self.run_command(link, *arguments)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "Veilpane 12.3.4\n", ""))

    def test_words_that_only_look_like_them_reach_the_program(self):
        contents, command = self.bundle()
        for word in ("-h", "help", "--helpme", "--Help", "--versions", ""):
            self.assert_started(self.run_command(command, word), contents, [word])


class InstalledBundle(InATemporaryHome):
    """Veilpane.app among the user's applications, with a program that lists what DISPLAYS says."""

    DISPLAYS = "1\tBuilt-in\tmain,builtin,no-ddc\n2\tStudio\tddc\n"

    def setUp(self):
        super().setUp()
        self.bundle = self.home / "Applications" / "Veilpane.app"
        self.program = self.bundle / "Contents" / "MacOS" / "Veilpane"
        self.commands = self.bundle / "Contents" / "Resources" / "bin"
        self.agent = (self.home / "Library" / "LaunchAgents"
                      / "io.github.veilpane.Veilpane.plist")
        self.list_displays(self.DISPLAYS)
        self.commands.mkdir(parents=True)
        for command in ("veilpane", "veilpane-login", "veilpane-uninstall"):
            shutil.copy(PACKAGING / command, self.commands)

    def list_displays(self, displays, status=0):
        write_script(self.program,
                     f"#!/bin/sh\n[ $1 = --list ] && printf '%s' '{displays}'\nexit {status}\n")

    def login(self, *arguments):
        return self.run_command(self.commands / "veilpane-login", *arguments)


class LoginSwitch(InstalledBundle):
    def test_on_writes_the_agent(self):
        run = self.login("on")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        agent = plistlib.loads(self.agent.read_bytes())
        self.assertEqual(agent["Label"], "io.github.veilpane.Veilpane")
        self.assertEqual(agent["ProgramArguments"], [str(self.program)])
        self.assertTrue(agent["RunAtLoad"])
        self.assertEqual(self.login("status").stdout, "on\n")

    def test_the_agent_starts_the_program_around_the_command_also_through_a_link(self):
        (self.home / "links").mkdir()
        link = self.home / "links" / "veilpane-login"
        link.symlink_to(os.path.relpath(self.commands / "veilpane-login", link.parent))
        self.assertEqual(self.run_command(link, "on").returncode, 0)
        agent = plistlib.loads(self.agent.read_bytes())
        self.assertEqual(agent["ProgramArguments"], [str(self.program)])

    def test_off_leaves_nothing_behind(self):
        self.login("on")
        self.assertEqual(self.login("off").returncode, 0)
        self.assertEqual(list(self.agent.parent.iterdir()), [])
        self.assertEqual(self.login("status").stdout, "off\n")
        self.assertEqual(self.login("off").returncode, 0)

    def test_a_running_application_is_neither_doubled_nor_ended(self):
        write_script(self.home / "bin" / "launchctl", LOGGED.format("launchctl"))
        self.login("on")
        self.login("off")
        self.assertEqual(self.text("launchctl.log"), "")

    def test_without_the_application_nothing_is_written(self):
        run = self.run_command(PACKAGING / "veilpane-login", "on")
        self.assertEqual(run.returncode, 69)
        self.assertEqual(run.stderr.count("\n"), 1)
        self.assertFalse(self.agent.exists())

    def test_another_word_is_a_usage_error(self):
        for arguments in ([], ["maybe"]):
            self.assertEqual(self.login(*arguments).returncode, 2)

    def test_help_changes_nothing(self):
        run = self.login("--help")
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertTrue(run.stdout.startswith("usage: veilpane-login "))
        self.assertFalse(self.agent.exists())


class Uninstall(InstalledBundle):
    LINKS = {"bin/veilpane": "bin/veilpane", "bin/veilpane-login": "bin/veilpane-login",
             "bin/veilpane-uninstall": "bin/veilpane-uninstall",
             "share/man/man1/veilpane.1": "man/man1/veilpane.1",
             "share/man/zh_CN.UTF-8/man1/veilpane.1": "man/zh_CN.UTF-8/man1/veilpane.1"}

    def setUp(self):
        super().setUp()
        write_script(self.home / "bin" / "pgrep", "#!/bin/sh\nexit 1\n")
        self.user_id(501)
        write_script(self.home / "bin" / "getconf", '#!/bin/sh\necho "$HOME/tmp/"\n')
        write_script(self.home / "bin" / "defaults", LOGGED.format("defaults"))
        self.prefix = self.home / "prefix"
        for link, resource in self.LINKS.items():
            (self.prefix / link).parent.mkdir(parents=True, exist_ok=True)
            (self.prefix / link).symlink_to(self.bundle / "Contents" / "Resources" / resource)
        self.log = self.home / "tmp" / "Veilpane.log"
        self.log.write_text("a line\n", encoding="utf-8")

    def user_id(self, number):
        write_script(self.home / "bin" / "id", f"#!/bin/sh\necho {number}\n")

    def uninstall(self, *arguments, user=None):
        return self.run_command(self.prefix / "bin" / "veilpane-uninstall", *arguments, user=user)

    def become_ann_under_sudo(self, ann, roots_home):
        """Ann runs it as root; the stand-in's -H is what makes her home folder the one in use."""
        self.user_id(0)
        write_script(self.home / "bin" / "sudo", f"""#!/bin/sh
echo "$@" >>"{self.home}/sudo.log"
[ "$1" != -H ] || {{ export HOME="{ann}"; shift; }}
shift 2
exec "$@"
""")
        self.environment |= {"SUDO_USER": "ann", "HOME": str(roots_home)}

    def assert_nothing_was_removed(self):
        self.assertTrue(self.program.exists())
        self.assertTrue(self.agent.exists())
        for link in self.LINKS:
            self.assertTrue((self.prefix / link).is_symlink(), link)

    def test_bundle_links_and_login_agent_go(self):
        self.login("on")
        others = self.prefix / "bin" / "other"
        others.write_text("stays", encoding="utf-8")
        run = self.uninstall(self.prefix)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertFalse(self.bundle.exists())
        self.assertFalse(self.agent.exists())
        self.assertEqual([path for path in self.prefix.rglob("*") if not path.is_dir()], [others])
        self.assertTrue(self.log.exists())
        self.assertEqual(self.text("defaults.log"), "")

    def test_a_file_of_the_same_name_that_is_no_link_into_the_bundle_stays(self):
        mine = self.prefix / "bin" / "veilpane"
        mine.unlink()
        mine.write_text("mine", encoding="utf-8")
        link = self.prefix / "bin" / "veilpane-login"
        link.unlink()
        link.symlink_to("/bin/sh")
        self.assertEqual(self.uninstall(self.prefix).returncode, 0)
        self.assertEqual(mine.read_text(encoding="utf-8"), "mine")
        self.assertTrue(link.is_symlink())

    def test_purging_removes_preferences_and_log_too(self):
        preferences = self.home / "Library/Preferences/io.github.veilpane.Veilpane.plist"
        preferences.parent.mkdir(parents=True)
        preferences.touch()
        self.assertEqual(self.uninstall("--purge", self.prefix).returncode, 0)
        self.assertEqual(self.text("defaults.log"), "delete io.github.veilpane.Veilpane\n")
        self.assertFalse(self.log.exists())
        self.assertFalse(preferences.exists())

    def test_nothing_goes_while_a_display_is_switched_off(self):
        self.login("on")
        for flags in ("ddc,disconnected", "no-ddc,disconnected,sls-off", "no-ddc,sls-off"):
            self.list_displays(f"1\tBuilt-in\tmain\n7\tdisconnected\t{flags}\n")
            run = self.uninstall(self.prefix)
            self.assertEqual(run.returncode, 1, flags)
            self.assertIn("veilpane --power on 7", run.stderr)
            self.assert_nothing_was_removed()

    def test_a_display_may_be_called_disconnected(self):
        names = ("disconnected", "A\tdisconnected", "A\ndisconnected\nB")
        self.list_displays("".join(f"7\t{name}\tddc\n" for name in names))
        self.assertEqual(self.uninstall(self.prefix).returncode, 0)

    def test_no_name_hides_that_its_display_is_switched_off(self):
        self.login("on")
        for name in ("A\tB", "A\nB", "A\n\nB\tC", "A\tno-ddc", "A\tno-ddc\nB", ""):
            with self.subTest(name=name):
                self.list_displays(f"1\tBuilt-in\tmain\n7\t{name}\tddc,disconnected,sls-off\n")
                run = self.uninstall(self.prefix)
                self.assertEqual(run.returncode, 1)
                self.assertIn("veilpane --power on 7", run.stderr)
                self.assert_nothing_was_removed()

    def test_nothing_goes_while_the_application_runs_or_displays_cannot_be_listed(self):
        self.login("on")
        self.list_displays("", status=1)
        self.assertEqual(self.uninstall(self.prefix).returncode, 1)
        self.assert_nothing_was_removed()
        self.list_displays(self.DISPLAYS)
        write_script(self.home / "bin" / "pgrep", "#!/bin/sh\nexit 0\n")
        run = self.uninstall(self.prefix)
        self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1))
        self.assert_nothing_was_removed()

    def test_a_list_without_displays_does_not_say_that_all_are_on(self):
        self.login("on")
        self.list_displays("")
        run = self.uninstall(self.prefix)
        self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1))
        self.assertIn("Terminal on this Mac's desktop", run.stderr)
        self.assert_nothing_was_removed()

    def test_under_sudo_it_is_the_users_displays_preferences_and_agent(self):
        self.login("on")
        self.become_ann_under_sudo(self.home, self.home)
        self.assertEqual(self.uninstall("--purge", self.prefix).returncode, 0)
        as_ann = self.text("sudo.log").splitlines()
        self.assertTrue(all(line.startswith("-H -u ann ") for line in as_ann), as_ann)
        for command in (f"{self.program} --list", f"{self.commands}/veilpane-login off",
                        "defaults delete io.github.veilpane.Veilpane",
                        "getconf DARWIN_USER_TEMP_DIR"):
            self.assertIn(f"-H -u ann {command}", as_ann)
        self.assertFalse(self.bundle.exists())
        self.assertFalse(self.agent.exists())

    def test_under_sudo_with_roots_home_roots_own_files_stay(self):
        self.login("on")
        names = ("Library/Preferences/io.github.veilpane.Veilpane.plist",
                 "Library/LaunchAgents/io.github.veilpane.Veilpane.plist")
        roots_home = self.home / "root"
        for name in names:
            for folder in (self.home, roots_home):
                (folder / name).parent.mkdir(parents=True, exist_ok=True)
                (folder / name).touch()
        self.become_ann_under_sudo(self.home, roots_home)
        run = self.uninstall("--purge", self.prefix)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        for name in names:
            self.assertFalse((self.home / name).exists(), name)
            self.assertTrue((roots_home / name).exists(), name)

    def test_root_alone_is_nobodys_user(self):
        self.login("on")
        self.user_id(0)
        for sudo_user in (None, "", "root"):
            self.environment.pop("SUDO_USER", None)
            if sudo_user is not None:
                self.environment["SUDO_USER"] = sudo_user
            run = self.uninstall("--purge", self.prefix)
            self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1), sudo_user)
            self.assert_nothing_was_removed()

    def test_another_user_that_sudo_has_made_of_ann_acts_alone(self):
        self.environment["SUDO_USER"] = "ann"
        write_script(self.home / "bin" / "sudo", LOGGED.format("sudo"))
        self.assertEqual(self.uninstall(self.prefix).returncode, 0)
        self.assertEqual(self.text("sudo.log"), "")

    def common_user(self):
        """None where the tests run as one; root may write everywhere."""
        if os.geteuid() != 0:
            return None
        for path in (self.home, *self.home.rglob("*")):
            os.chown(path, 65534, 65534, follow_symlinks=False)
        return 65534

    def test_nothing_goes_unless_all_of_it_may_be_removed(self):
        self.login("on")
        preferences = self.home / "Library/Preferences/io.github.veilpane.Veilpane.plist"
        preferences.parent.mkdir(parents=True)
        preferences.touch()
        user = self.common_user()
        for folder, named in ((self.bundle.parent, self.bundle),
                              (self.bundle / "Contents" / "MacOS", "Contents/MacOS"),
                              (self.prefix / "bin", self.prefix / "bin" / "veilpane"),
                              (self.prefix / "share/man/man1", "veilpane.1"),
                              (self.agent.parent, self.agent),
                              (preferences.parent, preferences), (self.log.parent, self.log)):
            mode = folder.stat().st_mode
            folder.chmod(0o555)
            run = self.uninstall("--purge", self.prefix, user=user)
            folder.chmod(mode)
            self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1), run.stderr)
            self.assertIn(str(named), run.stderr)
            self.assert_nothing_was_removed()
            self.assertTrue(self.log.exists())
            self.assertTrue(preferences.exists())
        run = self.uninstall("--purge", self.prefix, user=user)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertFalse(self.bundle.exists() or preferences.exists() or self.log.exists())

    def test_outside_of_a_bundle_nothing_is_removed(self):
        copy = self.home / "elsewhere" / "veilpane-uninstall"
        copy.parent.mkdir()
        shutil.copy(PACKAGING / "veilpane-uninstall", copy)
        run = self.run_command(copy)
        self.assertEqual((run.returncode, run.stderr.count("\n")), (1, 1))
        self.assertTrue(copy.exists())

    def test_help_removes_nothing(self):
        self.login("on")
        for arguments in (["--help"], ["--purge", "--help"]):
            run = self.uninstall(*arguments)
            self.assertEqual((run.returncode, run.stderr), (0, ""))
            self.assertTrue(run.stdout.startswith("usage: veilpane-uninstall "))
            self.assert_nothing_was_removed()

    def test_an_unknown_option_is_a_usage_error(self):
        self.assertEqual(self.uninstall("--all").returncode, 2)
        self.assertTrue(self.program.exists())


class ManPage(unittest.TestCase):
    @unittest.skipUnless(shutil.which("mandoc"), "mandoc is not installed")
    def test_mandoc_has_no_complaint(self):
        for name in ("veilpane.1", "veilpane.zh_CN.1"):
            run = subprocess.run(["mandoc", "-Tlint", "-Wwarning", str(PACKAGING / name)],
                                 capture_output=True, text=True, check=False)
            self.assertEqual((run.returncode, run.stdout), (0, ""), name)

    def test_the_translation_has_the_same_structure(self):
        """Everything that is not prose, line by line: sections, options, statuses, files, examples."""
        def structure(name):
            shown = r"^(\.(?:Dd|Dt|Sh|It|Bl|El|Bd|Ed|Op|Fl -\w+ \|).*|veilpane .*)$"
            return re.findall(shown, page(name), re.MULTILINE)
        self.assertGreater(len(structure("veilpane.1")), 30)
        self.assertEqual(structure("veilpane.zh_CN.1"), structure("veilpane.1"))
        prose = re.findall(r"^[^.\n].*$", page("veilpane.zh_CN.1"), re.MULTILINE)
        untranslated = [line for line in prose if line.isascii() and not line.startswith("veilpane ")]
        self.assertEqual(untranslated, [])


if __name__ == "__main__":
    sys.exit(unittest.main())
