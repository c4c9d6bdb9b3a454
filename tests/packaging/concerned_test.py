"""tools/concerned: which test programs a change concerns."""

import pathlib
import subprocess
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def concerned(*paths):
    command = [sys.executable, ROOT / "tools/concerned", *paths]
    return subprocess.check_output(command, text=True).splitlines()


class Concerned(unittest.TestCase):
    def test_a_source_concerns_the_tests_that_mirror_its_folder(self):
        self.assertEqual(concerned("restore/dock/native_hot_corners.cpp"), ["dock_tests"])
        self.assertEqual(concerned("helper/steps/check_invariant.cpp"), ["helper_tests"])
        self.assertEqual(concerned("simulator/devices/dock.cpp"), ["simulator_tests"])

    def test_a_test_concerns_its_own_program(self):
        self.assertEqual(concerned("tests/restore/dock/hot_corner_control_test.cpp"), ["dock_tests"])

    def test_a_header_concerns_whoever_includes_it_after_its_own_tests(self):
        found = concerned("restore/support/json.hpp")
        self.assertEqual(found[0], "restore_support_tests")
        self.assertIn("modes_tests", found)
        self.assertEqual(len(found), len(set(found)))

    def test_what_the_tests_share_concerns_those_that_include_its_header(self):
        found = concerned("tests/support/log_capture.cpp")
        self.assertIn("dock_tests", found)
        self.assertNotIn("report_tests", found)

    def test_a_document_concerns_no_test_program(self):
        self.assertEqual(concerned("README.md", "docs/mac.md"), [])


if __name__ == "__main__":
    unittest.main()
