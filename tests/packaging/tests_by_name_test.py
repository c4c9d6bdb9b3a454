"""Every source has a test of the same name: that of restore/dock/entry.cpp is
tests/restore/dock/entry_test.cpp."""

import pathlib
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDERS = ("helper", "restore", "simulator", "player", "report")

# Sources whose test has another name, and what it tests them through.
ELSEWHERE = {
    # Entry points: each is run as a program.
    "helper/main.cpp": "tests/helper/at_rest_test.py",
    "player/tolvaran_gallery.cpp": "tests/player/gallery_test.cpp",
    "player/tolvaran_simulator.cpp": "tests/player/command_line_test.cpp",
    # What is observed of a run is in its result.
    "player/observation.cpp": "tests/player/player_test.cpp",
    # Core Foundation's values, through what is built from them.
    "simulator/core_foundation/boolean.cpp": "tests/simulator/core_foundation/object_test.cpp",
    "simulator/core_foundation/data.cpp": "tests/simulator/core_foundation/json_test.cpp",
    "simulator/core_foundation/date.cpp": "tests/simulator/core_foundation/json_test.cpp",
    "simulator/core_foundation/unicode.cpp": "tests/simulator/core_foundation/string_test.cpp",
    # Used by every test of the simulator.
    "simulator/simulator.cpp": "tests/simulator/faults/faults_test.cpp",
    # Only instantiates a library's templates.
    "simulator/machine/instantiated_json.cpp": "tests/simulator/machine/mac_json_test.cpp",
    # The forms of documents, through the documents.
    "simulator/host/arguments.cpp": "tests/simulator/core_foundation/bundle_test.cpp",
    "simulator/host/files.cpp": "tests/player/scenario_test.cpp",
    "simulator/machine/json_reader.cpp": "tests/simulator/machine/mac_json_test.cpp",
}


def test_of(source):
    """The path of a source's test."""
    return pathlib.Path("tests", source.parent, source.stem + "_test.cpp").as_posix()


class TestsByName(unittest.TestCase):
    def setUp(self):
        self.sources = [path.relative_to(ROOT) for folder in FOLDERS
                        for path in sorted((ROOT / folder).rglob("*.cpp"))]
        self.assertGreater(len(self.sources), 100)

    def test_every_source_has_one(self):
        for source in self.sources:
            with self.subTest(source.as_posix()):
                test = ELSEWHERE.get(source.as_posix(), test_of(source))
                self.assertTrue((ROOT / test).is_file(), test)

    def test_no_source_is_excused_that_need_not_be(self):
        names = {source.as_posix(): source for source in self.sources}
        for name in ELSEWHERE:
            with self.subTest(name):
                self.assertIn(name, names)
                self.assertFalse((ROOT / test_of(names[name])).is_file())


if __name__ == "__main__":
    unittest.main()
