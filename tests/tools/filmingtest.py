"""How a film is made of what was recorded, with recordings that are none of the show."""

import os
import random
import subprocess
import tempfile
import unittest
from unittest import mock

from filming import development, frames
from filming.loudness import loudness
from filming.presentation import present
from surroundings.show import ROOT, TICK_S
from surroundings.surrounding import CannotStart
from surroundings.waiting import wait_until


def seen_times(count, spread_s, seed=1):
    """Of frames that are painted one a tick, and seen later by up to `spread_s`."""
    chance = random.Random(seed)
    return [1e9 + TICK_S * number + chance.uniform(0, spread_s) for number in range(count)]


class PresentationTest(unittest.TestCase):
    def test_each_frame_once_however_late_it_is_seen(self):
        for spread_s in (0.0, 0.02, 0.04, 0.049, 0.06):
            with self.subTest(spread_s):
                shown = present(sorted(seen_times(400, spread_s)), TICK_S)
                self.assertEqual(shown.places, list(range(400)))
                self.assertEqual((shown.left_out, shown.doubled), (0, 0))
                self.assertAlmostEqual(shown.origin, 1e9 + spread_s / 2, delta=0.012)

    def test_a_tick_without_a_frame_shows_the_last_one_again(self):
        times = seen_times(400, 0.03)
        del times[200:203]
        shown = present(times, TICK_S)
        self.assertEqual(shown.places, [*range(200), *range(203, 400)])
        self.assertEqual((shown.length, shown.doubled, shown.left_out), (400, 3, 0))

    def test_a_frame_too_many_is_left_out(self):
        times = seen_times(400, 0.03)
        times.insert(200, times[200] - 0.001)
        shown = present(times, TICK_S)
        self.assertEqual((shown.length, shown.doubled, shown.left_out), (400, 0, 1))
        self.assertEqual(shown.places[:195] + shown.places[206:], [*range(195), *range(205, 400)])

    def test_one_very_late_frame_does_not_move_the_others(self):
        times = seen_times(400, 0.02)
        times[100] += 0.075
        times[101] = times[100] + 0.001
        shown = present(times, TICK_S)
        self.assertEqual(shown.places, list(range(400)))

    def test_a_screen_that_stands_still_doubles_nothing(self):
        times = seen_times(100, 0.01)
        shown = present([times[0] - 2.0, *times], TICK_S)
        self.assertEqual((shown.length, shown.doubled), (140, 0))

    def test_nothing(self):
        self.assertEqual(present([], TICK_S).length, 0)

    def test_begins_a_little_before_the_show(self):
        waited = present([1e9 - 2.0, *seen_times(100, 0.01)], TICK_S)
        self.assertEqual(development.beginning(waited), 40 - development.LEAD)
        at_once = present(seen_times(100, 0.01), TICK_S)
        self.assertEqual(development.beginning(at_once), 0)


