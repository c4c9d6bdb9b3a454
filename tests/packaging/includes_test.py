"""tools/check-includes, on good trees and on faulty ones."""

import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]

ALLOWED = [
    ("restore/dock/a.cpp", "restore/support/files.hpp"),
    ("restore/dock/a.cpp", "CoreFoundation/CoreFoundation.h"),
    ("restore/modes/a.cpp", "restore/arrangement/named_displays.hpp"),
    ("restore/support/json.cpp", "rapidjson/reader.h"),
    ("restore/support/a.cpp", "sys/stat.h"),
    ("restore/tolvaran_restore.hpp", "restore/dock/a.hpp"),
    ("helper/a.cpp", "restore/dock/a.hpp"),
    ("helper/steps/a.cpp", "helper/helper.hpp"),
    ("simulator/devices/a.cpp", "platform/workspace.hpp"),
    ("player/a.cpp", "simulator/simulator.hpp"),
]
FORBIDDEN = [
    ("restore/dock/a.cpp", "restore/menubar/a.hpp"),
    ("restore/dock/a.cpp", "restore/arrangement/named_displays.hpp"),
    ("restore/modes/a.cpp", "restore/arrangement/zigzag.hpp"),
    ("restore/support/a.cpp", "restore/dock/a.hpp"),
    ("restore/support/files.cpp", "rapidjson/reader.h"),
    ("restore/support/json.cpp", "nlohmann/json.hpp"),
    ("restore/dock/a.hpp", "helper/helper.hpp"),
    ("helper/a.cpp", "simulator/simulator.hpp"),
    ("helper/a.cpp", "nlohmann/json.hpp"),
    ("platform/a.mm", "restore/support/files.hpp"),
    ("simulator/a.cpp", "restore/support/files.hpp"),
    ("simulator/a.cpp", "helper/helper.hpp"),
    ("report/a.cpp", "player/a.hpp"),
    ("report/a.cpp", "CoreGraphics/CoreGraphics.h"),
    ("player/a.cpp", "tests/support/log_capture.hpp"),
    ("tools/describe/a.cpp", "tests/support/log_capture.hpp"),
]


class Includes(unittest.TestCase):
    def check(self, *sources):
        """Runs the check on a tree of these pairs (file, included header)."""
        with tempfile.TemporaryDirectory() as directory:
            for file, header in sources:
                path = pathlib.Path(directory, file)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_text(f'#include <string>\n#include "{header}"\n')
            return subprocess.run([ROOT / "tools/check-includes", directory],
                                  capture_output=True, text=True)

    def test_what_lies_below_may_be_included(self):
        for source in ALLOWED:
            with self.subTest(source):
                result = self.check(source)
                self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_what_lies_above_or_beside_may_not(self):
        for file, header in FORBIDDEN:
            with self.subTest(file, header=header):
                result = self.check((file, header))
                self.assertEqual(result.returncode, 1)
                self.assertRegex(result.stderr, rf"^{file}:2: \S+ must not include {header}; ")

    def test_every_forbidden_include_is_listed(self):
        result = self.check(*{file: (file, header) for file, header in FORBIDDEN}.values())
        self.assertEqual(len(result.stderr.splitlines()), len({file for file, _ in FORBIDDEN}))

    def test_the_build_checks_it(self):
        text = (ROOT / "CMakeLists.txt").read_text()
        self.assertIn("add_dependencies(TolvaranRestore check_includes)", text)
        self.assertIn("tools/check-includes", (ROOT / "cmake/check_includes.cmake").read_text())


if __name__ == "__main__":
    unittest.main()
