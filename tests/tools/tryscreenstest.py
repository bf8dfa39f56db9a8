"""What tools/try-screens decides: which cases, what is on a picture, what is wrong with a film."""

import contextlib
import fcntl
import io
import os
import socket
import struct
import subprocess
import tempfile
import termios
import threading
import unittest

from surroundings.waiting import wait_until
from tryscreens import commandline, wire
from tryscreens.cases import CASES, Case
from tryscreens.desks import DESKS, is_listening
from tryscreens.film import Film, Scene, beginning, ending
from tryscreens.picture import BACKDROP, Picture, kind, shows_pointer
from tryscreens.trial import Trial, drawn_size

BLACK, WHITE, RED = (0, 0, 0), (255, 255, 255), (200, 30, 10)
WIDTH, HEIGHT = 480, 300


def a_picture(colour, *areas, stride=4 * WIDTH):
    """One of one colour, with areas (x, y, width, height, colour) on it."""
    pixels = bytearray(stride * HEIGHT)
    for x, y, width, height, painted in ((0, 0, WIDTH, HEIGHT, colour), *areas):
        red, green, blue = painted
        for row in range(y, y + height):
            start = row * stride + 4 * x
            pixels[start:start + 4 * width] = bytes((blue, green, red, 0)) * width
    return Picture(WIDTH, HEIGHT, stride, bytes(pixels))


class KindTest(unittest.TestCase):
    def test_whole_screen(self):
        self.assertEqual(kind(a_picture(BACKDROP)), "backdrop")
        self.assertEqual(kind(a_picture(BLACK)), "black")
        self.assertEqual(kind(a_picture(WHITE)), "white")

    def test_something_is_painted(self):
        self.assertEqual(kind(a_picture(BLACK, (200, 100, 40, 40, RED))), "painted")

    def test_a_quarter_is_left_out(self):
        quarter = (WIDTH // 2, HEIGHT // 2, WIDTH // 2, HEIGHT // 2, BACKDROP)
        self.assertEqual(kind(a_picture(BLACK, quarter)), "part")

    def test_a_line_is_left_out(self):
        for line in ((0, 0, WIDTH, 1, BACKDROP), (0, HEIGHT - 1, WIDTH, 1, BACKDROP),
                     (0, 0, 1, HEIGHT, BACKDROP), (WIDTH - 1, 0, 1, HEIGHT, BACKDROP)):
            with self.subTest(line):
                self.assertEqual(kind(a_picture(BLACK, line)), "part")

    def test_rows_may_be_longer_than_the_picture(self):
        self.assertEqual(kind(a_picture(BACKDROP, stride=4 * WIDTH + 64)), "backdrop")

    def test_a_pointer_changes_nothing_else(self):
        for x, y in ((60, 38), (420, 38), (60, 262), (420, 262)):
            with self.subTest((x, y)):
                with_pointer = a_picture(BLACK, (x, y, 10, 16, WHITE))
                self.assertEqual(kind(with_pointer), "black")
                self.assertTrue(shows_pointer(with_pointer))
        self.assertFalse(shows_pointer(a_picture(BLACK)))


class PngTest(unittest.TestCase):
    def test_others_can_read_it(self):
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "picture.png")
            corners = [(x, y, 1, 1, BACKDROP) for x, y in ((0, 0), (WIDTH - 1, HEIGHT - 1))]
            a_picture(RED, *corners, stride=4 * WIDTH + 8).write(path)
            told = subprocess.run(
                ["ffmpeg", "-loglevel", "quiet", "-i", path, "-f", "rawvideo", "-pix_fmt", "rgb24",
                 "-"], capture_output=True, check=True).stdout
        self.assertEqual(len(told), 3 * WIDTH * HEIGHT)
        for place, colour in ((0, BACKDROP), (3, RED), (-6, RED), (-3, BACKDROP)):
            self.assertEqual(tuple(told[place:][:3]), colour)


def scenes(*kinds, lasts_s=1):
    return [Scene(each, lasts_s * i, lasts_s * (i + 1)) for i, each in enumerate(kinds)]