class DevelopmentTest(unittest.TestCase):
    """A screen of one grey, another in each frame, and a sound after two seconds of silence."""

    COUNT = 80
    WIDTH, HEIGHT = 64, 32

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.film = os.path.join(self.folder, "film.mp4")
        for module in (development, frames):
            for name, value in (("WIDTH", self.WIDTH), ("HEIGHT", self.HEIGHT),
                                ("FRAME_BYTES", 4 * self.WIDTH * self.HEIGHT)):
                if hasattr(module, name):
                    patch = mock.patch.object(module, name, value)
                    patch.start()
                    self.addCleanup(patch.stop)

    def record(self, lost=(), sound_begins_s=1.0):
        """`sound_begins_s`: after the first picture."""
        kept = [number for number in range(self.COUNT) if number not in lost]
        pictures = b"".join(bytes([self.grey(number)] * 3 + [0]) * (self.WIDTH * self.HEIGHT)
                            for number in kept)
        size = f"{self.WIDTH}x{self.HEIGHT}"
        subprocess.run(["ffmpeg", "-loglevel", "error", "-f", "rawvideo", "-pix_fmt", "bgr0", "-s",
                        size, "-r", "20", "-i", "-", "-c:v", "libx264rgb", "-qp", "0",
                        os.path.join(self.folder, "pictures.mkv")], input=pictures, check=True)
        with open(os.path.join(self.folder, "times"), "w", encoding="ascii") as times:
            times.writelines(f"{1e9 + TICK_S * number:.6f}\n" for number in kept)
        subprocess.run(["ffmpeg", "-loglevel", "error", "-f", "lavfi", "-i",
                        "aevalsrc=0.1*gt(t\\,2)*sin(2*PI*440*t):s=44100:d=4",
                        "-output_ts_offset", str(1e9 + sound_begins_s), "-c:a", "pcm_s16le",
                        os.path.join(self.folder, "sound.mkv")], check=True)

    @staticmethod
    def grey(number):
        return 20 + number * 2

    def greys(self):
        """Of each picture of the film."""
        raw = subprocess.run(["ffmpeg", "-loglevel", "error", "-i", self.film, "-f", "rawvideo",
                              "-pix_fmt", "rgb24", "-"], capture_output=True, check=True).stdout
        size = 3 * self.WIDTH * self.HEIGHT
        return [raw[start] for start in range(0, len(raw), size)]

    def streams(self, entries):
        return subprocess.run(["ffprobe", "-v", "error", "-show_entries", "stream=" + entries, "-of",
                               "csv=p=0", self.film], capture_output=True, text=True,
                              check=True).stdout.split()

    def sound_begins(self):
        said = subprocess.run(["ffmpeg", "-hide_banner", "-i", self.film, "-af",
                               "silencedetect=noise=-40dB:duration=0.2", "-f", "null", "-"],
                              capture_output=True, text=True, check=True).stderr
        return float(said.partition("silence_end: ")[2].split()[0])

    def test_each_frame_once_at_a_constant_rate(self):
        self.record()
        told = development.develop(self.folder, self.film)
        self.assertIn("80 pictures of the show, 0 shown twice", told)
        for number, grey in enumerate(self.greys()):
            self.assertAlmostEqual(grey, self.grey(number), delta=1)
        self.assertEqual(self.streams("codec_name,pix_fmt,r_frame_rate"),
                         ["h264,yuv420p,20/1", "aac,0/0"])
        self.assertEqual(len(self.greys()), self.COUNT)

    def test_a_lost_frame_is_the_one_before(self):
        self.record(lost=(30,))
        told = development.develop(self.folder, self.film)
        self.assertIn("79 pictures of the show, 1 shown twice", told)
        greys = self.greys()
        self.assertEqual(len(greys), self.COUNT)
        self.assertAlmostEqual(greys[30], self.grey(29), delta=1)
        self.assertAlmostEqual(greys[31], self.grey(31), delta=1)

    def test_the_sound_is_in_step_whenever_it_was_begun(self):
        for begins_s in (-1.0, 0.0, 1.0):
            with self.subTest(begins_s):
                for name in ("pictures.mkv", "sound.mkv"):
                    if os.path.exists(os.path.join(self.folder, name)):
                        os.remove(os.path.join(self.folder, name))
                self.record(sound_begins_s=begins_s)
                development.develop(self.folder, self.film)
                self.assertAlmostEqual(self.sound_begins(), begins_s + 2, delta=0.03)
                self.assertEqual({float(length) for length in self.streams("duration")}, {4.0})

    def test_can_be_played_while_it_comes(self):
        self.record()
        development.develop(self.folder, self.film)
        with open(self.film, "rb") as file:
            film = file.read()
        self.assertLess(film.index(b"moov"), film.index(b"mdat"))

    def test_a_film_that_is_too_large_is_made_coarser(self):
        self.record()
        printed = []
        with mock.patch.object(development, "print_film",
                               lambda *arguments: printed.append(arguments[-1]) or
                               self.write(100 if len(printed) == 3 else 101)), \
                mock.patch.object(development, "LARGEST", 100):
            development.develop(self.folder, self.film)
        self.assertEqual(printed, [20, 22, 24])

    def write(self, size):
        with open(self.film, "wb") as file:
            file.write(bytes(size))

    def test_as_loud_as_the_music_but_silence_stays(self):
        for heard, wanted in ((-18.0, -14.0), (-12.0, -12.0), (-70.0, -62.0)):
            with self.subTest(heard), \
                    mock.patch.object(development, "loudness",
                                      lambda path: -14.0 if "beat" in path else heard):
                self.assertAlmostEqual(heard + development.gain_for("sound"), wanted)

    def test_it_is_louder_by_the_gain(self):
        self.record()
        sound = os.path.join(self.folder, "sound.mkv")
        gain = 5.0
        with mock.patch.object(development, "gain_for", lambda _: gain):
            development.develop(self.folder, self.film)
        self.assertAlmostEqual(loudness(self.film), loudness(sound) + gain, delta=0.5)

    def test_no_pictures_are_told(self):
        self.record()
        with open(os.path.join(self.folder, "times"), "w", encoding="ascii"):
            pass
        with self.assertRaises(CannotStart):
            development.develop(self.folder, self.film)


class RecordShowTest(unittest.TestCase):
    def test_an_interrupted_film_leaves_nothing(self):
        """It is ended while the show plays."""
        with tempfile.TemporaryDirectory() as folder:
            show = os.path.join(folder, "show")
            with open(show, "w", encoding="utf-8") as file:
                file.write('#!/bin/sh\ntouch "$(dirname "$0")/plays"\nexec sleep 600\n')
            os.chmod(show, 0o755)
            with subprocess.Popen(
                    [os.path.join(ROOT, "tools/record-show"), show, os.path.join(folder, "film.mp4")],
                    stdout=subprocess.DEVNULL) as recording:
                self.assertTrue(wait_until(
                    lambda: os.path.exists(os.path.join(folder, "plays")), 120))
                self.assertTrue(any(name.startswith("film.mp4.") for name in os.listdir(folder)))
                recording.terminate()
            self.assertEqual(sorted(os.listdir(folder)), ["plays", "show"])


if __name__ == "__main__":
    unittest.main()
