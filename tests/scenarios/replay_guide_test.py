"""docs/replay.md: what it tells users and support engineers to type does what it says.

replay_guide_test.py SIMULATOR DESCRIBE
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SIMULATOR, DESCRIBE = sys.argv[1:]
ROOT = pathlib.Path(__file__).resolve().parents[2]
GUIDE = (ROOT / "docs/replay.md").read_text()
FULL_MAC = ROOT / "tests/tools/describe/full_mac.json"


def commands(heading):
    """The commands to type in the section, line by line."""
    (section,) = re.findall(rf"^## {heading}$(.*?)(?=^## |\Z)", GUIDE, re.M | re.S)
    return re.findall(r"^    (.+)$", section, re.M)


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, **options)


class ReplayGuide(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = pathlib.Path(directory.name)

    def play(self, scenario):
        path = self.directory / "scenario.json"
        path.write_text(json.dumps(scenario))
        played = run(SIMULATOR, "--json", path)
        self.assertEqual(played.returncode, 0, played.stderr)
        return json.loads(played.stdout)

    def user(self, directory):
        """The environment of a user whose bundle carries the tool, on a simulated Mac."""
        home = self.directory / "A User's home"
        (home / "Desktop").mkdir(parents=True)
        tool = home / "Library" / directory / "tolvaran_describe"
        tool.parent.mkdir(parents=True)
        tool.write_text(f'#!/bin/sh\nexec "{DESCRIBE}" --mac "{FULL_MAC}" "$@"\n')
        tool.chmod(0o755)
        support = home / "Library/Application Support/Tolvaran"
        environment = {"HOME": str(home), "PATH": os.environ["PATH"]}
        environment["TOLVARAN_APPLICATION_SUPPORT_DIR"] = str(support)
        environment["TOLVARAN_LOGS_DIR"] = str(home / "Library/Logs/Tolvaran")
        return environment

    def test_what_the_user_types_writes_a_report_that_can_be_played(self):
        typed = commands("1. The user checks, and sends a report")
        self.assertEqual(len(typed), 3)
        bundle = (ROOT / "packaging/macos/install.in").read_text()
        path = re.search(r"/Library/(.*)/tolvaran_describe", typed[0]).group(1)
        self.assertIn(path.rsplit("/", 3)[1], bundle)
        environment = self.user(path)
        done = run("bash", "-u", "-c", "\n".join(typed), env=environment)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertTrue(done.stdout.startswith("The helper has never run."), done.stdout)
        report = pathlib.Path(environment["HOME"]) / "Desktop/tolvaran.json"
        self.assertEqual(len(self.play(json.loads(report.read_text()))["mac"]["displays"]), 3)

    def test_what_you_type_plays_it(self):
        make, name, *typed = commands("2. You play it")
        self.assertEqual(make, "make build")
        self.assertTrue(SIMULATOR.endswith(name.rsplit("/", 1)[1]), name)
        scenario = (ROOT / "scenarios/replay-example.json").read_text()
        (self.directory / "tolvaran.json").write_text(scenario)
        shutil.copytree(ROOT / "scenarios/replay-example", self.directory / "replay-example")
        script = "\n".join([f"simulator='{SIMULATOR}'", *typed])
        done = run("bash", "-eu", "-c", script, cwd=self.directory)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout.count("everything was as expected"), 2)
        page = (self.directory / "tolvaran.html").read_text()
        self.assertIn("<svg", page)

    def test_what_you_type_makes_it_a_test(self):
        (typed,) = commands("3. You make it a test")
        scenario = {
            "mac": {"dock": {"autoHide": True}},
            "files": {"State/dock-autohide-pending.json": {"version": 1, "restoreTo": False}},
        }
        (self.directory / "tolvaran.json").write_text(json.dumps(scenario))
        (self.directory / "scenarios").mkdir()
        kept = re.search(r'--keep "(.*?)"', typed).group(1)
        script = f"simulator='{SIMULATOR}'\n{typed}"
        done = run("bash", "-eu", "-c", script, cwd=self.directory)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr, "no log line or call has this text\n")
        script = script.replace(kept, "CoreDockSetAutoHideEnabled(false)")
        done = run("bash", "-eu", "-c", script, cwd=self.directory)
        self.assertEqual((done.returncode, done.stderr.splitlines()[-1:]), (0, []), done.stderr)
        small = json.loads((self.directory / "scenarios/my-case.json").read_text())
        self.assertEqual(small, scenario)

    def test_what_is_to_be_added_can_be_played(self):
        rows = re.findall(r"^\| (?!what happened|---).*? \| (.*) \|$", GUIDE, re.M)
        self.assertEqual(len(rows), 6)
        added = [fragment for row in rows for fragment in re.findall(r"`([^`]*[:].*?)`", row)]
        display = '{"id": 2, "vendor": 1, "model": 2, "frame": [1440, 0, 100, 100]}'
        scenario = {"until": 1, "mac": {}, "timeline": [], "faults": []}
        for fragment in added:
            text = fragment.replace("…", display).replace("CODE", "1000")
            text = text.replace("NAME", '"CGBeginDisplayConfiguration"')
            if not text.startswith("{"):
                part = json.loads("{" + text + "}")
                (scenario if "until" in part else scenario["mac"]).update(part)
                continue
            part = json.loads(text)
            scenario["faults" if "call" in part else "timeline"].append(part)
        self.assertEqual(len(scenario["timeline"]), 5)
        self.assertEqual(len(scenario["faults"]), 1)
        scenario["mac"]["displays"] = [
            {"id": 1, "vendor": 1, "model": 1, "frame": [0, 0, 1440, 900]},
            json.loads(display),
        ]
        said = [entry["message"] for entry in self.play(scenario)["log"]]
        self.assertTrue(any("PROC_EXIT" in line for line in said), said)

    def test_what_it_links_is_there(self):
        targets = re.findall(r"\]\(([^)#]+)\)", GUIDE)
        self.assertGreater(len(targets), 1)
        for target in targets:
            self.assertTrue((ROOT / "docs" / target).exists(), target)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
