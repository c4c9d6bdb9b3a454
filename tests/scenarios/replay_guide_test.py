"""docs/replay.md: what it tells users and support engineers to type does what it says.

replay_guide_test.py SIMULATOR
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tarfile
import tempfile
import unittest

SIMULATOR = sys.argv[1]
ROOT = pathlib.Path(__file__).resolve().parents[2]
GUIDE = (ROOT / "docs/replay.md").read_text()

DESCRIBE = "Application Support/com.morvelli.TolvaranHelper/TolvaranHelper.app/Contents/MacOS"


def blocks(language):
    return re.findall(rf"^```{language}\n(.*?)^```$", GUIDE, re.M | re.S)


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, **options)


class ReplayGuide(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)

    def test_every_scenario_in_it_can_be_played(self):
        found = blocks("json")
        self.assertGreater(len(found), 4)
        for block in found:
            with self.subTest(block):
                path = self.directory / "scenario.json"
                path.write_text(block)
                played = run(SIMULATOR, "--json", path)
                self.assertEqual(played.returncode, 0, played.stderr)
                said = [entry["message"] for entry in json.loads(played.stdout)["log"]]
                self.assertTrue(any("cold-start" in line or "PROC_EXIT" in line for line in said))

    def test_what_the_user_pastes_collects_what_is_listed(self):
        (command,) = blocks("sh")
        library = self.directory / "A User's home/Library"
        for name, content in (
            ("Application Support/Tolvaran/State/.resolution-originals", "{}"),
            ("Application Support/Tolvaran/Settings/preferences.json", "{}"),
            ("Application Support/Tolvaran/Settings/others.json", "{}"),
            ("Logs/Tolvaran/tolvaran-helper.log", ""),
            (f"{DESCRIBE}/tolvaran_describe", "#!/bin/sh\necho '{}'; echo note >&2\n"),
            ("../bin/sw_vers", "#!/bin/sh\necho 13.0\n"),
        ):
            (library / name).parent.mkdir(parents=True, exist_ok=True)
            (library / name).write_text(content)
            (library / name).chmod(0o755)
        home = library.parent
        environment = {"HOME": str(home), "PATH": f"{home}/bin:{os.environ['PATH']}"}
        pasted = run("bash", "-eu", "-c", command, env=environment)
        self.assertEqual((pasted.returncode, pasted.stdout, pasted.stderr), (0, "", ""))
        with tarfile.open(home / "Desktop/tolvaran-report.tgz") as archive:
            files = {member.name for member in archive if member.isfile()}
        inside = {name.removeprefix("tolvaran-report/") for name in files}
        self.assertEqual(
            inside,
            {
                "mac.json",
                "left-out.txt",
                "files/State/.resolution-originals",
                "files/Settings/preferences.json",
                "log/tolvaran-helper.log",
                "macos.txt",
            },
        )
        for name in inside:  # each has its row in the table of what the archive holds
            self.assertRegex(GUIDE, rf"\| `{name.rsplit('/', 1)[0]}(/|`)|\| `{re.escape(name)}`")

    def test_both_logs_come_into_one_form(self):
        (expression,) = re.findall(r"sed -E ('.*') \$log", GUIDE)
        scenario = ROOT / "scenarios/replay-example.json"
        played = run(SIMULATOR, "--json", scenario)
        lines = run("bash", "-c", f"sed -E {expression}", input=played.stderr).stdout.splitlines()
        log = json.loads(played.stdout)["log"]
        self.assertEqual(lines, [f"{entry['level']}: {entry['message']}" for entry in log])
        self.assertGreater(len(lines), 10)

    def test_what_it_links_and_quotes_is_there(self):
        for target in re.findall(r"\]\(([^)#]+)\)", GUIDE):
            self.assertTrue((ROOT / "docs" / target).exists(), target)
        scenario = ROOT / "scenarios/replay-example.json"
        said = run(SIMULATOR, scenario).stderr
        self.assertIn('"kept 1 unsettled\ndisplay(s)"', GUIDE)
        self.assertIn("kept 1 unsettled display(s)", said)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
