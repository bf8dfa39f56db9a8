"""The owner of the phone, or of the desktop: a pointer, a key, and the wish to close a window."""

import os
import subprocess
import time

from surroundings.surrounding import Surrounding
from tryscreens.picture import POINTER_AT
from tryscreens.wire import NOBODY, Client, text_at

KEYMAP = """xkb_keymap {
    xkb_keycodes { minimum = 8; maximum = 255; <ESC> = 9; };
    xkb_types { include "complete" };
    xkb_compatibility { include "complete" };
    xkb_symbols { key <ESC> { [ Escape ] }; };
};
"""
ESCAPE = 1  # As the kernel counts keys.


class WaylandHands(Surrounding):
    """Devices of their own, of compositors that let clients make some."""

    CREATE_POINTER_ON, CREATE_KEYBOARD = 2, 0
    MOTION_ABSOLUTE, POINTER_FRAME = 1, 4
    KEYMAP, KEY = 0, 1
    KEYMAP_IS_TEXT = 1
    WINDOW_TITLE, WINDOW_CLOSED = 0, 6
    CLOSE = 5

    def __init__(self, path):
        self.client = Client(path)
        self.windows = {}  # The titles.
        self.client.bind("zwlr_foreign_toplevel_manager_v1", 1, self.on_window)
        pointers = self.client.bind("zwlr_virtual_pointer_manager_v1", 2)
        screen = self.client.bind("wl_output", 1)
        self.pointer = self.client.new()
        # Without a seat: where there is none yet, the device makes the first.
        self.client.request(pointers, self.CREATE_POINTER_ON, NOBODY, screen, self.pointer)
        self.client.round_trip()
        # The seat may have come only with it.
        seat = self.client.bind("wl_seat", 1)
        keyboards = self.client.bind("zwp_virtual_keyboard_manager_v1", 1)
        self.keyboard = self.client.new()
        self.client.request(keyboards, self.CREATE_KEYBOARD, seat, self.keyboard)
        keymap = os.memfd_create("keymap")
        size = os.write(keymap, KEYMAP.encode() + b"\0")
        self.client.request(self.keyboard, self.KEYMAP, self.KEYMAP_IS_TEXT, size, file=keymap)
        os.close(keymap)
        self.client.round_trip()

    def on_window(self, event, payload):
        if event == 0:
            window = int.from_bytes(payload[:4], "little")
            self.windows[window] = ""
            self.client.handlers[window] = lambda *told: self.on_change(window, *told)

    def on_change(self, window, event, payload):
        if event == self.WINDOW_TITLE:
            self.windows[window] = text_at(payload, 0)[0]
        elif event == self.WINDOW_CLOSED:
            self.windows.pop(window, None)

    def now_ms(self):
        return int(time.monotonic() * 1000)

    def point(self):
        whole = 1000
        at = round(POINTER_AT * whole)
        self.client.request(self.pointer, self.MOTION_ABSOLUTE, self.now_ms(), at, at, whole, whole)
        self.client.request(self.pointer, self.POINTER_FRAME)
        self.client.round_trip()

    def press(self):
        for is_down in (1, 0):
            self.client.request(self.keyboard, self.KEY, self.now_ms(), ESCAPE, is_down)
        self.client.round_trip()

    def close(self, title):
        """As the shell asks a window to close."""
        self.client.round_trip()
        for window, its_title in self.windows.items():
            if its_title == title:
                self.client.request(window, self.CLOSE)
        self.client.round_trip()

    def end(self):
        self.client.end()


class XHands(Surrounding):
    """Of a virtual X screen."""

    def __init__(self, screen, size):
        self.screen = screen
        self.size = size

    def point(self):
        self.screen.ask("mousemove", *(str(round(POINTER_AT * length)) for length in self.size))

    def press(self):
        self.screen.press("Escape")

    def close(self, title):
        """As a window manager asks; without one nobody does."""
        subprocess.run(["wmctrl", "-F", "-c", title], check=False,
                       env=dict(os.environ, DISPLAY=self.screen.display))

    def end(self):
        pass
