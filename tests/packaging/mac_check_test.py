"""The check of a whole Mac, with stand-ins for the Mac's own commands and for make."""

import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import unittest

from scripts_test import CODESIGN, LABEL, PACKAGING, ROOT

# Keeps the service running as launchd does, in a process of its own.
LAUNCHCTL = """#!/bin/sh
case "$1 $2" in
    "print gui/501") [ ! -e "$STATE/no-session" ] ;;
    "print "*)
        [ -e "$STATE/loaded" ] || exit 113
        printf '\\tpid = %s\\n' "$(cat "$STATE/pid")" ;;
    "bootstrap "*)
        touch "$STATE/loaded"
        program=$(sed -n 's|.*<string>\\(/.*tolvaran_helper\\)</string>.*|\\1|p' "$3")
        (
            while [ -e "$STATE/loaded" ]; do
                "$program" & echo $! >"$STATE/pid.new"
                mv "$STATE/pid.new" "$STATE/pid"
                wait
                [ ! -e "$STATE/starts-once" ] || exit
            done
        ) >/dev/null 2>&1 & ;;
    "bootout "*)
        [ -e "$STATE/loaded" ] || exit 3
        rm "$STATE/loaded"
        kill "$(cat "$STATE/pid")" || true ;;
esac
"""
HELPER = """#!/bin/sh
[ ! -e "$STATE/no-heartbeat" ] || exec sleep 600
state="$HOME/Library/Application Support/Tolvaran/State"
mkdir -p "$state" "$HOME/Library/Logs/Tolvaran"
echo "$(date +%s)000" >"$state/.helper-heartbeat"
exec sleep 600
"""
DESCRIBE = """#!/bin/sh
[ "$1" = --report ] || exit 2
[ ! -e "$STATE/describe-fails" ] || exit 1
echo '{}' >"$2"
exit  # the stand-in for codesign signs behind this line
"""
# The preferences that the tests have left, if any.
DEFAULTS = """#!/bin/sh
case "$*" in
    "read -g TolvaranHelperContractTests") [ -e "$STATE/global-preference" ] ;;
    "read %s.ContractTests")
        printf '{\\n'
        [ ! -e "$STATE/preference" ] || printf '    contract = 5;\\n'
        printf '}\\n' ;;
    delete*) exit 1 ;;  # as for a domain without keys
esac
""" % LABEL
MAKE = """#!/bin/sh
echo "make $*" >>"$STATE/calls"
case "$1" in
    test)
        mkdir -p "$HOME/Library/Preferences"
        touch "$HOME/Library/Preferences/%s.ContractTests.plist"
        [ ! -e "$STATE/tests-fail" ] ;;
    install) exec "$PRODUCT/install" ;;
    uninstall)
        "$PRODUCT/uninstall"
        [ ! -e "$STATE/uninstall-forgets" ] || touch "$HOME/Library/LaunchAgents/%s.plist" ;;
esac
""" % (LABEL, LABEL)
COMMANDS = {
    "launchctl": LAUNCHCTL,
    "codesign": CODESIGN,
    "defaults": DEFAULTS,
    "make": MAKE,
    "id": '#!/bin/sh\necho "${USER_ID:-501}"\n',
    "uname": '#!/bin/sh\ncase "$1" in -m) echo arm64 ;; *) echo "${SYSTEM:-Darwin}" ;; esac\n',
    "sw_vers": "#!/bin/sh\necho 14.5\n",
    "pgrep": '#!/bin/sh\n[ -e "$STATE/stray" ]\n',
}


