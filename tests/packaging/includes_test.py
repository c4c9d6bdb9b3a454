"""tools/check-includes, on good trees and on faulty ones."""

import pathlib
import shutil
import subprocess
import sys
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
    ("restore/sound/a.cpp", "restore/sound/a.hpp"),
    ("restore/sound/a.cpp", "restore/arrangement/named_displays.hpp"),
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
    ("restore/sound/a.cpp", "restore/menubar/a.hpp"),
    ("restore/sounds.cpp", "restore/menubar/a.hpp"),
    ("restore/dock/b.cpp", "restore/dock/../menubar/a.hpp"),
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
            return subprocess.run([sys.executable, ROOT / "tools/check-includes", directory],
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

    def test_a_forbidden_include_fails_the_build(self):
        with tempfile.TemporaryDirectory() as directory:
            root = pathlib.Path(directory)
            for name in ("tools/check-includes", "cmake/check_includes.cmake"):
                (root / name).parent.mkdir()
                shutil.copy(ROOT / name, root / name)
            (root / "CMakeLists.txt").write_text("cmake_minimum_required(VERSION 3.25)\n"
                                                 "project(floors NONE)\n"
                                                 "find_program(PYTHON3 python3 REQUIRED)\n"
                                                 "include(cmake/check_includes.cmake)\n")
            source = root / "simulator/devices/dock.cpp"
            source.parent.mkdir(parents=True)
            for header, is_allowed in (("platform/workspace.hpp", True),
                                       ("restore/support/files.hpp", False)):
                source.write_text(f'#include "{header}"\n')
                subprocess.run(["cmake", "-S", root, "-B", root / "build"], check=True,
                               capture_output=True)
                built = subprocess.run(["cmake", "--build", root / "build"], capture_output=True,
                                       text=True)
                output = built.stdout + built.stderr
                self.assertEqual(built.returncode == 0, is_allowed, output)
                self.assertEqual("must not include restore/support/files.hpp" in output,
                                 not is_allowed, output)

    def test_nothing_is_built_without_the_check(self):
        commands = (ROOT / "CMakeLists.txt").read_text().splitlines()
        self.assertIn("include(cmake/check_includes.cmake)", commands)
        self.assertIn("add_dependencies(TolvaranRestore check_includes)", commands)


if __name__ == "__main__":
    unittest.main()
