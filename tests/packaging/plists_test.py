"""The bundle's and the launch agent's property lists: syntax, keys and values."""

import os
import pathlib
import plistlib
import unittest

PACKAGING = pathlib.Path(os.environ["PACKAGING"])
VERSION = os.environ["PROJECT_VERSION"]
IDENTIFIER = "com.morvelli.TolvaranHelper"

# Keys that the system knows, each with the type that it takes; a misspelt key is silently ignored.
BUNDLE_KEYS = {
    "CFBundleInfoDictionaryVersion": str,
    "CFBundleDevelopmentRegion": str,
    "CFBundlePackageType": str,
    "CFBundleIdentifier": str,
    "CFBundleName": str,
    "CFBundleDisplayName": str,
    "CFBundleExecutable": str,
    "CFBundleShortVersionString": str,
    "CFBundleVersion": str,
    "CFBundleSupportedPlatforms": list,
    "LSMinimumSystemVersion": str,
    "LSBackgroundOnly": bool,
    "LSMultipleInstancesProhibited": bool,
    "NSAppSleepDisabled": bool,
}
AGENT_KEYS = {
    "Label": str,
    "ProgramArguments": list,
    "RunAtLoad": bool,
    "KeepAlive": bool,
    "ThrottleInterval": int,
    "ProcessType": str,
    "LimitLoadToSessionType": str,
    "AssociatedBundleIdentifiers": str,
}


def load(name):
    return plistlib.loads((PACKAGING / name).read_bytes(), fmt=plistlib.FMT_XML)


class PropertyLists(unittest.TestCase):
    def test_every_one_is_filled_in_and_known_here(self):
        found = {path.name for path in PACKAGING.glob("*.plist")}
        self.assertEqual(found, {"Info.plist", "launch_agent.plist"})
        for name in found:
            self.assertNotIn("@", (PACKAGING / name).read_text())

    def test_every_key_is_one_that_the_system_knows(self):
        for name, keys in (("Info.plist", BUNDLE_KEYS), ("launch_agent.plist", AGENT_KEYS)):
            for key, value in load(name).items():
                with self.subTest(name=name, key=key):
                    self.assertIn(key, keys)
                    self.assertIs(type(value), keys[key])

    def test_the_bundle_is_a_program_for_the_background(self):
        info = load("Info.plist")
        self.assertEqual(info["CFBundlePackageType"], "APPL")
        self.assertEqual(info["CFBundleIdentifier"], IDENTIFIER)
        self.assertEqual(info["CFBundleExecutable"], "tolvaran_helper")
        self.assertEqual(info["LSMinimumSystemVersion"], "13.0")
        self.assertTrue(info["LSBackgroundOnly"])
        self.assertTrue(info["LSMultipleInstancesProhibited"])
        self.assertTrue(info["NSAppSleepDisabled"])

    def test_both_versions_are_the_projects(self):
        info = load("Info.plist")
        self.assertEqual(info["CFBundleShortVersionString"], VERSION)
        self.assertEqual(info["CFBundleVersion"], VERSION)
        self.assertRegex(VERSION, r"^\d+(\.\d+){0,2}$")

    def test_the_agent_keeps_the_helper_running_in_graphical_sessions(self):
        agent = load("launch_agent.plist")
        self.assertEqual(agent["Label"], IDENTIFIER)
        self.assertEqual(agent["ProgramArguments"], ["EXECUTABLE"])
        self.assertTrue(agent["RunAtLoad"])
        self.assertTrue(agent["KeepAlive"])
        self.assertEqual(agent["LimitLoadToSessionType"], "Aqua")
        self.assertEqual(agent["ProcessType"], "Interactive")
        self.assertLess(agent["ThrottleInterval"], 10)  # launchd's own, in seconds


if __name__ == "__main__":
    unittest.main()