class FilmTest(unittest.TestCase):
    def test_a_good_beginning(self):
        self.assertEqual(beginning(scenes("backdrop", "black", "painted", "black"), 0), "")

    def test_a_bad_beginning(self):
        for kinds in (("backdrop",), (), ("backdrop", "painted"), ("backdrop", "white", "black"),
                      ("backdrop", "part", "black"), ("backdrop", "black", "backdrop", "black"),
                      ("backdrop", "black", "painted", "white", "painted"),
                      ("backdrop", "black", "part", "painted")):
            with self.subTest(kinds):
                self.assertNotEqual(beginning(scenes(*kinds), 0), "")

    def test_a_window_may_take_a_moment_to_come(self):
        kinds = "backdrop", "part", "black", "painted"
        self.assertEqual(beginning(scenes(*kinds, lasts_s=0.1), 0.25), "")
        self.assertNotEqual(beginning(scenes(*kinds, lasts_s=0.3), 0.25), "")

    def test_ending(self):
        self.assertEqual(ending(scenes("painted", "backdrop")), "")
        self.assertEqual(ending(scenes("backdrop")), "")
        for kinds in ((), ("painted",), ("painted", "white", "backdrop"),
                      ("painted", "part", "backdrop")):
            with self.subTest(kinds):
                self.assertNotEqual(ending(scenes(*kinds)), "")

    def test_pictures_become_scenes(self):
        pictures = [a_picture(BACKDROP), None, a_picture(BLACK), a_picture(BLACK),
                    a_picture(BLACK, (200, 100, 40, 40, RED)),
                    a_picture(BLACK, (220, 100, 40, 40, RED))]

        class Camera:
            def picture(self):
                if not pictures:
                    raise OSError("no more")
                return pictures.pop(0)

            def end(self):
                pass

        kept = []
        with Film(Camera(), lambda one, number, its_kind: kept.append((number, its_kind))) as made:
            made.thread.join(20)
        self.assertEqual([(scene.kind, scene.pictures) for scene in made.scenes],
                         [("backdrop", 1), ("black", 2), ("painted", 2)])
        self.assertEqual(kept, [(1, "backdrop"), (2, "black"), (3, "painted")])
        self.assertEqual(made.moves, 3)
        self.assertEqual(str(made.failure), "no more")
        self.assertFalse(made.await_kind(0.1, "white"))


class DrawnSizeTest(unittest.TestCase):
    LOG = """
[1.0]  -> wl_shm_pool@9.create_buffer(new id wl_buffer@4, 0, 32, 32, 128, 0)
[1.1]  -> wl_surface@5.attach(wl_buffer@4, 0, 0)
[1.2]  -> wl_shm_pool@9.create_buffer(new id wl_buffer@6, 0, 720, 1440, 2880, 0)
[1.3]  -> wl_surface@7.attach(wl_buffer@6, 0, 0)
[1.4]  -> wl_surface@7.attach(wl_buffer@6, 0, 0)
[1.5]  -> wl_shm_pool@9.create_buffer(new id wl_buffer@6, 0, 1440, 720, 5760, 0)
[1.6]  -> wl_surface@7.attach(wl_buffer@6, 0, 0)
[1.7]  -> wl_surface@5.attach(wl_buffer@4, 0, 0)
"""

    def test_last_of_the_surface_that_is_drawn_on_most(self):
        self.assertEqual(drawn_size(self.LOG), (1440, 720))

    def test_newer_libraries_write_it_otherwise(self):
        self.assertEqual(drawn_size(self.LOG.replace("@", "#")), (1440, 720))

    def test_nothing_was_drawn(self):
        self.assertIsNone(drawn_size("[1.0] nothing"))


class CasesTest(unittest.TestCase):
    def test_every_case_has_a_name_and_a_desk(self):
        self.assertEqual(len({case.name for case in CASES}), len(CASES))
        for case in CASES:
            self.assertIn(case.desk, DESKS)

    def test_size_that_is_drawn(self):
        for case, changed, size in (
                (Case("sway", 800, 480), False, (800, 480)),
                (Case("sway", 720, 1440, 2), False, (720, 1440)),
                (Case("sway", 1080, 1920, 1.5), False, (1440, 2560)),
                (Case("sway", 1366, 768, 1.5), False, (1820, 1024)),
                (Case("sway", 720, 1440, 2, "90"), False, (1440, 720)),
                (Case("sway", 720, 1440, 2, change="turned"), False, (720, 1440)),
                (Case("sway", 720, 1440, 2, change="turned"), True, (1440, 720)),
                (Case("sway", 800, 480, change="resized"), True, (1024, 600)),
                (Case("sway", 720, 1440, 2, change="rescaled"), True, (1440, 2880))):
            with self.subTest(case.name):
                self.assertEqual(case.buffer(changed), size)


