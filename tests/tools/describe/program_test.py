"""tolvaran_describe from outside: what it writes can be played as a scenario's `mac`.

program_test.py DESCRIBE SIMULATOR MAC.json
"""

import json
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

DESCRIBE, SIMULATOR, FULL_MAC = sys.argv[1:]


def run(*command):
    """Runs the command where the helper has no files."""
    environment = dict(os.environ)
    for variable in ("APPLICATION_SUPPORT", "LOGS"):
        environment[f"TOLVARAN_{variable}_DIR"] = "/nonexistent"
    return subprocess.run(command, capture_output=True, text=True, env=environment)


class Program(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)

    def write(self, name, value):
        path = self.directory / name
        path.write_text(json.dumps(value))
        return path

    def mac_after_playing(self, mac):
        played = run(SIMULATOR, "--json", self.write("scenario.json", {"mac": mac}))
        self.assertEqual(played.returncode, 0, played.stderr)
        return json.loads(played.stdout)["mac"]

    def test_a_described_mac_can_be_played(self):
        described = run(DESCRIBE, "--mac", FULL_MAC)
        self.assertEqual(described.returncode, 0, described.stderr)
        self.assertEqual(len(described.stderr.splitlines()), 1, described.stderr)
        original = json.loads(pathlib.Path(FULL_MAC).read_text())
        after = self.mac_after_playing(json.loads(described.stdout))
        self.assertEqual(after, self.mac_after_playing(original))
        self.assertEqual(len(after["displays"]), 3)

    def test_a_report_can_be_played_as_it_is(self):
        report = self.directory / "report.json"
        written = run(DESCRIBE, "--mac", FULL_MAC, "--report", report)
        self.assertEqual(written.returncode, 0, written.stderr)
        self.assertIn("3 displays: names, serial numbers and UUIDs", written.stdout)
        self.assertIn("  cursorAssociated is left out", written.stdout)
        played = run(SIMULATOR, "--json", report)
        self.assertEqual(played.returncode, 0, played.stderr)
        result = json.loads(played.stdout)
        self.assertEqual(result["scenario"]["about"]["macOS"], "simulated")
        self.assertEqual(len(result["mac"]["displays"]), 3)

    def test_health_if_the_helper_has_never_run(self):
        told = run(DESCRIBE, "--mac", FULL_MAC, "--health")
        self.assertEqual(told.returncode, 2)
        self.assertTrue(told.stdout.startswith("The helper has never run."), told.stdout)
        told = run(DESCRIBE, "--mac", FULL_MAC, "--health", "--json")
        self.assertEqual(told.returncode, 2)
        health = json.loads(told.stdout)
        self.assertEqual(health["status"], 2)
        self.assertEqual(health["tolvaran"], 812)

    def test_a_report_that_cannot_be_written_is_reported_in_one_line(self):
        written = run(DESCRIBE, "--mac", FULL_MAC, "--report", self.directory / "no" / "report")
        self.assertEqual(written.returncode, 1)
        self.assertEqual(written.stdout, "")
        self.assertIn("No such file or directory", written.stderr)

    def test_wrong_arguments_and_files_are_reported_in_one_line(self):
        bad = self.write("bad.json", {"screens": []})
        for arguments, message in (
            ([], "usage: "),
            (["--mac"], "usage: "),
            (["--mac", FULL_MAC, "--report"], "usage: "),
            (["--mac", FULL_MAC, "--all-settings"], "usage: "),
            (["--mac", FULL_MAC, "--unknown"], "usage: "),
            (["--mac", FULL_MAC, "--json"], "usage: "),
            (["--mac", FULL_MAC, "--health", "--report", "x"], "usage: "),
            (["--mac", str(bad)], "screens: unknown key"),
            (["--mac", str(self.directory / "missing.json")], "missing.json: "),
        ):
            described = run(DESCRIBE, *arguments)
            self.assertEqual(described.returncode, 2)
            self.assertEqual(described.stdout, "")
            self.assertIn(message, described.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
