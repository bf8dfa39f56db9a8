"""Plays the archive in systems that have nothing of the show's: an OpenGL driver, and what every X
server brings, and no more. They are lent a screen and a sound server from outside."""

import os
import re
import shutil
import socket
import threading
import time
from dataclasses import dataclass, field

from bundling.building import RESULTS, archive_name
from surroundings import soundserver
from surroundings.screen import Screen
from surroundings.show import read_log
from surroundings.surrounding import CannotStart
from surroundings.waiting import wait_until
from tryreleases.system import USER, System
from tryscreens.cameras import XCamera
from tryscreens.picture import BLACK

# The driver, and the tables of keys.
BARE = ("libgl1-mesa-dri", "libgl1", "libgles2", "libegl1", "libglx-mesa0", "xkb-data")
INSTALL = "apt-get update && apt-get install -y --no-install-recommends " + " ".join(BARE)
SIZE = (800, 480)
# A folder that no list of words takes for one, with a letter that is none where there is no language,
# and a link to the show.
PLACE = f"/home/{USER}/a place with blanks, später"
LANGUAGE = "LANG=C"
LINK = f"/home/{USER}/the show"

MAKE_LIMIT_S = 30 * 60
SHOW_LIMIT_S = 5 * 60
# A busy machine may take long.
STARTS_WITHIN_S = 60
# Each is of another part; the first lines are spoken, and the music can be heard, by then.
PICTURES_AT_S = (4, 8, 12, 16)
ENDS_WITHIN_S = 20
# A tree of thin lines has more, and so has a caption with its copies. A pointer has fewer.
LEAST_ROWS = 24
QUIETEST_DB = -60

# What the log tells where the archive lacks something. Of batteries, buses and address books, which a
# bare system has not, it speaks otherwise.
MISSING = re.compile(r"missing|no such element|cannot be started|could not load|cannot load|"
                     r"not find|No (music|sound|speech|picture)", re.IGNORECASE)
PLAYING = re.compile(r'application\.name = "([^"]*)"')
MUSIC_PLAYS, VOICE_PLAYS = re.compile("pixmoth", re.IGNORECASE), re.compile("espeak", re.IGNORECASE)


@dataclass
class Outcome:
    release: str
    found: dict = field(default_factory=dict)  # By column.
    complaints: list = field(default_factory=list)


COLUMNS = ("starts", "pictures", "music", "voice", "loudest", "log", "end")


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


def players(told):
    """The programs of which a sound server tells that they are playing."""
    return set(PLAYING.findall(told))


def suspicious(log):
    """Lines that tell of something that the archive should have brought."""
    return [line for line in log.splitlines() if MISSING.search(line)]


class Performance:
    """The show, started in a system. A thread waits for its end."""

    def __init__(self, system, log, environment):
        self.code = None
        self.thread = threading.Thread(target=self.run, args=(system, log, environment))
        self.thread.start()

    def run(self, system, log, environment):
        self.code = system.run(["env", *environment, LINK], log, SHOW_LIMIT_S, USER)

    def is_over(self):
        return not self.thread.is_alive()


class Trial:
    def __init__(self, release, archive, mirror, keep=False):
        self.outcome = Outcome(release)
        self.archive = archive
        self.mirror = mirror
        self.folder = os.path.join(RESULTS, "trial-" + release)
        self.system = System(os.path.join(self.folder, "system"), keep)

    def path(self, name):
        return os.path.join(self.folder, name)

    def note(self, column, what, is_well):
        self.outcome.found[column] = what
        if not is_well:
            self.outcome.complaints.append(f"{column}: {what}")

    def go(self):
        """Whatever happens there is told in the outcome: it is no reason to try no other."""
        try:
            self.system.remove()
            shutil.rmtree(self.folder, ignore_errors=True)
            os.makedirs(self.folder)
            with self.system:
                self.make()
                self.perform()
        except (CannotStart, OSError) as failure:
            self.outcome.complaints.append(f"{failure}; its logs are in {self.folder}")
        print("FAIL " if self.outcome.complaints else "PASS ", self.outcome.release,
              *self.outcome.complaints, sep="  ", flush=True)
        return self.outcome

    def make(self):
        with open(self.path("system.log"), "w", encoding="utf-8") as log:
            self.system.make(self.outcome.release, self.mirror, log, MAKE_LIMIT_S)
            if self.system.run(["sh", "-c", INSTALL], log, MAKE_LIMIT_S) != 0:
                raise CannotStart("the system could not be given an OpenGL driver")
        place = os.path.join(self.system.folder, PLACE.lstrip("/"))
        shutil.unpack_archive(self.archive, place)
        os.symlink(os.path.join(PLACE, archive_name(), "pixmoth"),
                   os.path.join(self.system.folder, LINK.lstrip("/")))

    def perform(self):
        kind_of_server = soundserver.kind()
        if not kind_of_server:
            raise CannotStart("is pulseaudio or pipewire-pulse installed?")
        with open(self.path("show.log"), "w", encoding="utf-8") as log, \
                Screen("{}x{}".format(*SIZE)) as screen, kind_of_server() as server:
            # The system sees no sockets of this one's folders.
            port = free_port()
            server.ask("load-module", "module-native-protocol-tcp", f"port={port}",
                       "listen=127.0.0.1", "auth-anonymous=1")
            show = Performance(self.system, log, (LANGUAGE, f"DISPLAY={screen.display}",
                                                  f"PULSE_SERVER=tcp:127.0.0.1:{port}"))
            try:
                self.watch(show, screen, server)
            finally:
                self.system.stop()
                show.thread.join()
        lines = suspicious(read_log(self.path("show.log")))
        self.note("log", " / ".join(lines) or "clean", not lines)

    def watch(self, show, screen, server):
        begin = time.monotonic()
        window = screen.window(STARTS_WITHIN_S)
        self.note("starts", f"{time.monotonic() - begin:.1f} s" if window else "no window",
                  bool(window))
        if not window:
            return
        heard, seen, loudest = set(), [], soundserver.SILENCE_DB
        begin = time.monotonic()
        for at_s in PICTURES_AT_S:
            while time.monotonic() - begin < at_s and not show.is_over():
                heard |= players(server.ask("list", "sink-inputs"))
                loudest = max(loudest, server.loudness(0.2))
            seen.append(self.photograph(screen.display, at_s))
        self.note("pictures", ", ".join(f"{rows} rows" for rows in seen), min(seen) >= LEAST_ROWS)
        for column, player in (("music", MUSIC_PLAYS), ("voice", VOICE_PLAYS)):
            names = [name for name in sorted(heard) if player.search(name)]
            self.note(column, ", ".join(names) or "not heard", bool(names))
        self.note("loudest", f"{loudest:.0f} dB", loudest > QUIETEST_DB)
        screen.press("space")
        ended = wait_until(show.is_over, ENDS_WITHIN_S)
        self.note("end", f"code {show.code}" if ended else "not by a key", ended and show.code == 0)

    def photograph(self, display, at_s):
        """How many of its rows have light in them."""
        # A camera of its own: one that runs on has pictures of the past in store.
        with XCamera(display, SIZE) as camera:
            picture = camera.picture()
        picture.write(self.path(f"after-{at_s}-s.png"))
        return sum(picture.brightest(range(picture.width), row) > BLACK
                   for row in range(picture.height))
