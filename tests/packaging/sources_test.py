"""The same sources make the product on every host: nothing in them asks which host it is."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CONDITION = re.compile(r"^\s*#\s*(if|ifdef|ifndef|elif|elifdef|elifndef)\b.*", re.M)


class Sources(unittest.TestCase):
    def test_nothing_is_compiled_under_a_condition(self):
        files = [
            path
            for folder in ("helper", "restore")
            for path in (ROOT / folder).rglob("*")
            if path.suffix in (".cpp", ".hpp", ".mm")
        ]
        self.assertGreater(len(files), 50)
        for path in files:
            with self.subTest(path=str(path.relative_to(ROOT))):
                found = [match[0] for match in CONDITION.finditer(path.read_text())]
                self.assertEqual(found, [])


if __name__ == "__main__":
    unittest.main()
