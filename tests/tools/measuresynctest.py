"""What tools/measure-sync hears, in sounds that stand for a film's and for the music."""

import importlib.machinery
import importlib.util
import os
import random
import unittest

from surroundings.show import FIRST_PART_S, PART_S, ROOT


def the_tool():
    """It has no name that could be imported."""
    loader = importlib.machinery.SourceFileLoader("measuresync",
                                                  os.path.join(ROOT, "tools/measure-sync"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    loader.exec_module(module)
    return module


sync = the_tool()


def noise(seed, seconds):
    chance = random.Random(seed)
    return [chance.randint(-9000, 9000) for _ in range(seconds * sync.RATE)]


class LatenessTest(unittest.TestCase):
    """The film is 2 s old when the music begins."""

    BEFORE_S = 2
    LINE_S = 3.5

    def heard(self, music, late_ms):
        sound = [0] * (self.BEFORE_S * sync.RATE + late_ms * sync.RATE // 1000) + music
        return sync.lateness(sound, music, self.BEFORE_S + self.LINE_S, self.LINE_S)

    def test_early_late_and_in_time(self):
        for late_ms in (-400, -57, 0, 1, 130, 400):
            with self.subTest(late_ms):
                late_s, alike = self.heard(noise(1, 10), late_ms)
                self.assertAlmostEqual(late_s, late_ms / 1000)
                self.assertAlmostEqual(alike, 1)

    def test_loudness_means_nothing(self):
        music = noise(1, 10)
        sound = [0] * (self.BEFORE_S * sync.RATE + 40) + [value // 9 for value in music]
        late_s, alike = sync.lateness(sound, music, self.BEFORE_S + self.LINE_S, self.LINE_S)
        self.assertAlmostEqual(late_s, 0.04)
        self.assertGreater(alike, 0.99)

    def test_another_sound_and_silence(self):
        for sound in (noise(2, 10), [0] * 10 * sync.RATE, []):
            _, alike = sync.lateness(sound, noise(1, 10), self.BEFORE_S, self.LINE_S)
            self.assertLess(alike, sync.LIKENESS)


class CutsTest(unittest.TestCase):
    def test_every_part_but_the_last_ends_in_one(self):
        three_parts_s = FIRST_PART_S + 2 * PART_S
        cuts = sync.cuts_until(three_parts_s)
        self.assertEqual(len(cuts), 2)
        self.assertAlmostEqual(cuts[0], FIRST_PART_S)
        self.assertAlmostEqual(cuts[1], FIRST_PART_S + PART_S)
        # A film may lack a little of the end.
        self.assertEqual(sync.cuts_until(three_parts_s - sync.LACKING / 2), cuts)
        self.assertEqual(sync.cuts_until(three_parts_s + PART_S / 2), cuts)


if __name__ == "__main__":
    unittest.main()
