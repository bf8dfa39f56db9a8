"""The loop of a few seconds, and whose names a release's film has."""

import os
import subprocess
import tempfile
import unittest
from unittest import mock

from filming import loop, release
from surroundings.show import TICK_S
from surroundings.surrounding import CannotStart


class LoopTest(unittest.TestCase):
    def test_moments_are_found_in_the_show(self):
        self.assertEqual(loop.Moment(1, 1, 2).times(), (1, 2))
        start, end = loop.Moment(3, 1, 2).times()
        self.assertAlmostEqual(start, 4.25 + 4.85 + 1)
        self.assertAlmostEqual(end - start, 1)

    def test_ends_where_it_begins(self):
        """With a show each of whose frames has a grey of its own."""
        moments = (loop.Moment(1, 1.0, 2.0), loop.Moment(2, 1.0, 2.0))
        with tempfile.TemporaryDirectory() as folder, \
                mock.patch.multiple(loop, WIDTH=16, HEIGHT=8, SMALL_WIDTH=8, SMALL_HEIGHT=4,
                                    MOMENTS=moments):
            show, raw = os.path.join(folder, "show"), os.path.join(folder, "raw")
            with open(show, "wb") as file:
                for number in range(160):
                    file.write(bytes([number + 40] * 4) * (16 * 8))
            with open(show, "rb") as file:
                loop.pick(file, raw)
            with open(raw, "rb") as file:
                pixels = file.read()
        greys = [pixels[start] for start in range(0, len(pixels), 4 * 8 * 4)]
        self.assertEqual(len(greys), 40 - round(loop.FADE_S / TICK_S))
        self.assertEqual(greys[0], 60)
        # One eighth is still what goes, 40 + 85 + 39, the rest what was before the first.
        self.assertAlmostEqual(greys[-1], (40 + 85 + 39 + 7 * 59) / 8, delta=2)
        self.assertGreater(greys[-1 - round(loop.FADE_S / TICK_S)], 140)

    def test_one_that_flashes_too_often_is_refused(self):
        with tempfile.TemporaryDirectory() as folder, \
                mock.patch.object(loop, "start_show", lambda *_: subprocess.Popen(
                    ["true"], stdout=subprocess.PIPE)), \
                mock.patch.object(loop, "pick"), \
                mock.patch.object(loop, "count_flashes", lambda _: [(3, 4, 0, 0)] * 40):
            path = os.path.join(folder, "loop.webp")
            with self.assertRaises(CannotStart):
                loop.make_loop(path)
            self.assertFalse(os.path.exists(path))


class ReleaseTest(unittest.TestCase):
    def test_film_that_is_out_of_step_is_refused(self):
        for recorded, measured, message in ((0, 1, "not in step"), (1, 0, "record-show")):
            with self.subTest(message), \
                    mock.patch.object(release.processes, "run", side_effect=(recorded, measured)), \
                    self.assertRaisesRegex(CannotStart, message):
                release.film_show("film", "program")
        with mock.patch.object(release.processes, "run", return_value=0) as run:
            release.film_show("film", "program")
        self.assertEqual([os.path.basename(call.args[0][0]) for call in run.call_args_list],
                         ["record-show", "measure-sync"])

    def test_address_book_has_made_up_names_only(self):
        with tempfile.TemporaryDirectory() as folder:
            release.write_address_book(folder)
            cards = os.listdir(os.path.join(folder, "contacts"))
        self.assertEqual(sorted(cards), sorted(name + ".vcf" for name in release.NAMES))


if __name__ == "__main__":
    unittest.main()
