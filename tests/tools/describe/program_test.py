"""tolvaran_describe from outside: what it writes can be played as a scenario's `mac`.

program_test.py DESCRIBE SIMULATOR MAC.json
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

DESCRIBE, SIMULATOR, FULL_MAC = sys.argv[1:]


def run(*command):
    return subprocess.run(command, capture_output=True, text=True)


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

    def test_wrong_arguments_and_files_are_told_in_a_line(self):
        bad = self.write("bad.json", {"screens": []})
        for arguments, message in (
            ([], "usage: "),
            (["--mac"], "usage: "),
            (["--mac", str(bad)], "screens: unknown key"),
            (["--mac", str(self.directory / "missing.json")], "missing.json: "),
        ):
            described = run(DESCRIBE, *arguments)
            self.assertEqual(described.returncode, 2)
            self.assertEqual(described.stdout, "")
            self.assertIn(message, described.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
