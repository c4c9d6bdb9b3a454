"""tools/progress: how it sums up the output of CTest and of libFuzzer."""

import importlib.machinery
import importlib.util
import io
import pathlib
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("progress", str(ROOT / "tools/progress"))
progress = importlib.util.module_from_spec(importlib.util.spec_from_loader("progress", loader))
loader.exec_module(progress)

PASSED = "1/4 Test #7: dock_tests.0 ...........   Passed    1.00 sec\n"
FAILED = "2/4 Test #8: dock_tests.1 ...........***Failed    1.00 sec\n"


class Terminal(io.StringIO):
    def isatty(self):
        return True


class ProgressTest(unittest.TestCase):
    def setUp(self):
        self.now = 0.0

    def progress(self, seconds=None):
        return progress.Progress("work", seconds, lambda: self.now)

    def test_tests_are_counted_and_failures_are_passed_on(self):
        work = self.progress()
        self.now = 60.0
        self.assertTrue(work.read(PASSED))
        self.assertEqual(work.text(), "work:  25% after 60 s, about 3 min left; 1 of 4 tests, "
                                      "the last one dock_tests.0; nothing found")
        self.assertFalse(work.read(FAILED))
        self.assertTrue(work.text().endswith("the last one dock_tests.1; 1 found"))

    def test_a_fuzzer_is_as_far_as_its_time(self):
        work = self.progress(seconds=600)
        self.now = 150.0
        self.assertTrue(work.read("#1024\tNEW    cov: 2048 ft: 99 corp: 9/9b exec/s: 12 rss: 44Mb\n"))
        self.assertEqual(work.text(), "work:  25% after 2 min, about 8 min left; 1,024 inputs, "
                                      "2,048 places reached; nothing found")
        self.assertFalse(work.read("SUMMARY: AddressSanitizer: heap-buffer-overflow\n"))
        self.assertTrue(work.text().endswith("; 1 found"))

    def test_a_log_gets_a_line_for_each_tenth_and_what_is_not_progress(self):
        lines = [f"{n}/100 Test #{n}: t ... Passed 0.1 sec\n" for n in range(1, 101)]
        out = io.StringIO()
        progress.follow(lines + ["a finding\n"], self.progress(), out)
        self.assertEqual(len(out.getvalue().splitlines()), 12)
        self.assertIn("a finding\n", out.getvalue())

    def test_a_terminal_gets_one_line_that_changes(self):
        out = Terminal()
        progress.follow([PASSED] * 3, self.progress(), out)
        self.assertEqual(out.getvalue().count("\n"), 1)
        self.assertEqual(out.getvalue().count("\r"), 4)

    def test_the_status_of_the_command_is_its_own(self):
        for status in (0, 3):
            result = subprocess.run(
                [sys.executable, ROOT / "tools/progress", "x", "sh", "-c", f"exit {status}"])
            self.assertEqual(result.returncode, status)


if __name__ == "__main__":
    unittest.main()
