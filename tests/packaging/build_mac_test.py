"""`make mac` on another host says in one line what it needs, before it installs anything."""

import os
import pathlib
import platform
import re
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


@unittest.skipIf(platform.system() == "Darwin", "a Mac has its SDK")
class BuildMac(unittest.TestCase):
    def refused(self, **environment):
        inherited = {key: value for key, value in os.environ.items() if key != "MACOS_SDK"}
        result = subprocess.run(
            ["make", "--silent", "--no-print-directory", "-C", ROOT, "mac"],
            capture_output=True,
            text=True,
            env={**inherited, "MAKEFLAGS": "", **environment},
        )
        self.assertNotEqual(result.returncode, 0)
        self.assertEqual(result.stdout, "")
        # Make adds a line of its own, which begins with its depth if another make runs the tests.
        makes = re.compile(r"make(\[\d+\])?: \*\*\*")
        ours = [line for line in result.stderr.splitlines() if not makes.match(line)]
        self.assertEqual(len(ours), 1, result.stderr)
        return ours[0]

    def test_without_an_sdk(self):
        needed = "needs MACOS_SDK=DIR, where DIR holds Apple's Frameworks/, include/ and lib/"
        for environment in ({}, {"MACOS_SDK": ""}):
            self.assertEqual(self.refused(**environment), f"tools/build-mac: {needed}")

    def test_with_a_directory_that_is_not_an_sdk(self):
        with tempfile.TemporaryDirectory() as directory:
            for part in ("Frameworks", "include", "lib"):
                self.assertEqual(
                    self.refused(MACOS_SDK=directory),
                    f"tools/build-mac: MACOS_SDK: there is no {directory}/{part}",
                )
                (pathlib.Path(directory) / part).mkdir()


if __name__ == "__main__":
    unittest.main()
