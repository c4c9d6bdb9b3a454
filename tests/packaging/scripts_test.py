"""The scripts that install and uninstall the helper, with stand-ins for the Mac's own commands."""

import os
import pathlib
import plistlib
import shutil
import subprocess
import tempfile
import unittest

PACKAGING = pathlib.Path(os.environ["PACKAGING"])
ROOT = pathlib.Path(__file__).resolve().parents[2]
LABEL = "com.morvelli.TolvaranHelper"
SERVICE = f"gui/501/{LABEL}"

# Each records how it was called. A service that was booted out stays for two more looks, as
# launchd's do while the program ends; until then another bootout is refused.
LAUNCHCTL = """#!/bin/sh
echo "launchctl $*" >>"$CALLS"
case "$1 $2" in
    "bootout "*)
        [ ! -e "$STATE/ending" ] || exit 36
        [ -e "$STATE/running" ] || exit 3
        mv "$STATE/running" "$STATE/ending"; echo 2 >"$STATE/ending" ;;
    "print gui/501") [ ! -e "$STATE/no-session" ] ;;
    "print "*)
        [ ! -e "$STATE/running" ] || exit 0
        [ -e "$STATE/ending" ] || exit 113
        read -r looks <"$STATE/ending"
        if [ "$looks" -eq 0 ]; then rm "$STATE/ending"; exit 113; fi
        echo $((looks - 1)) >"$STATE/ending" ;;
    "bootstrap "*)
        if [ -e "$STATE/running" ] || [ -e "$STATE/ending" ]; then exit 5; fi
        cp "$3" "$STATE/running" ;;
esac
"""
CODESIGN = """#!/bin/sh
echo "codesign $*" >>"$CALLS"
[ ! -e "$STATE/codesign-fails" ] || exit 1
for target; do :; done
if [ -f "$target" ]; then echo signed >>"$target"; exit; fi
# It does not sign a bundle with unsigned programs beside the main one.
grep -qx signed "$target/Contents/MacOS/tolvaran_describe" || exit 1
mkdir "$target/Contents/_CodeSignature"
"""
ID = """#!/bin/sh
echo "${USER_ID:-501}"
"""