class CommandLineTest(unittest.TestCase):
    @staticmethod
    def names(*words):
        return [case.name for case in commandline.parse(words).cases]

    def test_all_when_none_is_named(self):
        self.assertEqual(len(self.names()), len(CASES))

    def test_patterns(self):
        self.assertEqual(self.names("x-800x480-key"), ["x-800x480-key"])
        self.assertEqual({name.split("-")[0] for name in self.names("sway-*", "phoc-*")},
                         {"sway", "phoc"})

    def test_what_is_no_case_is_refused(self):
        with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
            self.names("sway-*", "toys")

    def test_table_has_what_was_found(self):
        trial = Trial(Case("sway", 800, 480))
        trial.note("size", "800x480")
        trial.note("end", "key, 0.1 s", "code 1")
        head, row = commandline.table([trial]).split("\n")
        self.assertEqual(head.split(), ["case", *Trial.COLUMNS])
        self.assertEqual(row.split(),
                         ["sway-800x480-key", "800x480", "–", "–", "–", "–", "code", "1"])
        self.assertEqual(trial.wrong, ["end: code 1"])


def unread(sender):
    """How much of what was sent has not been taken yet."""
    count, = struct.unpack("=i", fcntl.ioctl(sender, termios.TIOCOUTQ, bytes(4)))
    return count


class DesksTest(unittest.TestCase):
    def test_socket_that_takes_no_guests_yet(self):
        with tempfile.TemporaryDirectory() as folder, socket.socket(socket.AF_UNIX) as compositor:
            path = os.path.join(folder, "wayland-1")
            self.assertFalse(is_listening(path))
            compositor.bind(path)
            self.assertFalse(is_listening(path))
            compositor.listen()
            self.assertTrue(is_listening(path))


class WireTest(unittest.TestCase):
    """With a thread that stands for the compositor."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.path = os.path.join(self.folder.name, "socket")
        self.listener = socket.socket(socket.AF_UNIX)
        self.addCleanup(self.listener.close)
        self.listener.bind(self.path)
        self.listener.listen()

    def serve(self, *answers):
        """Sends them, all that a client's beginning is answered with, in odd pieces."""
        def run():
            caller, _ = self.listener.accept()
            with caller:
                everything = b"".join(answers)
                for start in range(0, len(everything), 7):
                    caller.sendall(everything[start:start + 7])
                    # Else the kernel would put the pieces together.
                    wait_until(lambda: unread(caller) == 0, 10, 0.001)
                caller.recv(65536)
                caller.recv(65536)

        thread = threading.Thread(target=run, daemon=True)
        thread.start()

    @staticmethod
    def message(sender, opcode, *arguments):
        body = b"".join(map(wire.encoded, arguments))
        return struct.pack("=IHH", sender, opcode, 8 + len(body)) + body

    def test_texts_are_padded(self):
        self.assertEqual(wire.encoded("abc"), struct.pack("=I", 4) + b"abc\0")
        self.assertEqual(wire.encoded("abcd"), struct.pack("=I", 5) + b"abcd\0\0\0\0")
        self.assertEqual(wire.text_at(wire.encoded("abcd") + b"x", 0), ("abcd", 12))

    def test_globals_are_known(self):
        registry, sync = 2, 3
        self.serve(self.message(registry, 0, 5, "wl_shm", 1),
                   self.message(registry, 0, 6, "wl_seat", 7), self.message(registry, 1, 5),
                   self.message(sync, 0, 0))
        with wire.Client(self.path) as client:
            self.assertTrue(client.offers("wl_seat"))
            self.assertFalse(client.offers("wl_shm"))
            with self.assertRaises(wire.CannotStart):
                client.bind("wl_shm", 1)

    def test_a_refusal_is_told(self):
        self.serve(self.message(1, 0, 1, 2, "not like this"))
        with self.assertRaisesRegex(wire.CannotStart, "not like this"):
            wire.Client(self.path)

    def test_nobody_listens(self):
        with self.assertRaises(wire.CannotStart):
            wire.Client(self.path + "-else")


if __name__ == "__main__":
    unittest.main()
