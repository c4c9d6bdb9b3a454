"""Rules for whole folders of sources: nothing in the product asks which host it is built for, and
every contract test says whether what it relies on is documented."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CONTRACT_TEST = re.compile(r"((?:^//[^\n]*\n)*)^TEST_F\((\w+, \w+)\)", re.M)
CONDITION = re.compile(r"^\s*#\s*(if|ifdef|ifndef|elif|elifdef|elifndef)\b.*", re.M)


class Sources(unittest.TestCase):
    def test_nothing_is_compiled_under_a_condition(self):
        files = [
            path
            for folder in ("helper", "restore", "platform", "tools/describe")
            for path in (ROOT / folder).rglob("*")
            if path.suffix in (".cpp", ".hpp", ".mm")
        ]
        self.assertGreater(len(files), 50)
        for path in files:
            with self.subTest(path=str(path.relative_to(ROOT))):
                found = [match[0] for match in CONDITION.finditer(path.read_text())]
                self.assertEqual(found, [])

    def test_every_contract_says_whether_it_is_documented(self):
        found = 0
        for path in (ROOT / "tests/contract").glob("*_test.cpp"):
            text = path.read_text()
            if "None of them is documented" in text.split("#include")[0]:
                continue
            for comment, name in CONTRACT_TEST.findall(text):
                found += 1
                with self.subTest(name):
                    self.assertRegex(comment, "[Dd]ocumented|Left open")
        self.assertGreater(found, 40)


if __name__ == "__main__":
    unittest.main()
