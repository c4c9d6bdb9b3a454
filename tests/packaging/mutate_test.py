"""tools/mutate: which changes it makes, and which it knows to change nothing."""

import importlib.machinery
import importlib.util
import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("mutate", str(ROOT / "tools/mutate"))
mutate = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutate", loader))
sys.modules["mutate"] = mutate
loader.exec_module(mutate)

# A line of a source, and every line that one change turns it into.
ROWS = [
    ("    return a == b;", ["    return a != b;"]),
    ("    return a < b && c;", ["    return a <= b && c;", "    return a < b || c;"]),
    ("    if (isReady()) {", ["    if (!(isReady())) {"]),
    ('    if (name == "a // b") {', ['    if (name != "a // b") {', '    if (!(name == "a // b")) {']),
    ("    return x ? 1 : y;", ["    return x ? 2 : y;", "    return x ? y : 1;"]),
    ("    constexpr int limit = 16;", ["    constexpr int limit = 17;"]),
    ("    bool done = true;", ["    bool done = false;"]),
    ("    files::remove(path);", ["    ;"]),
    ('    log("a == 1 && true");', ["    ;"]),
    ("    // a == b && true", []),
    ("    return call(x);", []),
    ("    std::vector<int> list;", []),
    ("    case 3:", []),
    ("#include <a>", []),
    ("    const auto value32 = 0x10;", []),
]


class FakeTree:
    """Reports what its table says, and which changes it was asked to try."""

    def __init__(self, outcomes):
        self.outcomes = outcomes
        self.tried = []

    def attempt(self, change):
        self.tried.append(change.line)
        return self.outcomes[change.line - 1]


def change(line):
    return mutate.Change("a.cpp", line, "call", f"  f{line}();", "  ;")


class Mutate(unittest.TestCase):
    def test_each_line_is_changed_in_every_way(self):
        for line, expected in ROWS:
            with self.subTest(line):
                changes = mutate.changes_of("a.cpp", line)
                self.assertEqual(sorted(found.after for found in changes), sorted(expected))

    def test_every_kind_is_possible_in_the_product(self):
        kinds = {found.kind for folder in ("helper", "restore")
                 for path in (ROOT / folder).rglob("*.cpp")
                 for found in mutate.changes_of(str(path), path.read_text())}
        self.assertEqual(kinds, {"comparison", "condition", "constant", "branches", "call"})

    def test_what_does_not_compile_is_replaced_and_what_is_known_is_not_tried(self):
        known = {("a.cpp", None, "f3();", ";")}
        tree = FakeTree(["", "nobody", None, "concerned", "others", "nobody"])
        changes = [change(line) for line in range(1, 7)]
        self.assertEqual(mutate.attempt_all(tree, changes, 4, known), [change(2)])
        self.assertEqual(tree.tried, [1, 2, 4, 5])

    def test_the_list_of_changes_that_change_nothing_is_in_order(self):
        known = mutate.equivalents(mutate.EQUIVALENT)
        self.assertEqual(list(mutate.wrong_entries(known, ROOT)), [])

    def test_an_entry_may_name_the_line_above(self):
        known = {("a.cpp", "if (a) {", "return false;", "return true;")}
        for above, expected in (("if (a) {", True), ("if (b) {", False)):
            one = mutate.Change("a.cpp", 2, "constant", " return false;", " return true;", above)
            self.assertEqual(mutate.is_known(one, known), expected)

    def test_a_change_knows_the_line_above(self):
        found, = mutate.changes_of("a.cpp", "  if (a)\n    f();\n")
        self.assertEqual(found.key(), ("a.cpp", "if (a)", "f();", ";"))

    def test_an_entry_without_a_reason_or_without_its_line_is_refused(self):
        with tempfile.TemporaryDirectory() as directory:
            path = pathlib.Path(directory, "list")
            path.write_text("# list\n\na.cpp\n- x();\n+ ;\n")
            with self.assertRaises(ValueError):
                mutate.equivalents(path)
            path.write_text("# list\n\na.cpp\n- x();\n+ ;\nIt does nothing.\n")
            known = mutate.equivalents(path)
            self.assertEqual(known, {("a.cpp", None, "x();", ";")})
            for source, wrong in (("", ["a.cpp: 0 times: x();"]), ("    x();\n", []),
                                  ("x();\nx();\n", ["a.cpp: 2 times: x();"])):
                pathlib.Path(directory, "a.cpp").write_text(source)
                self.assertEqual(list(mutate.wrong_entries(known, pathlib.Path(directory))), wrong)
            path.write_text("a.cpp\n  y();\n- x();\n+ ;\nIt does nothing.\n")
            known = mutate.equivalents(path)
            self.assertEqual(known, {("a.cpp", "y();", "x();", ";")})
            pathlib.Path(directory, "a.cpp").write_text("y();\nx();\nx();\n")
            self.assertEqual(list(mutate.wrong_entries(known, pathlib.Path(directory))), [])

    def test_a_change_is_undone_after_it_was_tried(self):
        with tempfile.TemporaryDirectory() as directory:
            tree = mutate.Tree(pathlib.Path(directory), 1)
            file = pathlib.Path(directory, "a.cpp")
            file.write_text("one();\n  f2();\n")
            seen = []
            tree.notices = lambda _: seen.append(file.read_text()) or "nobody"
            self.assertEqual(tree.attempt(change(2)), "nobody")
            self.assertEqual(seen, [mutate.PRAGMAS + "\none();\n  ;\n"])
            self.assertEqual(file.read_text(), "one();\n  f2();\n")


class Programs(unittest.TestCase):
    def test_what_a_file_concerns_are_whole_programs(self):
        self.assertEqual(mutate.concerned("restore/dock/hot_corner_control.cpp")[0], "dock_tests")
        self.assertRegex("dock_tests.0", mutate.shards(["a_tests", "dock_tests"]))
        self.assertNotRegex("more_dock_tests.0", mutate.shards(["dock_tests"]))

    def test_a_tree_of_some_programs_asks_no_others(self):
        asked = []
        for only, passes, expected in ((["a_tests"], True, "nobody"), (None, True, "nobody"),
                                       (["a_tests"], False, "concerned")):
            with self.subTest(only=only, passes=passes):
                tree = mutate.Tree(pathlib.Path("tree"), 1, only)
                tree.build_targets = lambda *targets: asked.append(targets) or True
                tree.test = lambda *_, passes=passes: passes
                self.assertEqual(tree.notices(mutate.Change("restore/dock/hot_corner_control.cpp",
                                                            1, "call", "", "")), expected)
        self.assertEqual(asked, [("dock_tests",), ("dock_tests",), (), ("dock_tests",)])


if __name__ == "__main__":
    unittest.main()