class Scripts(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)
        # Everything that XML, sed and the shell could trip over.
        self.home = self.root / "A & B <c> | 'd' \\ $e"
        self.state = self.root / "state"
        self.commands = self.root / "bin"
        self.product = self.root / "product"
        for path in (self.home, self.state, self.commands):
            path.mkdir()
        for name, text in (("launchctl", LAUNCHCTL), ("codesign", CODESIGN), ("id", ID)):
            self.write_program(self.commands / name, text)
        contents = self.product / "TolvaranHelper.app/Contents"
        (contents / "MacOS").mkdir(parents=True)
        (contents / "Resources").mkdir()
        shutil.copy(PACKAGING / "Info.plist", contents)
        shutil.copy(PACKAGING / "launch_agent.plist", contents / "Resources")
        for script in ("install", "uninstall"):
            shutil.copy(PACKAGING / script, self.product)
        self.build_helper("first")
        self.write_program(contents / "MacOS/tolvaran_describe", "\n")
        self.directory = self.home / "Library/Application Support" / LABEL
        self.bundle = self.directory / "TolvaranHelper.app"
        self.executable = self.bundle / "Contents/MacOS/tolvaran_helper"
        self.agent = self.home / "Library/LaunchAgents" / f"{LABEL}.plist"

    @staticmethod
    def write_program(path, text):
        path.write_text(text)
        path.chmod(0o755)

    def build_helper(self, text):
        self.write_program(self.product / "TolvaranHelper.app/Contents/MacOS/tolvaran_helper", text)

    def run_script(self, name, **environment):
        """The calls that the script made, in order."""
        calls = self.root / "calls"
        calls.write_text("")
        self.result = subprocess.run(
            [self.product / name],
            capture_output=True,
            text=True,
            env={
                "HOME": str(self.home),
                "PATH": f"{self.commands}:/usr/bin:/bin",
                "STATE": str(self.state),
                "CALLS": str(calls),
                **environment,
            },
        )
        return calls.read_text().splitlines()

    def install(self, **environment):
        calls = self.run_script("install", **environment)
        self.assertEqual(self.result.returncode, 0, self.result.stderr)
        return calls

    def assert_refused(self, message):
        self.assertEqual(self.result.returncode, 1)
        self.assertIn(message, self.result.stderr)

    def assert_nothing_left_but(self, *names):
        self.assertEqual({path.name for path in self.directory.iterdir()}, set(names))

    def test_install_puts_the_bundle_and_the_agent_in_place_and_starts_it(self):
        calls = self.install()
        self.assertEqual(self.executable.read_text(), "first")
        self.assertTrue(os.access(self.executable, os.X_OK))
        self.assertTrue(os.access(self.executable.with_name("tolvaran_describe"), os.X_OK))
        self.assertTrue((self.bundle / "Contents/_CodeSignature").is_dir())
        agent = plistlib.loads(self.agent.read_bytes())
        self.assertEqual(agent["ProgramArguments"], [str(self.executable)])
        self.assertEqual(agent["Label"], LABEL)
        self.assertEqual(
            calls[-3:],
            [
                "launchctl print gui/501",
                f"launchctl enable {SERVICE}",
                f"launchctl bootstrap gui/501 {self.agent}",
            ],
        )
        self.assert_nothing_left_but("TolvaranHelper.app")

    def test_the_signature_is_ad_hoc_unless_an_identity_is_given(self):
        ann = "Developer ID Application: Ann"
        for environment, options in (
            ({}, "--sign -"),
            ({"CODESIGN_IDENTITY": ann}, f"--options runtime --timestamp --sign {ann}"),
        ):
            calls = self.install(**environment)
            inner, outer = [call for call in calls if call.startswith("codesign ")]
            self.assertRegex(inner, f"^codesign --force {options} .*/MacOS/tolvaran_describe$")
            self.assertRegex(outer, f"^codesign --force {options} .*/TolvaranHelper.app$")
            self.assertEqual(calls[:2], [inner, outer])

    def test_a_second_install_replaces_the_first_once_that_has_ended(self):
        self.install()
        self.build_helper("second")
        calls = self.install()
        self.assertEqual(self.executable.read_text(), "second")
        bootout = calls.index(f"launchctl bootout {SERVICE}")
        self.assertTrue(calls[0].startswith("codesign "))
        self.assertLess(0, bootout)
        self.assertEqual(calls[bootout + 1 : bootout + 4], [f"launchctl print {SERVICE}"] * 3)
        self.assertEqual(calls[-1], f"launchctl bootstrap gui/501 {self.agent}")
        self.assertTrue((self.state / "running").exists())
        self.assert_nothing_left_but("TolvaranHelper.app")

    def test_an_installation_waits_for_a_helper_that_was_told_to_end_before(self):
        self.install()
        self.build_helper("second")
        (self.state / "running").rename(self.state / "ending")
        (self.state / "ending").write_text("4\n")
        calls = self.install()
        bootout = calls.index(f"launchctl bootout {SERVICE}")
        self.assertEqual(calls[bootout + 1 : bootout + 6], [f"launchctl print {SERVICE}"] * 5)
        self.assertEqual(calls[-1], f"launchctl bootstrap gui/501 {self.agent}")
        self.assertEqual(self.executable.read_text(), "second")

    def test_a_signature_that_fails_leaves_the_first_installation_running(self):
        self.install()
        self.build_helper("second")
        (self.state / "codesign-fails").touch()
        calls = self.run_script("install")
        self.assertNotEqual(self.result.returncode, 0)
        self.assertEqual(len(calls), 1)
        self.assertEqual(self.executable.read_text(), "first")
        self.assertTrue((self.state / "running").exists())
        self.assert_nothing_left_but("TolvaranHelper.app")

    def test_without_a_graphical_session_the_helper_waits_for_the_next_login(self):
        (self.state / "no-session").touch()
        calls = self.install()
        self.assertTrue(self.agent.exists())
        self.assertEqual(calls[-1], "launchctl print gui/501")
        self.assertIn("starts at the next login", self.result.stdout)

    def test_install_is_refused_to_root_and_without_launchctl(self):
        calls = self.run_script("install", USER_ID="0")
        self.assert_refused("not as root")
        self.assertEqual(calls, [])
        (self.commands / "launchctl").unlink()
        self.run_script("install")
        self.assert_refused("launchctl not found; this needs a Mac")
        self.assertEqual(list(self.home.iterdir()), [])

    def test_uninstall_ends_the_helper_and_leaves_only_the_records(self):
        record = self.home / "Library/Application Support/Tolvaran/State/.display-originals"
        record.parent.mkdir(parents=True)
        record.touch()
        self.install()
        calls = self.run_script("uninstall")
        self.assertEqual(self.result.returncode, 0, self.result.stderr)
        self.assertEqual(calls, [f"launchctl bootout {SERVICE}"])
        self.assertFalse((self.state / "running").exists())
        self.assertFalse(self.agent.exists())
        self.assertFalse(self.directory.exists())
        self.assertTrue(record.exists())

    def test_make_uninstalls_what_was_built_long_ago(self):
        self.install()
        self.write_program(self.product / "made", f'#!/bin/sh\nexec make -s -C "{ROOT}" uninstall\n')
        calls = self.run_script("made")
        self.assertEqual((self.result.returncode, self.result.stdout), (0, "Removed the helper.\n"))
        self.assertEqual(calls, [f"launchctl bootout {SERVICE}"])
        self.assertFalse(self.directory.exists())

    def test_uninstall_of_nothing_is_not_an_error_but_root_is_refused(self):
        self.run_script("uninstall")
        self.assertEqual(self.result.returncode, 0, self.result.stderr)
        self.run_script("uninstall", USER_ID="0")
        self.assert_refused("not as root")


if __name__ == "__main__":
    unittest.main()
