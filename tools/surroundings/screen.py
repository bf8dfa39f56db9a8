"""A virtual screen."""

import os
import subprocess
import time

from surroundings.surrounding import CannotStart, Surrounding, end_process

# The title of the show's window.
WINDOW_TITLE = "MainWindow"


class Screen(Surrounding):
    """A virtual X screen of its own, without a window manager."""

    def __init__(self, size="800x480"):
        # The server chooses its number itself, and writes it down when it is ready.
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", size + "x24", "-nolisten", "tcp",
             "-noreset"],
            pass_fds=[write], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as answer:
            number = answer.readline().strip()
        if not number:
            end_process(self.server)
            raise CannotStart("no virtual screen could be started (is xvfb installed?)")
        self.display = ":" + number

    def ask(self, *words):
        """What xdotool answers; empty where it has failed."""
        return subprocess.run(["xdotool", *words], env=dict(os.environ, DISPLAY=self.display),
                              capture_output=True, text=True, check=False).stdout

    def press(self, key):
        self.ask("key", key)

    def window(self, limit_s):
        """The show's window; empty where none comes within so many seconds."""
        deadline = time.monotonic() + limit_s
        window = ""
        while not window and time.monotonic() < deadline:
            window = self.ask("search", "--name", WINDOW_TITLE).split("\n")[0]
        return window

    def geometry(self, window):
        """Where a window is: its X, Y, WIDTH and HEIGHT, as texts."""
        lines = self.ask("getwindowgeometry", "--shell", window).split("\n")
        return dict(line.split("=") for line in lines if "=" in line)

    def end(self):
        end_process(self.server)
