"""tools/check-declarations finds every kind of difference between two sets of headers.

declarations_test.py CLANG [ARGUMENT...]
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
COMPILER = sys.argv[1:]

# (one side, the other side, the message about the difference)
ROWS = [
    (
        "int returned(void);",
        "long returned(void);",
        "returned is long (), but the simulator says int ()",
    ),
    (
        "int taken(int);",
        "int taken(short);",
        "taken is int (short), but the simulator says int (int)",
    ),
    ("extern const int kept;", "extern int kept;", "kept is int, but the simulator says const int"),
    (
        "typedef int Alias;",
        "typedef unsigned Alias;",
        "Alias is unsigned int, but the simulator says int",
    ),
    (
        "enum Named : int { one = 1 };",
        "enum Named : int { one = 2 };",
        "the value of one is 2, but the simulator says 1",
    ),
    (
        "enum Wide : int { w };",
        "enum Wide : long { w };",
        "Wide is long, but the simulator says int",
    ),
    (
        "enum { loose = 3 };",
        "enum { loose = -3 };",
        "the value of loose is -3, but the simulator says 3",
    ),
    (
        "typedef struct { int a; int b; } Pair;",
        "typedef struct { int b; int a; } Pair;",
        "the offset of Pair::a is 4, but the simulator says 0",
    ),
    (
        "struct Grown { int a; };",
        "struct Grown { int a; int b; };",
        "the size of Grown is 8, but the simulator says 4",
    ),
    (
        "struct Typed { float a; };",
        "struct Typed { int a; };",
        "Typed::a is int, but the simulator says float",
    ),
    ("#define NUMBER 4", "#define NUMBER 5", "the value of NUMBER is 5, but the simulator says 4"),
    ('#define TEXT "a"', '#define TEXT "b"', "the value of TEXT is b, but the simulator says a"),
    ("#define LONGER 4", "#define LONGER 4L", "LONGER is long, but the simulator says int"),
    (
        "static inline int inlined(int) { return 0; }",
        "int inlined(void);",
        "inlined is int (), but the simulator says int (int)",
    ),
]
UNKNOWN = [
    ("namespace hidden { int f(void); }", "cannot compare hidden, a NamespaceDecl"),
    ("template <typename T> T any(T);", "cannot compare any, a FunctionTemplateDecl"),
    ("struct Outer { enum { inner = 1 }; };", "cannot compare Outer's EnumDecl"),
]


def header(declarations):
    lines = ["#pragma once"]
    for declaration in declarations:
        is_c = not declaration.startswith(("#", "template", "namespace"))
        lines.append(f'extern "C" {{ {declaration} }}' if is_c else declaration)
    return "\n".join(lines) + "\n"


class Declarations(unittest.TestCase):
    def check(self, ours, theirs):
        return self.check_headers(header(ours), header(theirs))

    def check_headers(self, ours, theirs):
        with tempfile.TemporaryDirectory() as directory:
            root = pathlib.Path(directory).resolve()
            for name, text in (("ours", ours), ("theirs", theirs)):
                (root / name / "Kit").mkdir(parents=True)
                (root / name / "Kit/Kit.h").write_text(text)
            return subprocess.run(
                [sys.executable, ROOT / "tools/check-declarations", "--headers", root / "ours"]
                + ["--work", root / "work", "--", *COMPILER, "-isystem", root / "theirs"],
                capture_output=True,
                text=True,
            )

    def test_equal_headers_are_equal(self):
        ours = [ours for ours, _, _ in ROWS]
        result = self.check(ours, ours + ["int more(void);"])
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertRegex(result.stdout, r"^\d\d facts about 1 headers are as in the SDK$")

    def test_every_kind_of_difference_is_found(self):
        result = self.check([ours for ours, _, _ in ROWS], [theirs for _, theirs, _ in ROWS])
        self.assertEqual(result.returncode, 1)
        lines = result.stderr.splitlines()
        for _, _, message in ROWS:
            self.assertIn(message, lines)

    def test_what_the_other_side_lacks_is_found(self):
        result = self.check(["int ours_alone(void);"], ["int other(void);"])
        self.assertEqual(result.returncode, 1)
        self.assertIn("ours_alone", result.stderr)

    def test_a_field_under_the_name_of_the_other_side_is_looked_for_there(self):
        ours = "#include_next <Kit/Kit.h>\n#define st_mtimespec st_mtim\n"
        result = self.check_headers(ours, "struct stat { int st_mtimespec; };\n")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        result = self.check_headers(ours, "struct stat { int st_mtime; };\n")
        self.assertEqual(result.returncode, 1)
        self.assertIn("st_mtimespec", result.stderr)

    def test_what_cannot_be_compared_is_reported(self):
        for declaration, message in UNKNOWN:
            with self.subTest(declaration):
                result = self.check([declaration], [declaration])
                self.assertEqual(result.returncode, 1)
                self.assertIn(message, result.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
