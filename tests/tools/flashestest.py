"""How the flashes of whole shows are summed up."""

import unittest

from filming import flashes, frames
from filming.flashes import Reading


class FlashesTest(unittest.TestCase):
    def test_parts_of_a_whole_show(self):
        parts = frames.parts_of(1831)
        self.assertEqual((len(parts), parts[0], parts[1], parts[-1]),
                         (19, slice(0, 85), slice(85, 182), slice(1734, 1831)))

    def test_reading(self):
        self.assertEqual(flashes.reading([0, 3, 4, 5, 3], 20), Reading(5, 0.1))
        self.assertEqual(flashes.reading([], 20), Reading(0, 0.0))

    def test_table_has_the_worst_show(self):
        calm, wild = [(1, 0, 0, 0)] * 182, [(2, 0, 1, 0)] * 181 + [(4, 5, 0, 0)]
        rows = [line.split() for line in flashes.table([calm, wild]).splitlines()]
        self.assertEqual(rows[1:], [["1", "2", "0", "1", "0"],
                                    ["2", "4", "(0.05", "s)", "5", "(0.05", "s)", "1", "0"],
                                    ["all", "4", "(0.05", "s)", "5", "(0.05", "s)", "1", "0"]])
        self.assertEqual([flashes.is_above(show) for show in (calm, wild)], [False, True])


if __name__ == "__main__":
    unittest.main()
