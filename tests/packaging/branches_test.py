"""The comparison of untaken branches with the list of those that need not be taken."""

import importlib.machinery
import importlib.util
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("branches", str(ROOT / "tools/check-branches"))
branches = importlib.util.module_from_spec(importlib.util.spec_from_loader("branches", loader))
loader.exec_module(branches)

LIST = ROOT / "tools/uncovered-branches.txt"
SOURCE = "int f(int n) {\n    if (n > 0) {\n        return 1;\n    }\n    return n ? 2 : 3;\n}\n"


def line(number, *counts, noncode=False):
    return {"line_number": number,
            "branches": [{"count": count, "gcovr/noncode": noncode} for count in counts]}


class Branches(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)
        (self.root / "f.cpp").write_text(SOURCE)

    def check(self, entries, *lines):
        (self.root / "list").write_text("# Why.\n\n" + "\n".join(entries) + "\n")
        (self.root / "report").write_text(
            json.dumps({"files": [{"file": "f.cpp", "lines": list(lines)}]}))
        result = subprocess.run(
            [sys.executable, ROOT / "tools/check-branches",
             self.root / "list", self.root / "report", self.root],
            capture_output=True, text=True, check=False)
        self.assertEqual(result.stderr, "")
        return result.returncode, result.stdout.replace(str(self.root) + "/", "")

    def test_lines_whose_branches_are_taken_need_no_entry(self):
        self.assertEqual(self.check([], line(2, 1, 1), line(3)),
                         (0, "0 lines with untaken branches, all named\n"))

    def test_what_is_in_no_source_does_not_count(self):
        self.assertEqual(self.check([], line(2, 0, 1, noncode=True))[0], 0)

    def test_an_untaken_branch_must_be_named(self):
        untaken = line(2, 0, 1), line(5, 3, 0)
        self.assertEqual(self.check(["f.cpp: if (n > 0)"], *untaken), (
            1, "f.cpp:5: a branch that no test takes and the list does not name: "
               "return n ? 2 : 3;\n"))
        self.assertEqual(self.check(["f.cpp: if (n > 0)", "*: return n ?"], *untaken),
                         (0, "2 lines with untaken branches, all named\n"))

    def test_an_entry_names_its_own_file_only(self):
        self.assertEqual(self.check(["g.cpp: if (n > 0)"], line(2, 0, 1))[0], 1)

    def test_what_some_runs_take_may_be_taken(self):
        self.assertEqual(self.check(["? f.cpp: if (n > 0)"], line(2, 1, 1))[0], 0)
        self.assertEqual(self.check(["? f.cpp: if (n > 0)"], line(2, 0, 1))[0], 0)

    def test_an_entry_must_name_an_untaken_branch(self):
        self.assertEqual(self.check(["f.cpp: if (n > 0)"], line(2, 1, 1)),
                         (1, "list: names no untaken branch: f.cpp: if (n > 0)\n"))

    def test_every_entry_of_the_list_names_lines_of_the_product(self):
        lines = [(path.relative_to(ROOT).as_posix(), text.strip())
                 for folder in ("helper", "restore") for path in (ROOT / folder).rglob("*.[ch]pp")
                 for text in path.read_text(encoding="utf-8").splitlines()]
        entries = list(branches.entries(LIST))
        self.assertGreater(len(entries), 10)
        for file, part, _ in entries:
            self.assertTrue(any(branches.names((file, part), at, text) for at, text in lines),
                            f"{file}: {part}")


if __name__ == "__main__":
    unittest.main()
