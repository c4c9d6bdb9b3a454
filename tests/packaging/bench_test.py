"""tools/bench: what its rows say, and when one exceeds its bound."""

import importlib.machinery
import importlib.util
import pathlib
import sys
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
loader = importlib.machinery.SourceFileLoader("bench", str(ROOT / "tools/bench"))
bench = importlib.util.module_from_spec(importlib.util.spec_from_loader("bench", loader))
sys.modules["bench"] = bench
loader.exec_module(bench)


class Bench(unittest.TestCase):
    def test_a_row_exceeds_its_bound_only_above_it(self):
        for figure, limit, bound, expected in (
                (1.25, 1, 1.25, False), (1.26, 1, 1.25, True), (0, 0, 1, False), (1, 0, 1, True),
                (9, 9, 1, False), (10, 9, 1, True), (1e9, None, 1, False)):
            with self.subTest(figure=figure, limit=limit):
                row = bench.Row("row", figure, limit, bound)
                self.assertEqual(row.exceeds(), expected)
                self.assertEqual("EXCEEDS" in row.text(), expected)

    def test_flushes_and_lookups_are_recognised_in_a_trace(self):
        for call in ("fsync(4) = 0", "fdatasync(4) = 0"):
            self.assertRegex(call, bench.FLUSH)
        self.assertNotRegex('write(4, "fsync(4)", 8) = 8', bench.FLUSH)
        for call in ('openat(AT_FDCWD, "/a/State/x.json", O_RDONLY) = -1 ENOENT',
                     'newfstatat(AT_FDCWD, "/a/State/x.json", 0x7ff, 0) = -1 ENOENT'):
            self.assertEqual(bench.LOOKUP.match(call)[1], "/a/State/x.json")
        self.assertIsNone(bench.LOOKUP.match('openat(AT_FDCWD, "/a/State", O_RDONLY) = 4'))

    def test_a_tick_is_the_difference_between_a_longer_and_a_shorter_run(self):
        self.assertEqual(bench.per_tick(lambda seconds: 1000 + 7 * (seconds // 60)), 7)


if __name__ == "__main__":
    unittest.main()