class MacCheck(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        root = pathlib.Path(directory.name)
        self.home, self.state, self.product = root / "home", root / "state", root / "product"
        self.checkout = root / "checkout"
        commands = root / "bin"
        contents = self.product / "TolvaranHelper.app/Contents"
        for path in (self.home, self.state, commands, contents / "MacOS", contents / "Resources"):
            path.mkdir(parents=True)
        for name, text in COMMANDS.items():
            self.write_program(commands / name, text)
        self.write_program(contents / "MacOS/tolvaran_helper", HELPER)
        self.write_program(contents / "MacOS/tolvaran_describe", DESCRIBE)
        shutil.copy(PACKAGING / "launch_agent.plist", contents / "Resources")
        for script in ("install", "uninstall"):
            shutil.copy(PACKAGING / script, self.product)
        # The check finds its checkout by its own place.
        (self.checkout / "packaging/macos").mkdir(parents=True)
        (self.checkout / "tools").mkdir()
        shutil.copy(ROOT / "packaging/macos/CMakeLists.txt", self.checkout / "packaging/macos")
        shutil.copy(ROOT / "tools/mac-check", self.checkout / "tools")
        self.environment = {
            "HOME": str(self.home),
            "PATH": f"{commands}:/usr/bin:/bin",
            "STATE": str(self.state),
            "CALLS": str(self.state / "signatures"),
            "PRODUCT": str(self.product),
            "PATIENCE": "5",
        }
        self.addCleanup(self.end_helper)

    @staticmethod
    def write_program(path, text):
        path.write_text(text)
        path.chmod(0o755)

    def end_helper(self):
        (self.state / "loaded").unlink(missing_ok=True)
        try:
            os.kill(int((self.state / "pid").read_text()), signal.SIGKILL)
        except (FileNotFoundError, ProcessLookupError):
            pass

    def check(self, *marks, **environment):
        for mark in marks:
            (self.state / mark).touch()
        self.result = subprocess.run(
            [self.checkout / "tools/mac-check"],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            text=True,
            env={**self.environment, **environment},
        )
        return self.result

    def assert_fails(self, message, *marks, **environment):
        self.check(*marks, **environment)
        self.assertEqual(self.result.returncode, 1, self.result.stdout)
        self.assertIn(f"mac-check: {message}", self.result.stderr)
        self.assertNotIn("Everything held", self.result.stdout)

    def files_at_home(self):
        return [path for path in self.home.rglob("*") if not path.is_dir()]

    def test_a_good_mac_passes_and_nothing_is_left(self):
        result = self.check()
        self.assertEqual(result.returncode, 0, result.stderr)
        said = [line for line in result.stdout.splitlines() if line.startswith("ok: ")]
        self.assertEqual(len(said), 11, said)
        self.assertEqual(said[0], "ok: the Mac is without helper and Tolvaran: macOS 14.5, arm64")
        self.assertEqual(said[-1], "ok: make uninstall leaves nothing")
        self.assertEqual(self.files_at_home(), [])
        self.assertTrue((self.checkout / "build/mac-check/report.json").exists())
        calls = (self.state / "calls").read_text().splitlines()
        self.assertEqual(calls[:3], ["make test", "make install", "make uninstall"])

    def test_what_is_the_users_is_not_touched(self):
        for path, message in (
            ("Library/LaunchAgents/%s.plist" % LABEL, "the helper is installed"),
            ("Library/Application Support/%s/x" % LABEL, "the helper is installed"),
            ("Library/Application Support/Tolvaran/x", "Tolvaran's own files are there"),
            ("Library/Logs/Tolvaran/x", "Tolvaran's own files are there"),
        ):
            with self.subTest(path):
                file = self.home / path
                file.parent.mkdir(parents=True)
                file.touch()
                self.assert_fails(message)
                self.assertEqual(self.files_at_home(), [file])
                shutil.rmtree(self.home / "Library")
        self.assertFalse((self.state / "calls").exists())

    def test_it_needs_a_mac_with_a_session_and_no_root(self):
        self.assert_fails("this needs a Mac", SYSTEM="Linux")
        self.assert_fails("run this as the user", USER_ID="0")
        self.assert_fails("there is no graphical session", "no-session")

    def test_a_failed_test_ends_it_before_anything_is_installed(self):
        self.check("tests-fail")
        self.assertNotEqual(self.result.returncode, 0)
        self.assertEqual(self.files_at_home(), [])
        self.assertNotIn("make install", (self.state / "calls").read_text())

    def test_every_failure_is_seen_and_nothing_stays_installed(self):
        for mark, message in (
            ("no-heartbeat", "after 1 seconds still not so: the helper runs and its heartbeat is young"),
            ("starts-once", "after 1 seconds still not so: the helper is back after it was killed"),
            ("stray", "a helper still runs"),
        ):
            with self.subTest(mark):
                self.assert_fails(message, mark, PATIENCE="1")
                self.assertEqual(self.files_at_home(), [])
                self.end_helper()
                (self.state / mark).unlink()

    def test_preferences_that_the_tests_have_left_are_named_and_removed(self):
        for mark, message in (
            ("preference", f"the contract tests have left preferences: defaults read {LABEL}.ContractTests"),
            ("global-preference", "the contract tests have left a preference: defaults read -g Tolvaran"),
        ):
            with self.subTest(mark):
                self.assert_fails(message, mark)
                self.assertEqual(self.files_at_home(), [])
                self.assertNotIn("make install", (self.state / "calls").read_text())
                (self.state / mark).unlink()

    def test_a_report_that_cannot_be_written_fails(self):
        self.check("describe-fails")
        self.assertNotEqual(self.result.returncode, 0)
        self.assertNotIn("reports this Mac", self.result.stdout)
        self.assertEqual(self.files_at_home(), [])

    def test_what_an_uninstallation_leaves_is_named(self):
        self.assert_fails(f"still there: {self.home}/Library/LaunchAgents", "uninstall-forgets")


if __name__ == "__main__":
    unittest.main()
